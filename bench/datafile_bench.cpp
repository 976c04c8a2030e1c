// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The cost of one record: building the fixed-width line, then opening the data file,
// appending the line, flushing it to the disk and closing the file, as each sample tick does
// while recording (at 0.5 s sampling a record must cost well under the tick).
#include "datafile/data_file.h"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <unistd.h>

namespace {

using namespace pa::datafile;

RecordTexts sampleTexts() {
    return {"11-22-2026", "16:58:09.4", " 116.4", "  .920", "  230", "  .550", "23.1",
            "126.50",     "49.53",      "0.0123", "0.93",   "day",   "8",      "$0.47"};
}

std::string benchFile(const char* name) {
    const auto path = std::filesystem::temp_directory_path() /
                      (std::string("pa-bench-") + std::to_string(::getpid()) + "-" + name);
    createWithHeader(path.string(), "day");
    return path.string();
}

void BM_RecordLine(benchmark::State& state) {
    const RecordTexts texts = sampleTexts();
    double number = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(recordLine(number++, texts));
}
BENCHMARK(BM_RecordLine);

// Open, append, flush to the disk, close: the whole cost of one record.
void BM_AppendRecord(benchmark::State& state) {
    const std::string path = benchFile("records.txt");
    const RecordTexts texts = sampleTexts();
    double number = 0;
    for (auto _ : state) {
        const std::string error = appendLine(path, recordLine(number++, texts));
        if (!error.empty())
            state.SkipWithError(error.c_str());
    }
    state.counters["file MB"] = static_cast<double>(std::filesystem::file_size(path)) / 1e6;
    std::filesystem::remove(path);
}
BENCHMARK(BM_AppendRecord)->Unit(benchmark::kMicrosecond);

void BM_AppendLostCommunication(benchmark::State& state) {
    const std::string path = benchFile("lost.txt");
    for (auto _ : state) {
        const std::string error =
            appendLine(path, lostCommunicationLine("11-22-2026", "16:58:09.4"));
        if (!error.empty())
            state.SkipWithError(error.c_str());
    }
    std::filesystem::remove(path);
}
BENCHMARK(BM_AppendLostCommunication)->Unit(benchmark::kMicrosecond);

} // namespace
