// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// Line faults injected by the simulator while the main window records through the real
// serial port: a silent instrument, silence in the middle of a frame, garbage, frames split
// over two polls, a slow instrument and a cable pulled and plugged in again. Whatever the
// fault, the window shows NO COM (or nothing) and no dialog, keeps its timers running,
// reads again once the fault is gone, and the data file keeps every line written before the
// fault, whole, with one lost-communication line per clock text while the line was dead.
#include "e2e/window_rig.h"

#include <functional>

namespace {

using pa::testing::splitFields;
using pa::testing::waitFor;
using pa::testing::WindowRig;

enum class Effect {
    NoCom,    // nothing whole arrives: NO COM and lost-communication lines
    Unharmed, // readings keep coming: no NO COM, every record holds the true reading
    Anything, // odd readings may be recorded; lines stay whole
};

struct LiveFault {
    const char* name;
    std::function<void(WindowRig&)> inject, clear;
    Effect effect;
};

const LiveFault kFaults[] = {
    {"Silent", [](auto& r) { r.setFault(pa::sim::Fault::Silent); },
     [](auto& r) { r.setFault(pa::sim::Fault::None); }, Effect::NoCom},
    // Twelve bytes of each frame, then nothing: never the 20 the cycle waits for.
    {"SilenceMidFrame", [](auto& r) { r.setFault(pa::sim::Fault::Truncated); },
     [](auto& r) { r.setFault(pa::sim::Fault::None); }, Effect::NoCom},
    {"Garbage", [](auto& r) { r.setFault(pa::sim::Fault::Garbage); },
     [](auto& r) { r.setFault(pa::sim::Fault::None); }, Effect::Anything},
    // The second half of each frame comes 300 ms after the first: a poll in between sees
    // half a frame and leaves it waiting.
    {"FrameSplitOverTwoPolls", [](auto& r) { r.sim->setSplitGap(300); },
     [](auto& r) { r.sim->setSplitGap(0); }, Effect::Unharmed},
    {"SlowInstrument", [](auto& r) { r.sim->setReplyDelay(450); },
     [](auto& r) { r.sim->setReplyDelay(0); }, Effect::Unharmed},
    // The stable name goes with the device. (Left in place, it would point at a freed
    // terminal number that another test process may be given.)
    {"CablePulledAndPluggedIn",
     [](auto& r) {
         std::filesystem::remove(r.link);
         r.sim->stop();
     },
     [](auto& r) { r.startInstrument(); }, Effect::NoCom},
};

void PrintTo(const LiveFault& fault, std::ostream* os) {
    *os << fault.name;
}

class LiveFaults : public ::testing::TestWithParam<LiveFault> {};

// The waits end as soon as they hold; their caps are far beyond what a loaded machine
// takes (the dead stretch needs about 6 s, the recovery about 3 s). NO COM is looked at
// right after each poll tick, never by chance between two event batches.
constexpr int kCapMs = 120000;

TEST_P(LiveFaults, RecordingKeepsEveryLineAndTheCycleRecovers) {
    const LiveFault& fault = GetParam();
    WindowRig r;
    auto& recorder = r.recorder();
    ASSERT_TRUE(waitFor([&] { return r.window.panel(pa::live::kW)->text() == " 116.4"; }, kCapMs));
    r.window.cycle().applySamplingTime("0.5");
    r.create("faults");
    r.startRecording("Now(Auto)");
    ASSERT_TRUE(waitFor([&] { return recorder.recordsWritten() >= 3; }, kCapMs));
    const std::size_t messages = r.ui.messages.size();
    const std::string before = pa::testing::readFile(r.dataFile("faults.txt"));
    const long long linesBefore = recorder.linesWritten();
    const long long recordsBefore = recorder.recordsWritten();

    bool sawNoCom = false;
    QObject::connect(&r.window.timer2(), &QTimer::timeout, &r.window,
                     [&] { sawNoCom = sawNoCom || r.noComShown(); });
    fault.inject(r);
    // Several dead clock texts, long enough for the cycle to reset the port.
    const int deadLines = fault.effect == Effect::NoCom ? 6 : 5;
    ASSERT_TRUE(
        waitFor([&] { return recorder.linesWritten() >= linesBefore + deadLines; }, kCapMs));
    if (fault.effect != Effect::Anything) {
        EXPECT_EQ(sawNoCom, fault.effect == Effect::NoCom);
    }
    if (fault.effect == Effect::NoCom) {
        // A frame already on its way when the fault struck may still make one record.
        EXPECT_LE(recorder.recordsWritten(), recordsBefore + 1) << "no record while dead";
    }
    EXPECT_TRUE(r.window.timer1().isActive() && r.window.timer2().isActive());

    fault.clear(r);
    const long long recordsAtClear = recorder.recordsWritten();
    ASSERT_TRUE(waitFor(
        [&] {
            return recorder.recordsWritten() >= recordsAtClear + 3 &&
                   r.window.panel(pa::live::kW)->text() == " 116.4" && !r.state.noData;
        },
        kCapMs))
        << "readings resume after the fault";
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
            EXPECT_EQ(lines[i], pa::testing::noComLine(clock));
            ++lost;
        } else {
            ASSERT_EQ(lines[i].size(), 143u);
            ASSERT_EQ(splitFields(lines[i]).size(), 12u);
            trueRecords += splitFields(lines[i])[3] == "  116.4W,";
        }
        EXPECT_GT(clock, lastClock) << "one line per clock text, in clock order";
        lastClock = clock;
    }
    const long long records = recorder.recordsWritten();
    if (fault.effect == Effect::NoCom) {
        EXPECT_GE(lost, 5);
    }
    if (fault.effect == Effect::Unharmed) {
        EXPECT_EQ(lost, 0);
    }
    if (fault.effect == Effect::Anything) {
        EXPECT_GE(trueRecords, 4) << "three before the fault; after it, the last at least";
    } else {
        EXPECT_EQ(trueRecords, records) << "every record holds the true reading";
    }
}

INSTANTIATE_TEST_SUITE_P(Injected, LiveFaults, ::testing::ValuesIn(kFaults),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace
