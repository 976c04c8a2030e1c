// Line faults injected by the simulator while the main window records through the real
// serial port: a silent instrument, silence in the middle of a frame, garbage, frames split
// over two polls, a slow instrument and a cable pulled and plugged in again. Whatever the
// fault, the window shows NO COM (or nothing) and no dialog, keeps its timers running,
// reads again once the fault is gone, and the data file keeps every line written before the
// fault, whole, with one lost-communication line per clock text while the line was dead.
#include "ui/MeterRec.h"

#include "gui/gui_support.h"
#include "pty_host.h"
#include "qt/qt_clock.h"
#include "qt/qt_port.h"
#include "support/data_file_writer.h"
#include "support/scripted_ui.h"
#include "support/test_files.h"

#include <QDate>
#include <QLabel>
#include <QMenu>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <memory>

namespace {

namespace fs = std::filesystem;
using pa::testing::menuItem;
using pa::testing::readFile;
using pa::testing::readLines;
using pa::testing::splitFields;
using pa::testing::waitFor;

struct Rig;

// What a fault does to the live readings.
enum class Effect {
    NoCom,    // nothing whole arrives: NO COM and lost-communication lines
    Unharmed, // readings keep coming: no NO COM, every record holds the true reading
    Anything, // odd readings may be recorded; lines stay whole
};

struct LiveFault {
    const char* name;
    std::function<void(Rig&)> inject, clear;
    Effect effect;
};

void setFault(Rig& rig, pa::sim::Fault fault);

struct Rig {
    Rig() {
        load.noise = 0;
        startInstrument();
    }
    // The window opens a link to the pseudo-terminal, as a user opens a stable device
    // name that points at whichever device the adapter gets when it is plugged in again.
    void startInstrument() {
        sim = std::make_unique<pa::sim::PtyHost>(load);
        ASSERT_TRUE(sim->start());
        fs::remove(link);
        fs::create_symlink(sim->devicePath(), link);
    }
    fs::path dataFile() const { return profile.path() / "Documents" / "KV2260" / "faults.txt"; }
    QLabel* warning() { return window.findChild<QLabel*>("Warning"); }
    bool noComShown() { return warning()->isVisibleTo(&window) && warning()->text() == "NO COM"; }

