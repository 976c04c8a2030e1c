// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
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
using pa::testing::rawFile;
using pa::testing::recordsFile;

class PlotDocumentTest : public ::testing::Test {
  protected:
    std::vector<std::string> texts() const { return pa::testing::messageTexts(ui); }
    pa::testing::ScriptedUi ui;
    PlotDocument doc{ui};
};

// A first line of `length` characters with the format check's three commas, twice.
std::string linesOf(std::size_t length, const std::string& tail = "") {
    std::string line(length, 'x');
    line[10] = line[42] = line[60] = ',';
    line.replace(length - tail.size(), tail.size(), tail);
    return line + "\r\n" + line + "\r\n";
}

// Choosing a quantity loads the file: the messages, the points plotted and how many of the
// nine quantities can be chosen (those from 4 on need lines of 70 characters or more, counted
// in characters). Hostile files (each pinned a bug) give a message or a plot, never a crash.
TEST(PlotDocument, ChoosingAQuantityLoadsTheFile) {
    std::string binary;
    for (int i = 0; i < 40000; ++i)
        binary += static_cast<char>((i * 7919) % 256);
    // A short first line underestimates the count: 20 longer lines after it.
    std::string uneven = pa::testing::headerLine().substr(0, 70) + "\r\n";
    for (int i = 0; i < 20; ++i) {
        pa::testing::RecordTexts r;
        r.watt = std::to_string(i);
        uneven += pa::testing::recordLine(r) + std::string(i * 10, ' ') + "\r\n";
    }
    const std::size_t kSome = SIZE_MAX;
    const std::string nines(3 << 20, '9');
    const std::string format = "Inncorrect file format, proceed anyway", digits = "1\r\n2\r\n3\r\n";
    const std::string one =
        "Only one record, can not plot.  Please use VIEW to review your record.";
    const std::string many = "Records more than 3600, STATIStics function disabled";
    const struct {
        std::string path; // "": no file chosen yet
        Answer answer;    // to the format question
        std::vector<std::string> messages;
        Icon icon;
        std::size_t points; // kSome: at least one
        int quantities;     // -1: not looked at
    } cases[] = {
        {"", Answer::Yes, {"Please first open a file where data is stored"}, Icon::Critical, 0, 9},
        {recordsFile("doc1.txt", 1), Answer::Yes, {one}, Icon::Exclamation, 0, 9},
        {recordsFile("doc4000.txt", 4000), Answer::Yes, {many}, Icon::None, 1334, 9},
        {rawFile("no.txt", digits), Answer::No, {format}, Icon::Question, 0, 9},
        {rawFile("yes.txt", digits), Answer::Yes, {format}, Icon::Question, 3, 4},
        {rawFile("binary.dat", binary), Answer::Yes, {format}, Icon::Question, kSome, -1},
        {rawFile("3MB.txt", nines), Answer::Yes, {format, one}, Icon::Question, 0, 9},
        {rawFile("uneven.txt", uneven), Answer::Yes, {}, Icon::None, 21, 9},
        {rawFile("len69.txt", linesOf(69)), Answer::Yes, {}, Icon::None, 2, 4},
        {rawFile("len70.txt", linesOf(70)), Answer::Yes, {}, Icon::None, 2, 9},
        {rawFile("len69u.txt", linesOf(68, "\u00e9")), Answer::Yes, {}, Icon::None, 2, 4},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.path);
        pa::testing::ScriptedUi ui;
        PlotDocument doc{ui};
        if (!c.path.empty())
            doc.setFileName(c.path);
        ui.answers = {c.answer};
        doc.SelectData(0);
        EXPECT_EQ(std::pair(pa::testing::messageTexts(ui),
                            c.messages.empty() ? Icon::None : ui.messages[0].icon),
                  std::pair(c.messages, c.messages.empty() ? Icon::None : c.icon));
        const std::size_t points = doc.data().points();
        EXPECT_TRUE(c.points == kSome ? points >= 1 : points == c.points) << points;
        int quantities = 0;
        for (int entry = 0; entry <= 8; ++entry)
            quantities += doc.quantityEnabled(entry);
        EXPECT_TRUE(c.quantities < 0 || quantities == c.quantities) << quantities;
        for (double v : doc.data().sets[0])
            EXPECT_TRUE(std::isfinite(v));
    }
}

TEST_F(PlotDocumentTest, OpensLoadsAndSetsTheAxisTitle) {
    ui.files.push_back(recordsFile("doc20.txt", 20));
    ASSERT_TRUE(doc.openfileforplot("/home/u/Documents/KV2260/.txt"));
    EXPECT_EQ(ui.startPaths, std::vector<std::string>{"/home/u/Documents/KV2260/.txt"})
        << "the dialog starts in the data folder";
    doc.SelectData(2);
    EXPECT_EQ(std::tuple(doc.records(), ui.messages.size(), doc.yTitle(), doc.data().sets[0][0],
                         doc.statisticsEnabled()),
              std::tuple(20, std::size_t{0}, "Volt", 230.1, true));
    doc.StatOption();
    EXPECT_TRUE(doc.statisticsShown());
    doc.openfile();
    EXPECT_EQ(std::pair(doc.quantity(), doc.yTitle() + "/" + doc.xTitle()),
              std::pair(0, std::string("Watt/Time")));
    // Beyond 3600 records the statistics cannot be shown.
    doc.setFileName(recordsFile("doc4000s.txt", 4000));
    doc.SelectData(0);
    doc.StatOption();
    EXPECT_EQ(std::pair(doc.statisticsEnabled(), doc.statisticsShown()), std::pair(false, false));
}

