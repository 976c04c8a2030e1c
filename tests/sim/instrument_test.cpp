// The instrument model through receive(): what each byte from the program brings back.
#include "instrument.h"
#include "serial_line.h"
#include "support/bytes.h"

#include <gtest/gtest.h>

#include <set>

namespace {

using namespace pa::sim;

Load quiet(double volts = 230, double amps = 0.55, double pf = 0.92, double hz = 50) {
    return {volts, amps, pf, hz, 0.0};
}

using pa::testing::bytes;

BlockWord block(const std::string& frame, int index) {
    const auto at = [&](int i) { return static_cast<unsigned char>(frame.at(i)); };
    const int first = 1 + index * 5;
    return {at(first), static_cast<std::uint16_t>(at(first + 1) | at(first + 2) << 8)};
}

// 116.4 W, .920, 230 V, .550 A, each word worked out in the display word tests.
const std::string kQuietFrame = bytes({0x02, 0xC0, 0xA3, 0x89, 0, 0,    0xD0, 0x25, 0xC1, 0, 0,
                                       0x04, 0x11, 0x03, 0,    0, 0x31, 0xA9, 0xC2, 0,    0});

TEST(Instrument, BlankAsksForOneFrameOtherBytesAreIgnored) {
    Instrument meter(quiet());
    EXPECT_EQ(meter.receive(" "), kQuietFrame);
    EXPECT_EQ(meter.receive("  "), kQuietFrame + kQuietFrame);
    EXPECT_EQ(meter.receive(bytes({'x', '\r', 0, 'Z', 0xFF})), "");
    EXPECT_EQ(meter.requestsServed(), 3);
    EXPECT_EQ(meter.framesSent(), 3);
}

TEST(Instrument, LoadSetsEveryDisplay) {
    const struct {
        Load load;
        double watts;
    } cases[] = {{quiet(230, 5, 1.0), 1150}, {quiet(12, 1.5, 0.5), 9}, {quiet(230, 2, -0.5), -230}};
    for (const auto& c : cases) {
        Instrument meter(c.load);
        const std::string frame = meter.liveFrame();
        ASSERT_EQ(frame.size(), 21u);
        EXPECT_EQ(frame[0], kStx);
        EXPECT_EQ(block(frame, 0), showOnRange(c.watts, kWattRanges)) << c.watts;
        EXPECT_EQ(block(frame, 1), showOnRange(c.load.powerFactor, kPowerFactorRanges));
        EXPECT_EQ(block(frame, 2), showOnRange(c.load.volts, kVoltRanges));
        EXPECT_EQ(block(frame, 3), showOnRange(c.load.amps, kAmpRanges));
    }
}

TEST(Instrument, FrequencyReplyIsFiveBytesInKilohertz) {
    const struct {
        double hz;
        std::string reply;
    } cases[] = {
        {50, bytes({0x02, 0x05, 0x80, 0xC2, 0x03})},   // .050, unit bit clear for kHz
        {60, bytes({0x02, 0x05, 0x80, 0xC1, 0x03})},   // 6 -> nibble 6 at bits 6-9
        {400, bytes({0x02, 0x05, 0x08, 0xC0, 0x03})},  // 4 -> nibble 2 at bits 2-5
        {2500, bytes({0x02, 0x05, 0x90, 0x42, 0x03})}, // 2.50 kHz on the next range, P = 1
    };
    for (const auto& c : cases) {
        Instrument meter(quiet(230, 0.55, 0.92, c.hz));
        EXPECT_EQ(meter.receive("\xF5"), c.reply) << c.hz;
    }
}

TEST(Instrument, BaudCharactersSwitchTheLineSpeed) {
    Instrument meter(quiet());
    EXPECT_EQ(meter.baud(), 9600);
    const struct {
        char command;
        int baud;
    } cases[] = {{'4', 4800}, {'2', 2400}, {'1', 1200}, {'9', 9600}};
    for (const auto& c : cases) {
        EXPECT_EQ(meter.receive(std::string(1, c.command), meter.baud()), "");
        EXPECT_EQ(meter.baud(), c.baud);
        EXPECT_EQ(meter.receive(" ", c.baud), kQuietFrame) << "clean at the new speed";
    }
    // The answer to a blank after "2" leaves at 2400 baud; the program still listens at 9600.
    EXPECT_EQ(meter.receive("2 ", 9600), resampleLine(kQuietFrame, 2400, 9600));
    // Heard even at the wrong speed, so that a program can always bring the speeds together.
    EXPECT_EQ(meter.receive("9", 1200), "");
    EXPECT_EQ(meter.baud(), 9600);
    EXPECT_NE(meter.receive(" ", 4800), kQuietFrame);
}

TEST(Instrument, DisplayStates) {
    Instrument meter(quiet());
    meter.liveFrame();
    meter.setDisplay(Display::Hold);
    meter.setLoad(quiet(100, 1, 1.0));
    const std::string held = meter.receive(" ");
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(block(held, i).code, kHoldCode);
        EXPECT_EQ(block(held, i).word, block(kQuietFrame, i).word) << "the held reading";
    }
    EXPECT_EQ(meter.receive("\xF5"), bytes({0x02, 0xFF, 0x80, 0xC2, 0x03}));

