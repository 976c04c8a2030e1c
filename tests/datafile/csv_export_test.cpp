// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// Recordings for spreadsheets: each kind of line of a data file and of a download file read
// by its commas, the CSV written from whole files (both separators), and the file export's
// all-or-nothing rule.
#include "datafile/csv_export.h"
#include "datafile/data_file.h"
#include "datafile/recorder_line.h"

#include "support/test_files.h"
#include "text/number_text.h"

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;
using namespace pa::datafile;
using pa::testing::readFile;
using pa::testing::TempFolder;
using pa::testing::writeLines;

const RecordTexts kExample{"11-15-2026", "16:58:09.4", "123.4", ".980", "230.1", "0.547", "11.5",
                           "125.9",      "25.1",       "0.012", "8.60", "month", "10",    "$2.50"};

std::string recordWith(void (*change)(RecordTexts&)) {
    RecordTexts t = kExample;
    change(t);
    return recordLine(3, t);
}

std::string exportText(const fs::path& in, const ExportOptions& options, ExportSummary& summary,
                       std::vector<std::string>* problems = nullptr) {
    ExportCallbacks callbacks;
    callbacks.problem = [&](const Entry& e) {
        if (problems)
            problems->push_back(std::to_string(e.lineNumber) + ": " + e.problem);
    };
    const fs::path out = fs::path(in).replace_extension(".csv");
    EXPECT_EQ(exportCsvFile(in.string(), out.string(), options, summary, callbacks), "");
    return readFile(out);
}

// An entry in one line: its kind, then for records and lost lines the time, W, PF, VAR and
// the estimate ("-" when empty) and "OL" for an overload; for malformed lines the reason.
std::string describe(const Entry& e) {
    const char* kinds[] = {"blank", "header", "record", "lost", "malformed"};
    std::string text = kinds[static_cast<int>(e.kind)];
    if (e.kind == EntryKind::Malformed)
        return text + ": " + e.problem;
    if (e.kind != EntryKind::Record && e.kind != EntryKind::LostCommunication)
        return text;
    text += " " + isoTime(e.timeMs);
    for (const Quantity q : {kQW, kQPF, kQVAR, kQEstKWH}) {
        const auto& n = e.values[q].number;
        text += " " + (n ? pa::text::shortestGeneral(*n) : std::string("-"));
    }
    return text + (e.overload ? " OL" : "");
}

TEST(RecordingReader, ReadsEveryKindOfLine) {
    const std::string at = "2026-11-15T16:58:09.4 ", bad = "malformed: ";
    const std::pair<std::string, std::string> cases[] = {
        {headerLine("month"), "header"},
        {"No.,Date,Time,Watts,PF,Volts,Amps", "header"},
        {"", "blank"},
        {recordLine(3, kExample), "record " + at + "123.4 0.98 25.1 8.6"},
        // The width rule cut the leftmost digits: what is left is the value.
        {recordWith([](RecordTexts& t) { t.watts = "12345.67"; }),
         "record " + at + "2345.67 0.98 25.1 8.6"},
        {recordWith([](RecordTexts& t) { t.watts = "-OL"; }),
         "record " + at + "- 0.98 25.1 8.6 OL"},
        {recordWith([](RecordTexts& t) { t.vars = "?"; }), "record " + at + "123.4 0.98 - 8.6"},
        {recordWith([](RecordTexts& t) { t.vars = "1.2E-03"; }),
         "record " + at + "123.4 0.98 0.0012 8.6"},
        {lostCommunicationLine("11-15-2026", "17:00:01.0"), "lost 2026-11-15T17:00:01 - - - -"},
        {"1,11-15,10:00:00,123.4,0.9,230.0,0.5", "record 2025-11-15T10:00:00 123.4 0.9 - -"},
        {"2,11-15,10:00:00.4,OL,0.9,230.0,0.5", "record 2025-11-15T10:00:00.4 - 0.9 - - OL"},
        {"garbage", bad + "not a record, header or lost-communication line (1 comma-separated "
                          "fields; a record has 12, a download record 7)"},
        {recordWith([](RecordTexts& t) { t.date = "13-45-2026"; }),
         bad + "\"13-45-2026\" is not a date (mm-dd-yyyy)"},
        {recordWith([](RecordTexts& t) { t.clock = "25:00:00.0"; }),
         bad + "\"25:00:00.0\" is not a time of day (hh:mm:ss.s)"},
        {"x,11-15,10:00:00,1,1,1,1", bad + "\"x\" is not a record number"},
        // The recorder's layout with one comma more inside a field, early or late in the line.
        {recordWith([](RecordTexts& t) { t.watts = "1,5"; }),
         bad + "not a record, header or lost-communication line (13 comma-separated fields; a "
               "record has 12, a download record 7)"},
        {recordWith([](RecordTexts& t) { t.cost = "2,50"; }),
         bad + "not a record, header or lost-communication line (13 comma-separated fields; a "
               "record has 12, a download record 7)"},
    };
    for (const auto& [line, expected] : cases)
        EXPECT_EQ(describe(RecordingReader(2025).read(line + "\r")), expected) << line;
}

