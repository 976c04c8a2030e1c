// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// Long recordings read in pieces on several threads: the CSV, the statistics and the
// malformed lines' numbers come out byte for byte as from one thread, on hostile files (the
// fuzz targets' seeds, downloads between records, runs of bad lines, silent spells across
// the cuts), and the CSV as from reading the file in one go.
#include "datafile/csv_export.h"
#include "datafile/data_file.h"
#include "datafile/recording_stats.h"

#include "support/test_files.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

namespace {

namespace fs = std::filesystem;
using namespace pa::datafile;
using pa::testing::readFile;
using pa::testing::TempFolder;

struct Outputs {
    std::string csv, stats, problems;
};

Outputs readAll(const fs::path& in, const PieceOptions& pieces) {
    Outputs o;
    auto problem = [&](const Entry& e) {
        o.problems += std::to_string(e.lineNumber) + ": " + e.problem + "\n";
    };
    ExportOptions options;
    options.pieces = pieces;
    ExportSummary summary;
    const fs::path out = fs::path(in).concat(".csv");
    EXPECT_EQ(exportCsvFile(in.string(), out.string(), options, summary, {problem, {}}), "");
    o.csv = readFile(out);
    RecordingStats stats(StatsPer::Hour);
    EXPECT_EQ(gatherStats(in.string(), 2026, stats, problem, pieces), "");
    o.stats = statsJson("f", stats, 0.25) + statsCsv(stats, std::nullopt);
    return o;
}

// Records over two hours with a silent spell, a download, a run of bad lines, a line too long
// for any record, a record glued to a cut one, mixed line ends and no end on the last line.
std::string hostile() {
    RecordTexts t{"11-23-2026", "",      "1200.0", ".800",  "230.0", "6.522", "36.9",
                  "1500.0",     "900.0", "0.0012", "10.00", "month", "8",     "$2.50"};
    std::string file = headerLine("month") + "\r\n";
    for (int r = 0; r < 400; ++r) {
        const int s = 3590 + r * 3; // seconds after 10:00
        char clock[16];
        std::snprintf(clock, sizeof clock, "%02d:%02d:%02d.%d", 10 + s / 3600, s / 60 % 60, s % 60,
                      r % 10);
        t.clock = clock;
        t.watts = r % 37 == 0 ? "OL" : std::to_string(100 + r % 50) + ".5";
        if (r >= 100 && r < 140)
            file += lostCommunicationLine(t.date, clock) + "\r\n";
        else
            file += recordLine(r, t) + (r % 7 ? "\r\n" : "\n");
        if (r == 200)
            file += "No.,Date,Time,Watts,PF,Volts,Amps\r\n1,12-31,23:59:30,500.0,0.5,200.0,5.0\r\n"
                    "2,12-31,00:00:00.0,-OL,0.5,200.0,5.0\r\n";
        if (r == 250)
            for (int i = 0; i < 300; ++i)
                file += "bad line " + std::to_string(i) + "\r\n";
        if (r == 300)
            file += std::string(700, '7') + "\r\n" + recordLine(r, t).substr(0, 60) +
                    recordLine(r, t) + "\r\n";
    }
    return file + recordLine(1, t);
}

TEST(RecordingPieces, ThreadsAndCutsChangeNothing) {
    TempFolder dir;
    std::vector<fs::path> files{dir.path() / "hostile.txt"};
    std::ofstream(files[0], std::ios::binary) << hostile();
#ifdef PA_MAKE_SEEDS
    const fs::path seeds = dir.path() / "seeds";
    const std::string command = "\"" PA_MAKE_SEEDS "\" \"" + seeds.string() + "\"";
    ASSERT_EQ(std::system(command.c_str()), 0);
    std::string all;
    for (const char* target : {"recording_export_fuzz", "report_survey_fuzz", "plot_file_fuzz"})
        for (const auto& seed : fs::directory_iterator(seeds / target)) {
            files.push_back(seed.path());
            all += readFile(seed.path()) + "\n";
        }
    files.push_back(dir.path() / "all_seeds.txt");
    std::ofstream(files.back(), std::ios::binary) << all + hostile();
#endif
    for (const fs::path& f : files) {
        SCOPED_TRACE(f.string());
        const Outputs whole = readAll(f, {1, std::uint64_t{1} << 40});
        const Outputs oneThread = readAll(f, {1, 97});
        const Outputs threads = readAll(f, {3, 97});
        EXPECT_EQ(threads.csv, oneThread.csv);
        EXPECT_EQ(threads.stats, oneThread.stats);
        EXPECT_EQ(threads.problems, oneThread.problems);
        EXPECT_EQ(oneThread.csv, whole.csv);
        EXPECT_EQ(oneThread.problems, whole.problems);
        // Merged partial figures round their sums in another order: the printed ten digits
        // stay the same.
        EXPECT_EQ(oneThread.stats, whole.stats);
    }
}

} // namespace
