// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Timing whole programs for the command-line benchmarks: wall time and peak memory of a child
// process, over several runs, and the data file they read.
#include "support/data_file_writer.h"

#include <algorithm>
#include <chrono>
#include <cmath>
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

// A data file of `records` records as the recorder writes them, one a second from 15 Nov 2026
// 08:00 on: the power, voltage, current, VA and VAR change every second, the power factor
// and phase angle every minute, the energy as it adds up, the estimate and cost every ten
// minutes, the date at midnight.
inline void writeDataFile(const std::string& path, long records) {
    std::printf("writing %ld records to %s ...\n", records, path.c_str());
    pa::testing::DataFileWriter w(path);
    w.line(pa::testing::headerLine());
    constexpr int kMonthDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    int year = 2026, month = 11, day = 15;
    double kwh = 0;
    std::string block;
    auto text = [](const char* format, double v) {
        char buffer[32];
        std::snprintf(buffer, sizeof buffer, format, v);
        return std::string(buffer);
    };
    for (long i = 1; i < records; ++i) {
        if ((8 * 3600 + i) % 86400 == 0 && ++day > kMonthDays[month - 1])
            day = 1, month = month == 12 ? 1 : month + 1, year += month == 1;
        const double watt = 800 + (i * 7919 % 4001) / 10.0;
        const double volt = 228 + (i * 37 % 41) / 10.0;
        const double pf = 0.85 + (i / 60 % 15) / 100.0;
        const double amp = watt / (volt * pf), va = volt * amp;
        kwh += watt / 3.6e6;
        pa::testing::RecordTexts r;
        r.number = i;
        char date[32];
        std::snprintf(date, sizeof date, "%02d-%02d-%04d", month, day, year);
        r.date = date;
        r.clock = pa::testing::clockFor(i);
        r.watt = text("%.1f", watt);
        r.pf = text("%.2f", pf);
        r.volt = text("%.1f", volt);
        r.amp = text("%.3f", amp);
        r.angle = text("%.1f", std::acos(pf) * 180 / 3.141592653589793);
        r.va = text("%.1f", va);
        r.var = text("%.1f", std::sqrt(va * va - watt * watt));
        r.kwh = text("%.3f", kwh);
        r.perPeriod = text("%.2f", 600 + (i / 600 % 50) / 10.0);
        r.hours = "8";
        r.cost = text("$%.2f", 0.30 + (i / 600 % 20) / 100.0);
        block += pa::testing::recordLine(r) + "\r\n";
        if (block.size() > (1 << 20)) {
            w.raw(block);
            block.clear();
        }
    }
    w.raw(block);
}

} // namespace pa::bench