    pa::testing::TempFolder profile;
    pa::testing::InFolder inProfile{profile.path()};
    fs::path link = profile.path() / "ttyUSB-link";
    pa::sim::Load load;
    std::unique_ptr<pa::sim::PtyHost> sim;
    pa::app::ProgramState state;
    pa::qt::QtPort port;
    pa::qt::QtClock clock;
    pa::testing::ScriptedUi ui;
    pa::ui::MeterRec window{state, port, clock, ui};
};

void setFault(Rig& rig, pa::sim::Fault fault) {
    rig.sim->withInstrument([fault](pa::sim::Instrument& i) { i.setFault(fault); });
}

const LiveFault kFaults[] = {
    {"Silent", [](Rig& r) { setFault(r, pa::sim::Fault::Silent); },
     [](Rig& r) { setFault(r, pa::sim::Fault::None); }, Effect::NoCom},
    // Twelve bytes of each frame, then nothing: never the 20 the cycle waits for.
    {"SilenceMidFrame", [](Rig& r) { setFault(r, pa::sim::Fault::Truncated); },
     [](Rig& r) { setFault(r, pa::sim::Fault::None); }, Effect::NoCom},
    {"Garbage", [](Rig& r) { setFault(r, pa::sim::Fault::Garbage); },
     [](Rig& r) { setFault(r, pa::sim::Fault::None); }, Effect::Anything},
    // The second half of each frame comes 300 ms after the first: a poll in between sees
    // half a frame and leaves it waiting.
    {"FrameSplitOverTwoPolls", [](Rig& r) { r.sim->setSplitGap(300); },
     [](Rig& r) { r.sim->setSplitGap(0); }, Effect::Unharmed},
    {"SlowInstrument", [](Rig& r) { r.sim->setReplyDelay(450); },
     [](Rig& r) { r.sim->setReplyDelay(0); }, Effect::Unharmed},
    // The stable name goes with the device, as a by-id link does. (Left in place, it would
    // point at a freed terminal number that another test process may be given.)
    {"CablePulledAndPluggedIn",
     [](Rig& r) {
         fs::remove(r.link);
         r.sim->stop();
     },
     [](Rig& r) { r.startInstrument(); }, Effect::NoCom},
};

void PrintTo(const LiveFault& fault, std::ostream* os) {
    *os << fault.name;
}

class LiveFaults : public ::testing::TestWithParam<LiveFault> {
  protected:
    void SetUp() override { rig = std::make_unique<Rig>(); }
    std::unique_ptr<Rig> rig;
};

bool isRecordLine(const std::string& line) {
    const auto f = splitFields(line);
    const std::size_t widths[] = {11, 12, 11, 9, 9, 9, 9, 12, 12, 14, 14};
    if (f.size() != 12)
        return false;
    for (std::size_t i = 0; i < 11; ++i)
        if (f[i].size() != widths[i])
            return false;
    return true;
}

TEST_P(LiveFaults, RecordingKeepsEveryLineAndTheCycleRecovers) {
    const LiveFault& fault = GetParam();
    Rig& r = *rig;
    auto& recorder = r.window.recorder();
    r.window.startup();
    r.window.openPort(r.link.string());
    ASSERT_TRUE(waitFor([&] { return r.window.panel(pa::live::kW)->text() == " 116.4"; }, 30000));
    r.window.cycle().applySamplingTime("0.5");
    r.ui.inputs.push_back("faults");
    r.window.findChild<QAction*>("FileCreate")->trigger();
    emit r.window.findChild<QMenu*>("FileStart")->aboutToShow();
    menuItem(&r.window, "Now(Auto)")->trigger();
    ASSERT_TRUE(waitFor([&] { return recorder.recordsWritten() >= 3; }, 30000));
    const std::size_t messages = r.ui.messages.size();

    const std::string before = readFile(r.dataFile());
    const long long linesBefore = recorder.linesWritten();
    const long long recordsBefore = recorder.recordsWritten();
    fault.inject(r);
    bool sawNoCom = false;
    // The caps are generous: a loaded machine may take long, and a wait ends once it holds.
    const auto watch = [&](const std::function<bool()>& done) {
        return waitFor(
            [&] {
                sawNoCom = sawNoCom || r.noComShown();
                return done();
            },
            30000);
    };
    if (fault.effect == Effect::NoCom) {
        // Several dead clock texts, and long enough for the cycle to reset the port.
        ASSERT_TRUE(watch([&] { return recorder.linesWritten() >= linesBefore + 6; }));
        EXPECT_TRUE(sawNoCom);
        // A frame already on its way when the fault struck may still make one record.
        EXPECT_LE(recorder.recordsWritten(), recordsBefore + 1) << "no record while dead";
    } else {
        ASSERT_TRUE(watch([&] { return recorder.linesWritten() >= linesBefore + 5; }));
        if (fault.effect == Effect::Unharmed) {
            EXPECT_FALSE(sawNoCom);
        }
    }
    EXPECT_TRUE(r.window.timer1().isActive() && r.window.timer2().isActive());

    fault.clear(r);
    const long long recordsAtClear = recorder.recordsWritten();
    ASSERT_TRUE(waitFor(
        [&] {
            return recorder.recordsWritten() >= recordsAtClear + 3 &&
                   r.window.panel(pa::live::kW)->text() == " 116.4" && !r.state.noData;
        },
        30000))
        << "readings resume after the fault";
    r.window.findChild<QAction*>("FileEnd")->trigger();
    EXPECT_EQ(r.ui.messages.size(), messages) << "no dialog on the way";

    // Every line written before the fault is there as it was; after it, only whole record
    // lines and lost-communication lines, one per clock text, in clock order.
    const std::string after = readFile(r.dataFile());
    ASSERT_EQ(after.substr(0, before.size()), before);
    const auto lines = readLines(r.dataFile());
    ASSERT_EQ(static_cast<long long>(lines.size()), recorder.linesWritten() + 1);
    const std::string today = QDate::currentDate().toString("MM-dd-yyyy").toStdString();
    int lost = 0, trueRecords = 0;
    std::string lastClock;
    for (std::size_t i = 1; i < lines.size(); ++i) {
        const std::string& line = lines[i];
        std::string clock;
        if (line.find("NO COM, DATA LOST") != std::string::npos) {
            clock = line.substr(12, 10);
            EXPECT_EQ(line, pa::testing::lostCommunicationLine(today, clock));
            ++lost;
        } else {
            ASSERT_TRUE(isRecordLine(line)) << line;
            clock = splitFields(line)[2].substr(0, 10);
            trueRecords += splitFields(line)[3] == "  116.4W,";
        }
        if (lastClock.size() == clock.size() && clock < lastClock)
            ADD_FAILURE() << "clock text goes back at line " << i << ": " << line;
        EXPECT_NE(clock, lastClock) << "two lines at one clock text, line " << i;
        lastClock = clock;
    }
    const long long records = recorder.recordsWritten();
    switch (fault.effect) {
    case Effect::NoCom:
        EXPECT_GE(lost, 5);
        EXPECT_EQ(trueRecords, records);
        break;
    case Effect::Unharmed:
        EXPECT_EQ(lost, 0);
        EXPECT_EQ(trueRecords, records) << "every record holds the true reading";
        break;
    case Effect::Anything:
        // Three before the fault; after it, the last records at least.
        EXPECT_GE(trueRecords, 4);
        break;
    }
}

INSTANTIATE_TEST_SUITE_P(Injected, LiveFaults, ::testing::ValuesIn(kFaults),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace
