// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// Reading recordings, side by side with general tools, in one run on the same files of
// 1,000,000 and 10,000,000 records (143 MB and 1.4 GB, written beside this program when
// missing):
//   poweranalyzer-cli stats FILE              versus gnuplot's `stats` of the wattage column
//                                             and a one-line mawk min/max/mean of it;
//   poweranalyzer-cli export FILE --out CSV   (CSV to a file)
//   poweranalyzer-cli plot FILE --png PNG
// Each is run five times after a read of the file into the page cache; the median wall time
// and the largest resident memory are printed, and the ratios.
// Usage: cli_reader_bench [RECORDS...]   (default 1000000 10000000)
#include "program_timing.h"
#include "support/data_file_writer.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using namespace pa::bench;

constexpr int kRuns = 5;

void print(const char* what, const Run& r) {
    std::printf("  %-34s %8.3f s  max RSS %7.1f MB%s\n", what, r.seconds, r.maxRssKb / 1024.0,
                r.ok ? "" : "  (FAILED)");
}

bool have(const std::string& program) {
    return runOnce({"sh", "-c", "command -v " + program}).ok;
}

} // namespace

int main(int argc, char** argv) {
    const auto here = std::filesystem::canonical("/proc/self/exe").parent_path();
    const std::string cli = (here.parent_path() / "poweranalyzer-cli").string();
    std::vector<long> sizes;
    for (int i = 1; i < argc; ++i)
        sizes.push_back(std::stol(argv[i]));
    if (sizes.empty())
        sizes = {1'000'000, 10'000'000};
    const bool gnuplot = have("gnuplot"), mawk = have("mawk");
    if (!gnuplot || !mawk)
        std::printf("gnuplot or mawk missing (apt-get install gnuplot-nox mawk): no ratios\n");
    std::printf("%u cores; load average at start: ",
                std::max(1u, static_cast<unsigned>(sysconf(_SC_NPROCESSORS_ONLN))));
    std::fflush(stdout);
    {
        std::ifstream load("/proc/loadavg");
        std::string one, five, fifteen;
        load >> one >> five >> fifteen;
        std::printf("%s %s %s\n", one.c_str(), five.c_str(), fifteen.c_str());
    }
    bool ok = true;
    for (const long records : sizes) {
        const std::string data = (here / ("reader_" + std::to_string(records) + ".txt")).string();
        if (!std::filesystem::exists(data))
            writeDataFile(data, records);
        {
            std::ifstream warm(data, std::ios::binary);
            std::vector<char> buffer(1 << 20);
            while (warm.read(buffer.data(), static_cast<std::streamsize>(buffer.size())))
                ;
        }
        std::printf("%ld records, %.0f MB:\n", records, std::filesystem::file_size(data) / 1e6);
        const Run stats = median({cli, "stats", data}, kRuns);
        print("poweranalyzer-cli stats", stats);
        const Run exported =
            median({cli, "export", data, "--out", (here / "reader_export.csv").string()}, kRuns);
        print("poweranalyzer-cli export --out CSV", exported);
        const Run plot =
            median({cli, "plot", data, "--png", (here / "reader_plot.png").string()}, kRuns);
        print("poweranalyzer-cli plot --png", plot);
        ok = ok && stats.ok && exported.ok && plot.ok;
        if (gnuplot) {
            const Run peer =
                median({"gnuplot", "-e",
                        "set datafile separator ','; stats '" + data + "' using 4 nooutput"},
                       kRuns);
            print("gnuplot stats (column 4)", peer);
            std::printf("  %-34s %8.1f x\n", "ratio gnuplot / ours (stats)",
                        peer.seconds / stats.seconds);
        }
        if (mawk) {
            const Run peer =
                median({"mawk", "-F,",
                        "NR>1{v=$4+0; s+=v; n++; if(n==1||v<lo)lo=v; if(n==1||v>hi)hi=v}"
                        " END{print n, lo, hi, s/n}",
                        data},
                       kRuns);
            print("mawk min/max/mean (column 4)", peer);
            std::printf("  %-34s %8.1f x\n", "ratio mawk / ours (stats)",
                        peer.seconds / stats.seconds);
        }
    }
    std::remove((here / "reader_export.csv").c_str());
    return ok ? 0 : 1;
}
