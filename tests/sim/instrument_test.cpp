// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The instrument model through receive(): what each byte from the program brings back, to
// the live display and to the logger. (The logger's states and faults are met by the logger
// tests, which talk to this model.)
#include "instrument.h"
#include "serial_line.h"
#include "support/bytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace {

using namespace pa::sim;
using pa::testing::bytes;

Load quiet(double volts = 230, double amps = 0.55, double pf = 0.92, double hz = 50) {
    return {volts, amps, pf, hz, 0.0};
}

BlockWord block(const std::string& frame, int index) {
    const auto at = [&](int i) { return static_cast<unsigned char>(frame.at(i)); };
    const int first = 1 + index * 5;
    return {at(first), static_cast<std::uint16_t>(at(first + 1) | at(first + 2) << 8)};
}

// The four blocks of a frame: W, PF, V and A.
std::vector<BlockWord> blocks(const std::string& frame) {
    return {block(frame, 0), block(frame, 1), block(frame, 2), block(frame, 3)};
}

// 116.4 W, .920, 230 V, .550 A, each word worked out in the display word tests.
const std::string kQuietFrame = bytes({0x02, 0xC0, 0xA3, 0x89, 0, 0,    0xD0, 0x25, 0xC1, 0, 0,
                                       0x04, 0x11, 0x03, 0,    0, 0x31, 0xA9, 0xC2, 0,    0});

TEST(Instrument, BlankAsksForOneFrameOtherBytesAreIgnored) {
    Instrument meter(quiet());
    EXPECT_EQ(meter.receive(" "), kQuietFrame);
    EXPECT_EQ(meter.receive("  "), kQuietFrame + kQuietFrame);
    EXPECT_EQ(meter.receive(bytes({'x', '\r', 0, 'Z', 0xFF})), "");
    EXPECT_EQ(std::tuple(meter.requestsServed(), meter.framesSent()), std::tuple(3, 3));
    // The power is volts times amps times the power factor, with its sign.
    const std::pair<Load, BlockWord> watts[] = {{quiet(230, 5, 1.0), {193, 0x02A3}},   // 1150
                                                {quiet(12, 1.5, 0.5), {192, 0x8241}},  // 9.0
                                                {quiet(230, 2, -0.5), {193, 0x0310}}}; // -230
    for (const auto& [load, word] : watts)
        EXPECT_EQ(block(Instrument(load).liveFrame(), 0), word) << load.volts;
}

TEST(Instrument, FrequencyReplyIsFiveBytesInKilohertz) {
    const std::pair<double, std::string> cases[] = {
        {50, bytes({0x02, 0x05, 0x80, 0xC2, 0x03})},   // .050, unit bit clear for kHz
        {60, bytes({0x02, 0x05, 0x80, 0xC1, 0x03})},   // 6 -> nibble 6 at bits 6-9
        {400, bytes({0x02, 0x05, 0x08, 0xC0, 0x03})},  // 4 -> nibble 2 at bits 2-5
        {2500, bytes({0x02, 0x05, 0x90, 0x42, 0x03})}, // 2.50 kHz on the next range, P = 1
    };
    for (const auto& [hz, reply] : cases)
        EXPECT_EQ(Instrument(quiet(230, 0.55, 0.92, hz)).receive("\xF5"), reply) << hz;
}

TEST(Instrument, BaudCharactersSwitchTheLineSpeed) {
    Instrument meter(quiet());
    EXPECT_EQ(meter.baud(), 9600);
    for (const auto& [command, baud] :
         {std::pair{'4', 4800}, {'2', 2400}, {'1', 1200}, {'9', 9600}}) {
        EXPECT_EQ(meter.receive(std::string(1, command), meter.baud()), "");
        EXPECT_EQ(meter.baud(), baud);
        EXPECT_EQ(meter.receive(" ", baud), kQuietFrame) << "clean at the new speed";
    }
    // The answer to a blank after "2" leaves at 2400 baud; the program still listens at 9600.
    EXPECT_EQ(meter.receive("2 ", 9600), resampleLine(kQuietFrame, 2400, 9600));
    // Heard even at the wrong speed, so that a program can always bring the speeds together.
    EXPECT_EQ(meter.receive("9", 1200), "");
    EXPECT_EQ(meter.baud(), 9600);
}

