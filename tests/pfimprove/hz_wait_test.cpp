// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// Preparing the frequency before the PF window opens, on the virtual clock.
#include "pfimprove/hz_wait.h"

#include "display_word.h"
#include "support/fake_clock.h"
#include "support/recording_port.h"
#include "support/scripted_ui.h"

#include <gtest/gtest.h>

namespace {

using pa::live::kHz;
using pa::live::LiveCycle;
using pa::testing::FakeClock;
using pa::testing::RecordingPort;
using pa::testing::ScriptedUi;

// Get Hz's measuring pause brings `reply` on the line (nothing by default).
struct ReplyClock : FakeClock {
    RecordingPort* port = nullptr;
    std::string reply;
    void pause(double s) override {
        FakeClock::pause(s);
        if (s > 1)
            port->incoming = reply;
    }
};

// Logs the status window's life and the live sampling switches on top of the script.
struct WatchingUi : ScriptedUi {
    void statusShow() override {
        ScriptedUi::statusShow();
        log.push_back("show");
    }
    void statusHide() override {
        ScriptedUi::statusHide();
        log.push_back("hide");
    }
    void statusCaption(const std::string& caption) override { log.push_back("caption " + caption); }
    void statusText(const std::string& text) override { log.push_back("text " + text); }
    std::vector<std::string> log;
};

// The frequency block of a Get Hz reply showing `kHz` on the display.
std::string hzReply(double kHz) {
    const std::uint16_t word = pa::sim::encodeReading(kHz, 3);
    return std::string{'\x02', static_cast<char>(pa::sim::kFrequencyCode),
                       static_cast<char>(word & 0xFF), static_cast<char>(word >> 8), '\x03'};
}

// A line of no live frames, at noon and two seconds before midnight (the wait crosses it).
class HzWait : public ::testing::TestWithParam<double> {
  protected:
    void SetUp() override {
        port.devices = {"COM1"};
        port.setPortName("COM1");
        port.open();
        clock.port = &port;
        clock.set(GetParam());
        cycle.setLiveSampling([&](int on) { ui.log.push_back("sampling " + std::to_string(on)); });
    }
    double waitedSince(double start) {
        const double waited = clock.secondsSinceMidnight() - start;
        return waited < 0 ? waited + 86400 : waited;
    }
    RecordingPort port;
    ReplyClock clock;
    WatchingUi ui;
    pa::app::ProgramState state;
    LiveCycle cycle{port, clock, ui, state};
    int samples = 0;
};

// A frequency comes with Get Hz: the wait box comes up and goes, with no waiting.
TEST_P(HzWait, GetsHzThenShowsTheWaitBox) {
    clock.reply = hzReply(0.050);
    const double start = clock.secondsSinceMidnight();
    EXPECT_TRUE(pa::pfimprove::PrepareHz(cycle, clock, ui, [&] { ++samples; }));
    EXPECT_EQ(cycle.readouts().Panel3D2[kHz], "50Hz");
    EXPECT_TRUE(ui.messages.empty());
    EXPECT_EQ(samples, 0);
    EXPECT_NEAR(waitedSince(start), 5.5, 1e-9);
    // Get Hz runs first (live sampling off, then on again), then the wait box comes up.
    EXPECT_EQ(ui.log, (std::vector<std::string>{"sampling 0", "sampling 1", "caption Getting Hz",
                                                "text    Wait...", "show", "hide"}));
}

TEST_P(HzWait, NoReplyWaitsFiveSecondsThenRefusesAtZeroHz) {
    const double start = clock.secondsSinceMidnight();
    EXPECT_FALSE(pa::pfimprove::PrepareHz(cycle, clock, ui, [&] { ++samples; }));
    EXPECT_NEAR(waitedSince(start), 5.5 + 5.0, 0.06);
    EXPECT_GT(samples, 50) << "the sampling cycle runs during the wait";
    ASSERT_EQ(ui.messages.size(), 2u);
    EXPECT_EQ(ui.messages[0].text, "Please press the Get Hz button again");
    EXPECT_EQ(ui.messages[1].text, "0 Hz, Can not improve PF of a DC system");
    EXPECT_EQ(ui.messages[1].icon, pa::app::Icon::Exclamation);
    EXPECT_FALSE(ui.statusVisible);
}

TEST_P(HzWait, OpensWhenALiveFrequencyArrivesDuringTheWait) {
    // The third sampling cycle finds a frame whose four displays show .050 kHz.
    const std::uint16_t word = pa::sim::encodeReading(0.050, 3);
    std::string frame(1, '\x02');
    for (int i = 0; i < 4; ++i)
        frame += {static_cast<char>(pa::sim::kFrequencyCode), static_cast<char>(word & 0xFF),
                  static_cast<char>(word >> 8), 0, 0};
    const double start = clock.secondsSinceMidnight();
    EXPECT_TRUE(pa::pfimprove::PrepareHz(cycle, clock, ui, [&] {
        if (++samples == 3)
            port.incoming = frame;
        cycle.Timer2Tick();
    }));
    EXPECT_EQ(cycle.readouts().Panel3D2[kHz], "50Hz");
    EXPECT_EQ(samples, 3);
    EXPECT_LT(waitedSince(start), 6.0);
    ASSERT_EQ(ui.messages.size(), 1u) << "only Get Hz's own message";
}

// A frequency block reading 0 is refused without waiting.
TEST_P(HzWait, ZeroHzReplyIsRefusedWithoutWaiting) {
    clock.reply = hzReply(0);
    EXPECT_FALSE(pa::pfimprove::PrepareHz(cycle, clock, ui, [&] { ++samples; }));
    EXPECT_EQ(cycle.readouts().Panel3D2[kHz], "0Hz");
    EXPECT_EQ(samples, 0);
    ASSERT_EQ(ui.messages.size(), 1u);
    EXPECT_EQ(ui.messages[0].text, "0 Hz, Can not improve PF of a DC system");
}

INSTANTIATE_TEST_SUITE_P(Clock, HzWait, ::testing::Values(12 * 3600.0, 86398.0));

} // namespace
