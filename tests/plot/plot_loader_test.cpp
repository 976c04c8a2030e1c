// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "plot/line_reader.h"
#include "plot/plot_loader.h"
#include "plot_test_files.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace pa::plot;
using pa::testing::recordsFile;
using pa::testing::tempFile;
const Quantity& kWatt = kQuantities[0];
// Each group of three has its minimum and maximum away from its first and last record.
double zigzag(long i) {
    return i % 3 == 2 ? -static_cast<double>(i) : i * 2.0;
}

// The recorder's lines pass the format check (which looks only at the commas in columns 11,
// 43 and 61) and give the plotter its numbers at fixed columns. Entries 5 to 8 start three
// columns before the recorder's fields: VA begins with the tail ".5," of the phase angle 11.5,
// KWH and Est. KWH with the units "AR," and "WH,".
TEST(PlotLoaderTest, WriterLinesMatchTheColumnsThePlotterReads) {
    pa::testing::RecordTexts r;
    r.cost = "0.0";
    const std::string line = pa::testing::recordLine(r);
    EXPECT_EQ(line.size(), pa::testing::headerLine().size());
    std::vector<double> values;
    for (auto [column, width] :
         {std::pair{35, 9}, {44, 9}, {53, 9}, {62, 9}, {80, 12}, {106, 14}, {120, 14}})
        values.push_back(sliceValue(columnSlice(line, column, width)));
    EXPECT_EQ(values, (std::vector<double>{123.4, 0.98, 230.1, 0.547, 0.5, 0, 0}));
    EXPECT_EQ(std::pair(columnSlice(line, 80, 12), columnSlice(line, kLabelColumn, kLabelWidth)),
              std::pair(std::string_view(".5,    125.9"), std::string_view("16:58:09.4, ")));
    std::string commas(70, 'x');
    commas[10] = commas[42] = commas[60] = ',';
    const std::string noComma = commas.substr(0, 42) + " " + commas.substr(43);
    for (const auto& [text, ok] : {std::pair{line, true},
                                   {pa::testing::headerLine(), true},
                                   {commas, true},
                                   {noComma, false},
                                   {"", false},
                                   {"short,", false}})
        EXPECT_EQ(formatOk(text), ok) << text;
    // Columns count characters, not bytes.
    const std::string chinese = "\xe6\xaf\x8f\xe6\x9c\x88" + std::string(8, ' ') + "42x";
    EXPECT_EQ(std::tuple(columnSlice(chinese, 3, 10), columnSlice(chinese, 1, 2),
                         columnSlice("abc", 5, 3), characterCount(chinese)),
              std::tuple("        42", "\xe6\xaf\x8f\xe6\x9c\x88", "", 13u));
    // A column's text reads as its leading number, as typed numbers are read: blanks anywhere
    // are skipped, "OL" reads as 0.
    const std::pair<const char*, double> cases[] = {
        {"  123.4W,", 123.4}, {" 0.98 PF,", 0.98}, {"   -0.5V,", -0.5},
        {"      OL,", 0},     {"1 2 3", 123},      {"", 0},
        {" 1.2.3", 1.2},      {"7 e2", 700},
    };
    for (const auto& [slice, value] : cases)
        EXPECT_DOUBLE_EQ(sliceValue(slice), value) << '"' << slice << '"';
}

TEST(PlotLoaderTest, EstimatesAndEnvelopeFigures) {
    const struct {
        long records, step, points;
        int interval;
    } cases[] = {
        {3600, 2, 1800, 360}, {2, 1, 2, 1}, {5401, 4, 1351, 270}, {1000000, 556, 1799, 360}};
    for (const auto& c : cases) {
        const bool envelope = c.records >= kEnvelopeFrom;
        const long step = envelope ? envelopeStep(c.records) : 1;
        const long points = envelope ? envelopePoints(c.records, step) : c.records;
        EXPECT_EQ(std::tuple(step, points, labelInterval(static_cast<double>(points))),
                  std::tuple(c.step, c.points, c.interval))
            << c.records;
    }
    // 139 characters and CR LF a line; 2.5 rounds to even.
    EXPECT_EQ(std::tuple(estimateRecords(141 * 100, 139), estimateRecords(0, 0),
                         estimateRecords(250, 98)),
              std::tuple(100, 0, 2));
}

// Files of records 1..n (wattage i, or zigzagging so that each group's minimum and maximum
// differ from its first and last record) as loaded whole or as a zoomed range: from 3600
// records on, an envelope of minimum and maximum per group.
TEST(PlotLoaderTest, RecordsAndEnvelopes) {
    const struct {
        const char* name;
        long records;
        bool zigzag;
        long zoomFrom, zoomTo;    // 0: the whole file
        std::vector<double> ends; // each set's first and last value
        int interval;
        std::size_t labels, label;
        long labelRecord; // the record whose clock the label shows
    } cases[] = {
        {"3600: pairs", 3600, false, 0, 0, {1, 3599, 2, 3600}, 360, 5, 1, 721},
        // Groups of 3; the last holds record 3601 alone. Records 1, 2, 3 are 2, -2, 6.
        {"3601: a short last group", 3601, true, 0, 0, {-2, 7202, 6, 7202}, 240, 6, 5, 3601},
        {"3599: every record", 3599, false, 0, 0, {1, 3599}, 720, 5, 4, 2881},
        {"5: every point labelled", 5, false, 0, 0, {1, 5}, 1, 5, 4, 5},
        {"zoom 11 to 20", 50, false, 11, 20, {11, 20}, 2, 5, 0, 11},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string path = recordsFile(std::to_string(c.records) + ".txt", c.records,
                                             c.zigzag ? zigzag : std::function<double(long)>{});
        const auto probe = probeFile(path);
        ASSERT_TRUE(probe && probe->formatOk && probe->records == c.records);
        const auto data = c.zoomFrom ? loadRange(path, kWatt, c.zoomFrom, c.zoomTo)
                                     : loadRecords(path, kWatt, probe->records);
        ASSERT_TRUE(data);
        std::vector<double> ends;
        for (int set = 0; set < data->setCount; ++set)
            ends.insert(ends.end(), {data->sets[set].front(), data->sets[set].back()});
        EXPECT_EQ(
            std::tuple(ends, data->labelInterval, data->labels.size(), data->labels.at(c.label)),
            std::tuple(c.ends, c.interval, c.labels, pa::testing::clockFor(c.labelRecord) + ", "));
    }
}

