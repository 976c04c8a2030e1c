// Display words against words worked out by hand, bit by bit, so that an encoder and a
// decoder wrong in the same way cannot both pass.
#include "display_word.h"

#include <gtest/gtest.h>

namespace {

using namespace pa::sim;

TEST(DisplayWord, PacksSignHalfDigitReversedDigitsAndPoint) {
    const struct {
        bool positive, half;
        int d1, d2, d3, point;
        std::uint16_t word;
    } cases[] = {
        // 1 | 2 | 8<<2 (1) | 4<<6 (2) | 12<<10 (3) | 1<<14 =
        // 0x0001+0x0002+0x0020+0x0100+0x3000+0x4000
        {true, true, 1, 2, 3, 1, 0x7123},
        {true, false, 0, 0, 0, 0, 0x0001},
        {false, false, 0, 0, 0, 0, 0x0000},
        // 1 | 2 | 8<<2 (1) | 6<<6 (6) | 2<<10 (4) | 2<<14 = 0x0003+0x0020+0x0180+0x0800+0x8000
        {true, true, 1, 6, 4, 2, 0x89A3},
        // kHz | 0 | 10<<6 (5) | 3<<14 = 0x0280+0xC000
        {false, false, 0, 5, 0, 3, 0xC280},
        // 2 | 1<<2 (8) | 9<<6 (9) | 14<<10 (7) = 0x0002+0x0004+0x0240+0x3800
        {false, true, 8, 9, 7, 0, 0x3A46},
        // non-digit pattern 15 in every place: 1 | 0x3C | 0x3C0 | 0x3C00
        {true, false, 15, 15, 15, 0, 0x3FFD},
    };
    for (const auto& c : cases)
        EXPECT_EQ(encodeValueWord(c.positive, c.half, c.d1, c.d2, c.d3, c.point), c.word)
            << std::hex << c.word;
}

TEST(DisplayWord, ReadingsRoundAndClampToTheDisplay) {
    const struct {
        double shown;
        int point;
        std::uint16_t word;
    } cases[] = {
        {116.38, 2, 0x89A3},  // 1164 counts
        {0.92, 3, 0xC125},    // 1 | 9<<2 | 4<<6 | 3<<14
        {0.55, 3, 0xC2A9},    // 1 | 10<<2 | 10<<6 | 3<<14
        {230, 0, 0x0311},     // 1 | 4<<2 | 12<<6
        {-0.5, 3, 0xC028},    // negative: bit 0 clear; 10<<2 | 3<<14
        {1.0625, 3, 0xF183},  // 1062.5 rounds away from zero to 1063: 3 | 6<<6 | 12<<10 | 3<<14
        {2500, 0, 0x2667},    // clamped to 1999: 3 | 9<<2 | 9<<6 | 9<<10
        {-0.0004, 3, 0xC001}, // rounds to zero, which is shown positive
    };
    for (const auto& c : cases)
        EXPECT_EQ(encodeReading(c.shown, c.point), c.word) << c.shown;
}

TEST(DisplayWord, OverloadNeverLooksLikeStartUp) {
    EXPECT_EQ(encodeOverload(true, 0), 0x3FFD);
    EXPECT_EQ(encodeOverload(false, 2), 0xBFFC);
    for (bool positive : {true, false})
        for (int point = 0; point < 4; ++point)
            EXPECT_NE(encodeOverload(positive, point) & 63, 63);
}

TEST(DisplayWord, SmallestRangeThatHoldsTheValue) {
    const struct {
        std::span<const Range> ranges;
        double value;
        BlockWord shown;
    } cases[] = {
        {kWattRanges, 116.38, {192, 0x89A3}},
        {kWattRanges, 199.94, {192, 0xA667}}, // 199.9: 3 | 9<<2 | 9<<6 | 9<<10 | 2<<14
        {kWattRanges, 199.96, {193, 0x0011}}, // 2000 counts do not fit: 200 on 2000W
        {kWattRanges, -50, {192, 0x8028}},
        {kWattRanges, 2500, {193, 0x3FFD}}, // beyond 2000W: overload
        {kVoltRanges, 12.34, {2, 0x4B13}},  // 3 | 4<<2 | 12<<6 | 2<<10 | 1<<14
        {kVoltRanges, 150, {3, 0x802B}},    // 1500 counts: 3 | 10<<2 | 2<<14
        {kVoltRanges, 230, {4, 0x0311}},
        {kAmpRanges, 0.55, {49, 0xC2A9}},
        {kAmpRanges, 7.5, {33, 0x42B9}}, // 1 | 14<<2 | 10<<6 | 1<<14
        {kAmpRanges, -25, {33, 0x7FFC}},
        {kPowerFactorRanges, 0.92, {208, 0xC125}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(showOnRange(c.value, c.ranges), c.shown) << c.value;
}

} // namespace
