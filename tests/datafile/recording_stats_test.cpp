// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// Statistics of recordings, against figures worked out by hand: extremes with their times,
// mean and sample deviation, energy held from record to record, silent spells, groups per
// hour, and the three output forms.
#include "datafile/data_file.h"
#include "datafile/recording_stats.h"

#include "support/test_files.h"
#include "text/number_text.h"

#include <gtest/gtest.h>

namespace {

using namespace pa::datafile;

// A record line at a clock time; the line of a silent spell.
std::string rec(const char* clock, const char* watts, const char* pf = "0.90") {
    return recordLine(0, {"11-15-2026", clock, watts, pf, "230.0", "1.000", "", "", "", "", "10.00",
                          "month", "8", "$2.00"});
}
std::string lost(const char* clock) {
    return lostCommunicationLine("11-15-2026", clock);
}

// Statistics of the lines, read as from a file of 2026.
RecordingStats gather(StatsPer per, const std::vector<std::string>& lines) {
    RecordingReader reader(2026);
    RecordingStats s(per);
    for (const std::string& line : lines)
        s.add(reader.read(line));
    s.finish();
    return s;
}

// 10:59:58 100 W, 10:59:59 300 W, 11:00:00 200 W, silent 11:00:01 and :02, 11:00:04 -OL,
// 11:00:05 400 W, and one malformed line.
RecordingStats worked(StatsPer per) {
    return gather(per, {headerLine("month"), rec("10:59:58.0", "100.0", "0.80"),
                        rec("10:59:59.0", "300.0", "1.00"), rec("11:00:00.0", "200.0"),
                        lost("11:00:01.0"), lost("11:00:02.0"), rec("11:00:04.0", "-OL"),
                        "this is no record", rec("11:00:05.0", "400.0")});
}

// A group in one line: records, overloads, lost lines and their silence, first and last time,
// then W and PF as count, minimum@time, maximum@time, mean and sample deviation, and the
// energy in watt-seconds.
std::string summary(const StatsGroup& g) {
    using pa::text::shortestGeneral;
    std::string text = std::to_string(g.records) + " " + std::to_string(g.overloads) + "OL " +
                       std::to_string(g.lostLines) + "/" + std::to_string(g.lostMs) + "ms " +
                       isoTime(g.firstMs).substr(11) + "-" + isoTime(g.lastMs).substr(11);
    for (const QuantityStats& q : {g.quantities[0], g.quantities[1]})
        text += " | " + std::to_string(q.count) + " " + shortestGeneral(q.minimum) + "@" +
                isoTime(q.minimumTimeMs).substr(14) + " " + shortestGeneral(q.maximum) + "@" +
                isoTime(q.maximumTimeMs).substr(14) + " " + shortestGeneral(q.mean, 10) + " " +
                shortestGeneral(q.standardDeviation(), 10);
    return text + " | " + shortestGeneral(g.energyKWh * 3.6e6, 10) + "Ws";
}

// The worked example as a whole and per hour: 100 W for 1 s and 300 W for 1 s; 200 W ends
// at the silent spell (3 s from the first silent line to the next record); the overload has
// no watts nor power to hold, but its power factor counts. Energy goes to the hour in which each
// interval starts.
TEST(RecordingStats, WorkedExample) {
    const RecordingStats whole = worked(StatsPer::Whole), hours = worked(StatsPer::Hour);
    ASSERT_EQ(hours.groups().size(), 2u);
    const std::pair<const StatsGroup*, const char*> cases[] = {
        {&whole.whole(), "5 1OL 2/3000ms 10:59:58-11:00:05 | 4 100@59:58 400@00:05 250 "
                         "129.0994449 | 5 0.8@59:58 1@59:59 0.9 0.07071067812 | 400Ws"},
        {&hours.groups().begin()->second, "2 0OL 0/0ms 10:59:58-10:59:59 | 2 100@59:58 "
                                          "300@59:59 200 141.4213562 | 2 0.8@59:58 1@59:59 "
                                          "0.9 0.1414213562 | 400Ws"},
        {&hours.groups().rbegin()->second, "3 1OL 2/3000ms 11:00:00-11:00:05 | 2 200@00:00 "
                                           "400@00:05 300 141.4213562 | 3 0.9@00:00 0.9@00:00 "
                                           "0.9 0 | 0Ws"},
    };
    for (const auto& [group, expected] : cases)
        EXPECT_EQ(summary(*group), expected);
    EXPECT_EQ(whole.malformedLines(), 1u);
    EXPECT_DOUBLE_EQ(*whole.filePrice(), 0.2); // $2.00 for 10.00 kWh
}

// At most 50,000 groups: records past them are counted as ungrouped, and in the whole.
TEST(RecordingStats, GroupsAreCappedAndTheWholeStillCountsEverything) {
    RecordingStats s(StatsPer::Hour);
    Entry e;
    e.kind = EntryKind::Record;
    const std::pair<std::uint64_t, std::uint64_t> hoursAndUngrouped[] = {
        {49'999, 0}, {50'000, 0}, {50'001, 1}, {50'010, 10}};
    std::int64_t hour = 0;
    for (const auto& [hours, ungrouped] : hoursAndUngrouped) {
        for (; hour < static_cast<std::int64_t>(hours); ++hour) {
            e.timeMs = hour * 3'600'000;
            s.add(e);
        }
        EXPECT_EQ(std::tuple(s.groups().size(), s.ungroupedCounts(), s.whole().records),
                  std::tuple(std::min<std::uint64_t>(hours, 50'000), ungrouped, hours));
    }
}

// A clock set back holds no energy; silence at the end lasts to the last silent line.
TEST(RecordingStats, SilenceAtTheEndAndClockGoingBack) {
    const RecordingStats s =
        gather(StatsPer::Whole, {rec("12:00:00.0", "1000.0"), rec("11:00:00.0", "1000.0"),
                                 lost("11:00:01.0"), lost("11:00:31.5")});
    EXPECT_EQ(summary(s.whole()).substr(0, 29), "2 0OL 2/30500ms 11:00:00-12:0");
    EXPECT_EQ(s.whole().energyKWh, 0);
}

TEST(RecordingStats, OutputForms) {
    pa::testing::useTimeZone("UTC0");
    const RecordingStats s = worked(StatsPer::Day);
    const std::string text = statsText("rec.txt", s, 0.2);
    for (const char* part :
         {"records: 5 (1 with an overload)", "lost-communication lines: 2 (silent for 00:00:03.0)",
          "malformed lines (left out): 1", "first: 2026-11-15T10:59:58",
          "W   100         2026-11-15T10:59:58     400         2026-11-15T11:00:05     250",
          "energy: 0.0001111111111 kWh", "cost: 2.222222222e-05 (at 0.2 per kWh)",
          "2026-11-15     5         2       100", "0.0001111111111 2.222222222e-05\n"})
        EXPECT_NE(text.find(part), std::string::npos) << part << "\n" << text;

    const std::string csv = statsCsv(s, std::nullopt);
    const auto firstEnd = csv.find("\r\n");
    const std::string header = csv.substr(0, firstEnd);
    EXPECT_EQ(header.substr(0, 55), "scope,records,overloads,lost_lines,lost_seconds,first,l");
    EXPECT_EQ(std::count(header.begin(), header.end(), ','), 35);
    const std::string all = csv.substr(firstEnd + 2, csv.find("\r\n", firstEnd + 2) - firstEnd - 2);
    EXPECT_EQ(all.substr(0, 80),
              "all,5,1,2,3,2026-11-15T10:59:58.000+00:00,2026-11-15T11:00:05.000+00:00,4,"
              "100,20");
    EXPECT_EQ(std::count(all.begin(), all.end(), ','), 35);
    EXPECT_NE(csv.find("\r\n2026-11-15,5,1,2,3,"), std::string::npos);

    const std::string json = statsJson("a\"b.txt", s, 0.2);
    for (const char* part :
         {"\"file\": \"a\\\"b.txt\"", "\"malformed_lines\": 1", "\"price_per_kWh\": 0.2",
          "\"W\": {\"count\": 4, \"min\": 100, "
          "\"min_time\": \"2026-11-15T10:59:58.000+00:00\"",
          "\"per_day\": [", "{\"scope\": \"2026-11-15\", \"stats\": {"})
        EXPECT_NE(json.find(part), std::string::npos) << part << "\n" << json;
}

// A file read line by line: the year given, malformed lines reported with their numbers.
// (What cannot be read is said as by the CSV export, which reads the same way.)
TEST(RecordingStats, GatherFromFile) {
    RecordingStats s;
    pa::testing::TempFolder dir;
    const auto path = dir.path() / "r.txt";
    pa::testing::writeLines(path, {"No.,Date,Time,Watts,PF,Volts,Amps",
                                   "1,11-15,10:00:00,100.0,0.9,230.0,0.5", "2,11-15,10:00:10,bad",
                                   "3,11-15,10:00:20.0,200.0,0.9,230.0,0.5"});
    std::vector<std::uint64_t> lines;
    EXPECT_EQ(
        gatherStats(path.string(), 2024, s, [&](const Entry& e) { lines.push_back(e.lineNumber); }),
        "");
    // 100 W held for the 20 s to the next record.
    EXPECT_EQ(std::tuple(lines, isoTime(s.whole().firstMs), summary(s.whole())),
              std::tuple(std::vector<std::uint64_t>{3}, "2024-11-15T10:00:00",
                         "2 0OL 0/0ms 10:00:00-10:00:20 | 2 100@00:00 200@00:20 150 70.71067812 "
                         "| 2 0.9@00:00 0.9@00:00 0.9 0 | 2000Ws"));
}

} // namespace
