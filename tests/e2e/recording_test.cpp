// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// Recording from the real main window (offscreen) against the simulator on a pseudo-
// terminal: automatic and manual records, failures of the disk, the file viewer, and the
// command-line recorder writing the same lines.
#include "e2e/window_rig.h"

#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPrinter>
#include <QProcess>
#include <QPushButton>
#include <QScrollBar>

#include <csignal>
#include <fstream>

namespace {

namespace fs = std::filesystem;
using pa::testing::menuItem;
using pa::testing::readLines;
using pa::testing::splitFields;
using pa::testing::waitFor;

void typeInto(QLineEdit* edit, const QString& text) {
    edit->setFocus();
    edit->selectAll();
    for (QChar c : text) {
        QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, QString(c));
        QApplication::sendEvent(edit, &press);
    }
    QKeyEvent enter(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
    QApplication::sendEvent(edit, &enter);
}

// A record line with its clock text and energy count (which move with the run) masked.
std::string masked(std::string line) {
    return line.size() < 122 ? line : line.replace(23, 10, 10, '#').replace(108, 14, 14, '#');
}

struct RecordingTest : ::testing::Test, pa::testing::WindowRig {
    void SetUp() override {
        ASSERT_TRUE(waitFor([&] { return !window.cycle().readouts().clockText.empty(); }));
    }
    // Which of Create, Start and End can be chosen, as "CSE" with "-" for a greyed item.
    std::string menus() {
        return std::string(enabled("FileCreate") ? "C" : "-") + (enabled("FileStart") ? "S" : "-") +
               (enabled("FileEnd") ? "E" : "-");
    }
    QLineEdit* first() { return window.findChild<QLineEdit*>("Text1"); }
};

// Five automatic records at half-second sampling: the menus and the status window around
// them, the lines (what the simulator sent and what follows from it), the last line shown
// and the record number box.
TEST_F(RecordingTest, AutomaticRecordsAndTheMenusAroundThem) {
    EXPECT_EQ(menus(), "C--");
    window.cycle().applySamplingTime("0.5");
    create("auto.csv");
    EXPECT_EQ(window.findChild<QAction*>("FileCreate")->text(), "&Create Data File = auto.txt");
    EXPECT_EQ(menus(), "CS-");
    startRecording("Now(Auto)");
    EXPECT_EQ(menus(), "--E");
    EXPECT_EQ(first()->text(), "0");
    EXPECT_FALSE(window.findChild<QPushButton*>("Record")->isVisibleTo(&window));
    EXPECT_TRUE(ui.statusVisible);
    EXPECT_EQ(ui.statusTextNow, "Recording !");
    ASSERT_TRUE(waitFor([&] { return recorder().recordsWritten() == 5; }, 9000));
    endRecording();
    EXPECT_FALSE(ui.statusVisible);
    EXPECT_EQ(menus(), "C--");
    EXPECT_EQ(window.findChild<QAction*>("FileCreate")->text(), "&Create Data File");

    // What the simulator sent (230 V, 0.55 A, PF 0.92) and what follows from it.
    const auto lines = readLines(dataFile("auto.txt"));
    ASSERT_EQ(lines.size(), 6u);
    EXPECT_EQ(lines[0], "      No.s,       Date,      Time, Wattage,      PF, Voltage, Current,"
                        "Phase angle,         VA,          VAR,          KWH,     KWH/month Cost");
    for (int r = 0; r < 5; ++r) {
        SCOPED_TRACE(lines[1 + r]);
        EXPECT_EQ(masked(lines[1 + r]),
                  std::string(9, ' ') + std::to_string(r) + ", " + pa::testing::today() +
                      ",##########,  116.4W, .920 PF,    230V,   .550A,       23.1,   126.50VA,"
                      "     49.53VAR,##############    0.00/month 0$0.00");
        EXPECT_TRUE(lines[1 + r].substr(108, 14).ends_with("KWH,"));
        if (r > 0) {
            EXPECT_GT(lines[1 + r].substr(23, 10), lines[r].substr(23, 10)) << "one per clock";
        }
    }
    EXPECT_EQ(window.findChild<QLabel*>("Label2")->text().toStdString(), lines[5].substr(11));
    EXPECT_EQ(first()->text(), "4");
}

// A disk with no room for the header, a disk that fills while recording (the lines before
// stay), a profile under which no folder can be made: each said with the path and reason,
// and the live cycle goes on.
TEST_F(RecordingTest, DiskFaultsAreReportedAndEarlierLinesKept) {
    ui.messages.clear(); // the start-up prompt
    {
        pa::testing::FileSizeLimit full(0);
        create("full");
    }
    ASSERT_EQ(ui.messages.size(), 1u);
    EXPECT_NE(ui.messages[0].text.find(dataFile("full.txt").string()), std::string::npos);
    EXPECT_NE(ui.messages[0].text.find("File too large"), std::string::npos);
    EXPECT_EQ(menus(), "C--");

    create("mid");
    startRecording("Now(Auto)");
    ASSERT_TRUE(waitFor([&] { return recorder().recordsWritten() >= 1; }));
    fs::rename(dataFile("mid.txt"), dataFile("kept.txt"));
    fs::create_symlink("/dev/full", dataFile("mid.txt"));
    ASSERT_TRUE(waitFor([&] { return ui.messages.size() == 2; }));
    EXPECT_NE(ui.messages[1].text.find(dataFile("mid.txt").string()), std::string::npos);
    EXPECT_EQ(menus(), "C--");
    EXPECT_FALSE(ui.statusVisible);
    const auto kept = readLines(dataFile("kept.txt"));
    ASSERT_GE(kept.size(), 2u);
    for (std::size_t i = 1; i < kept.size(); ++i)
        EXPECT_EQ(splitFields(kept[i])[3], "  116.4W,") << kept[i];

    const fs::path plain = profile.path() / "plain";
    std::ofstream(plain) << "x";
    qputenv("HOME", plain.string().c_str());
    create("test");
    ASSERT_EQ(ui.messages.size(), 3u);
    EXPECT_NE(ui.messages[2].text.find((plain / "Documents").string() + ": Not a directory"),
              std::string::npos)
        << ui.messages[2].text;
    EXPECT_EQ(menus(), "C--");
    EXPECT_TRUE(window.timer2().isActive()) << "the live cycle goes on";
}

// A million lines show at once while the rest is indexed; sampling pauses while the viewer
// is open and resumes when it closes or the file dialog is cancelled.
TEST_F(RecordingTest, ViewerOpensAMillionLinesAtOnceAndPausesSampling) {
    fs::create_directories(dataFile("").parent_path());
    {
        std::string all;
        char line[32];
        for (int i = 0; i < 1'000'000; ++i)
            all.append(line, std::snprintf(line, sizeof line, "line %07d\r\n", i));
        std::ofstream(dataFile("big.txt"), std::ios::binary) << all;
    }
    ui.files.push_back(dataFile("big.txt").string());
    QElapsedTimer opening;
    opening.start();
    window.viewFile();
    EXPECT_LT(opening.elapsed(), 1000) << "the first lines come before the whole file is read";
    pa::ui::VIEW* viewer = window.viewer();
    ASSERT_TRUE(viewer);
    EXPECT_EQ(ui.startPaths.back(), dataFile(".txt").string());
    EXPECT_FALSE(window.link().sampling());
    EXPECT_FALSE(window.timer2().isActive());
    EXPECT_EQ(viewer->windowTitle(), "View File - big.txt");
    menuItem(&window, "Chinese")->trigger();
    EXPECT_EQ(viewer->windowTitle(), "瀏覽檔案 - big.txt") << "the viewer follows the language";

    viewer->grab();
    ASSERT_FALSE(viewer->lineView()->shownLines().empty());
    EXPECT_EQ(viewer->lineView()->shownLines().front(), "line 0000000");
    ASSERT_TRUE(waitFor([&] { return viewer->index().complete(); }));
    EXPECT_EQ(viewer->index().lineCount(), 1'000'000u);
    QKeyEvent end(QEvent::KeyPress, Qt::Key_End, Qt::ControlModifier);
    QApplication::sendEvent(viewer->lineView(), &end);
    viewer->grab();
    EXPECT_EQ(viewer->lineView()->shownLines().back(), "line 0999999");
    EXPECT_EQ(viewer->lineView()->horizontalScrollBar()->maximum(), 0) << "short lines fit";

    viewer->close();
    EXPECT_TRUE(window.link().sampling()) << "closing the viewer resumes the live cycle";
    window.viewFile(); // the file dialog cancelled
    EXPECT_EQ(window.viewer(), nullptr);
    EXPECT_TRUE(window.timer2().isActive());
}

// Long lines scroll sideways; a printout takes the orientation chosen, and landscape pages
// hold fewer lines.
TEST_F(RecordingTest, ViewerPrintsInBothOrientations) {
    fs::create_directories(dataFile("").parent_path());
    {
        std::ofstream out(dataFile("print.txt"), std::ios::binary);
        for (int i = 0; i < 150; ++i)
            out << pa::testing::noComLine("10:00:00.0") << "\r\n";
    }
    ui.files.push_back(dataFile("print.txt").string());
    window.viewFile();
    pa::ui::VIEW* viewer = window.viewer();
    ASSERT_TRUE(viewer);
    viewer->show();
    viewer->grab();
    EXPECT_GT(viewer->lineView()->horizontalScrollBar()->maximum(), 0);
    int pages[2] = {};
    const QPageLayout::Orientation orientations[] = {QPageLayout::Portrait, QPageLayout::Landscape};
    for (int i = 0; i < 2; ++i) {
        viewer->setOrientation(orientations[i]);
        const QString pdf = QString::fromStdString(dataFile("print" + std::to_string(i)).string());
        QPrinter printer(QPrinter::HighResolution);
        printer.setOutputFormat(QPrinter::PdfFormat);
        printer.setOutputFileName(pdf);
        viewer->preparePrinter(printer);
        EXPECT_EQ(printer.pageLayout().orientation(), orientations[i]);
        viewer->print(printer);
        pages[i] = pa::testing::pdfPages(pdf);
    }
    EXPECT_GE(pages[0], 2);
    EXPECT_GT(pages[1], pages[0]);
    viewer->close();
}

// The day period, 8 hours a day at 0.5 a kWh, half-second sampling: the command line writes
// the window's header and lines (date, time and energy count aside) and echoes them.
TEST_F(RecordingTest, CommandLineRecorderWritesTheWindowsLines) {
    window.findChild<QComboBox*>("Combo1")->setCurrentIndex(1);
    typeInto(window.findChild<QLineEdit*>("set_hrs_per_day"), "8");
    typeInto(window.findChild<QLineEdit*>("set_d_per_kwh"), "0.5");
    window.cycle().applySamplingTime("0.5");
    create("window");
    startRecording("Now(Auto)");
    ASSERT_TRUE(waitFor([&] { return recorder().recordsWritten() == 3; }));
    endRecording();

    pa::sim::PtyHost other(load);
    ASSERT_TRUE(other.start());
    const std::string out = (profile.path() / "cli.txt").string();
    QProcess cli;
    cli.start(PA_CLI_PROGRAM, {"record", "--port", QString::fromStdString(other.devicePath()),
                               "--out", QString::fromStdString(out), "--interval", "0.5", "--count",
                               "3", "--period", "day", "--hours", "8", "--price", "0.5"});
    ASSERT_TRUE(cli.waitForFinished(20000));
    EXPECT_EQ(cli.exitCode(), 0) << cli.readAllStandardError().toStdString();

    const auto fromWindow = readLines(dataFile("window.txt"));
    const auto fromCli = readLines(out);
    ASSERT_EQ(fromWindow.size(), 4u);
    ASSERT_EQ(fromCli.size(), 4u);
    EXPECT_EQ(fromCli[0], fromWindow[0]);
    EXPECT_TRUE(fromWindow[0].ends_with("       KWH/day Cost"));
    for (int i = 1; i < 4; ++i) // the dates may differ too
        EXPECT_EQ(masked(fromCli[i]).replace(11, 12, 12, '#'),
                  masked(fromWindow[i]).replace(11, 12, 12, '#'));
    EXPECT_EQ(fromWindow[3].substr(122), "      0.93/day 8$0.47");
    EXPECT_EQ(cli.readAllStandardOutput().toStdString(),
              fromCli[1] + "\n" + fromCli[2] + "\n" + fromCli[3] + "\n");
}

// Ctrl-C at a terminal or SIGTERM from the service manager: status 0, every line whole.
TEST(RecordCommand, CtrlCAndSigtermEndWithEveryLineWhole) {
    for (const int signal : {SIGINT, SIGTERM}) {
        SCOPED_TRACE(signal);
        pa::testing::TempFolder folder;
        const QString out = QString::fromStdString((folder.path() / "run.txt").string());
        QProcess cli;
        cli.start(PA_CLI_PROGRAM, {"record", "--simulate", "--out", out, "--interval", "0.5"});
        ASSERT_TRUE(waitFor([&] { return cli.canReadLine(); }, 10000));
        ::kill(static_cast<pid_t>(cli.processId()), signal);
        ASSERT_TRUE(cli.waitForFinished(5000));
        EXPECT_EQ(cli.exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(cli.exitCode(), 0);
        const auto lines = readLines(out.toStdString());
        ASSERT_GE(lines.size(), 2u);
        for (std::size_t i = 1; i < lines.size(); ++i)
            EXPECT_TRUE(lines[i].ends_with("0$0.00")) << "a whole record line: " << lines[i];
    }
}

// --rotate daily names the file by its date, year first.
TEST(RecordCommand, DailyRotationNamesTheFileByDate) {
    pa::testing::TempFolder folder;
    const QString out = QString::fromStdString((folder.path() / "run.txt").string());
    QProcess cli;
    cli.start(PA_CLI_PROGRAM, {"record", "--simulate", "--out", out, "--interval", "0.5", "--count",
                               "2", "--rotate", "daily"});
    ASSERT_TRUE(cli.waitForFinished(20000));
    const std::string err = cli.readAllStandardError().toStdString();
    ASSERT_EQ(cli.exitCode(), 0) << err;
    const std::string day = QDate::currentDate().toString("yyyy-MM-dd").toStdString();
    const auto file = folder.path() / ("run-" + day + ".txt");
    EXPECT_NE(err.find("recording into " + file.string()), std::string::npos) << err;
    EXPECT_EQ(readLines(file).size(), 3u);
}

} // namespace
