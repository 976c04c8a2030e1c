// The plot window offscreen on recorded files; screenshots go to the build's screenshots
// folder for a look.
#include "plot/PlotFile.h"

#include "../plot/plot_test_files.h"
#include "e2e/program_run.h"
#include "qt/qt_clock.h"
#include "support/recording_port.h"
#include "support/scripted_ui.h"
#include "ui/MeterRec.h"

#include <QApplication>
#include <QDir>
#include <QImage>
#include <QMenuBar>
#include <QProcess>
#include <QtCharts/QCategoryAxis>
#include <QtCharts/QChartView>
#include <QtCharts/QLineSeries>
#include <QtCharts/QValueAxis>
#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

#include "gui/gui_support.h"

namespace {

using pa::plot::PlotFile;

QString shot(const char* name) {
    return pa::testing::screenshotPath(name);
}

QList<QLineSeries*> lines(PlotFile& w) {
    QList<QLineSeries*> out;
    for (auto* s : w.chartView()->chart()->series())
        out.append(static_cast<QLineSeries*>(s));
    return out;
}

// A day-like load curve with a recorded header, as a real file starts.
std::string recordedFile(const char* name, long n) {
    const std::string path = pa::testing::tempFile(name);
    pa::testing::DataFileWriter w(path);
    w.line(pa::testing::headerLine());
    for (long i = 0; i < n; ++i) {
        pa::testing::RecordTexts r;
        r.number = i;
        r.clock = pa::testing::clockFor(i);
        const double watt = 800 + 400 * std::sin(i / 300.0) + (i % 7) * 5;
        r.watt = QString::number(watt, 'f', 1).toStdString();
        r.volt = QString::number(229 + std::cos(i / 50.0), 'f', 1).toStdString();
        r.cost = "0.0";
        w.line(pa::testing::recordLine(r));
    }
    return path;
}

TEST(PlotFileTest, PlotsEachQuantityAndShapesTheGraph) {
    pa::testing::ScriptedUi ui;
    PlotFile window(ui);
    EXPECT_EQ(window.windowTitle(), "Power Analyzer  --  Plot Data ");
    window.resize(1100, 680);
    window.show();
    ui.files.push_back(recordedFile("gui2000.txt", 1999)); // 2000 lines with the header
    window.openfileforplot();
    for (int q = 0; q < 9; ++q) {
        window.SelectData(q);
        ASSERT_EQ(lines(window).size(), 1) << q;
        EXPECT_EQ(lines(window)[0]->count(), 2000) << q;
        auto* y = qobject_cast<QValueAxis*>(window.chartView()->chart()->axes(Qt::Vertical)[0]);
        EXPECT_EQ(y->titleText(), pa::plot::kQuantities[q].title);
    }
    EXPECT_TRUE(ui.messages.empty());
    window.SelectData(0);
    ui.inputs = {"200", "1400", "Load on feeder 3", "Time of day"};
    window.set_scale(1);
    window.set_scale(2);
    window.set_title(2);
    window.set_title(0);
    window.set_grid(1);
    window.StatOption();
    auto* y = qobject_cast<QValueAxis*>(window.chartView()->chart()->axes(Qt::Vertical)[0]);
    EXPECT_EQ(y->min(), 200);
    EXPECT_EQ(y->max(), 1400);
    EXPECT_TRUE(y->isGridLineVisible());
    EXPECT_EQ(window.chartView()->chart()->title(), "Load on feeder 3");
    EXPECT_EQ(lines(window).size(), 2) << "the mean line of the statistics";
    auto* x = qobject_cast<QCategoryAxis*>(window.chartView()->chart()->axes(Qt::Horizontal)[0]);
    ASSERT_EQ(x->categoriesLabels().size(), 5);
    EXPECT_EQ(x->categoriesLabels()[1], QString::fromStdString(pa::testing::clockFor(399)));
    QApplication::processEvents();
    EXPECT_TRUE(window.grab().save(shot("plot_file.png")));

    ui.inputs = {"101", "400"};
    window.ZoomIn();
    EXPECT_EQ(lines(window)[0]->count(), 300);
    window.set_x_label(1);
    x = qobject_cast<QCategoryAxis*>(window.chartView()->chart()->axes(Qt::Horizontal)[0]);
    EXPECT_EQ(x->categoriesLabels()[0], "101");
    QApplication::processEvents();
    EXPECT_TRUE(window.grab().save(shot("plot_file_zoom.png")));

    const QString png = shot("plot_file_export.png");
    ASSERT_EQ(window.savePng(png, {900, 500}), "");
    const QImage image(png);
    EXPECT_EQ(image.size(), QSize(900, 500));
    // The series pen runs across the plot: the columns it touches span most of the width.
    int firstColumn = image.width(), lastColumn = -1;
    for (int px = 0; px < image.width(); ++px)
        for (int py = 0; py < image.height(); ++py)
            if (qBlue(image.pixel(px, py)) > 150 && qRed(image.pixel(px, py)) < 100) {
                firstColumn = std::min(firstColumn, px);
                lastColumn = px;
                break;
            }
    EXPECT_GT(lastColumn - firstColumn, image.width() / 2) << "the series was drawn across";
    const QString pdf = shot("plot_file_export.pdf");
    ASSERT_EQ(window.savePdf(pdf), "");
    EXPECT_EQ(pa::testing::pdfPages(pdf), 1);

    window.clear_graphics();
    EXPECT_TRUE(lines(window).isEmpty());
}

TEST(PlotFileTest, LongFileDrawsTheEnvelope) {
    pa::testing::ScriptedUi ui;
    PlotFile window(ui);
    window.resize(1100, 680);
    window.show();
    window.document().setFileName(recordedFile("gui20000.txt", 19999));
    window.SelectData(0);
    ASSERT_EQ(ui.messages.size(), 1u);
    EXPECT_EQ(ui.messages[0].text, "Records more than 3600, STATIStics function disabled");
    ASSERT_EQ(lines(window).size(), 2);
    EXPECT_EQ(lines(window)[0]->count(), 1667); // S 12 for 20000 records
    EXPECT_FALSE(window.findChild<QAction*>("StatOption")->isEnabled());
    QApplication::processEvents();
    EXPECT_TRUE(window.grab().save(shot("plot_file_envelope.png")));
}

TEST(PlotFileTest, MainWindowPausesLiveSamplingWhileThePlotIsOpen) {
    pa::app::ProgramState state;
    pa::testing::RecordingPort port;
    pa::qt::QtClock clock;
    pa::testing::ScriptedUi ui;
    pa::ui::MeterRec main(state, port, clock, ui);
    main.link().SetLiveSampling(1);
    ASSERT_TRUE(main.timer1().isActive());
    QAction* item = main.findChild<QAction*>("PlotData");
    ASSERT_TRUE(item);
    ASSERT_TRUE(item->isEnabled());
    item->trigger();
    auto* plot = main.findChild<PlotFile*>();
    ASSERT_TRUE(plot);
    EXPECT_TRUE(plot->isVisible());
    EXPECT_FALSE(main.timer1().isActive());
    plot->exit_plot();
    EXPECT_TRUE(main.timer1().isActive());
}

} // namespace

