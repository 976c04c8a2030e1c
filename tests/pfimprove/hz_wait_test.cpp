// Preparing the frequency before the PF window opens, on the virtual clock.
#include "pfimprove/hz_wait.h"

#include "display_word.h"
#include "support/fake_clock.h"
#include "support/message_texts.h"
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

// A line of no live frames, on a clock set to `now`.
struct HzRig {
    explicit HzRig(double now) {
        port.devices = {"COM1"};
        port.setPortName("COM1");
        port.open();
        clock.port = &port;
        clock.set(now);
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

// At noon, and two seconds before midnight so that the wait crosses it.
class HzWait : public ::testing::TestWithParam<double> {};

// Get Hz runs first (live sampling off, then on again); unless it reads 0 Hz the wait box
// comes up and, while no frequency is shown, the live cycle keeps running for 5 s. Without
// a frequency the window does not open.
TEST_P(HzWait, FrequencyBeforeTheWindowOpens) {
    const std::string pressAgain = "Please press the Get Hz button again";
    const std::string noHz = "0 Hz, Can not improve PF of a DC system";
    // Four displays showing .050 kHz, as a live frame.
    const std::uint16_t word = pa::sim::encodeReading(0.050, 3);
    std::string frame(1, '\x02');
    for (int i = 0; i < 4; ++i)
        frame += {static_cast<char>(pa::sim::kFrequencyCode), static_cast<char>(word & 0xFF),
                  static_cast<char>(word >> 8), 0, 0};
    const struct {
        const char* name;
        std::string reply;
        bool liveFrame; // the third sampling cycle brings a live frame
        bool opens, waitBox;
        std::string hz;
        std::vector<std::string> messages;
        int samples; // -1: more than 50
        double waited;
    } cases[] = {
        {"Get Hz answers", hzReply(0.050), false, true, true, "50Hz", {}, 0, 5.5},
        {"no answer", "", false, false, true, "", {pressAgain, noHz}, -1, 10.5},
        {"a live frame in the wait", "", true, true, true, "50Hz", {pressAgain}, 3, 5.65},
        {"0 Hz", hzReply(0), false, false, false, "0Hz", {noHz}, 0, 5.5},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        HzRig rig(GetParam());
        rig.clock.reply = c.reply;
        const double start = rig.clock.secondsSinceMidnight();
        EXPECT_EQ(pa::pfimprove::PrepareHz(rig.cycle, rig.clock, rig.ui,
                                           [&] {
                                               if (++rig.samples == 3 && c.liveFrame)
                                                   rig.port.incoming = frame;
                                               rig.cycle.Timer2Tick();
                                           }),
                  c.opens);
        EXPECT_NEAR(rig.waitedSince(start), c.waited, 0.06);
        if (!c.hz.empty())
            EXPECT_EQ(rig.cycle.readouts().Panel3D2[kHz], c.hz);
        EXPECT_EQ(pa::testing::messageTexts(rig.ui), c.messages);
        if (c.samples < 0)
            EXPECT_GT(rig.samples, 50);
        else
            EXPECT_EQ(rig.samples, c.samples);
        if (!c.opens)
            EXPECT_EQ(rig.ui.messages.back().icon, pa::app::Icon::Exclamation);
        if (c.waitBox) {
            const std::vector<std::string> first(rig.ui.log.begin(), rig.ui.log.begin() + 5);
            EXPECT_EQ(first,
                      (std::vector<std::string>{"sampling 0", "sampling 1", "caption Getting Hz",
                                                "text    Wait...", "show"}));
            EXPECT_EQ(rig.ui.log.back(), "hide");
        }
        EXPECT_FALSE(rig.ui.statusVisible);
    }
}

INSTANTIATE_TEST_SUITE_P(Clock, HzWait, ::testing::Values(12 * 3600.0, 86398.0));

} // namespace
