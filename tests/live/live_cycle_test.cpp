// The live cycle driven tick by tick: the in-process simulator for whole frames, hand-made
// byte strings for the odd ones, and the virtual clock.
#include "live/live_cycle.h"

#include "display_word.h"
#include "inprocess_port.h"
#include "instrument.h"
#include "support/fake_clock.h"
#include "support/recording_port.h"
#include "support/scripted_ui.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace {

using namespace pa::live;
using pa::testing::FakeClock;
using pa::testing::RecordingPort;
using pa::testing::ScriptedUi;

std::string blockBytes(int code, std::uint16_t word) {
    return {static_cast<char>(code), static_cast<char>(word & 0xFF), static_cast<char>(word >> 8),
            0, 0};
}

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

TEST_F(CycleTest, ReadoutsOfOneSimulatedFrame) {
    pa::sim::Load load;
    load.noise = 0;
    pa::sim::Instrument instrument(load);
    pa::sim::InProcessPort simPort(instrument);
    simPort.setPortName("SIM");
    ASSERT_TRUE(simPort.open());
    LiveCycle live(simPort, clock, ui, state);
    simPort.write(" ");
    live.Timer1Tick();
    live.Timer2Tick();

    const auto& p = live.readouts().Panel3D2;
    EXPECT_EQ(p[kW], " 116.4");
    EXPECT_EQ(p[kPF], "  .920");
    EXPECT_EQ(p[kV], "  230");
    EXPECT_EQ(p[kA], "  .550");
    EXPECT_EQ(p[kAngle], "23.1"); // acos(0.92) = 23.07 degrees
    EXPECT_EQ(p[kVA], "126.50");  // 230 x 0.55
    EXPECT_EQ(p[kVAR], "49.53");  // sqrt(126.5^2 - 116.4^2)
    EXPECT_EQ(p[kKWH], "0.0");    // 116.4 W for 1 s is 0.00003 kWh
    EXPECT_EQ(p[kEnergyPerPeriod], "0.00");
    EXPECT_EQ(p[kCost], "$0.00");
    EXPECT_EQ(live.readouts().clockText, "10:05:07.4");
    EXPECT_EQ(simPort.bytesWaiting(), 21) << "the next frame was requested at once";
}

TEST_F(CycleTest, PhaseAngleFromPowerFactor) {
    const struct {
        std::uint16_t word;
        const char* pf;
        const char* angle;
    } cases[] = {
        {pa::sim::encodeReading(1.0, 3), " 1.000", "0.0"},
        {pa::sim::encodeReading(0.0, 3), "  .000", "90.0"},
        {pa::sim::encodeReading(0.5, 3), "  .500", "60.0"},
        {pa::sim::encodeReading(1.2, 3), " 1.200", "0.0"}, // read as 1
        {pa::sim::encodeReading(-0.5, 3), "- .500", "?"},
        {0x0015, "OL", "?"},
        {0xFFFF, "Init", "?"},
    };
    for (const auto& c : cases) {
        sample("\x02" + blockBytes(PF, c.word) + std::string(15, '\0'));
        EXPECT_EQ(panel(kPF), c.pf);
        EXPECT_EQ(panel(kAngle), c.angle) << c.pf;
    }
}

TEST_F(CycleTest, ApparentAndReactivePower) {
    const struct {
        Shown w, v, a;
        const char* va;
        const char* var;
    } cases[] = {
        {{W, 100, 2}, {DCV, 200, 0}, {DCA, 1, 3}, "200.00", "173.21"},
        {{W2000, 200, 0}, {DCV, 100, 0}, {DCA, 1, 3}, "100.00", "0.00"}, // VA^2 < W^2
        {{W2000, 1500, 0}, {DCV, 240, 0}, {DCA, 7.5, 1}, "1800.00", "994.99"},
    };
    for (const auto& c : cases) {
        sample(frame({c.w, {PF, 0.9, 3}, c.v, c.a}));
        EXPECT_EQ(panel(kVA), c.va);
        EXPECT_EQ(panel(kVAR), c.var);
    }
    // VA waits for a current after each voltage: a frame without a current leaves it.
    sample(frame({{W, 10, 2}, {PF, 0.9, 3}, {DCV, 50, 0}, {PF, 0.9, 3}}));
    EXPECT_EQ(panel(kVA), "1800.00");
}