    meter.setDisplay(Display::Overload);
    const std::string over = meter.receive(" ");
    // Each display on the range of its reading: 100.0 W, 1.000, 100.0 V, 1.000 A.
    const BlockWord overloads[] = {{192, encodeOverload(true, 2)},
                                   {208, encodeOverload(true, 3)},
                                   {3, encodeOverload(true, 2)},
                                   {49, encodeOverload(true, 3)}};
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(block(over, i), overloads[i]) << i;

    meter.setDisplay(Display::StartUp);
    const std::string init = meter.receive(" ");
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(block(init, i).word, kStartUpWord);
    EXPECT_EQ(meter.receive("\xF5"), bytes({0x02, 0x05, 0xFF, 0xFF, 0x03}));

    meter.setDisplay(Display::Normal);
    EXPECT_EQ(block(meter.receive(" "), 0), showOnRange(100, kWattRanges));
}

TEST(Instrument, Faults) {
    Instrument meter(quiet());
    meter.setFault(Fault::Silent);
    EXPECT_EQ(meter.receive(" \xF5"), "");
    EXPECT_EQ(meter.receive("4"), "");
    EXPECT_EQ(meter.baud(), 4800) << "a silent instrument still hears";
    meter.receive("9");

    meter.setFault(Fault::Truncated);
    EXPECT_EQ(meter.receive(" "), kQuietFrame.substr(0, 12));
    meter.setTruncatedLength(30);
    EXPECT_EQ(meter.receive(" "), kQuietFrame.substr(0, 20));
    EXPECT_EQ(meter.receive("\xF5").size(), 4u);

    meter.setFault(Fault::Garbage);
    std::set<std::size_t> lengths;
    bool ffRun = false;
    for (int i = 0; i < 50; ++i) {
        const std::string reply = meter.receive(" ");
        ASSERT_FALSE(reply.empty());
        ASSERT_LE(reply.size(), 48u);
        EXPECT_NE(reply, kQuietFrame);
        lengths.insert(reply.size());
        ffRun = ffRun || reply.find("\xFF\xFF\xFF") != std::string::npos;
    }
    EXPECT_GT(lengths.size(), 10u);
    EXPECT_TRUE(ffRun);
    EXPECT_EQ(meter.framesSent(), 0) << "no whole frame left while faulty";

    meter.setFault(Fault::None);
    EXPECT_EQ(meter.receive(" "), kQuietFrame);
}

TEST(Instrument, NoiseIsBoundedAndFollowsTheSeed) {
    auto frames = [](unsigned seed) {
        Instrument meter(Load{}, seed);
        std::vector<std::string> out;
        for (int i = 0; i < 40; ++i)
            out.push_back(meter.liveFrame());
        return out;
    };
    const auto a = frames(7);
    EXPECT_EQ(a, frames(7));
    EXPECT_NE(a, frames(8));
    std::set<std::uint16_t> amps;
    for (const std::string& f : a)
        amps.insert(block(f, 3).word);
    // 0.55 A +- 0.2 % stays within .549 to .551.
    const std::set<std::uint16_t> allowed{encodeReading(0.549, 3), encodeReading(0.55, 3),
                                          encodeReading(0.551, 3)};
    EXPECT_GT(amps.size(), 1u);
    for (std::uint16_t w : amps)
        EXPECT_TRUE(allowed.count(w)) << std::hex << w;
}

TEST(Instrument, SwingVariesTheCurrentAsASineOverItsPeriod) {
    Load load = quiet(230, 1.0);
    load.swing = 0.5;
    load.swingPeriod = 4; // 20 frames at five a second
    Instrument meter(load);
    // Frame n is measured at phase n / 20: the current at 1 + 0.5 sin(2 pi n / 20).
    const struct {
        int frame;
        double amps;
    } expected[] = {{0, 1.0}, {5, 1.5}, {10, 1.0}, {15, 0.5}, {20, 1.0}, {25, 1.5}};
    int n = 0;
    for (const auto& e : expected) {
        std::string frame;
        for (; n <= e.frame; ++n)
            frame = meter.liveFrame();
        EXPECT_EQ(block(frame, 3), showOnRange(e.amps, kAmpRanges)) << "frame " << e.frame;
    }
}

} // namespace
