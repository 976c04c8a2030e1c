// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The load survey report of long recordings, as a user runs it:
//   a week at one record a second (604,800 records in seven daily files) to JSON and to PDF,
//   10,000,000 records in one file to JSON.
// Targets: under 1 s, 2 s and 5 s, and under 100 MB of memory whatever the length. Each is
// run three times after a warm-up read; the best wall time and the largest resident memory
// are printed.
// Usage: cli_report_bench [FOLDER]   (the recordings are written there when missing; default:
// beside this program)
#include "datafile/recording_reader.h"
#include "program_timing.h"
#include "support/data_file_writer.h"

#include <chrono>
#include <cmath>
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

constexpr int kRuns = 3;

// Writes `count` records a second apart, the first at 2026-11-01 00:00:00 plus `first` seconds;
// a load that follows the day with a PF and a voltage that move with it.
void writeRecords(const std::string& path, long first, long count) {
    pa::testing::DataFileWriter w(path);
    w.line(pa::testing::headerLine());
    std::string block;
    for (long i = first; i < first + count; ++i) {
        const long day = 1 + i / 86400, s = i % 86400;
        pa::testing::RecordTexts r;
        r.number = i;
        char text[32];
        // "mm-dd-yyyy" of the day, from 2026-11-01 on.
        const std::string iso = pa::datafile::isoDay(
            (pa::datafile::daysFromCivil(2026, 11, 1) + day - 1) * 86'400'000LL);
        std::snprintf(text, sizeof text, "%s-%s-%s", iso.substr(5, 2).c_str(),
                      iso.substr(8, 2).c_str(), iso.substr(0, 4).c_str());
        r.date = text;
        std::snprintf(text, sizeof text, "%02ld:%02ld:%02ld.0", s / 3600, s / 60 % 60, s % 60);
        r.clock = text;
        const double watt = 400 + 1800 * std::max(0.0, std::sin((s / 3600.0 - 7) / 12 * M_PI)) +
                            (i * 7919 % 401) / 10.0;
        const double pf = 0.72 + 0.2 * std::min(1.0, watt / 2000);
        std::snprintf(text, sizeof text, "%.1f", watt), r.watt = text;
        std::snprintf(text, sizeof text, "%.2f", pf), r.pf = text;
        std::snprintf(text, sizeof text, "%.1f", 230 + 6 * std::sin(s / 86400.0 * 2 * M_PI)),
            r.volt = text;
        std::snprintf(text, sizeof text, "%.1f", watt * std::tan(std::acos(pf))), r.var = text;
        r.cost = "$2.50", r.perPeriod = "10.00";
        block += pa::testing::recordLine(r) + "\r\n";
        if (block.size() > (1 << 20))
            w.raw(block), block.clear();
    }
    w.raw(block);
}

void warm(const std::vector<std::string>& files) {
    std::vector<char> buffer(1 << 20);
    for (const std::string& f : files) {
        std::ifstream in(f, std::ios::binary);
        while (in.read(buffer.data(), static_cast<std::streamsize>(buffer.size())))
            ;
    }
}

bool report(const char* what, const Run& r, double targetSeconds) {
    const bool ok = r.ok && r.seconds < targetSeconds && r.maxRssKb < 100 * 1024;
    std::printf("%-34s: %7.3f s  max RSS %6.1f MB  (target %.0f s, 100 MB)%s\n", what, r.seconds,
                r.maxRssKb / 1024.0, targetSeconds, ok ? "" : "  MISSED");
    return ok;
}

} // namespace

int main(int argc, char** argv) {
    const auto here = std::filesystem::canonical("/proc/self/exe").parent_path();
    const std::filesystem::path folder = argc > 1 ? argv[1] : here;
    const std::string cli = (here.parent_path() / "poweranalyzer-cli").string();

    std::vector<std::string> week;
    for (int d = 0; d < 7; ++d) {
        week.push_back((folder / ("report_week_day" + std::to_string(d) + ".txt")).string());
        if (!std::filesystem::exists(week.back()))
            writeRecords(week.back(), d * 86400L, 86400);
    }
    const std::string big = (folder / "report_10m.txt").string();
    if (!std::filesystem::exists(big)) {
        std::printf("writing 10,000,000 records to %s ...\n", big.c_str());
        writeRecords(big, 0, 10'000'000);
    }
    warm(week);
    std::vector<std::string> args{cli, "report"};
    args.insert(args.end(), week.rbegin(), week.rend()); // given out of order
    std::vector<std::string> json = args, pdf = args;
    json.insert(json.end(), {"--format", "json"});
    pdf.insert(pdf.end(), {"--pdf", (folder / "report_week.pdf").string()});
    bool ok = report("week (604,800 records) to JSON", best(json, kRuns), 1);
    ok = report("week (604,800 records) to PDF", best(pdf, kRuns), 2) && ok;
    warm({big});
    ok = report("10,000,000 records to JSON", best({cli, "report", big, "--format", "json"}, kRuns),
                5) &&
         ok;
    return ok ? 0 : 1;
}