// The one-pass reader takes a line only when RecordingReader reads it as the same record of
// plain numbers; anything else in any field leaves the line to RecordingReader.
TEST(PlainRecordReader, TakesOnlyRecordsOfPlainNumbers) {
    std::string RecordTexts::*const fields[] = {
        &RecordTexts::date,        &RecordTexts::clock,
        &RecordTexts::watts,       &RecordTexts::amps,
        &RecordTexts::powerFactor, &RecordTexts::angle,
        &RecordTexts::kwh,         &RecordTexts::energyPerPeriod,
        &RecordTexts::period,      &RecordTexts::hoursPerDay,
        &RecordTexts::cost};
    const char* texts[] = {"-.5", "5.",  ".",   "-",     "",    "1.2.3",      "OL",       "1e3",
                           "+5",  "5 W", "5A",  "5 PF",  "\t5", "=5",         "0x10",     "5$",
                           "-5-", "5 5", "$.5", "mo th", "Day", "13-45-2026", "08:00:01", "é"};
    int taken = 0;
    for (auto field : fields)
        for (const char* text : texts) {
            RecordTexts t = kExample;
            t.*field = text;
            const std::string line = recordLine(3, t);
            PlainRecord r;
            if (!PlainRecordReader().read(line, r))
                continue;
            ++taken;
            const Entry e = RecordingReader(2025).read(line);
            ASSERT_TRUE(e.kind == EntryKind::Record && !e.overload) << line;
            auto plain = [](const FieldValue& v) { return std::string(v.plain ? v.text : "?"); };
            std::string expected = plain(e.record), got(r.record);
            for (std::size_t q = 0; q < kQuantityCount; ++q)
                expected += " " + plain(e.values[q]), got += " " + std::string(r.values[q]);
            expected += " " + std::string(e.period) + " " + plain(e.hoursPerDay) + " " +
                        plain(e.cost) + " " + isoTime(e.timeMs);
            got += " " + std::string(r.period) + " " + std::string(r.hoursPerDay) + " " +
                   std::string(r.cost) + " " + isoTime(r.timeMs);
            EXPECT_EQ(got, expected) << line;
        }
    // "-.5" and "5." in each number's field, and two other periods ("OL" is one too).
    EXPECT_EQ(taken, 18);
}

TEST(RecordingReader, DownloadPastMidnightGoesOnToTheNextDay) {
    // The logger writes one date for a whole download; its clock starts again at midnight.
    RecordingReader reader(2026);
    const char* lines[] = {"No.,Date,Time,Watts,PF,Volts,Amps", "1,12-31,23:59:59,1,1,1,1",
                           "2,12-31,00:00:09.0,1,1,1,1",        "",
                           "No.,Date,Time,Watts,PF,Volts,Amps", "1,12-31,08:00:00,1,1,1,1"};
    std::vector<std::string> times;
    for (const char* l : lines)
        if (const Entry e = reader.read(l); e.kind == EntryKind::Record)
            times.push_back(std::to_string(e.lineNumber) + " " + isoTime(e.timeMs));
    EXPECT_EQ(times, (std::vector<std::string>{"2 2026-12-31T23:59:59", "3 2027-01-01T00:00:09",
                                               "6 2026-12-31T08:00:00"}));
}

TEST(RecordingReader, TimeTexts) {
#ifdef _WIN32
    pa::testing::useTimeZone("CET-1CEST"); // the C library's own rules for the summer
#else
    pa::testing::useTimeZone("CET-1CEST,M3.5.0,M10.5.0/3");
#endif
    UtcOffsets offsets;
    const std::int64_t day = daysFromCivil(2024, 2, 29) * 86'400'000;
    const std::int64_t summer = daysFromCivil(2026, 7, 1) * 86'400'000;
    const std::pair<std::string, const char*> cases[] = {
        {timestamp(daysFromCivil(2026, 1, 15) * 86'400'000 + 45'296'700, offsets),
         "2026-01-15T12:34:56.700+01:00"},
        {timestamp(summer, offsets), "2026-07-01T00:00:00.000+02:00"},
        {isoTime(day), "2024-02-29T00:00:00"},
        {isoTime(day + 45'296'050), "2024-02-29T12:34:56.05"},
        {isoHour(day + 45'296'700), "2024-02-29T12"},
        {isoTime(daysFromCivil(1969, 12, 31) * 86'400'000), "1969-12-31T00:00:00"},
        {durationText(93'784'500), "1d 02:03:04.5"},
        {durationText(0), "00:00:00.0"},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(text, expected);
    pa::testing::useTimeZone("UTC0");
    UtcOffsets utc;
    EXPECT_EQ(timestamp(summer, utc), "2026-07-01T00:00:00.000+00:00");
}

TEST(CsvExport, WholeFileWithEveryKindOfLine) {
    pa::testing::useTimeZone("UTC0");
    TempFolder dir;
    const fs::path in = dir.path() / "rec.txt";
    writeLines(in, {headerLine("month"), recordLine(0, kExample),
                    recordWith([](RecordTexts& t) { t.watts = "OL"; }),
                    lostCommunicationLine("11-15-2026", "16:58:11.4"), "not a record",
                    // a formula in a text cell stays text; a record glued onto a line cut
                    // short is reported, not read with its values in the wrong columns
                    recordWith([](RecordTexts& t) { t.period = "=1+2"; }),
                    recordLine(4, kExample).substr(0, 60) + recordLine(5, kExample)});
    ExportSummary summary;
    std::vector<std::string> problems;
    const std::string csv = exportText(in, ExportOptions{',', 2026}, summary, &problems);
    EXPECT_EQ(csv,
              "time,record,W,PF,V,A,angle_deg,VA,VAR,kWh,est_kWh,period,hours_per_day,cost,"
              "status\r\n"
              "2026-11-15T16:58:09.400+00:00,0,123.4,0.980,230.1,0.547,11.5,125.9,25.1,0.012,8.60,"
              "month,10,"
              "2.50,ok\r\n"
              "2026-11-15T16:58:09.400+00:00,3,,0.980,230.1,0.547,11.5,125.9,,0.012,8.60,month,10,"
              "2.50,overload\r\n"
              "2026-11-15T16:58:11.400+00:00,,,,,,,,,,,,,,no_com\r\n"
              "2026-11-15T16:58:09.400+00:00,3,123.4,0.980,230.1,0.547,11.5,125.9,25.1,0.012,8.60,"
              "'=1+2,10,2.50,ok\r\n");
    const std::vector<std::uint64_t> counts = {summary.lines, summary.records, summary.overloads,
                                               summary.lostLines, summary.malformed};
    EXPECT_EQ(counts, (std::vector<std::uint64_t>{7, 3, 1, 1, 2}));
    ASSERT_EQ(problems.size(), 2u);
    EXPECT_EQ(problems[0].substr(0, 3), "5: ");
    EXPECT_EQ(problems[1], "7: not a record, header or lost-communication line (17 "
                           "comma-separated fields; a record has 12, a download record 7)");

    // Semicolons take decimal commas; a download's date takes the year given.
    writeLines(in, {"No.,Date,Time,Watts,PF,Volts,Amps", "1,03-02,10:00:00,1234.5,0.9,230.0,0.5"});
    EXPECT_EQ(exportText(in, ExportOptions{';', 2027}, summary),
              "time;record;W;PF;V;A;angle_deg;VA;VAR;kWh;est_kWh;period;hours_per_day;cost;"
              "status\r\n2027-03-02T10:00:00.000+00:00;1;1234,5;0,9;230,0;0,5;;;;;;;;;ok\r\n");
}

TEST(CsvExport, FileIsAllOrNothing) {
    TempFolder dir;
    const fs::path in = dir.path() / "rec.txt";
    const fs::path out = dir.path() / "rec.csv";
    ExportSummary summary;

    // Cancelled: no file and no leftover.
    ExportCallbacks cancel;
    cancel.progress = [](std::uint64_t, std::uint64_t) { return false; };
    writeLines(in, std::vector<std::string>(70'000, recordLine(0, kExample)));
    EXPECT_EQ(exportCsvFile(in.string(), out.string(), {}, summary, cancel), "export cancelled");
    EXPECT_FALSE(fs::exists(out));
    EXPECT_EQ(std::distance(fs::directory_iterator(dir.path()), fs::directory_iterator()), 1);

    // What cannot be read: the message names the file and the reason.
    const std::string absent = (dir.path() / "absent.txt").string();
    EXPECT_EQ(exportCsvFile(absent, out.string(), {}, summary),
              "cannot read " + absent + ": No such file or directory");
    EXPECT_EQ(exportCsvFile(dir.str(), out.string(), {}, summary),
              "cannot read " + dir.str() + ": it is a folder, not a file");
    EXPECT_FALSE(fs::exists(out));

    // Complete: the file is there, whole.
    EXPECT_EQ(exportCsvFile(in.string(), out.string(), {}, summary), "");
    const std::string csv = readFile(out);
    EXPECT_EQ(std::count(csv.begin(), csv.end(), '\n'), 70'001);
    EXPECT_EQ(csvNameFor("/a/b/rec.txt"), "/a/b/rec.csv");
}

} // namespace
