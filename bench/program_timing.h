// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Timing whole programs for the command-line benchmarks: wall time and peak memory of a child
// process, over several runs, and the data file they read.
#include "support/data_file_writer.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace pa::bench {

struct Run {
    double seconds = 0;
    long maxRssKb = 0;
    bool ok = true; // exited with status 0
};

// quiet: what the program prints goes nowhere; only its time counts.
inline Run runOnce(const std::vector<std::string>& argv, bool quiet = true) {
    std::vector<char*> args;
    for (const auto& a : argv)
        args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    std::fflush(stdout); // else the child writes out what the parent has not yet
    const auto t0 = std::chrono::steady_clock::now();
    const pid_t pid = fork();
    if (pid == 0) {
        if (quiet &&
            (!std::freopen("/dev/null", "w", stdout) || !std::freopen("/dev/null", "w", stderr)))
            _exit(126);
        execvp(args[0], args.data());
        _exit(127);
    }
    int status = 0;
    rusage usage{};
    wait4(pid, &status, 0, &usage);
    Run r;
    r.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    r.maxRssKb = usage.ru_maxrss;
    r.ok = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    return r;
}

// Several runs: the fastest or the median time, the largest memory, ok when every run was.
inline Run repeated(const std::vector<std::string>& argv, int runs, bool median,
                    bool quiet = true) {
    std::vector<double> times;
    Run all;
    for (int i = 0; i < runs; ++i) {
        const Run r = runOnce(argv, quiet);
        times.push_back(r.seconds);
        all.ok = all.ok && r.ok;
        all.maxRssKb = std::max(all.maxRssKb, r.maxRssKb);
    }
    std::sort(times.begin(), times.end());
    all.seconds = times[median ? times.size() / 2 : 0];
    return all;
}
inline Run best(const std::vector<std::string>& argv, int runs, bool quiet = true) {
    return repeated(argv, runs, false, quiet);
}
inline Run median(const std::vector<std::string>& argv, int runs, bool quiet = true) {
    return repeated(argv, runs, true, quiet);
}

// A data file of `records` records as the recorder writes them, one a second, W varying.
inline void writeDataFile(const std::string& path, long records) {
    std::printf("writing %ld records to %s ...\n", records, path.c_str());
    pa::testing::DataFileWriter w(path);
    w.line(pa::testing::headerLine());
    std::string block;
    for (long i = 1; i < records; ++i) {
        pa::testing::RecordTexts r;
        r.number = i;
        r.clock = pa::testing::clockFor(i);
        char watt[16];
        std::snprintf(watt, sizeof watt, "%.1f", 800 + (i * 7919 % 4001) / 10.0);
        r.watt = watt;
        r.cost = "0.0";
        block += pa::testing::recordLine(r) + "\r\n";
        if (block.size() > (1 << 20)) {
            w.raw(block);
            block.clear();
        }
    }
    w.raw(block);
}

} // namespace pa::bench
