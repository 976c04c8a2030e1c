// Recordings for spreadsheets: each kind of line of a data file and of a download file read
// by its commas, the CSV written from whole files (both separators), and the file export's
// all-or-nothing rule.
#include "datafile/csv_export.h"
#include "datafile/data_file.h"

#include "support/test_files.h"

#include <gtest/gtest.h>

#include <fstream>

#include <cmath>
#include <cstdio>

namespace {

namespace fs = std::filesystem;
using namespace pa::datafile;
using pa::testing::readFile;
using pa::testing::TempFolder;

RecordTexts example() {
    RecordTexts t;
    t.date = "11-15-2026";
    t.clock = "16:58:09.4";
    t.watts = "123.4";
    t.powerFactor = ".980";
    t.volts = "230.1";
    t.amps = "0.547";
    t.angle = "11.5";
    t.voltAmps = "125.9";
    t.vars = "25.1";
    t.kwh = "0.012";
    t.energyPerPeriod = "8.60";
    t.period = "month";
    t.hoursPerDay = "10";
    t.cost = "$2.50";
    return t;
}

std::string recordWith(void (*change)(RecordTexts&)) {
    RecordTexts t = example();
    change(t);
    return recordLine(3, t);
}

void writeLines(const fs::path& path, const std::vector<std::string>& lines) {
    std::string all;
    for (const auto& l : lines)
        all += l + "\r\n";
    std::ofstream(path, std::ios::binary) << all;
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
    std::ifstream read(out, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(read), {});
}

TEST(RecordingReader, ReadsEveryKindOfLine) {
    const auto nan = std::nan("");
    const struct {
        std::string line;
        EntryKind kind;
        const char* time;
        double w, pf, vars, est; // NaN: empty cell
        bool overload;
        const char* problem; // part of the reason of a malformed line
    } cases[] = {
        {headerLine("month"), EntryKind::Header, "", nan, nan, nan, nan, false, ""},
        {"No.,Date,Time,Watts,PF,Volts,Amps", EntryKind::Header, "", nan, nan, nan, nan, false, ""},
        {"", EntryKind::Blank, "", nan, nan, nan, nan, false, ""},
        {recordLine(3, example()), EntryKind::Record, "2026-11-15T16:58:09.4", 123.4, 0.98, 25.1,
         8.6, false, ""},
        // The width rule cut the leftmost digits: what is left is the value.
        {recordWith([](RecordTexts& t) { t.watts = "12345.67"; }), EntryKind::Record,
         "2026-11-15T16:58:09.4", 2345.67, 0.98, 25.1, 8.6, false, ""},
        {recordWith([](RecordTexts& t) { t.watts = "-OL"; }), EntryKind::Record,
         "2026-11-15T16:58:09.4", nan, 0.98, 25.1, 8.6, true, ""},
        {recordWith([](RecordTexts& t) { t.vars = "?"; }), EntryKind::Record,
         "2026-11-15T16:58:09.4", 123.4, 0.98, nan, 8.6, false, ""},
        {recordWith([](RecordTexts& t) { t.vars = "1.2E-03"; }), EntryKind::Record,
         "2026-11-15T16:58:09.4", 123.4, 0.98, 0.0012, 8.6, false, ""},
        {lostCommunicationLine("11-15-2026", "17:00:01.0"), EntryKind::LostCommunication,
         "2026-11-15T17:00:01", nan, nan, nan, nan, false, ""},
        {"1,11-15,10:00:00,123.4,0.9,230.0,0.5", EntryKind::Record, "2025-11-15T10:00:00", 123.4,
         0.9, nan, nan, false, ""},
        {"2,11-15,10:00:00.4,OL,0.9,230.0,0.5", EntryKind::Record, "2025-11-15T10:00:00.4", nan,
         0.9, nan, nan, true, ""},
        {"garbage", EntryKind::Malformed, "", nan, nan, nan, nan, false, "1 comma-separated"},
        {recordWith([](RecordTexts& t) { t.date = "13-45-2026"; }), EntryKind::Malformed, "", nan,
         nan, nan, nan, false, "\"13-45-2026\" is not a date"},
        {recordWith([](RecordTexts& t) { t.clock = "25:00:00.0"; }), EntryKind::Malformed, "", nan,
         nan, nan, nan, false, "\"25:00:00.0\" is not a time of day"},
        {"x,11-15,10:00:00,1,1,1,1", EntryKind::Malformed, "", nan, nan, nan, nan, false,
         "\"x\" is not a record number"},
        // The recorder's layout with one comma more inside a field.
        {recordWith([](RecordTexts& t) { t.watts = "1,5"; }), EntryKind::Malformed, "", nan, nan,
         nan, nan, false, "(13 comma-separated"},
    };
    for (const auto& c : cases) {
        RecordingReader reader(2025);
        const Entry e = reader.read(c.line + "\r");
        SCOPED_TRACE(c.line);
        ASSERT_EQ(e.kind, c.kind) << e.problem;
        EXPECT_NE(e.problem.find(c.problem), std::string::npos) << e.problem;
        if (c.kind != EntryKind::Record && c.kind != EntryKind::LostCommunication)
            continue;
        EXPECT_EQ(isoTime(e.timeMs), c.time);
        const std::pair<Quantity, double> values[] = {
            {kQW, c.w}, {kQPF, c.pf}, {kQVAR, c.vars}, {kQEstKWH, c.est}};
        for (const auto& [q, expected] : values) {
            if (std::isnan(expected))
                EXPECT_FALSE(e.values[q].number) << "quantity " << q;
            else
                EXPECT_DOUBLE_EQ(e.values[q].number.value_or(nan), expected) << "quantity " << q;
        }
        EXPECT_EQ(e.overload, c.overload);
    }
}

TEST(RecordingReader, DataRecordKeepsPeriodHoursAndCost) {
    RecordingReader reader(2026);
    RecordTexts t = example();
    t.period = "每月";
    const Entry e = reader.read(recordLine(17, t));
    ASSERT_EQ(e.kind, EntryKind::Record);
    EXPECT_EQ(*e.record.number, 17);
    EXPECT_EQ(e.period, "每月");
    EXPECT_EQ(*e.hoursPerDay.number, 10);
    EXPECT_EQ(*e.cost.number, 2.5);
    EXPECT_EQ(e.cost.text, "2.50");
    EXPECT_EQ(*e.values[kQA].number, 0.547);
    EXPECT_EQ(*e.values[kQKWH].number, 0.012);
}

TEST(RecordingReader, DownloadPastMidnightGoesOnToTheNextDay) {
    // The logger writes one date for a whole download; its clock starts again at midnight.
    RecordingReader reader(2026);
    const char* lines[] = {"No.,Date,Time,Watts,PF,Volts,Amps", "1,12-31,23:59:59,1,1,1,1",
                           "2,12-31,00:00:09.0,1,1,1,1",        "3,12-31,00:00:19.0,1,1,1,1",
                           "No.,Date,Time,Watts,PF,Volts,Amps", "1,12-31,08:00:00,1,1,1,1"};
    std::vector<std::string> times;
    for (const char* l : lines)
        if (const Entry e = reader.read(l); e.kind == EntryKind::Record)
            times.push_back(isoTime(e.timeMs));
    EXPECT_EQ(times, (std::vector<std::string>{"2026-12-31T23:59:59", "2027-01-01T00:00:09",
                                               "2027-01-01T00:00:19", "2026-12-31T08:00:00"}));
}

TEST(RecordingReader, LineNumbersCountEveryLine) {
    RecordingReader reader(2026);
    reader.read(headerLine("month"));
    reader.read("");
    EXPECT_EQ(reader.read("junk").lineNumber, 3u);
}

TEST(RecordingReader, TimestampsCarryTheOffsetOfTheirDate) {
#ifdef _WIN32
    pa::testing::useTimeZone("CET-1CEST"); // the C library's own rules for the summer
#else
    pa::testing::useTimeZone("CET-1CEST,M3.5.0,M10.5.0/3");
#endif
    UtcOffsets offsets;
    const std::int64_t winter = daysFromCivil(2026, 1, 15) * 86'400'000 + 45'296'700;
    const std::int64_t summer = daysFromCivil(2026, 7, 1) * 86'400'000;
    EXPECT_EQ(timestamp(winter, offsets), "2026-01-15T12:34:56.700+01:00");
    EXPECT_EQ(timestamp(summer, offsets), "2026-07-01T00:00:00.000+02:00");
    pa::testing::useTimeZone("UTC0");
    UtcOffsets utc;
    EXPECT_EQ(timestamp(summer, utc), "2026-07-01T00:00:00.000+00:00");
}

TEST(RecordingReader, TimeTexts) {
    const std::int64_t day = daysFromCivil(2024, 2, 29) * 86'400'000;
    EXPECT_EQ(isoTime(day), "2024-02-29T00:00:00");
    EXPECT_EQ(isoTime(day + 45'296'700), "2024-02-29T12:34:56.7");
    EXPECT_EQ(isoTime(day + 45'296'050), "2024-02-29T12:34:56.05");
    EXPECT_EQ(isoDay(day + 1), "2024-02-29");
    EXPECT_EQ(isoHour(day + 45'296'700), "2024-02-29T12");
    EXPECT_EQ(isoTime(daysFromCivil(1969, 12, 31) * 86'400'000), "1969-12-31T00:00:00");
    EXPECT_EQ(durationText(93'784'500), "1d 02:03:04.5");
    EXPECT_EQ(durationText(0), "00:00:00.0");
}

TEST(CsvExport, WholeFileWithEveryKindOfLine) {
    pa::testing::useTimeZone("UTC0");
    TempFolder dir;
    const fs::path in = dir.path() / "rec.txt";
    writeLines(in, {headerLine("month"), recordLine(0, example()),
                    recordWith([](RecordTexts& t) { t.watts = "OL"; }),
                    lostCommunicationLine("11-15-2026", "16:58:11.4"), "not a record",
                    // a formula in a text cell stays text; a record glued onto a line cut
                    // short is reported, not read with its values in the wrong columns
                    recordWith([](RecordTexts& t) { t.period = "=1+2"; }),
                    recordLine(4, example()).substr(0, 60) + recordLine(5, example())});
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
    EXPECT_EQ(summary.lines, 7u);
    EXPECT_EQ(summary.records, 3u);
    EXPECT_EQ(summary.overloads, 1u);
    EXPECT_EQ(summary.lostLines, 1u);
    EXPECT_EQ(summary.malformed, 2u);
    ASSERT_EQ(problems.size(), 2u);
    EXPECT_EQ(problems[0].substr(0, 3), "5: ");
    EXPECT_EQ(problems[1], "7: not a record, header or lost-communication line (17 "
                           "comma-separated fields; a record has 12, a download record 7)");
}

TEST(CsvExport, SemicolonsTakeDecimalCommas) {
    pa::testing::useTimeZone("UTC0");
    TempFolder dir;
    const fs::path in = dir.path() / "dl.txt";
    writeLines(in, {"No.,Date,Time,Watts,PF,Volts,Amps", "1,03-02,10:00:00,1234.5,0.9,230.0,0.5"});
    ExportSummary summary;
    const std::string csv = exportText(in, ExportOptions{';', 2027}, summary);
    EXPECT_EQ(csv.substr(csv.find("\r\n") + 2),
              "2027-03-02T10:00:00.000+00:00;1;1234,5;0,9;230,0;0,5;;;;;;;;;ok\r\n");
    EXPECT_EQ(csv.substr(0, 12), "time;record;");
}

TEST(CsvExport, FileIsAllOrNothing) {
    TempFolder dir;
    const fs::path in = dir.path() / "rec.txt";
    writeLines(in, {headerLine("month"), recordLine(0, example())});
    const fs::path out = dir.path() / "rec.csv";
    ExportSummary summary;

    // Cancelled: no file and no leftover.
    ExportCallbacks cancel;
    cancel.progress = [](std::uint64_t, std::uint64_t) { return false; };
    writeLines(in, std::vector<std::string>(70'000, recordLine(0, example())));
    EXPECT_EQ(exportCsvFile(in.string(), out.string(), {}, summary, cancel), "export cancelled");
    EXPECT_FALSE(fs::exists(out));
    EXPECT_EQ(std::distance(fs::directory_iterator(dir.path()), fs::directory_iterator()), 1);

    // A folder that is not there: the message names the file and the reason.
    const std::string missing = (dir.path() / "no" / "x.csv").string();
    EXPECT_EQ(exportCsvFile(in.string(), missing, {}, summary),
              "cannot write " + missing + ": No such file or directory");
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
