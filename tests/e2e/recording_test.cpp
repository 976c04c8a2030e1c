// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// Recording from the real main window (offscreen) on the real serial port, against the
// simulator (a steady 230 V, 0.55 A, PF 0.92 load) on a pseudo-terminal reached through a
// stable link name, in a fresh profile folder: automatic records, failures of the disk, the
// file viewer; line faults injected while recording (a silent instrument, silence in the
// middle of a frame, garbage, frames split over two polls, a slow instrument, a cable pulled
// and plugged in again); and the command-line recorder writing the same lines.
#include "ui/MeterRec.h"

#include "gui/gui_support.h"
#include "pty_host.h"
#include "support/scripted_ui.h"
#include "support/test_files.h"

#include <QDate>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QPrinter>
#include <QProcess>
#include <QPushButton>
#include <QScrollBar>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>

namespace {

namespace fs = std::filesystem;
using pa::testing::menuItem;
using pa::testing::readLines;
using pa::testing::splitFields;
using pa::testing::waitFor;

// The menu steps of a recording in a main window.
struct MenuSteps {
    pa::ui::MeterRec& w;
    pa::testing::ScriptedUi& u;
    void create(const std::string& typed) {
        u.inputs.push_back(typed);
        w.findChild<QAction*>("FileCreate")->trigger();
    }
    void startRecording(const char* how) {
        emit w.findChild<QMenu*>("FileStart")->aboutToShow();
        menuItem(&w, how)->trigger();
    }
    void endRecording() { w.findChild<QAction*>("FileEnd")->trigger(); }
    bool noComShown() {
        auto* warning = w.findChild<QLabel*>("Warning");
        return warning->isVisibleTo(&w) && warning->text() == "NO COM";
    }
    pa::datafile::Recorder& recorder() { return w.recorder(); }
};

// The main window on the simulator over a pseudo-terminal (a steady load), opened through a
// stable link name, on the wall clock.
struct HasUi {
    pa::testing::ScriptedUi ui;
};
struct WindowRig : HasUi, pa::testing::PtyRig, MenuSteps {
    WindowRig() : PtyRig(ui), MenuSteps{window, ui} {
        plugIn();
        window.startup();
        window.openPort(link.string());
    }
    // The link follows the device, as a by-id name follows an adapter plugged in again.
    void plugIn() {
        EXPECT_TRUE(sim.start());
        fs::remove(link);
        fs::create_symlink(sim.devicePath(), link);
    }
    // Serves events until the condition holds; the cap is far beyond what a loaded machine
    // takes (a dead stretch needs about 6 s, a recovery about 3 s).
    bool until(const std::function<bool()>& holds) { return waitFor(holds, 120000); }

    fs::path link = profile.path() / "ttyUSB-link";
};

// The main window on the in-process simulator, in a profile folder of its own, its timers
// fired one by one on the test clock: nothing waits on the machine.
struct HasProfile {
    pa::testing::TempFolder profile;
    pa::testing::InFolder inProfile{profile.path()};
};
struct ClockRig : HasProfile, pa::testing::SimRig, MenuSteps {
    ClockRig() : MenuSteps{window, ui} {
        window.startup();
        window.openPort("SIM");
    }
    fs::path dataFile(const std::string& name) const {
        return profile.path() / "Documents" / "KV2260" / name;
    }
    void fault(pa::sim::Fault which, bool on) { meter.setFault(on ? which : pa::sim::Fault::None); }
    // Fires the timer due next, the clock moved on to it, until the condition holds. (The
    // timers run, but no event loop serves them.)
    bool until(const std::function<bool()>& holds) {
        QTimer* timers[] = {&window.timer1(), &window.timer2()};
        for (int i = 0; i < 10000 && !holds(); ++i) {
            const int t = due[0] <= due[1] ? 0 : 1;
            clock.set(12 * 3600 + due[t] / 1000); // from noon
            QMetaObject::invokeMethod(timers[t], "timeout");
            due[t] += timers[t]->interval();
        }
        return holds();
    }
    double due[2] = {0, 0}; // ms on the test clock
};

std::string today() {
    return QDate::currentDate().toString("MM-dd-yyyy").toStdString();
}

// The line written for a clock text at which nothing came, written out by hand.
std::string noComLine(const std::string& clock, const std::string& date = today()) {
    std::string line = " " + date + "," + clock + ", NO COM, DATA LOST, !, !,!,!,!,!,!,!";
    return line + std::string(143 - line.size(), ' ');
}

// A record line with its clock text and energy count (which move with the run) masked.
std::string masked(std::string line) {
    return line.size() < 122 ? line : line.replace(23, 10, 10, '#').replace(108, 14, 14, '#');
}

// What the simulator sends (230 V, 0.55 A, PF 0.92) and what follows from it, the clock text
// and energy count masked.
const std::string kReading = ",##########,  116.4W, .920 PF,    230V,   .550A,       23.1,   "
                             "126.50VA,     49.53VAR,##############";

struct RecordingTest : ::testing::Test, WindowRig {
    void SetUp() override {
        ASSERT_TRUE(waitFor([&] { return !window.cycle().readouts().clockText.empty(); }));
    }
    // Which of Create, Start and End can be chosen, as "CSE" with "-" for a greyed item.
    std::string menus() {
        std::string shown;
        for (const char* name : {"FileCreate", "FileStart", "FileEnd"}) {
            auto* menu = window.findChild<QMenu*>(name);
            shown += (menu ? menu->isEnabled() : action(name)->isEnabled()) ? name[4] : '-';
        }
        return shown;
    }
    bool said(std::size_t i, const std::string& text) {
        return ui.messages.at(i).text.find(text) != std::string::npos;
    }
};

// Five automatic records at half-second sampling: the menus and the status window around
// them, the lines (what the simulator sent and what follows from it), the last line shown
// and the record number box.
TEST_F(RecordingTest, AutomaticRecordsAndTheMenusAroundThem) {
    EXPECT_EQ(menus(), "C--");
    window.cycle().applySamplingTime("0.5");
    create("auto.csv");
    EXPECT_EQ(std::tuple(menus(), action("FileCreate")->text()),
              std::tuple("CS-", "&Create Data File = auto.txt"));
    startRecording("Now(Auto)");
    EXPECT_EQ(std::tuple(menus(), ui.statusVisible), std::tuple("--E", true));
    ASSERT_TRUE(waitFor([&] { return recorder().recordsWritten() == 5; }, 9000));
    endRecording();
    EXPECT_EQ(std::tuple(menus(), ui.statusVisible, action("FileCreate")->text()),
              std::tuple("C--", false, "&Create Data File"));

    // What the simulator sent (230 V, 0.55 A, PF 0.92) and what follows from it; the other
    // records' layout is the recorder's own tests'.
    const auto lines = readLines(dataFile("auto.txt"));
    ASSERT_EQ(lines.size(), 6u);
    EXPECT_TRUE(lines[0].ends_with("     KWH/month Cost")) << "the header, for the month";
    EXPECT_EQ(masked(lines[5]), "         4, " + today() + kReading + "    0.00/month 0$0.00");
    EXPECT_EQ(window.findChild<QLabel*>("Label2")->text().toStdString(), lines[5].substr(11));
    EXPECT_EQ(window.findChild<QLineEdit*>("Text1")->text(), "4") << "the record number box";
}

// A disk with no room for the header, a disk that fills while recording (the lines before
// stay): each said with the path and reason, and the live cycle goes on.
TEST_F(RecordingTest, DiskFaultsAreReportedAndEarlierLinesKept) {
    ui.messages.clear(); // the start-up prompt
    {
        pa::testing::FileSizeLimit full(0);
        create("full");
    }
    ASSERT_EQ(ui.messages.size(), 1u);
    EXPECT_TRUE(said(0, dataFile("full.txt").string() + ": File too large")) << ui.messages[0].text;
    EXPECT_EQ(menus(), "C--");

    create("mid");
    startRecording("Now(Auto)");
    ASSERT_TRUE(waitFor([&] { return recorder().recordsWritten() >= 1; }));
    fs::rename(dataFile("mid.txt"), dataFile("kept.txt"));
    fs::create_symlink("/dev/full", dataFile("mid.txt"));
    ASSERT_TRUE(waitFor([&] { return ui.messages.size() == 2; }));
    EXPECT_TRUE(said(1, dataFile("mid.txt").string())) << ui.messages[1].text;
    EXPECT_EQ(masked(readLines(dataFile("kept.txt")).at(1)).substr(22, 100), kReading);
    // Recording stopped; the live cycle goes on.
    EXPECT_EQ(std::tuple(menus(), ui.statusVisible, window.timer2().isActive()),
              std::tuple("C--", false, true));
}

// A million lines show at once while the rest is indexed; sampling pauses while the viewer
// is open and resumes when it closes or the file dialog is cancelled; a printout.
TEST_F(RecordingTest, ViewerOpensAMillionLinesAtOncePausesSamplingAndPrints) {
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

    // Long lines scroll sideways; a printout takes the orientation chosen, and landscape
    // pages hold fewer lines.
    {
        std::ofstream out(dataFile("print.txt"), std::ios::binary);
        for (int i = 0; i < 150; ++i)
            out << noComLine("10:00:00.0") << "\r\n";
    }
    ui.files.push_back(dataFile("print.txt").string());
    window.viewFile();
    viewer = window.viewer();
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

// The command line on the instrument, for the day period at 8 hours a day and 0.5 a kWh,
// daily files: ended by Ctrl-C at a terminal or SIGTERM from the service manager, with
// status 0; the file, named by its date (year first), holds the window's readings with the
// period's header and figures, every line whole, each echoed on standard output.
TEST(RecordCommand, CtrlCAndSigtermEndWithEveryLineWhole) {
    pa::sim::PtyHost instrument(pa::sim::Load{230, 0.55, 0.92, 50, 0});
    ASSERT_TRUE(instrument.start());
    for (const int signal : {SIGINT, SIGTERM}) {
        SCOPED_TRACE(signal);
        pa::testing::TempFolder folder;
        QProcess cli;
        cli.start(PA_CLI_PROGRAM,
                  {"record", "--port", QString::fromStdString(instrument.devicePath()), "--out",
                   QString::fromStdString((folder.path() / "run.txt").string()), "--interval",
                   "0.5", "--rotate", "daily", "--period", "day", "--hours", "8", "--price",
                   "0.5"});
        ASSERT_TRUE(waitFor([&] { return cli.canReadLine(); }, 10000));
        ::kill(static_cast<pid_t>(cli.processId()), signal);
        ASSERT_TRUE(cli.waitForFinished(5000));
        EXPECT_EQ(std::tuple(cli.exitStatus(), cli.exitCode()),
                  std::tuple(QProcess::NormalExit, 0));
        const std::string day = QDate::currentDate().toString("yyyy-MM-dd").toStdString();
        const auto file = folder.path() / ("run-" + day + ".txt");
        EXPECT_TRUE(cli.readAllStandardError().contains("recording into " + file.string()));
        const auto lines = readLines(file);
        ASSERT_GE(lines.size(), 2u);
        EXPECT_TRUE(lines[0].ends_with("       KWH/day Cost"));
        std::string echo;
        for (std::size_t i = 1; i < lines.size(); ++i) {
            // 116.4 W for 8 hours a day at 0.5: 0.93 kWh and 0.47 a day.
            EXPECT_EQ(masked(lines[i]).substr(22), kReading + "      0.93/day 8$0.47") << lines[i];
            echo += lines[i] + "\n";
        }
        EXPECT_EQ(cli.readAllStandardOutput().toStdString(), echo);
    }
}

// Line faults: whatever the fault, the window shows NO COM (or nothing) and no dialog, keeps
// its timers running, reads again once the fault is gone, and the data file keeps every line
// written before the fault, whole, with one lost-communication line per clock text while the
// line was dead.
enum class Effect {
    NoCom,    // nothing whole arrives: NO COM and lost-communication lines
    Unharmed, // readings keep coming: no NO COM, every record holds the true reading
    Anything, // odd readings may be recorded; lines stay whole
};

struct LiveFault {
    const char* name;
    Effect effect;
    pa::sim::Fault ofTheInstrument; // made by the in-process simulator on the test clock, or
    std::function<void(WindowRig&, bool)> onTheRealPort = {}; // switched on and off there
};

const LiveFault kFaults[] = {
    {"Silent", Effect::NoCom, pa::sim::Fault::Silent},
    // Twelve bytes of each frame, then nothing: never the 20 the cycle waits for.
    {"SilenceMidFrame", Effect::NoCom, pa::sim::Fault::Truncated},
    {"Garbage", Effect::Anything, pa::sim::Fault::Garbage},
    // The second half of each frame comes 300 ms after the first: a poll in between sees
    // half a frame and leaves it waiting.
    {"FrameSplitOverTwoPolls",
     Effect::Unharmed,
     {},
     [](auto& r, bool on) { r.sim.setSplitGap(on ? 300 : 0); }},
    {"SlowInstrument",
     Effect::Unharmed,
     {},
     [](auto& r, bool on) { r.sim.setReplyDelay(on ? 450 : 0); }},
    // The stable name goes with the device. (Left in place, it would point at a freed
    // terminal number that another test process may be given.)
    {"CablePulledAndPluggedIn",
     Effect::NoCom,
     {},
     [](auto& r, bool on) {
         if (!on)
             return r.plugIn();
         fs::remove(r.link);
         r.sim.stop();
     }},
};

void PrintTo(const LiveFault& fault, std::ostream* os) {
    *os << fault.name;
}

class LiveFaults : public ::testing::TestWithParam<LiveFault> {};

// Records through a fault switched on and off; NO COM is looked at right after each poll
// tick, never by chance between two event batches. The faults of the instrument itself run
// on the test clock; those of the line's timing and the cable, on the real port.
template <class Rig>
void recordThroughAFault(Rig& r, Effect effect, const std::function<void(bool)>& fault) {
    auto& recorder = r.recorder();
    ASSERT_TRUE(r.until([&] { return r.window.panel(pa::live::kW)->text() == " 116.4"; }));
    r.window.cycle().applySamplingTime("0.5");
    r.create("faults");
    r.startRecording("Now(Auto)");
    ASSERT_TRUE(r.until([&] { return recorder.recordsWritten() >= 3; }));
    const std::size_t messages = r.ui.messages.size();
    const std::string before = pa::testing::readFile(r.dataFile("faults.txt"));
    const long long linesBefore = recorder.linesWritten(),
                    recordsBefore = recorder.recordsWritten();

    bool sawNoCom = false;
    QObject::connect(&r.window.timer2(), &QTimer::timeout, &r.window,
                     [&] { sawNoCom = sawNoCom || r.noComShown(); });
    fault(true);
    // Several dead clock texts, long enough for the cycle to reset the port.
    const int deadLines = effect == Effect::NoCom ? 6 : 5;
    ASSERT_TRUE(r.until([&] { return recorder.linesWritten() >= linesBefore + deadLines; }));
    if (effect != Effect::Anything) {
        EXPECT_EQ(sawNoCom, effect == Effect::NoCom);
    }
    if (effect == Effect::NoCom) {
        // A frame already on its way when the fault struck may still make one record.
        EXPECT_LE(recorder.recordsWritten(), recordsBefore + 1) << "no record while dead";
    }
    EXPECT_TRUE(r.window.timer1().isActive() && r.window.timer2().isActive());

    fault(false);
    const long long recordsAtClear = recorder.recordsWritten();
    ASSERT_TRUE(r.until([&] {
        return recorder.recordsWritten() >= recordsAtClear + 3 &&
               r.window.panel(pa::live::kW)->text() == " 116.4" && !r.state.noData;
    })) << "readings resume after the fault";
    r.endRecording();
    EXPECT_EQ(r.ui.messages.size(), messages) << "no dialog on the way";

    // Every line written before the fault is there as it was; after it, only whole record
    // lines and lost-communication lines, one per clock text, in clock order.
    const std::string after = pa::testing::readFile(r.dataFile("faults.txt"));
    ASSERT_EQ(after.substr(0, before.size()), before);
    const auto lines = pa::testing::readLines(r.dataFile("faults.txt"));
    ASSERT_EQ(static_cast<long long>(lines.size()), recorder.linesWritten() + 1);
    int lost = 0, trueRecords = 0;
    std::string lastClock;
    for (std::size_t i = 1; i < lines.size(); ++i) {
        SCOPED_TRACE(lines[i]);
        const bool noCom = lines[i].find("NO COM") != std::string::npos;
        const std::string clock = lines[i].substr(noCom ? 12 : 23, 10);
        if (noCom) {
            EXPECT_EQ(lines[i], noComLine(clock, lines[i].substr(1, 10)));
            ++lost;
        } else {
            ASSERT_EQ(lines[i].size(), 143u);
            ASSERT_EQ(splitFields(lines[i]).size(), 12u);
            trueRecords += splitFields(lines[i])[3] == "  116.4W,";
        }
        EXPECT_GT(clock, lastClock) << "one line per clock text, in clock order";
        lastClock = clock;
    }
    if (effect == Effect::Anything) {
        EXPECT_GE(trueRecords, 4) << "three before the fault; after it, the last at least";
    } else {
        EXPECT_TRUE(effect == Effect::NoCom ? lost >= 5 : lost == 0) << lost << " lost lines";
        EXPECT_EQ(trueRecords, recorder.recordsWritten()) << "every record holds the true reading";
    }
}

TEST_P(LiveFaults, RecordingKeepsEveryLineAndTheCycleRecovers) {
    const LiveFault& f = GetParam();
    if (f.onTheRealPort) {
        WindowRig r;
        return recordThroughAFault(r, f.effect, [&](bool on) { f.onTheRealPort(r, on); });
    }
    ClockRig r;
    recordThroughAFault(r, f.effect, [&](bool on) { r.fault(f.ofTheInstrument, on); });
}

INSTANTIATE_TEST_SUITE_P(Injected, LiveFaults, ::testing::ValuesIn(kFaults),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace
