// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// Plotting a 1,000,000-record data file to PNG, side by side with a peer:
//   poweranalyzer-cli plot FILE --png OUT      versus
//   gnuplot plotting the same column (the wattage) of the same file to PNG;
// then the same file exported as CSV and its statistics (each target: under 0.5 s and under
// 50 MB whatever the file's length):
//   poweranalyzer-cli export FILE --out OUT.csv
//   poweranalyzer-cli stats FILE --per hour
// Each is run three times after a warm-up read of the file; the best wall time and the
// largest resident memory are printed, and the ratio.
// Usage: cli_plot_bench [DATAFILE]   (written when missing; default plot_1m.txt beside this
// program, where the two PNG files go too)
#include "program_timing.h"
#include "support/data_file_writer.h"

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

constexpr long kRecords = 1000000;
constexpr int kRuns = 3;

} // namespace

int main(int argc, char** argv) {
    const auto here = std::filesystem::canonical("/proc/self/exe").parent_path();
    const std::string data = argc > 1 ? argv[1] : (here / "plot_1m.txt").string();
    if (!std::filesystem::exists(data))
        writeDataFile(data, kRecords);
    const auto bytes = std::filesystem::file_size(data);
    {
        std::ifstream warm(data, std::ios::binary); // both start from the page cache
        std::vector<char> buffer(1 << 20);
        while (warm.read(buffer.data(), static_cast<std::streamsize>(buffer.size())))
            ;
    }
    const std::string cli = (here.parent_path() / "poweranalyzer-cli").string();
    const std::string ourPng = (here / "ours.png").string();
    const std::string peerPng = (here / "gnuplot.png").string();
    std::printf("data file: %s, %.1f MB\n", data.c_str(), bytes / 1e6);

    const Run ours = best({cli, "plot", data, "--png", ourPng}, kRuns);
    std::printf("poweranalyzer-cli plot --png : %7.3f s  max RSS %6.1f MB%s\n", ours.seconds,
                ours.maxRssKb / 1024.0, ours.ok ? "" : "  (FAILED)");

    if (runOnce({"gnuplot", "--version"}).ok) {
        const std::string script = "set terminal png size 1280,720; set output '" + peerPng +
                                   "'; set datafile separator ','; plot '" + data +
                                   "' using 0:4 with lines title 'Watt'";
        const Run peer = best({"gnuplot", "-e", script}, kRuns);
        std::printf("gnuplot (png, column 4)      : %7.3f s  max RSS %6.1f MB%s\n", peer.seconds,
                    peer.maxRssKb / 1024.0, peer.ok ? "" : "  (FAILED)");
        std::printf("ratio gnuplot / ours         : %7.1f x\n", peer.seconds / ours.seconds);
    } else {
        std::printf("gnuplot not installed (apt-get install gnuplot-nox): comparison skipped\n");
    }

    const std::string csv = (here / "export.csv").string();
    const Run exported = best({cli, "export", data, "--out", csv}, kRuns);
    std::printf("poweranalyzer-cli export     : %7.3f s  max RSS %6.1f MB%s  (%.1f MB of CSV)\n",
                exported.seconds, exported.maxRssKb / 1024.0, exported.ok ? "" : "  (FAILED)",
                std::filesystem::exists(csv) ? std::filesystem::file_size(csv) / 1e6 : 0.0);
    const Run stats = best({cli, "stats", data, "--per", "hour"}, kRuns);
    std::printf("poweranalyzer-cli stats      : %7.3f s  max RSS %6.1f MB%s\n", stats.seconds,
                stats.maxRssKb / 1024.0, stats.ok ? "" : "  (FAILED)");
    return ours.ok && exported.ok && stats.ok ? 0 : 1;
}
