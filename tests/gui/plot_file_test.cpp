// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The plot window offscreen on recorded files, and the command line's plot subcommand.
#include "plot/PlotFile.h"

#include "../plot/plot_test_files.h"
#include "e2e/program_run.h"

#include <QImage>
#include <QtCharts/QCategoryAxis>
#include <QtCharts/QChartView>
#include <QtCharts/QLineSeries>
#include <QtCharts/QValueAxis>
#include <cmath>

#include "gui/gui_support.h"

namespace {

using pa::plot::PlotFile;

QList<QLineSeries*> lines(PlotFile& w) {
    QList<QLineSeries*> out;
    for (auto* s : w.chartView()->chart()->series())
        out.append(static_cast<QLineSeries*>(s));
    return out;
}

template <class Axis> Axis* axis(PlotFile& w, Qt::Orientation o) {
    return qobject_cast<Axis*>(w.chartView()->chart()->axes(o)[0]);
}

// A day-like load curve with a recorded header, as a real file starts.
std::string recordedFile(const char* name, long n) {
    return pa::testing::writeRecording(pa::testing::tempFile(name), n, [](long i) {
        return 800 + 400 * std::sin(i / 300.0) + static_cast<double>(i % 7) * 5;
    });
}

// A quantity plots every record under its title; scale, titles, grid, statistics, zoom and
// the record-number axis shape the graph, which exports as a picture and a one-page PDF. A
// long file is drawn as its envelope (two lines), with statistics off and said so.
TEST(PlotFileTest, PlotsEachQuantityAndShapesTheGraph) {
    pa::testing::ScriptedUi ui;
    PlotFile window(ui);
    EXPECT_EQ(window.windowTitle(), "Power Analyzer  --  Plot Data ");
    window.resize(1100, 680);
    window.show();
    ui.files.push_back(recordedFile("gui2000.txt", 1999)); // 2000 lines with the header
    window.openfileforplot();
    // Each quantity's titles and columns: the document's tests; here the chart follows them.
    window.SelectData(8);
    ASSERT_EQ(lines(window).size(), 1);
    EXPECT_EQ(std::make_tuple(lines(window)[0]->count(),
                              axis<QValueAxis>(window, Qt::Vertical)->titleText(),
                              ui.messages.size()),
              std::make_tuple(2000, QString("Est. KWH"), std::size_t{0}));
    window.SelectData(0);
    ui.inputs = {"200", "1400", "Load on feeder 3", "Time of day"};
    window.set_scale(1);
    window.set_scale(2);
    window.set_title(2);
    window.set_title(0);
    window.set_grid(1);
    window.StatOption();
    auto* y = axis<QValueAxis>(window, Qt::Vertical);
    // The second line is the mean of the statistics.
    EXPECT_EQ(std::make_tuple(y->min(), y->max(), y->isGridLineVisible(),
                              window.chartView()->chart()->title(), lines(window).size()),
              std::make_tuple(200.0, 1400.0, true, QString("Load on feeder 3"), qsizetype(2)));
    auto* x = axis<QCategoryAxis>(window, Qt::Horizontal);
    EXPECT_EQ(x->categoriesLabels().value(1), QString::fromStdString(pa::testing::clockFor(399)));

    ui.inputs = {"101", "400"};
    window.ZoomIn();
    EXPECT_EQ(lines(window)[0]->count(), 300);
    window.set_x_label(1);
    EXPECT_EQ(axis<QCategoryAxis>(window, Qt::Horizontal)->categoriesLabels()[0], "101");

    const QString png = pa::testing::screenshotPath("plot_file_export.png");
    ASSERT_EQ(window.savePng(png, {900, 500}), "");
    EXPECT_EQ(QImage(png).size(), QSize(900, 500));
    const QString pdf = pa::testing::screenshotPath("plot_file_export.pdf");
    ASSERT_EQ(window.savePdf(pdf), "");
    EXPECT_EQ(pa::testing::pdfPages(pdf), 1);
    window.clear_graphics();
    EXPECT_TRUE(lines(window).isEmpty());

    window.document().setFileName(recordedFile("gui4000.txt", 3999)); // groups of 3
    window.SelectData(0);
    ASSERT_EQ(lines(window).size(), 2);
    EXPECT_EQ(std::make_tuple(lines(window)[1]->count(), ui.messages.size(),
                              window.findChild<QAction*>("StatOption")->isEnabled()),
              std::make_tuple(1334, std::size_t{1}, false));
}

// The command line's plot subcommand, run as a user runs it: a zoomed picture of the size
// asked for, and an odd file plotted when forced. (Its points, statistics and refusals: the
// command-line tests.)
TEST(PlotCliTest, ZoomedPictureAndForcedFile) {
    const QString five = QString::fromStdString(pa::testing::recordsFile("cli5.txt", 5));
    const QString png = pa::testing::screenshotPath("cli_plot.png");
    QFile::remove(png);
    pa::testing::ProgramRun r =
        pa::testing::runCli({"plot", five, "--zoom", "2", "4", "--png", png, "--size", "640x360"});
    EXPECT_EQ(r.status, 0) << r.err.toStdString();
    EXPECT_EQ(QImage(png).size(), QSize(640, 360));
    const QString odd = QString::fromStdString(pa::testing::tempFile("cli_odd.txt"));
    pa::testing::DataFileWriter(odd.toStdString()).raw("1\r\n2\r\n3\r\n");
    r = pa::testing::runCli({"plot", odd, "--points", "--force"});
    EXPECT_EQ(std::make_pair(r.status, r.out.count('\n')), std::make_pair(0, qsizetype(3)));
}

} // namespace
