// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The live cycle driven tick by tick: the in-process simulator for whole frames, hand-made
// byte strings for the odd ones, and the virtual clock.
#include "live/live_cycle.h"

#include "display_word.h"
#include "instrument.h"
#include "support/fake_clock.h"
#include "support/live_line.h"
#include "support/message_texts.h"
#include "support/recording_port.h"
#include "support/scripted_ui.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

namespace {

using namespace pa::live;
using pa::testing::blockBytes;
using pa::testing::FakeClock;
using pa::testing::messageTexts;
using pa::testing::RecordingPort;
using pa::testing::ScriptedUi;

// A frame from four (code, value as shown, decimal point position) blocks.
struct Shown {
    int code;
    double value;
    int point;
};
std::string frame(std::vector<Shown> blocks) {
    std::string f(1, '\x02');
    for (const Shown& b : blocks)
        f += blockBytes(b.code, pa::sim::encodeReading(b.value, b.point));
    return f;
}

constexpr int W = 192, W2000 = 193, PF = 208, DCV = 4, DCA = 49;

// A cycle fed from a scripted port: each tick reads what the test put into incoming.
class CycleTest : public ::testing::Test {
  protected:
    void SetUp() override {
        port.devices = {"COM1"};
        port.setPortName("COM1");
        port.open();
        clock.set(10 * 3600 + 5 * 60 + 7.4); // 10:05:07.4
    }
    // One sample tick, then one poll tick with the given bytes waiting.
    void sample(const std::string& bytes) {
        cycle.Timer1Tick();
        port.incoming = bytes;
        cycle.Timer2Tick();
        clock.advance(1);
    }
    const std::string& panel(Panel p) const { return cycle.readouts().Panel3D2[p]; }

