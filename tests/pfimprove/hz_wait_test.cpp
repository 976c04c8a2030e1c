// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// Preparing the frequency before the PF window opens, on the virtual clock.
#include "pfimprove/hz_wait.h"

#include "display_word.h"
#include "support/live_line.h"
#include "support/message_texts.h"
#include "support/recording_port.h"
#include "support/scripted_ui.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using pa::live::kHz;
using pa::testing::ScriptedUi;

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
    const auto block =
        pa::testing::blockBytes(pa::sim::kFrequencyCode, pa::sim::encodeReading(kHz, 3));
    return "\x02" + block.substr(0, 3) + "\x03";
}

// A line of no live frames at the given time of day, with the Get Hz reply `reply`.
struct Rig {
    Rig(double secondsIntoDay, std::string reply) {
        port.devices = {"COM1"};
        port.setPortName("COM1");
        port.open();
        clock.port = &port;
        clock.reply = std::move(reply);
        clock.set(secondsIntoDay);
        cycle.setLiveSampling([&](int on) { ui.log.push_back("sampling " + std::to_string(on)); });
    }
    pa::testing::RecordingPort port;
    pa::testing::ReplyClock clock;
    WatchingUi ui;
    pa::app::ProgramState state;
    pa::live::LiveCycle cycle{port, clock, ui, state};
};

// What the line brings decides: a Get Hz reply opens at once, a live frame during the wait
// opens early, silence waits five seconds more and refuses, a 0 Hz reply refuses at once.
// Get Hz always runs first, with live sampling off then on again around it. At noon and two
// seconds before midnight (the wait crosses it).
class HzWait : public ::testing::TestWithParam<double> {};

TEST_P(HzWait, OutcomeFollowsWhatTheLineBrings) {
    const std::string noHz = "0 Hz, Can not improve PF of a DC system";
    const std::string again = "Please press the Get Hz button again";
    const struct {
        const char* what;
        std::string reply;
        bool liveFrame, opens;
        const char* hz;
        int samples;        // -1: more than 50, the sampling cycle running during the wait
        double least, most; // seconds waited
        std::vector<std::string> messages;
    } cases[] = {
        {"Get Hz reply", hzReply(0.050), false, true, "50Hz", 0, 5.5, 5.5, {}},
        {"live frame", "", true, true, "50Hz", 3, 5.5, 6.0, {again}},
        {"silence", "", false, false, "", -1, 10.44, 10.56, {again, noHz}},
        {"0 Hz reply", hzReply(0), false, false, "0Hz", 0, 5.5, 5.5, {noHz}},
    };
    // A live frame whose four displays show .050 kHz.
    std::string frame(1, '\x02');
    for (int i = 0; i < 4; ++i)
        frame += pa::testing::blockBytes(pa::sim::kFrequencyCode, pa::sim::encodeReading(0.050, 3));
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Rig rig(GetParam(), c.reply);
        int samples = 0;
        const double start = rig.clock.secondsSinceMidnight();
        EXPECT_EQ(pa::pfimprove::PrepareHz(rig.cycle, rig.clock, rig.ui,
                                           [&] {
                                               if (++samples == 3 && c.liveFrame)
                                                   rig.port.incoming = frame;
                                               if (c.liveFrame)
                                                   rig.cycle.Timer2Tick();
                                           }),
                  c.opens);
        EXPECT_EQ(std::tuple(rig.cycle.readouts().Panel3D2[kHz], pa::testing::messageTexts(rig.ui),
                             rig.ui.statusVisible),
                  std::tuple(c.hz, c.messages, false));
        EXPECT_TRUE(c.samples < 0 ? samples > 50 : samples == c.samples) << samples;
        const double waited = std::fmod(rig.clock.secondsSinceMidnight() - start + 86400, 86400);
        EXPECT_TRUE(waited >= c.least - 1e-9 && waited <= c.most + 1e-9) << waited;
        if (!c.opens) {
            EXPECT_EQ(rig.ui.messages.back().icon, pa::app::Icon::Exclamation);
        }
        if (c.opens && !c.liveFrame) {
            EXPECT_EQ(rig.ui.log,
                      (std::vector<std::string>{"sampling 0", "sampling 1", "caption Getting Hz",
                                                "text    Wait...", "show", "hide"}));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Clock, HzWait, ::testing::Values(12 * 3600.0, 86398.0));

} // namespace