TEST_F(PlotDocumentTest, ZoomChecksInOrder) {
    doc.setFileName(recordsFile("doc4000z.txt", 4000));
    const struct {
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
        EXPECT_EQ(ui.asked[0],
                  (AskedInput{"Enter the starting record number", "Total 4000 records", "1"}));
        if (ui.asked.size() > 1) {
            EXPECT_EQ(ui.asked[1].prompt + "|" + ui.asked[1].title,
                      "Enter the ending record number (max. to_plot records 3600)|"
                      "Total 4000 records");
        }
        EXPECT_EQ(texts(), c.message.empty() ? std::vector<std::string>{}
                                             : std::vector<std::string>{c.message});
        EXPECT_TRUE(c.message.empty() || ui.messages[0].icon == Icon::Exclamation);
    }
    EXPECT_EQ(std::tuple(doc.zoomed(), doc.data().setCount, doc.data().sets[0].size(),
                         doc.data().labelInterval),
              std::tuple(true, 1, std::size_t{3600}, 720));
}

TEST_F(PlotDocumentTest, ScaleBoundsByHandAndFromTheData) {
    // Numbers as the messages and default answers show them; a flat line gets a range round it.
    EXPECT_EQ(numberText(3601) + " " + numberText(2.5) + " " + numberText(-0.125),
              "3601 2.5 -0.125");
    const NiceRange flat = niceRange(5, 5);
    EXPECT_TRUE(flat.low < 5 && flat.high > 5) << flat.low << ".." << flat.high;
    doc.setFileName(recordsFile("doc30.txt", 30)); // watts 1..30
    doc.SelectData(0);
    EXPECT_TRUE(!doc.userScale() && doc.yMin() <= 1 && doc.yMax() >= 30);
    // The present bound is the default answer; the other bound stays (the minimum from the
    // data, the maximum as typed); an empty answer changes nothing.
    const std::string max = "Enter maximum value for Y (vertical) axis";
    const std::string min = "Enter minimum value for Y (vertical) axis";
    const struct {
        int choice;
        const char* typed;
        AskedInput asked;
        double low, high;
    } steps[] = {{2, "100", {max, "Max Y", numberText(doc.yMax())}, 1, 100},
                 {1, "-5", {min, "Min Y", "1"}, -5, 100},
                 {1, "", {min, "Min Y", "-5"}, -5, 100}};
    for (const auto& step : steps) {
        ui.inputs = {step.typed};
        doc.set_scale(step.choice);
        EXPECT_EQ(std::tuple(ui.asked.back(), doc.yMin(), doc.yMax(), doc.userScale()),
                  std::tuple(step.asked, step.low, step.high, true))
            << step.typed;
    }
    doc.set_scale(0);
    EXPECT_FALSE(doc.userScale());
}

TEST_F(PlotDocumentTest, GridTitlesAndLabels) {
    doc.set_grid(2);
    doc.set_grid(4); // refused: the grid stays
    EXPECT_EQ(std::pair(texts(), doc.grid()),
              std::pair(std::vector<std::string>{"No such setting"}, 2));

    ui.inputs = {"Load test", std::nullopt, ""};
    doc.set_title(2);
    doc.set_title(0);
    doc.set_title(1);
    EXPECT_EQ(doc.graphTitle() + "|" + doc.xTitle() + "|" + doc.yTitle(), "Load test|Time|Watt");
    // The present title is the default answer.
    EXPECT_EQ(ui.asked,
              (std::vector<AskedInput>{{"Enter Graph title", "Graph Title", ""},
                                       {"Enter title for the X axis", "X Title", "Time"},
                                       {"Enter title for the Y axis", "Y Title", "Watt"}}));
    doc.set_title(5);
    doc.set_title(3);
    EXPECT_EQ(doc.graphTitle() + "|" + doc.xTitle(), "|");

    doc.setFileName(recordsFile("doc4000l.txt", 4000));
    doc.SelectData(0);
    const auto labels = doc.xLabels(); // 1334 points, K 267
    ASSERT_EQ(labels.size(), 5u);
    doc.set_x_label(1); // then the first record of the point's group
    EXPECT_EQ(std::tuple(labels[1].point, labels[1].text, doc.xLabels().at(1).text),
              std::tuple(268, pa::testing::clockFor(268 * 3 - 2) + ", ", "802"));
    doc.clear_graphics();
    EXPECT_TRUE(doc.xLabels().empty());
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
    EXPECT_EQ(std::pair(data->points(), data->linesNotPlotted),
              std::pair(std::size_t{1334}, std::uint64_t{98}));
    // A file still being written is read to the length it had when opened.
    const std::string growing = recordsFile("growing.txt", 3);
    EXPECT_EQ(pa::testing::countLines(growing,
                                      [&] {
                                          std::ofstream(growing, std::ios::binary | std::ios::app)
                                              << "written meanwhile\r\n";
                                      }),
              3u);
}

} // namespace