    RecordingPort port;
    FakeClock clock;
    ScriptedUi ui;
    pa::app::ProgramState state;
    LiveCycle cycle{port, clock, ui, state};
};

// All the panels, as one text: W|PF|V|A|angle|VA|VAR|Hz|kWh|per period|cost.
std::string shown(const Readouts& r) {
    std::string all;
    for (const std::string& p : r.Panel3D2)
        all += (all.empty() ? "" : "|") + p;
    return all;
}

TEST_F(CycleTest, ReadoutsOfOneSimulatedFrame) {
    cycle.Timer1Tick();
    port.incoming = pa::sim::Instrument(pa::sim::Load{230, 0.55, 0.92, 50, 0}).liveFrame();
    port.written.clear();
    cycle.Timer2Tick();
    // angle acos(0.92) = 23.07 degrees, VA 230 x 0.55, VAR sqrt(126.5^2 - 116.4^2); 116.4 W
    // for 1 s is 0.00003 kWh.
    EXPECT_EQ(shown(cycle.readouts()),
              " 116.4|  .920|  230|  .550|23.1|126.50|49.53||0.0|0.00|$0.00");
    EXPECT_EQ(std::tuple(cycle.readouts().clockText, port.written), std::tuple("10:05:07.4", " "))
        << "the next frame was requested at once";
}

std::string pfOnly(std::uint16_t word) {
    return "\x02" + blockBytes(PF, word) + std::string(15, '\0');
}
// W, PF 0.9, V and A blocks; a steady 100 W with another second block.
std::string va(Shown w, double volts, Shown a) {
    return frame({w, {PF, 0.9, 3}, {DCV, volts, 0}, a});
}
std::string second(Shown b) {
    return frame({{W, 100, 2}, b, {DCV, 230, 0}, {DCA, 0.4, 3}});
}

// Frames as they come, one per sample, each with the panels it must leave (the others are
// not looked at), its no-data count and the HOLD indicator.
TEST_F(CycleTest, FramesReachTheirPanels) {
    using pa::sim::encodeReading;
    const std::string fifty = frame({{W, 50, 2}, {PF, 1, 3}, {DCV, 230, 0}, {DCA, 0.2, 3}});
    const std::string good = second({PF, 1, 3});
    const std::string held = frame({{255, 120, 2}, {255, 0.5, 3}, {255, 240, 0}, {255, 0.9, 3}});
    const struct {
        const char* what;
        std::string bytes;
        std::vector<std::pair<Panel, const char*>> panels;
        int noDataTicks = 0;
        bool hold = false;
    } steps[] = {
        {"19 bytes are no data", fifty.substr(0, 19), {{kW, ""}}, 1},
        // Block bytes 4-5 are unused: 20 bytes carry all four.
        {"20 bytes", fifty.substr(0, 20), {{kW, "  50.0"}, {kV, "  230"}, {kA, "  .200"}}},
        // A start character in the second half keeps only the buffer's last ten bytes (from
        // 20 bytes with STX at the 16th), read at their fixed offsets: block 1 is the W
        // block behind the STX, and blocks past the end are left out.
        {"STX late",
         std::string(15, '\x07') + "\x02" + blockBytes(W, 0x89A3).substr(0, 4),
         {{kW, " 116.4"}, {kA, "  .200"}}},
        {"PF 1", pfOnly(encodeReading(1.0, 3)), {{kPF, " 1.000"}, {kAngle, "0.0"}}},
        {"PF 0", pfOnly(encodeReading(0.0, 3)), {{kPF, "  .000"}, {kAngle, "90.0"}}},
        {"PF .5", pfOnly(encodeReading(0.5, 3)), {{kPF, "  .500"}, {kAngle, "60.0"}}},
        {"PF 1.2 is read as 1", pfOnly(encodeReading(1.2, 3)), {{kPF, " 1.200"}, {kAngle, "0.0"}}},
        {"PF negative", pfOnly(encodeReading(-0.5, 3)), {{kPF, "- .500"}, {kAngle, "?"}}},
        {"PF overload", pfOnly(0x0015), {{kPF, "OL"}, {kAngle, "?"}}},
        {"PF at start-up", pfOnly(0xFFFF), {{kPF, "Init"}, {kAngle, "?"}}},
        {"VA", va({W, 100, 2}, 200, {DCA, 1, 3}), {{kVA, "200.00"}, {kVAR, "173.21"}}},
        {"VA < W", va({W2000, 200, 0}, 100, {DCA, 1, 3}), {{kVA, "100.00"}, {kVAR, "0.00"}}},
        {"2000 W", va({W2000, 1500, 0}, 240, {DCA, 7.5, 1}), {{kVA, "1800.00"}, {kVAR, "994.99"}}},
        // VA waits for a current after each voltage: a frame without a current leaves it.
        {"no current", va({W, 10, 2}, 50, {PF, 0.9, 3}), {{kVA, "1800.00"}}},
        {"steady", second({PF, 1, 3}), {{kW, " 100.0"}}},
        {"HOLD leaves the panels", held, {{kW, " 100.0"}}, 0, true},
        // Garbage and cut frames never break the cycle (the next sample tick hides HOLD).
        {"all FF (read as HOLD blocks)", std::string(40, '\xFF'), {}, 0, true},
        {"STX and bells", "\x02" + std::string(20, '\x07'), {}},
        {"a frame begun before we listened", good.substr(10) + good, {}},
        {"all NUL", std::string(30, '\0'), {}},
        {"STX at the very end", "garbage garbage garbage\x02", {}},
        {"50 Hz", second({5, 0.05, 3}), {{kHz, "50Hz"}, {kW, " 100.0"}}},
        {"1500 Hz", second({5, 1.5, 2}), {{kHz, "1500Hz"}}},
    };
    for (const auto& step : steps) {
        sample(step.bytes);
        for (const auto& [p, text] : step.panels)
            EXPECT_EQ(panel(p), text) << step.what << ", panel " << p;
        EXPECT_EQ(std::tuple(cycle.noDataTicks(), cycle.readouts().holdVisible),
                  std::tuple(step.noDataTicks, step.hold))
            << step.what;
    }
}

TEST_F(CycleTest, SilenceWarnsAfterFiveTicksAndResetsThePortAfterTen) {
    cycle.Timer1Tick();
    port.calls.clear();
    for (int tick = 1; tick <= 10; ++tick) {
        cycle.Timer2Tick();
        EXPECT_EQ(cycle.readouts().warningVisible, tick > 5) << tick;
        EXPECT_EQ(state.noData, tick > 5) << tick;
    }
    // No reset before the eleventh silent tick; the reset beeps but never raises a dialog.
    EXPECT_EQ(std::tuple(cycle.readouts().warning, port.calls.size(), ui.beeps),
              std::tuple("NO COM", 0u, 0));
    cycle.Timer2Tick();
    EXPECT_EQ(std::tuple(ui.beeps, port.calls, cycle.noDataTicks(), ui.messages.size()),
              std::tuple(1, std::vector<std::string>{"close", "open COM1", "write  "}, 0, 0u));

    // The next sample tick hides the warning; a frame clears the no-data state.
    cycle.Timer1Tick();
    EXPECT_FALSE(cycle.readouts().warningVisible);
    port.incoming = frame({{W, 50, 2}, {PF, 1, 3}, {DCV, 230, 0}, {DCA, 0.2, 3}});
    cycle.Timer2Tick();
    EXPECT_EQ(std::tuple(state.noData, cycle.readouts().warning), std::tuple(false, std::string()));
}

TEST_F(CycleTest, EnergyOncePerClockTextAndNeverForNegativePower) {
    cycle.applySamplingTime("3600");
    const std::string plus = frame({{W2000, 1000, 0}, {PF, 1, 3}, {DCV, 230, 0}, {DCA, 4.3, 1}});
    const std::string minus = frame({{W2000, -500, 0}, {PF, 1, 3}, {DCV, 230, 0}, {DCA, 2, 1}});
    state.sampleTickCounter = 3599; // the next tick is a sample
    sample(plus);                   // 1000 W for 3600 s: 1 kWh
    EXPECT_EQ(panel(kKWH), "1.0");
    port.incoming = plus;
    cycle.Timer2Tick(); // same clock text: no second integration
    EXPECT_EQ(panel(kKWH), "1.0");
    state.sampleTickCounter = 3599;
    sample(minus);
    EXPECT_EQ(panel(kW) + " " + panel(kKWH), "- 500 1.0");
    cycle.resetKwh();
    EXPECT_EQ(panel(kKWH), "0.00");
    state.sampleTickCounter = 3599;
    sample(plus);
    EXPECT_EQ(panel(kKWH), "1.0");
}

// 100 W all day is 2.4 kWh a day, 72 a month of 30 days, 864 a year of 360 days; the
// figures follow every entry at once, on a poll tick without a new clock text too.
TEST_F(CycleTest, CostFollowsPriceHoursAndPeriodOnEveryDecodedTick) {
    const std::string hundredWatts = frame({{W, 100, 2}, {PF, 1, 3}, {DCV, 230, 0}, {DCA, 0.4, 3}});
    sample(hundredWatts);
    EXPECT_EQ(panel(kEnergyPerPeriod), "0.00") << "no period chosen yet";
    const struct {
        int period;
        const char *hours, *price, *perPeriod, *cost;
    } cases[] = {{2, "24", "0.5", "864.00", "$432.00"},
                 {0, "24", "0.5", "72.00", "$36.00"},
                 {1, "24", "10", "2.40", "$24.00"},
                 {1, "12", "0.5", "1.20", "$0.60"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.perPeriod + std::string(" ") + c.cost);
        cycle.energy().choosePeriod(c.period);
        ASSERT_FALSE(cycle.energy().hoursEntered(c.hours));
        ASSERT_FALSE(cycle.energy().priceEntered(c.price));
        port.incoming = hundredWatts;
        cycle.Timer2Tick();
        EXPECT_EQ(panel(kEnergyPerPeriod), c.perPeriod);
        EXPECT_EQ(panel(kCost), c.cost);
    }
}

TEST_F(CycleTest, SamplingTimeEntry) {
    const struct {
        const char *typed, *label;
        int period, wholeSeconds;
    } cases[] = {{"5", "5.0 SEC", 1000, 1},   {"0,4", "0.5 SEC", 500, 0},
                 {"0.9", "0.5 SEC", 500, 0},  {"20000", "13106.0 SEC", 1000, 1},
                 {"2.7", "2.0 SEC", 1000, 1}, {"", "2.0 SEC", 1000, 1}, // cancel changes nothing
                 {"abc", "0.5 SEC", 500, 0}};
    for (const auto& c : cases) {
        cycle.applySamplingTime(c.typed);
        EXPECT_EQ(std::tuple(cycle.readouts().sampleTime, state.tickPeriod, state.wholeSecondMode),
                  std::tuple(c.label, c.period, c.wholeSeconds))
            << c.typed;
    }
    EXPECT_TRUE(ui.messages.empty());

    ui.inputs = {std::string("7")};
    cycle.SampleRate();
    ASSERT_EQ(ui.asked.size(), 1u);
    EXPECT_EQ(ui.asked[0], (pa::testing::AskedInput{"Enter the SAMPLING TIME in seconds\r\n\r\n"
                                                    "The value can be 0.4 or any other integer "
                                                    "(max. 13106.8).",
                                                    "Input Sampling Time", "0.5"}))
        << "the present sampling time, formatted #0.0, is the default";
    EXPECT_EQ(cycle.readouts().sampleTime, "7.0 SEC");
}

TEST_F(CycleTest, SlowPcWarningForShortSamplingTimes) {
    state.slowPcFlag = 1;
    for (const char* typed : {"5", "1", "0.5"})
        cycle.applySamplingTime(typed);
    const std::string warning =
        "Because you are using a slow PC and selected a sampling time <= 1 "
        "sec., please open only ONE of the LIST, GRAPHIC or ANALOG DISPLAYS";
    EXPECT_EQ(messageTexts(ui), std::vector<std::string>(2, warning)) << "for 1 and 0.5, not 5";
    EXPECT_EQ(std::tuple(ui.messages[0].title, ui.messages[0].icon),
              std::tuple(std::string("Warning"), pa::app::Icon::Exclamation));
}

TEST_F(CycleTest, SamplesComeEverySamplingTimeAndHalfSecondsEveryTick) {
    cycle.applySamplingTime("3");
    std::vector<std::string> clocks;
    for (int tick = 0; tick < 7; ++tick) {
        cycle.Timer1Tick();
        clocks.push_back(cycle.readouts().clockText);
        clock.advance(1);
    }
    // The first sample comes at the next tick, then every third tick.
    EXPECT_EQ(clocks,
              (std::vector<std::string>{"10:05:07.4", "10:05:07.4", "10:05:07.4", "10:05:10.4",
                                        "10:05:10.4", "10:05:10.4", "10:05:13.4"}));
    cycle.applySamplingTime("0.4");
    for (int tick = 0; tick < 3; ++tick) {
        cycle.Timer1Tick();
        clocks.push_back(cycle.readouts().clockText);
        clock.advance(0.5);
    }
    EXPECT_EQ(std::vector(clocks.end() - 2, clocks.end()),
              (std::vector<std::string>{"10:05:14.9", "10:05:15.4"}));
}

TEST_F(CycleTest, RealignmentKeepsTicksOnTheSecondAndNeverBelow100ms) {
    const std::tuple<double, int, int> cases[] = {
        {100.000, 1000, 1000}, {100.250, 1000, 750}, {100.899, 1000, 101}, {100.901, 1000, 1099},
        {100.999, 1000, 1001}, {100.250, 500, 250},  {100.450, 500, 550}};
    for (const auto& [secondsIntoDay, period, expected] : cases) {
        state.tickPeriod = period;
        clock.set(secondsIntoDay);
        const int interval = cycle.Timer1Tick();
        EXPECT_EQ(interval, expected) << secondsIntoDay << " " << period;
        EXPECT_GE(interval, kMinRealignMs);
    }
}

TEST_F(CycleTest, PriceAndHoursEntries) {
    EnergyCost& e = cycle.energy();
    // A refusal as "message|text put back into the box", "(kept)" when the typed text stays.
    const auto said = [](const std::optional<EnergyCost::Refusal>& r) {
        return r ? r->message + "|" + r->boxText.value_or("(kept)") : std::string("accepted");
    };
    // The kept price goes back into the box as a single prints: at most 7 significant digits.
    const std::pair<const char*, const char*> kept[] = {
        {"0.1", "0.1"}, {"1234567.8", "1234568"}, {"0.0000001", "1E-07"}, {"0", "0"}};
    for (const auto& [price, boxText] : kept) {
        ASSERT_FALSE(e.priceEntered(price));
        EXPECT_EQ(said(e.priceEntered("-3")), "-3is less than 0|" + std::string(boxText));
    }
    ASSERT_FALSE(e.priceEntered("2.5"));
    EXPECT_FLOAT_EQ(e.price(), 2.5f);
    ASSERT_FALSE(e.priceEntered("abc")); // read as 0 and accepted
    EXPECT_EQ(e.price(), 0.0f);

    ASSERT_FALSE(e.hoursEntered("24"));
    EXPECT_EQ(said(e.hoursEntered("24.5")), "24.5is out of range (0 < input < 24)|(kept)");
    EXPECT_EQ(e.hoursPerDay(), 24.0f);
    ASSERT_FALSE(e.hoursEntered("0"));
    EXPECT_TRUE(e.hoursEntered("-1"));
}

// Get Hz: one raw request byte, a 5.5 s wait counted down to the listener (at least two
// reports a second), sampling off and on again around it whatever the reply; a reply of the
// wrong length asks for another press.
TEST_F(CycleTest, GetHzCountsItsWaitDownAndRefusesRepliesOfTheWrongLength) {
    const std::string fiveBytes = "\x02" + blockBytes(5, 0xC280).substr(0, 3) + "\x03";
    // A reply carrying the HOLD code: the value still decodes, and the indicator goes up.
    const std::string again = "Please press the Get Hz button again";
    const std::string held = "\x02" + blockBytes(255, 0xC281).substr(0, 3) + "\x03";
    const struct {
        std::string stale; // still waiting when Get Hz is pressed
        std::string reply;
        const char* hz;
        std::vector<std::string> said = {};
        bool hold = false;
    } cases[] = {{"", fiveBytes, "50Hz"},
                 {second({PF, 1, 3}), fiveBytes, "50Hz"}, // drained first
                 {"", fiveBytes.substr(0, 4), "", {again}},
                 {"", fiveBytes + "\x03", "", {again}},
                 {"", "\x02" + blockBytes(5, 0x0015).substr(0, 3) + "\x03", "0Hz"},
                 {"", held, "50Hz", {}, true}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.reply.size());
        ui.messages.clear();
        port.incoming = c.stale;
        // The reply arrives a second into the measuring pause.
        pa::testing::ReplyClock replyClock;
        replyClock.port = &port;
        replyClock.reply = c.reply;
        LiveCycle live(port, replyClock, ui, state);
        std::vector<int> switches;
        std::vector<double> left;
        live.setLiveSampling([&](int on) { switches.push_back(on); });
        live.setWaitListener([&](double l, double total) {
            EXPECT_DOUBLE_EQ(total, 5.5);
            left.push_back(l);
        });
        const double before = replyClock.secondsSinceMidnight();
        live.GetHz();
        EXPECT_EQ(std::tuple(live.readouts().Panel3D2[kHz], live.readouts().holdVisible,
                             messageTexts(ui), switches, port.written.back()),
                  std::tuple(std::string(c.hz), c.hold, c.said, std::vector<int>{0, 1}, '\xF5'));
        EXPECT_NEAR(replyClock.secondsSinceMidnight() - before, 5.5, 1e-6);
        ASSERT_GE(left.size(), 12u);
        EXPECT_DOUBLE_EQ(left.front(), 5.5);
        EXPECT_NEAR(left.back(), 0, 1e-9);
        EXPECT_TRUE(std::is_sorted(left.rbegin(), left.rend())) << "counts down, never up";
    }
}

} // namespace