TEST_F(CycleTest, FewerThanTwentyBytesAreNoData) {
    const std::string full = frame({{W, 50, 2}, {PF, 1, 3}, {DCV, 230, 0}, {DCA, 0.2, 3}});
    sample(full.substr(0, 19));
    EXPECT_EQ(cycle.noDataTicks(), 1);
    EXPECT_EQ(panel(kW), "");
    sample(full.substr(0, 20)); // block bytes 4-5 are unused: 20 bytes carry all four
    EXPECT_EQ(cycle.noDataTicks(), 0);
    EXPECT_EQ(panel(kW), "  50.0");
    EXPECT_EQ(panel(kV), "  230");
    EXPECT_EQ(panel(kA), "  .200");
    // A start character in the second half keeps only the buffer's last ten bytes (from 20
    // bytes with STX at the 16th): the blocks are then read at their fixed offsets in that
    // tail, so block 1 is the W block behind the STX, and blocks past the end are left out.
    sample(std::string(15, '\x07') + "\x02" + blockBytes(W, 0x89A3).substr(0, 4));
    EXPECT_EQ(cycle.noDataTicks(), 0);
    EXPECT_EQ(panel(kW), " 116.4");
    EXPECT_EQ(panel(kA), "  .200");
}

TEST_F(CycleTest, SilenceWarnsAfterFiveTicksAndResetsThePortAfterTen) {
    cycle.Timer1Tick();
    port.calls.clear();
    for (int tick = 1; tick <= 10; ++tick) {
        cycle.Timer2Tick();
        EXPECT_EQ(cycle.readouts().warningVisible, tick > 5) << tick;
        EXPECT_EQ(state.noData, tick > 5) << tick;
    }
    EXPECT_EQ(cycle.readouts().warning, "NO COM");
    EXPECT_TRUE(port.calls.empty()) << "no reset before the eleventh silent tick";
    EXPECT_EQ(ui.beeps, 0);

    cycle.Timer2Tick();
    EXPECT_EQ(ui.beeps, 1);
    EXPECT_EQ(port.calls, (std::vector<std::string>{"close", "open COM1", "write  "}));
    EXPECT_EQ(cycle.noDataTicks(), 0);
    EXPECT_TRUE(ui.messages.empty()) << "a reset never raises a dialog";

    // The next sample tick hides the warning; a frame clears the no-data state.
    cycle.Timer1Tick();
    EXPECT_FALSE(cycle.readouts().warningVisible);
    port.incoming = frame({{W, 50, 2}, {PF, 1, 3}, {DCV, 230, 0}, {DCA, 0.2, 3}});
    cycle.Timer2Tick();
    EXPECT_FALSE(state.noData);
    EXPECT_EQ(cycle.readouts().warning, "");
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
    EXPECT_EQ(panel(kW), "- 500");
    EXPECT_EQ(panel(kKWH), "1.0");
    cycle.resetKwh();
    EXPECT_EQ(panel(kKWH), "0.00");
    state.sampleTickCounter = 3599;
    sample(plus);
    EXPECT_EQ(panel(kKWH), "1.0");
}