namespace {

// The command line's plot subcommand, run as a user runs it.
pa::testing::ProgramRun runCli(const QStringList& args) {
    return pa::testing::runCli(QStringList{"plot"} + args);
}

TEST(PlotCliTest, PointsStatsImagesAndRefusals) {
    const std::string five = pa::testing::recordsFile("cli5.txt", 5);
    pa::testing::ProgramRun r =
        runCli({QString::fromStdString(five), "--points", "--stats", "--quantity", "0"});
    ASSERT_EQ(r.status, 0) << r.err.toStdString();
    const QStringList lines = r.out.split('\n', Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 10); // 5 points, 5 statistics lines
    EXPECT_EQ(lines[0], "1,1,1,\"08:00:01.0, \"");
    EXPECT_EQ(lines[4], "1,5,5,\"08:00:05.0, \"");
    EXPECT_EQ(lines[8], "mean 3");

    const QString png = shot("cli_plot.png");
    QFile::remove(png);
    r = runCli(
        {QString::fromStdString(five), "--zoom", "2", "4", "--png", png, "--size", "640x360"});
    EXPECT_EQ(r.status, 0) << r.err.toStdString();
    EXPECT_EQ(QImage(png).size(), QSize(640, 360));

    r = runCli({QString::fromStdString(five), "--zoom", "4", "4", "--points"});
    EXPECT_NE(r.status, 0);
    EXPECT_TRUE(r.err.contains("End record <= Start record"));

    const std::string odd = pa::testing::tempFile("cli_odd.txt");
    pa::testing::DataFileWriter(odd).raw("1\r\n2\r\n3\r\n");
    r = runCli({QString::fromStdString(odd), "--points"});
    EXPECT_NE(r.status, 0);
    EXPECT_TRUE(r.err.contains("Inncorrect file format, proceed anyway"));
    r = runCli({QString::fromStdString(odd), "--points", "--force"});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out.count('\n'), 3);

    EXPECT_NE(runCli({"--points"}).status, 0);
    EXPECT_NE(runCli({QString::fromStdString(five)}).status, 0) << "nothing to do";
    EXPECT_NE(runCli({QString::fromStdString(five), "--points", "--quantity", "9"}).status, 0);
}

} // namespace
