// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The plot loader alone on recorded files: every record (3599) and the envelope (1,000,000).
#include "plot/plot_loader.h"
#include "support/data_file_writer.h"

#include <benchmark/benchmark.h>
#include <filesystem>

namespace {

std::string recordsFile(long n) {
    const std::string path =
        (std::filesystem::temp_directory_path() / ("pa_plot_bench_" + std::to_string(n) + ".txt"))
            .string();
    if (std::filesystem::exists(path))
        return path;
    pa::testing::DataFileWriter w(path);
    for (long i = 1; i <= n; ++i) {
        pa::testing::RecordTexts r;
        r.number = i;
        r.clock = pa::testing::clockFor(i);
        r.watt = std::to_string(800 + i % 400) + ".5";
        r.cost = "0.0";
        w.line(pa::testing::recordLine(r));
    }
    return path;
}

void loadFile(benchmark::State& state) {
    const std::string path = recordsFile(state.range(0));
    for (auto _ : state) {
        const auto probe = pa::plot::probeFile(path);
        auto data = pa::plot::loadRecords(path, pa::plot::kQuantities[0], probe->records);
        benchmark::DoNotOptimize(data);
    }
    state.SetBytesProcessed(state.iterations() *
                            static_cast<int64_t>(std::filesystem::file_size(path)));
}
BENCHMARK(loadFile)->Arg(3599)->Arg(1000000)->Unit(benchmark::kMillisecond);

} // namespace