TEST_F(CycleTest, CostFollowsPriceHoursAndPeriod) {
    const std::string hundredWatts = frame({{W, 100, 2}, {PF, 1, 3}, {DCV, 230, 0}, {DCA, 0.4, 3}});
    sample(hundredWatts);
    EXPECT_EQ(panel(kEnergyPerPeriod), "0.00") << "no period chosen yet";
    cycle.energy().choosePeriod(2); // year of 360 days
    ASSERT_FALSE(cycle.energy().hoursEntered("24"));
    ASSERT_FALSE(cycle.energy().priceEntered("0.5"));
    sample(hundredWatts);
    EXPECT_EQ(panel(kEnergyPerPeriod), "864.00");
    EXPECT_EQ(panel(kCost), "$432.00");
    cycle.energy().choosePeriod(0); // month of 30 days, 24 h
    sample(hundredWatts);
    EXPECT_EQ(panel(kEnergyPerPeriod), "72.00");
}

TEST_F(CycleTest, HoldFramesRaiseTheIndicatorAndLeaveThePanels) {
    sample(frame({{W, 100, 2}, {PF, 1, 3}, {DCV, 230, 0}, {DCA, 0.4, 3}}));
    std::string held = frame({{255, 120, 2}, {255, 0.5, 3}, {255, 240, 0}, {255, 0.9, 3}});
    cycle.Timer1Tick();
    port.incoming = held;
    cycle.Timer2Tick();
    EXPECT_TRUE(cycle.readouts().holdVisible);
    EXPECT_EQ(panel(kW), " 100.0");
    cycle.Timer1Tick();
    EXPECT_FALSE(cycle.readouts().holdVisible) << "the next sample tick hides it";
}

TEST_F(CycleTest, GarbageAndCutFramesNeverBreakTheCycle) {
    const std::string good = frame({{W, 100, 2}, {PF, 1, 3}, {DCV, 230, 0}, {DCA, 0.4, 3}});
    const std::vector<std::string> inputs{
        std::string(40, '\xFF'),       "\x02" + std::string(20, '\x07'),
        good.substr(10) + good, // a frame that started before we listened
        std::string(30, '\x00'),
        "garbage garbage garbage\x02", // start character at the very end
    };
    for (const std::string& bytes : inputs)
        sample(bytes);
    sample(good);
    EXPECT_EQ(panel(kW), " 100.0");
}

TEST_F(CycleTest, SamplingTimeEntry) {
    const struct {
        const char* typed;
        const char* label;
        int period;
        int wholeSeconds;
    } cases[] = {{"5", "5.0 SEC", 1000, 1},   {"0,4", "0.5 SEC", 500, 0},
                 {"0.9", "0.5 SEC", 500, 0},  {"20000", "13106.0 SEC", 1000, 1},
                 {"2.7", "2.0 SEC", 1000, 1}, {"abc", "0.5 SEC", 500, 0}};
    for (const auto& c : cases) {
        cycle.applySamplingTime(c.typed);
        EXPECT_EQ(cycle.readouts().sampleTime, c.label) << c.typed;
        EXPECT_EQ(state.tickPeriod, c.period) << c.typed;
        EXPECT_EQ(state.wholeSecondMode, c.wholeSeconds) << c.typed;
    }
    cycle.applySamplingTime("");
    EXPECT_EQ(cycle.readouts().sampleTime, "0.5 SEC") << "cancel changes nothing";
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
    ASSERT_EQ(ui.messages.size(), 2u);
    EXPECT_EQ(ui.messages[0].title, "Warning");
    EXPECT_EQ(ui.messages[0].icon, pa::app::Icon::Exclamation);
    EXPECT_EQ(ui.messages[0].text,
              "Because you are using a slow PC and selected a sampling time <= 1 sec., please "
              "open only ONE of the LIST, GRAPHIC or ANALOG DISPLAYS");
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
    EXPECT_EQ(clocks.back(), "10:05:15.4");
    EXPECT_EQ(clocks[clocks.size() - 2], "10:05:14.9");
}