TEST(PlotLoaderTest, EnvelopeReadInPiecesIsTheSame) {
    const std::string path = recordsFile("r3601p.txt", 3601, zigzag);
    // As estimated, too few (lines left over) and too many records expected.
    for (const long records : {3601L, 3600L, 5000L}) {
        SCOPED_TRACE(records);
        const auto whole = loadRecords(path, kWatt, records, {}, {1, std::uint64_t{1} << 40});
        std::uint64_t lastProgress = 0;
        const auto pieces = loadRecords(
            path, kWatt, records, [&](std::uint64_t done) { lastProgress = done; }, {3, 4096});
        ASSERT_TRUE(whole && pieces);
        EXPECT_EQ(std::tie(pieces->sets, pieces->labels, pieces->linesNotPlotted, lastProgress),
                  std::make_tuple(whole->sets, whole->labels, whole->linesNotPlotted,
                                  static_cast<std::uint64_t>(fileLength(path))));
    }
}

TEST(PlotLoaderTest, HeaderLostCommunicationOverloadAndShortLinesReadAsZero) {
    const std::string path = pa::testing::tempFile("mixed.txt");
    {
        pa::testing::DataFileWriter w(path);
        w.line(pa::testing::headerLine());
        pa::testing::RecordTexts r;
        r.watt = "OL";
        w.line(pa::testing::recordLine(r));
        r.watt = "-OL";
        w.line(pa::testing::recordLine(r));
        w.line(pa::testing::lostCommunicationLine("11-15-2026", "16:58:10.0"));
        w.line("         4, 11-15-2026,16:58:11.0,"); // cut short before the wattage
        r.watt = "12345.67";                          // loses its leftmost digit in the file
        w.line(pa::testing::recordLine(r));
    }
    ASSERT_TRUE(probeFile(path)->formatOk);
    const auto data = loadRecords(path, kWatt, 6);
    ASSERT_EQ(data->labels.size(), 6u);
    EXPECT_EQ(std::tie(data->sets[0], data->labels[0], data->labels[4]),
              std::make_tuple(std::vector<double>{0, 0, 0, 0, 0, 2345.67}, "      Time, ",
                              "16:58:11.0,"));
}

TEST(PlotLoaderTest, TinyAndOddFiles) {
    struct Case {
        const char* name;
        std::string bytes;
        long records;
        std::size_t lines;
        bool full;
    } cases[] = {
        {"empty.txt", "", 0, 0, false},
        {"one.txt", pa::testing::recordLine({}) + "\r\n", 1, 1, true},
        {"noend.txt", pa::testing::recordLine({}), 1, 1, true},
        {"lf.txt", "a\nb\nc\n", 2, 3, false}, // counted as CR LF lines
        {"short.txt", std::string(60, ' ') + "\r\n" + std::string(60, ' ') + "\r\n", 2, 2, false},
    };
    for (const auto& c : cases) {
        const std::string path = pa::testing::rawFile(c.name, c.bytes);
        const auto probe = probeFile(path);
        ASSERT_TRUE(probe) << c.name;
        EXPECT_EQ(std::tuple(probe->records, probe->fullLines, pa::testing::countLines(path)),
                  std::tuple(c.records, c.full, c.lines))
            << c.name;
    }
    EXPECT_FALSE(probeFile(tempFile("does-not-exist.txt")));
}

TEST(PlotLoaderTest, LongLinesKeepTheirHeadAndLength) {
    // One line longer than a read block, a CR at the block's edge, then a normal line.
    const std::size_t big = LineReader::kBlockBytes + 10;
    std::string first(big, '7');
    first[0] = ' ';
    const std::string path = pa::testing::rawFile("long.txt", first + "\r\nnext\r\n");
    LineReader reader;
    ASSERT_TRUE(reader.open(path));
    std::string_view head;
    std::uint64_t length;
    ASSERT_TRUE(reader.next(head, length));
    EXPECT_EQ(std::pair(length, head.size()),
              std::pair(std::uint64_t{big}, LineReader::kKeepBytes));
    // The second line whole, then the end; the probe counts one record of the wrong layout.
    const bool second = reader.next(head, length);
    const std::string secondHead(head);
    const bool third = reader.next(head, length);
    const auto probe = probeFile(path);
    EXPECT_EQ(std::tuple(second, secondHead, third, probe->records, probe->formatOk),
              std::tuple(true, "next", false, 1L, false));
}

TEST(PlotLoaderTest, Statistics) {
    const Statistics s = statistics({2, 4, 4, 4, 5, 5, 7, 9});
    EXPECT_EQ(std::tuple(s.count, s.minimum, s.maximum, s.mean,
                         std::round(s.standardDeviation * 1e6), statistics({3}).standardDeviation,
                         statistics({}).count),
              std::tuple(8L, 2.0, 9.0, 5.0, 2138090.0, 0.0, 0L));
}

} // namespace
