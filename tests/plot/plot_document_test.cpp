#include "plot/line_reader.h"
#include "plot/plot_document.h"
#include "plot_test_files.h"
#include "support/message_texts.h"
#include "support/scripted_ui.h"

#include <cmath>
#include <filesystem>
#include <gtest/gtest.h>

#include <fstream>

namespace {

using namespace pa::plot;
using pa::app::Answer;
using pa::app::Icon;
using pa::testing::AskedInput;
using pa::testing::recordsFile;

class PlotDocumentTest : public ::testing::Test {
  protected:
    std::vector<std::string> texts() const { return pa::testing::messageTexts(ui); }
    pa::testing::ScriptedUi ui;
    PlotDocument doc{ui};
};

TEST_F(PlotDocumentTest, ChoosingAQuantityBeforeAFileIsRefused) {
    doc.SelectData(2);
    ASSERT_EQ(ui.messages.size(), 1u);
    EXPECT_EQ(ui.messages[0].text, "Please first open a file where data is stored");
    EXPECT_EQ(ui.messages[0].icon, Icon::Critical);
    EXPECT_EQ(doc.data().setCount, 0);
}

TEST_F(PlotDocumentTest, OpensLoadsAndSetsTheAxisTitle) {
    ui.files.push_back(recordsFile("doc20.txt", 20));
    ASSERT_TRUE(doc.openfileforplot("/home/u/Documents/KV2260/.txt"));
    EXPECT_EQ(ui.startPaths, std::vector<std::string>{"/home/u/Documents/KV2260/.txt"})
        << "the dialog starts in the data folder";
    EXPECT_EQ(doc.records(), 20);
    doc.SelectData(2);
    EXPECT_TRUE(ui.messages.empty());
    EXPECT_EQ(doc.yTitle(), "Volt");
    EXPECT_EQ(doc.data().sets[0].size(), 20u);
    EXPECT_DOUBLE_EQ(doc.data().sets[0][0], 230.1);
    EXPECT_TRUE(doc.statisticsEnabled());
    doc.StatOption();
    EXPECT_TRUE(doc.statisticsShown());
    doc.openfile();
    EXPECT_EQ(doc.quantity(), 0);
    EXPECT_EQ(doc.yTitle(), "Watt");
    EXPECT_EQ(doc.xTitle(), "Time");
}

TEST_F(PlotDocumentTest, FormatQuestionNoEndsTheLoadYesGoesOn) {
    const std::string path = pa::testing::tempFile("badformat.txt");
    pa::testing::DataFileWriter(path).raw("1\r\n2\r\n3\r\n");
    doc.setFileName(path);
    ui.answers = {Answer::No};
    doc.SelectData(0);
    ASSERT_EQ(texts(), std::vector<std::string>{"Inncorrect file format, proceed anyway"});
    EXPECT_EQ(ui.messages[0].buttons, pa::app::Buttons::YesNo);
    EXPECT_EQ(doc.data().setCount, 0);
    ui.answers = {Answer::Yes};
    doc.SelectData(0);
    EXPECT_EQ(doc.data().sets[0].size(), 3u) << "short lines read as 0";
    EXPECT_FALSE(doc.quantityEnabled(4)) << "lines under 70 characters have no phase angle";
    EXPECT_TRUE(doc.quantityEnabled(3));
}

// Entries 4 to 8 need columns that only lines of 70 characters or more have; the first
// line's length is counted in characters, not bytes.
TEST_F(PlotDocumentTest, FirstLineOf70CharactersEnablesTheLaterQuantities) {
    const struct {
        const char* name;
        std::string first;
        bool later;
    } cases[] = {{"len69.txt", std::string(69, 'x'), false},
                 {"len70.txt", std::string(70, 'x'), true},
                 {"len71.txt", std::string(71, 'x'), true},
                 {"len69u.txt", std::string(68, 'x') + "\u00e9", false}}; // 70 bytes
    for (auto c : cases) {
        c.first[10] = c.first[42] = c.first[60] = ','; // the format check's three columns
        const std::string path = pa::testing::tempFile(c.name);
        pa::testing::DataFileWriter(path).raw(c.first + "\r\n" + c.first + "\r\n");
        doc.setFileName(path);
        doc.SelectData(0);
        ASSERT_TRUE(ui.messages.empty()) << c.name << ": " << ui.messages[0].text;
        for (int entry = 0; entry <= 8; ++entry)
            EXPECT_EQ(doc.quantityEnabled(entry), entry < 4 || c.later) << c.name << " " << entry;
    }
}

TEST_F(PlotDocumentTest, OneRecordAndEnvelopeMessages) {
    doc.setFileName(recordsFile("doc1.txt", 1));
    doc.SelectData(0);
    EXPECT_EQ(texts(),
              std::vector<std::string>{
                  "Only one record, can not plot.  Please use VIEW to review your record."});
    ui.messages.clear();
    doc.setFileName(recordsFile("doc4000.txt", 4000));
    doc.SelectData(0);
    EXPECT_EQ(texts(),
              std::vector<std::string>{"Records more than 3600, STATIStics function disabled"});
    EXPECT_EQ(ui.messages[0].icon, Icon::None);
    EXPECT_EQ(doc.data().setCount, 2);
    EXPECT_FALSE(doc.statisticsEnabled());
    doc.StatOption();
    EXPECT_FALSE(doc.statisticsShown());
}

TEST_F(PlotDocumentTest, ZoomChecksInOrder) {
    doc.setFileName(recordsFile("doc4000z.txt", 4000));
    struct Case {
        std::vector<std::optional<std::string>> answers;
        std::string message; // "" = plotted
    } cases[] = {
        {{"-1"}, "Negative number is not allowed"},
        {{"4001"}, "start record > total records"},
        {{"10", "-5"}, "Negative number is not allowed"},
        {{"10", "10"}, "End record <= Start record"},
        {{"10", "4001"}, "End record > total records"},
        {{"1", "3601"}, "Starting record 1, ending record 3601, total records 3601 > 3600"},
        {{std::nullopt}, ""},
        {{"1", ""}, ""},
        {{"1", "3600"}, ""},
    };
    for (const auto& c : cases) {
        ui.messages.clear();
        ui.asked.clear();
        ui.inputs.assign(c.answers.begin(), c.answers.end());
        doc.ZoomIn();
        ASSERT_FALSE(ui.asked.empty());
        EXPECT_EQ(ui.asked[0],
                  (AskedInput{"Enter the starting record number", "Total 4000 records", "1"}));
        if (ui.asked.size() > 1) {
            EXPECT_EQ(ui.asked[1].prompt + "|" + ui.asked[1].title,
                      "Enter the ending record number (max. to_plot records 3600)|"
                      "Total 4000 records");
        }
        if (c.message.empty()) {
            EXPECT_TRUE(ui.messages.empty()) << ui.messages[0].text;
        } else {
            ASSERT_EQ(texts(), std::vector<std::string>{c.message});
            EXPECT_EQ(ui.messages[0].icon, Icon::Exclamation);
        }
    }
    EXPECT_TRUE(doc.zoomed());
    EXPECT_EQ(doc.data().setCount, 1);
    EXPECT_EQ(doc.data().sets[0].size(), 3600u);
    EXPECT_EQ(doc.data().labelInterval, 720);
}

TEST_F(PlotDocumentTest, ScaleBoundsByHandAndFromTheData) {
    doc.setFileName(recordsFile("doc30.txt", 30)); // watts 1..30
    doc.SelectData(0);
    EXPECT_FALSE(doc.userScale());
    EXPECT_LE(doc.yMin(), 1);
    EXPECT_GE(doc.yMax(), 30);
    ui.inputs = {"100"};
    const std::string fittedMax = numberText(doc.yMax());
    doc.set_scale(2);
    EXPECT_EQ(ui.asked.back(),
              (AskedInput{"Enter maximum value for Y (vertical) axis", "Max Y", fittedMax}))
        << "the present maximum is the default answer";
    EXPECT_TRUE(doc.userScale());
    EXPECT_EQ(doc.yMax(), 100);
    EXPECT_EQ(doc.yMin(), 1) << "the minimum comes from the data";
    ui.inputs = {"-5"};
    doc.set_scale(1);
    EXPECT_EQ(ui.asked.back(),
              (AskedInput{"Enter minimum value for Y (vertical) axis", "Min Y", "1"}));
    EXPECT_EQ(doc.yMin(), -5);
    EXPECT_EQ(doc.yMax(), 100) << "the maximum typed by hand stays";
    ui.inputs = {""};
    doc.set_scale(1);
    EXPECT_EQ(doc.yMin(), -5) << "an empty answer changes nothing";
    doc.set_scale(0);
    EXPECT_FALSE(doc.userScale());
}

TEST_F(PlotDocumentTest, GridTitlesAndLabels) {
    doc.set_grid(2);
    EXPECT_EQ(doc.grid(), 2);
    doc.set_grid(4);
    EXPECT_EQ(texts(), std::vector<std::string>{"No such setting"});
    EXPECT_EQ(doc.grid(), 2);

    ui.inputs = {"Load test", std::nullopt, ""};
    doc.set_title(2);
    doc.set_title(0);
    doc.set_title(1);
    EXPECT_EQ(doc.graphTitle(), "Load test");
    EXPECT_EQ(doc.xTitle(), "Time");
    EXPECT_EQ(doc.yTitle(), "Watt");
    // The present title is the default answer.
    EXPECT_EQ(ui.asked,
              (std::vector<AskedInput>{{"Enter Graph title", "Graph Title", ""},
                                       {"Enter title for the X axis", "X Title", "Time"},
                                       {"Enter title for the Y axis", "Y Title", "Watt"}}));
    doc.set_title(5);
    doc.set_title(3);
    EXPECT_EQ(doc.graphTitle(), "");
    EXPECT_EQ(doc.xTitle(), "");

    doc.setFileName(recordsFile("doc4000l.txt", 4000));
    doc.SelectData(0);
    auto labels = doc.xLabels();
    ASSERT_EQ(labels.size(), 5u); // 1334 points, K 267
    EXPECT_EQ(labels[1].point, 268);
    EXPECT_EQ(labels[1].text, pa::testing::clockFor(268 * 3 - 2) + ", ");
    doc.set_x_label(1);
    labels = doc.xLabels();
    EXPECT_EQ(labels[1].text, "802") << "the first record of the point's group";
    doc.clear_graphics();
    EXPECT_TRUE(doc.xLabels().empty());
}

TEST(NumberTextTest, AsMessagesShowThem) {
    EXPECT_EQ(numberText(3601), "3601");
    EXPECT_EQ(numberText(2.5), "2.5");
    EXPECT_EQ(numberText(-0.125), "-0.125");
    const NiceRange r = niceRange(1, 30);
    EXPECT_LE(r.low, 1);
    EXPECT_GE(r.high, 30);
    EXPECT_GE(r.ticks, 3);
    const NiceRange flat = niceRange(5, 5);
    EXPECT_LT(flat.low, 5);
    EXPECT_GT(flat.high, 5);
}

} // namespace