// Hold keeps the words with code 255; overload shows on each reading's range (100.0 W,
// 1.000, 100.0 V, 1.000 A); start-up shows every segment.
TEST(Instrument, DisplayStates) {
    Instrument meter(quiet());
    meter.liveFrame();
    meter.setDisplay(Display::Hold);
    meter.setLoad(quiet(100, 1, 1.0));
    EXPECT_EQ(blocks(meter.receive(" ")),
              (std::vector<BlockWord>{{255, 0x89A3}, {255, 0xC125}, {255, 0x0311}, {255, 0xC2A9}}));
    EXPECT_EQ(meter.receive("\xF5"), bytes({0x02, 0xFF, 0x80, 0xC2, 0x03}));
    meter.setDisplay(Display::Overload);
    EXPECT_EQ(blocks(meter.receive(" ")),
              (std::vector<BlockWord>{{192, 0xBFFD}, {208, 0xFFFD}, {3, 0xBFFD}, {49, 0xFFFD}}));
    meter.setDisplay(Display::StartUp);
    for (const BlockWord& b : blocks(meter.receive(" ")))
        EXPECT_EQ(b.word, 0xFFFF);
    EXPECT_EQ(meter.receive("\xF5"), bytes({0x02, 0x05, 0xFF, 0xFF, 0x03}));
    meter.setDisplay(Display::Normal);
    EXPECT_EQ(block(meter.receive(" "), 0), (BlockWord{192, 0x8003})); // 100.0 W
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
    // Many lengths, runs of FF, and no whole frame left while faulty.
    EXPECT_EQ(std::tuple(lengths.size() > 10, ffRun, meter.framesSent()),
              std::tuple(true, true, 0));

    meter.setFault(Fault::None);
    EXPECT_EQ(meter.receive(" "), kQuietFrame);
}

// Noise of 0.2 % follows the seed; a swing varies the current as a sine over its period.
TEST(Instrument, NoiseAndSwingVaryTheCurrent) {
    auto amps = [](const Load& load, unsigned seed, int frames) {
        Instrument meter(load, seed);
        std::vector<std::uint16_t> words;
        for (int i = 0; i < frames; ++i)
            words.push_back(block(meter.liveFrame(), 3).word);
        return words;
    };
    const auto a = amps(Load{}, 7, 40);
    EXPECT_EQ(a, amps(Load{}, 7, 40));
    EXPECT_NE(a, amps(Load{}, 8, 40));
    // 0.55 A +- 0.2 % stays within .549 to .551.
    const std::set<std::uint16_t> seen(a.begin(), a.end()), allowed{0xC2A9, 0xE2A9, 0xE4A9};
    EXPECT_GT(seen.size(), 1u);
    EXPECT_TRUE(std::includes(allowed.begin(), allowed.end(), seen.begin(), seen.end()));

    // 20 frames at five a second: 1 + 0.5 sin(2 pi n / 20) A, so 1.000 1.500 1.000 .500 1.500.
    const auto swung = amps(Load{230, 1.0, 0.92, 50, 0, 0.5, 4}, 1, 26);
    EXPECT_EQ((std::vector{swung[0], swung[5], swung[10], swung[15], swung[25]}),
              (std::vector<std::uint16_t>{0xC003, 0xC02B, 0xC003, 0xC029, 0xC02B}));
}

TEST(LoggerModel, CommandsAndTheirReplies) {
    Instrument meter;
    EXPECT_EQ(meter.receive("X"), bytes({2, 0, 3}));
    // Argument bytes are the logger's, even when they look like live commands (' ' = 32).
    EXPECT_EQ(meter.receive("W" + bytes({32, 0, 0x5A})), "");
    EXPECT_EQ(meter.receive("R" + bytes({32, 0})), bytes({2, 0x5A, 3}));
    EXPECT_EQ(meter.framesSent(), 0);
    // Split across writes, as the program sends them.
    EXPECT_EQ(meter.receive("R"), "");
    EXPECT_EQ(meter.receive(bytes({6})), "");
    EXPECT_EQ(meter.receive(bytes({0})), bytes({2, 0x20, 3})); // 8 KB memory size byte
    meter.receive("EEES" + bytes({'G', 'N', 'T', 'E', 'E'}));
    EXPECT_EQ(meter.logger().serviceCommands(),
              (std::vector<std::string>{"EEE", "S", "G", "N", "T"}));
    // The live exchange still works between logger commands.
    EXPECT_EQ(meter.receive(" ").size(), 21u);
}

} // namespace
