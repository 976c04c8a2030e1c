// Recording from the real main window (offscreen) against the simulator on a pseudo-
// terminal: automatic and manual records, lost-communication lines, failures of the disk,
// the file viewer, and the command-line recorder writing the same lines.
#include "ui/MeterRec.h"

#include "datafile/data_file.h"
#include "gui/gui_support.h"
#include "pty_host.h"
#include "qt/qt_clock.h"
#include "qt/qt_port.h"
#include "support/data_file_writer.h"
#include "support/scripted_ui.h"
#include "support/test_files.h"
#include "text/leading_number.h"

#include <QComboBox>
#include <QDate>
#include <QDir>
#include <QFileInfo>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QPrinter>
#include <QProcess>
#include <QPushButton>
#include <QScrollBar>
#include <gtest/gtest.h>

#include <csignal>

namespace {

namespace fs = std::filesystem;
using pa::datafile::RecordingState;
using pa::testing::menuItem;
using pa::testing::readLines;
using pa::testing::screenshotPath;
using pa::testing::splitFields;
using pa::testing::waitFor;
using pa::ui::MeterRec;

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

double clockSeconds(const std::string& clock) {
    return std::stoi(clock.substr(0, 2)) * 3600 + std::stoi(clock.substr(3, 2)) * 60 +
           pa::text::leadingNumber(clock.substr(6));
}

std::string today() {
    return QDate::currentDate().toString("MM-dd-yyyy").toStdString();
}

class RecordingTest : public ::testing::Test {
  protected:
    void SetUp() override {
        load.noise = 0;
        sim = std::make_unique<pa::sim::PtyHost>(load);
        ASSERT_TRUE(sim->start());
        window.startup();
        window.openPort(sim->devicePath());
        ASSERT_TRUE(waitFor([&] { return !window.cycle().readouts().clockText.empty(); }));
    }
    fs::path dataFile(const std::string& name) const {
        return profile.path() / "Documents" / "KV2260" / name;
    }
    void create(const std::string& typed) {
        ui.inputs.push_back(typed);
        window.findChild<QAction*>("FileCreate")->trigger();
    }
    void startRecording(const char* how) {
        emit window.findChild<QMenu*>("FileStart")->aboutToShow();
        menuItem(&window, how)->trigger();
    }
    void endRecording() { window.findChild<QAction*>("FileEnd")->trigger(); }
    bool enabled(const char* name) {
        if (auto* menu = window.findChild<QMenu*>(name))
            return menu->isEnabled();
        return window.findChild<QAction*>(name)->isEnabled();
    }
    pa::datafile::Recorder& recorder() { return window.recorder(); }

