// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// A recording long enough to be read on all cores in pieces: its lines still reach the survey
// in the file's order, with the line numbers of the whole file.
#include "report/load_survey.h"

#include "support/data_file_writer.h"
#include "support/test_files.h"

#include <gtest/gtest.h>

namespace {

TEST(SurveyInPieces, LinesKeepTheirOrderAndNumbersAcrossPieces) {
    // 57,500 records a second apart from 08:00:01 (8.3 MB, past the size read in pieces); a
    // bad line in the third piece, a blank one, then a clock that steps back and the peak in
    // the last.
    pa::testing::TempFolder folder;
    const std::string path = folder.str() + "/long.txt";
    {
        pa::testing::DataFileWriter w(path);
        w.line(pa::testing::headerLine());
        std::string block;
        for (long i = 1; i <= 57'500; ++i) {
            pa::testing::RecordTexts r;
            r.number = i;
            r.clock = pa::testing::clockFor(i == 50'001 ? i - 10 : i);
            r.watt = i == 52'000 ? "2500.0" : "1000.0";
            const std::string line = i == 40'000 ? "garbled" : i == 45'000 ? "   " : "";
            block += (line.empty() ? pa::testing::recordLine(r) : line) + "\r\n";
        }
        w.raw(block);
    }
    std::string problems;
    pa::report::Survey s;
    ASSERT_EQ(pa::report::gatherSurvey({path}, {}, s,
                                       {[&](const std::string&, const pa::datafile::Entry& e) {
                                            problems += std::to_string(e.lineNumber) + ": " +
                                                        e.problem + "\n";
                                        },
                                        {}}),
              "");
    EXPECT_EQ(problems, "40001: not a record, header or lost-communication line (1 "
                        "comma-separated fields; a record has 12, a download record 7)\n"
                        "50002: the time 2026-11-15T21:53:11 goes back (before "
                        "2026-11-15T21:53:20)\n");
    ASSERT_TRUE(s.maxW);
    EXPECT_EQ(std::tuple(s.records, s.malformedLines, pa::datafile::isoTime(s.maxW->timeMs),
                         s.maxW->value),
              std::tuple(57'497u, 2u, "2026-11-15T22:26:40", 2500));
}

} // namespace
