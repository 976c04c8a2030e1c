// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// Display words against words worked out by hand, bit by bit, so that an encoder and a
// decoder wrong in the same way cannot both pass. (The quiet load's four words are pinned in
// the instrument's frame.)
#include "display_word.h"

#include <gtest/gtest.h>

namespace {

using namespace pa::sim;

// A word: bit 0 set when positive, bit 1 the leading 1, three digits from bit 2 on (each
// digit's four bits in reverse order: 1 is 8, 3 is 12) and the point's place in bits 14-15.
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
        {kWattRanges, 199.94, {192, 0xA667}}, // 199.9: 3 | 9<<2 | 9<<6 | 9<<10 | 2<<14
        {kWattRanges, 199.96, {193, 0x0011}}, // 2000 counts do not fit: 200 on 2000W
        {kWattRanges, -50, {192, 0x8028}},
        {kWattRanges, 2500, {193, 0x3FFD}}, // beyond 2000W: overload
        {kVoltRanges, 12.34, {2, 0x4B13}},  // 3 | 4<<2 | 12<<6 | 2<<10 | 1<<14
        {kVoltRanges, 150, {3, 0x802B}},    // 1500 counts: 3 | 10<<2 | 2<<14
        {kAmpRanges, 7.5, {33, 0x42B9}},    // 1 | 14<<2 | 10<<6 | 1<<14
        {kAmpRanges, -25, {33, 0x7FFC}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(showOnRange(c.value, c.ranges), c.shown) << c.value;
}

} // namespace