    pa::testing::TempFolder profile;
    pa::testing::InFolder inProfile{profile.path()};
    pa::sim::Load load;
    std::unique_ptr<pa::sim::PtyHost> sim;
    pa::app::ProgramState state;
    pa::qt::QtPort port;
    pa::qt::QtClock clock;
    pa::testing::ScriptedUi ui;
    MeterRec window{state, port, clock, ui};
};

TEST_F(RecordingTest, AutomaticManualAndLostCommunication) {
    EXPECT_TRUE(enabled("FileCreate"));
    EXPECT_FALSE(enabled("FileStart"));
    EXPECT_FALSE(enabled("FileEnd"));

    // Five automatic records at half-second sampling.
    window.cycle().applySamplingTime("0.5");
    create("auto.csv");
    EXPECT_EQ(window.findChild<QAction*>("FileCreate")->text(), "&Create Data File = auto.txt");
    EXPECT_TRUE(enabled("FileStart"));
    startRecording("Now(Auto)");
    EXPECT_EQ(window.findChild<QLineEdit*>("Text1")->text(), "0");
    EXPECT_TRUE(window.findChild<QLineEdit*>("Text1")->isVisibleTo(&window));
    EXPECT_TRUE(enabled("FileEnd"));
    EXPECT_FALSE(enabled("FileCreate"));
    EXPECT_FALSE(enabled("FileStart"));
    EXPECT_FALSE(window.findChild<QPushButton*>("Record")->isVisibleTo(&window));
    EXPECT_TRUE(ui.statusVisible);
    EXPECT_EQ(ui.statusTextNow, "Recording !");
    ASSERT_TRUE(waitFor([&] { return recorder().recordsWritten() == 5; }, 9000));
    window.grab().save(screenshotPath("meterrec_recording.png"));
    endRecording();
    EXPECT_FALSE(ui.statusVisible);
    EXPECT_FALSE(enabled("FileEnd"));
    EXPECT_FALSE(enabled("FileStart"));
    EXPECT_EQ(window.findChild<QAction*>("FileCreate")->text(), "&Create Data File");

    const auto lines = readLines(dataFile("auto.txt"));
    ASSERT_EQ(lines.size(), 6u);
    EXPECT_EQ(lines[0], pa::testing::headerLine("month"));
    // What the simulator sent (230 V, 0.55 A, PF 0.92) and what follows from it; the clock
    // and the energy count move with the run.
    pa::testing::RecordTexts texts;
    texts.date = today(), texts.watt = "116.4", texts.pf = ".920", texts.volt = "230",
    texts.amp = ".550", texts.angle = "23.1", texts.va = "126.50", texts.var = "49.53",
    texts.perPeriod = "0.00", texts.cost = "$0.00";
    double previous = -1;
    for (int r = 0; r < 5; ++r) {
        std::string line = lines[1 + r];
        ASSERT_EQ(line.size(), 143u) << line;
        const double t = clockSeconds(line.substr(23, 10));
        EXPECT_GT(t, previous) << "one record per clock text";
        previous = t;
        EXPECT_TRUE(line.substr(108, 14).ends_with("KWH,")) << line;
        texts.number = r;
        line.replace(23, 10, texts.clock).replace(108, 14, 14, '#');
        EXPECT_EQ(line, pa::testing::recordLine(texts).replace(108, 14, 14, '#'));
    }
    EXPECT_EQ(window.findChild<QLabel*>("Label2")->text().toStdString(), lines[5].substr(11));
    EXPECT_EQ(window.findChild<QLineEdit*>("Text1")->text(), "4");

    // Two manual records from 41; several presses give one.
    // As a user gets there: the first opening of Start Recording shows the box at "0", the
    // number is typed into it, and the menu is opened again to choose Manually.
    create("manual");
    emit window.findChild<QMenu*>("FileStart")->aboutToShow();
    EXPECT_EQ(window.findChild<QLineEdit*>("Text1")->text(), "0") << "a new file starts at 0";
    typeInto(window.findChild<QLineEdit*>("Text1"), "41");
    startRecording("Manually");
    EXPECT_EQ(window.findChild<QLineEdit*>("Text1")->text(), "41");
    auto* record = window.findChild<QPushButton*>("Record");
    EXPECT_TRUE(record->isVisibleTo(&window));
    for (int i = 0; i < 3; ++i)
        record->click();
    ASSERT_TRUE(waitFor([&] { return recorder().recordsWritten() == 1; }));
    const std::string clockAfterFirst = window.cycle().readouts().clockText;
    ASSERT_TRUE(waitFor([&] { return window.cycle().readouts().clockText != clockAfterFirst; }));
    const std::string clockLater = window.cycle().readouts().clockText;
    ASSERT_TRUE(waitFor([&] { return window.cycle().readouts().clockText != clockLater; }));
    EXPECT_EQ(recorder().recordsWritten(), 1) << "no record without a press";
    record->click();
    ASSERT_TRUE(waitFor([&] { return recorder().recordsWritten() == 2; }));

    // The instrument goes silent: one lost-communication line per clock text.
    sim->withInstrument([](pa::sim::Instrument& i) { i.setFault(pa::sim::Fault::Silent); });
    ASSERT_TRUE(waitFor([&] { return recorder().linesWritten() >= 5; }));
    endRecording();
    sim->withInstrument([](pa::sim::Instrument& i) { i.setFault(pa::sim::Fault::None); });

    const auto manual = readLines(dataFile("manual.txt"));
    ASSERT_GE(manual.size(), 6u);
    EXPECT_EQ(manual[1].substr(0, 11), "        41,");
    EXPECT_EQ(manual[2].substr(0, 11), "        42,");
    EXPECT_EQ(splitFields(manual[2])[3], "  116.4W,");
    double last = 0;
    for (std::size_t i = 3; i < manual.size(); ++i) {
        const std::string clockText = manual[i].substr(12, 10);
        EXPECT_EQ(manual[i], pa::testing::lostCommunicationLine(today(), clockText));
        EXPECT_EQ(manual[i].size(), 143u);
        EXPECT_GT(clockSeconds(clockText), last) << "one line per clock text";
        last = clockSeconds(clockText);
    }
}

TEST_F(RecordingTest, DiskFaultsAreReportedAndEarlierLinesKept) {
    // A disk with no room for the header line (a file-size limit of nothing).
    ui.messages.clear(); // the start-up prompt
    {
        pa::testing::FileSizeLimit full(0);
        create("full");
    }
    ASSERT_EQ(ui.messages.size(), 1u);
    EXPECT_NE(ui.messages[0].text.find(dataFile("full.txt").string()), std::string::npos);
    EXPECT_NE(ui.messages[0].text.find("File too large"), std::string::npos);
    EXPECT_FALSE(enabled("FileStart"));
    EXPECT_TRUE(enabled("FileCreate"));

    // The disk fills while recording: recording stops, the lines before stay.
    create("mid");
    startRecording("Now(Auto)");
    ASSERT_TRUE(waitFor([&] { return recorder().recordsWritten() >= 1; }));
    fs::rename(dataFile("mid.txt"), dataFile("kept.txt"));
    fs::create_symlink("/dev/full", dataFile("mid.txt"));
    ASSERT_TRUE(waitFor([&] { return ui.messages.size() == 2; }));
    EXPECT_NE(ui.messages[1].text.find(dataFile("mid.txt").string()), std::string::npos);
    EXPECT_FALSE(enabled("FileEnd"));
    EXPECT_TRUE(enabled("FileCreate"));
    EXPECT_FALSE(ui.statusVisible);
    const auto kept = readLines(dataFile("kept.txt"));
    ASSERT_GE(kept.size(), 2u);
    for (std::size_t i = 1; i < kept.size(); ++i)
        EXPECT_EQ(splitFields(kept[i])[3], "  116.4W,") << kept[i];

    // A profile under which no folder can be made.
    const fs::path plain = profile.path() / "plain";
    std::ofstream(plain) << "x";
    qputenv("HOME", plain.string().c_str());
    create("test");
    ASSERT_EQ(ui.messages.size(), 3u);
    EXPECT_NE(ui.messages[2].text.find((plain / "Documents").string() + ": Not a directory"),
              std::string::npos)
        << ui.messages[2].text;
    EXPECT_FALSE(enabled("FileStart"));
    EXPECT_TRUE(window.timer2().isActive()) << "the live cycle goes on";
}

TEST_F(RecordingTest, ViewerOpensAMillionLinesAtOnceAndPausesSampling) {
    fs::create_directories(dataFile("").parent_path());
    {
        std::string all;
        all.reserve(15'000'000);
        char line[32];
        for (int i = 0; i < 1'000'000; ++i)
            all.append(line, std::snprintf(line, sizeof line, "line %07d\r\n", i));
        std::ofstream(dataFile("big.txt"), std::ios::binary) << all;
    }
    ui.files.push_back(dataFile("big.txt").string());
    QElapsedTimer opening;
    opening.start();
    window.viewFile();
    const qint64 openMs = opening.elapsed();
    pa::ui::VIEW* viewer = window.viewer();
    ASSERT_TRUE(viewer);
    EXPECT_LT(openMs, 1000) << "the first lines come before the whole file is read";
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
    viewer->grab().save(screenshotPath("view_end.png"));
    EXPECT_EQ(viewer->lineView()->shownLines().back(), "line 0999999");
    EXPECT_EQ(viewer->lineView()->horizontalScrollBar()->maximum(), 0) << "short lines fit";

    viewer->close();
    EXPECT_TRUE(window.link().sampling()) << "closing the viewer resumes the live cycle";
    EXPECT_TRUE(window.timer2().isActive());

    // Cancelling the file dialog resumes at once.
    window.viewFile();
    EXPECT_EQ(window.viewer(), nullptr);
    EXPECT_TRUE(window.timer2().isActive());
}

// Pages of a printout: Qt writes one "/Type /Page" object per page.
int pdfPages(const QString& path) {
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    const QByteArray all = file.readAll();
    return static_cast<int>(all.count("/Type /Page\n") + all.count("/Type /Page "));
}

TEST_F(RecordingTest, ViewerPrintsInBothOrientations) {
    fs::create_directories(dataFile("").parent_path());
    {
        std::ofstream out(dataFile("print.txt"), std::ios::binary);
        out << pa::testing::headerLine("month") << "\r\n";
        for (int i = 0; i < 150; ++i)
            out << pa::testing::lostCommunicationLine("11-22-2026", "10:00:00.0") << "\r\n";
    }
    ui.files.push_back(dataFile("print.txt").string());
    window.viewFile();
    pa::ui::VIEW* viewer = window.viewer();
    ASSERT_TRUE(viewer);
    viewer->show();
    viewer->grab().save(screenshotPath("view.png"));
    EXPECT_GT(viewer->lineView()->horizontalScrollBar()->maximum(), 0)
        << "143-character lines scroll sideways";
    int pages[2] = {};
    const QPageLayout::Orientation orientations[] = {QPageLayout::Portrait, QPageLayout::Landscape};
    for (int i = 0; i < 2; ++i) {
        viewer->setOrientation(orientations[i]);
        const QString pdf =
            pa::testing::screenshotPath(QString("view_print_%1.pdf").arg(i).toUtf8().constData());
        QPrinter printer(QPrinter::HighResolution);
        printer.setOutputFormat(QPrinter::PdfFormat);
        printer.setOutputFileName(pdf);
        viewer->preparePrinter(printer);
        EXPECT_EQ(printer.pageLayout().orientation(), orientations[i]);
        viewer->print(printer);
        pages[i] = pdfPages(pdf);
    }
    EXPECT_GE(pages[0], 2);
    EXPECT_GT(pages[1], pages[0]) << "landscape pages hold fewer lines";
    viewer->close();
}

TEST_F(RecordingTest, CommandLineRecorderWritesTheWindowsLines) {
    // The window: the day period, 8 hours a day at 0.5 a kWh, half-second sampling.
    window.findChild<QComboBox*>("Combo1")->setCurrentIndex(1);
    typeInto(window.findChild<QLineEdit*>("set_hrs_per_day"), "8");
    typeInto(window.findChild<QLineEdit*>("set_d_per_kwh"), "0.5");
    window.cycle().applySamplingTime("0.5");
    create("window");
    startRecording("Now(Auto)");
    ASSERT_TRUE(waitFor([&] { return recorder().recordsWritten() == 3; }));
    endRecording();

    // The command line against another simulator with the same load.
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
    EXPECT_EQ(fromWindow[0], pa::testing::headerLine("day"));
    // Date, time and the energy count (which began with each program's sampling) differ.
    auto masked = [](std::string line) {
        line.replace(11, 23, 23, '#');
        line.replace(108, 14, 14, '#');
        return line;
    };
    for (int i = 1; i <= 3; ++i)
        EXPECT_EQ(masked(fromCli[i]), masked(fromWindow[i]));
    EXPECT_EQ(fromWindow[3].substr(122), "      0.93/day 8$0.47");
    EXPECT_EQ(cli.readAllStandardOutput().toStdString(),
              fromCli[1] + "\n" + fromCli[2] + "\n" + fromCli[3] + "\n");
}

TEST(RecordCommand, CtrlCAndSigtermEndWithEveryLineWhole) {
    // Ctrl-C at a terminal; SIGTERM when the service manager stops the recorder.
    for (const int signal : {SIGINT, SIGTERM}) {
        pa::testing::TempFolder folder;
        const QString out = QString::fromStdString((folder.path() / "run.txt").string());
        QProcess cli;
        cli.start(PA_CLI_PROGRAM, {"record", "--simulate", "--out", out, "--interval", "0.5"});
        ASSERT_TRUE(cli.waitForStarted());
        ASSERT_TRUE(waitFor([&] { return cli.canReadLine(); }, 10000));
        ::kill(static_cast<pid_t>(cli.processId()), signal);
        ASSERT_TRUE(cli.waitForFinished(5000)) << "signal " << signal;
        EXPECT_EQ(cli.exitStatus(), QProcess::NormalExit) << "signal " << signal;
        EXPECT_EQ(cli.exitCode(), 0);
        const auto lines = readLines(out.toStdString());
        ASSERT_GE(lines.size(), 2u);
        for (std::size_t i = 1; i < lines.size(); ++i)
            EXPECT_TRUE(lines[i].ends_with("0$0.00")) << "a whole record line: " << lines[i];
    }
}

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
    const auto lines = readLines(file);
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0], pa::testing::headerLine("month"));
}

TEST(RecordCommand, RefusesBadInput) {
    const struct {
        QStringList args;
        const char* error;
    } cases[] = {
        {{"record", "--simulate"}, "--out"},
        {{"record", "--out", "x.txt"}, "--port PATH or --simulate"},
        {{"record", "--simulate", "--out", "x.txt", "--period", "week"}, "month, day or year"},
        {{"record", "--simulate", "--out", "x.txt", "--count", "0"}, "--count"},
        {{"record", "--simulate", "--out", "x.txt", "--start", "abc"}, "--start"},
        {{"record", "--simulate", "--out", "x.txt", "--rotate", "weekly"}, "--rotate takes daily"},
        {{"record", "--simulate", "--out", "/dev/full"}, "/dev/full: No space left on device"},
    };
    for (const auto& c : cases) {
        QProcess cli;
        cli.start(PA_CLI_PROGRAM, c.args);
        ASSERT_TRUE(cli.waitForFinished(10000));
        EXPECT_NE(cli.exitCode(), 0) << c.args.join(' ').toStdString();
        const std::string error = cli.readAllStandardError().toStdString();
        EXPECT_NE(error.find(c.error), std::string::npos) << error;
    }
}

} // namespace