TEST_F(CycleTest, RealignmentKeepsTicksOnTheSecondAndNeverBelow100ms) {
    const struct {
        double secondsIntoDay;
        int period;
        int interval;
    } cases[] = {{100.000, 1000, 1000}, {100.250, 1000, 750},  {100.899, 1000, 101},
                 {100.901, 1000, 1099}, {100.999, 1000, 1001}, {100.250, 500, 250},
                 {100.450, 500, 550}};
    for (const auto& c : cases) {
        state.tickPeriod = c.period;
        clock.set(c.secondsIntoDay);
        const int interval = cycle.Timer1Tick();
        EXPECT_EQ(interval, c.interval) << c.secondsIntoDay << " " << c.period;
        EXPECT_GE(interval, kMinRealignMs);
    }
}

TEST_F(CycleTest, PriceAndHoursEntries) {
    EnergyCost& e = cycle.energy();
    // The kept price goes back into the box as a single prints: at most 7 significant digits.
    const struct {
        const char* price;
        const char* boxText;
    } kept[] = {{"2.5", "2.5"},           {"0.12", "0.12"},       {"0.1", "0.1"},
                {"1234567.8", "1234568"}, {"0.0000001", "1E-07"}, {"0", "0"}};
    for (const auto& k : kept) {
        ASSERT_FALSE(e.priceEntered(k.price));
        const auto refused = e.priceEntered("-3");
        ASSERT_TRUE(refused);
        EXPECT_EQ(refused->message, "-3is less than 0");
        EXPECT_EQ(refused->boxText, k.boxText) << k.price;
    }
    ASSERT_FALSE(e.priceEntered("2.5"));
    EXPECT_FLOAT_EQ(e.price(), 2.5f);
    ASSERT_FALSE(e.priceEntered("abc")); // read as 0 and accepted
    EXPECT_EQ(e.price(), 0.0f);

    ASSERT_FALSE(e.hoursEntered("24"));
    const auto out = e.hoursEntered("24.5");
    ASSERT_TRUE(out);
    EXPECT_EQ(out->message, "24.5is out of range (0 < input < 24)");
    EXPECT_FALSE(out->boxText) << "the refused text stays in the box";
    EXPECT_EQ(e.hoursPerDay(), 24.0f);
    ASSERT_FALSE(e.hoursEntered("0"));
    EXPECT_TRUE(e.hoursEntered("-1"));
}

// Get Hz against the in-process simulator: 5.5 s counted down to the listener, sampling off
// and on again around it.
TEST_F(CycleTest, GetHzShowsTheFrequencyCountsItsWaitDownAndResumes) {
    pa::sim::Instrument instrument;
    pa::sim::InProcessPort simPort(instrument);
    simPort.setPortName("SIM");
    ASSERT_TRUE(simPort.open());
    LiveCycle live(simPort, clock, ui, state);
    std::vector<int> switches;
    live.setLiveSampling([&](int on) { switches.push_back(on); });
    std::vector<double> left;
    live.setWaitListener([&](double l, double total) {
        EXPECT_DOUBLE_EQ(total, 5.5);
        left.push_back(l);
    });
    const double before = clock.secondsSinceMidnight();
    live.GetHz();
    EXPECT_EQ(live.readouts().Panel3D2[kHz], "50Hz");
    EXPECT_EQ(switches, (std::vector<int>{0, 1}));
    EXPECT_NEAR(clock.secondsSinceMidnight() - before, 5.5, 1e-6);
    EXPECT_TRUE(ui.messages.empty());
    ASSERT_GE(left.size(), 12u) << "at least two reports a second";
    EXPECT_DOUBLE_EQ(left.front(), 5.5);
    EXPECT_NEAR(left.back(), 0, 1e-9);
    EXPECT_TRUE(std::is_sorted(left.rbegin(), left.rend())) << "counts down, never up";
}