namespace {

// Bad input gives a message or a plot, never a crash or a hang.
TEST(PlotBadInputTest, BinaryEnormousUnevenAndChangingFiles) {
    pa::testing::ScriptedUi ui;
    PlotDocument doc(ui);

    const std::string binary = pa::testing::tempFile("binary.dat");
    {
        std::string bytes;
        for (int i = 0; i < 40000; ++i)
            bytes += static_cast<char>((i * 7919) % 256);
        pa::testing::DataFileWriter(binary).raw(bytes);
    }
    doc.setFileName(binary);
    ui.answers = {Answer::Yes};
    doc.SelectData(3);
    ASSERT_FALSE(ui.messages.empty());
    EXPECT_EQ(ui.messages[0].text, "Inncorrect file format, proceed anyway");
    EXPECT_GE(doc.data().points(), 1u);
    for (double v : doc.data().sets[0])
        EXPECT_TRUE(std::isfinite(v));

    const std::string enormous = pa::testing::tempFile("enormous.txt");
    pa::testing::DataFileWriter(enormous).raw(std::string(3 << 20, '9'));
    ui.messages.clear();
    ui.answers = {Answer::Yes};
    doc.setFileName(enormous);
    doc.SelectData(0);
    ASSERT_EQ(ui.messages.size(), 2u);
    EXPECT_EQ(ui.messages[1].text,
              "Only one record, can not plot.  Please use VIEW to review your record.");

    // A short first line underestimates nothing here: 20 long lines after it are counted as
    // more records than there are, and the plot holds the lines there are.
    const std::string uneven = pa::testing::tempFile("uneven.txt");
    {
        pa::testing::DataFileWriter w(uneven);
        w.line(pa::testing::headerLine().substr(0, 70));
        for (int i = 0; i < 20; ++i) {
            pa::testing::RecordTexts r;
            r.watt = std::to_string(i);
            w.line(pa::testing::recordLine(r) + std::string(i * 10, ' '));
        }
    }
    ui.messages.clear();
    doc.setFileName(uneven);
    doc.SelectData(0);
    EXPECT_TRUE(ui.messages.empty());
    EXPECT_GT(doc.records(), 21);
    EXPECT_EQ(doc.data().points(), 21u);
    EXPECT_EQ(doc.data().sets[0][20], 19);
}

TEST(PlotBadInputTest, FileThatShrinksOrGrowsAfterTheCount) {
    const std::string path = recordsFile("changing.txt", 100);
    // Counted at 100 records, then cut to 40: the plot holds what is there.
    std::filesystem::resize_file(path, 40 * 143);
    auto data = loadRecords(path, kQuantities[0], 100);
    ASSERT_TRUE(data);
    EXPECT_EQ(data->points(), 40u);
    // Counted at 4000 records (an envelope), then grown to 4100: the envelope keeps its
    // 1334 points and the rest is reported, not dropped silently.
    recordsFile("changing.txt", 4100);
    data = loadRecords(path, kQuantities[0], 4000);
    EXPECT_EQ(data->points(), 1334u);
    EXPECT_EQ(data->linesNotPlotted, 98u); // 4100 - 1334 * 3
}

TEST(PlotBadInputTest, AFileStillBeingWrittenIsReadToTheLengthItHadWhenOpened) {
    const std::string path = recordsFile("growing.txt", 3);
    pa::plot::LineReader reader;
    ASSERT_TRUE(reader.open(path));
    std::ofstream(path, std::ios::binary | std::ios::app) << "a line written meanwhile\r\n";
    std::string_view head;
    std::uint64_t length = 0;
    int lines = 0;
    while (reader.next(head, length))
        ++lines;
    EXPECT_EQ(lines, 3);
}

} // namespace