TEST_F(CycleTest, GetHzRefusesRepliesOfTheWrongLength) {
    std::vector<int> switches;
    const std::string fiveBytes = "\x02" + blockBytes(5, 0xC280).substr(0, 3) + "\x03";
    const std::string liveFrame = frame({{W, 100, 2}, {PF, 1, 3}, {DCV, 230, 0}, {DCA, 0.4, 3}});
    // A reply carrying the HOLD code: the value still decodes, and the indicator goes up.
    const std::string held = "\x02" + blockBytes(255, 0xC281).substr(0, 3) + "\x03";
    const struct {
        std::string stale; // still waiting when Get Hz is pressed
        std::string reply;
        const char* hz;
        bool refused, hold;
    } cases[] = {{"", fiveBytes, "50Hz", false, false},
                 {liveFrame, fiveBytes, "50Hz", false, false}, // drained before the request
                 {"", fiveBytes.substr(0, 4), "", true, false},
                 {"", fiveBytes + "\x03", "", true, false},
                 {"", "", "", true, false},
                 {"", "\x02" + blockBytes(5, 0x0015).substr(0, 3) + "\x03", "0Hz", false, false},
                 {"", held, "50Hz", false, true}};
    for (const auto& c : cases) {
        ui.messages.clear();
        switches.clear();
        port.incoming = c.stale;
        // The reply arrives during the 5-second measuring pause.
        struct ReplyClock : FakeClock {
            RecordingPort* port;
            std::string reply;
            void pause(double s) override {
                FakeClock::pause(s);
                if (s > 1)
                    port->incoming += reply;
            }
        } replyClock;
        replyClock.port = &port;
        replyClock.reply = c.reply;
        LiveCycle live(port, replyClock, ui, state);
        live.setLiveSampling([&](int on) { switches.push_back(on); });
        live.GetHz();
        EXPECT_EQ(live.readouts().Panel3D2[kHz], c.refused ? "" : c.hz) << c.reply.size();
        EXPECT_EQ(live.readouts().holdVisible, c.hold) << c.reply.size();
        EXPECT_EQ(ui.messages.size(), c.refused ? 1u : 0u) << c.reply.size();
        if (c.refused) {
            EXPECT_EQ(ui.messages[0].text, "Please press the Get Hz button again");
        }
        EXPECT_EQ(switches, (std::vector<int>{0, 1})) << "sampling always resumes";
        EXPECT_EQ(port.written.back(), '\xF5') << "the request is one raw byte";
    }
}

TEST_F(CycleTest, FrequencyBlockInALiveFrameReachesTheHzPanel) {
    const struct {
        Shown freq;
        const char* hz;
    } cases[] = {{{5, 0.05, 3}, "50Hz"}, {{5, 0.06, 3}, "60Hz"}, {{5, 1.5, 2}, "1500Hz"}};
    for (const auto& c : cases) {
        sample(frame({{W, 100, 2}, c.freq, {DCV, 230, 0}, {DCA, 0.4, 3}}));
        EXPECT_EQ(panel(kHz), c.hz);
        EXPECT_EQ(panel(kW), " 100.0") << "the other blocks still reach their panels";
    }
}

// The energy sum waits for a new clock text; the energy-per-period and cost figures do not.
TEST_F(CycleTest, CostIsRecomputedOnEveryDecodedTick) {
    const std::string hundredWatts = frame({{W, 100, 2}, {PF, 1, 3}, {DCV, 230, 0}, {DCA, 0.4, 3}});
    cycle.energy().choosePeriod(1); // day
    ASSERT_FALSE(cycle.energy().hoursEntered("24"));
    sample(hundredWatts);
    EXPECT_EQ(panel(kCost), "$0.00");
    const struct {
        const char* price;
        const char* cost;
    } prices[] = {{"1", "$2.40"}, {"0.5", "$1.20"}, {"10", "$24.00"}};
    for (const auto& p : prices) {
        ASSERT_FALSE(cycle.energy().priceEntered(p.price));
        port.incoming = hundredWatts;
        cycle.Timer2Tick(); // a poll tick without a new clock text
        EXPECT_EQ(panel(kEnergyPerPeriod), "2.40");
        EXPECT_EQ(panel(kCost), p.cost) << p.price;
    }
}

} // namespace
