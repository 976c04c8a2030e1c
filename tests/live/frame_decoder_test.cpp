// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// Display-block decoding against value words worked out by hand, bit by bit.
#include "live/frame_decoder.h"
#include "support/live_line.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <set>
#include <string>

using pa::live::BlockReading;
using pa::live::DecodeBlock;

namespace {

const auto block = pa::testing::blockBytes;

// Digits are stored bit-reversed: 0->0, 1->8, 2->4, 3->12, 4->2, 5->10, 6->6, 8->1.
// Word = sign(bit 0) | half(bit 1) | n1<<2 | n2<<6 | n3<<10 | P<<14.
TEST(FrameDecoder, ValueWords) {
    const struct {
        const char* what;
        int code;
        std::uint16_t word;
        const char* value;
        int decimals, negative;
    } cases[] = {
        {"all zero digits, positive", 3, 0x0001, "  000", 0, 0},
        // 1 | 2 | 8<<2 | 4<<6 | 12<<10 | 1<<14 = 1+2+32+256+12288+16384
        {"half digit 1, digits 1 2 3, P=1", 3, 0x7123, " 11.23", 2, 0},
        // 1 | 2 | 4<<2 | 12<<6 | 2<<10 | 3<<14 = 1+2+16+768+2048+49152
        {"half digit 1, digits 2 3 4, P=3", 3, 0xCB13, " 1.234", 3, 0},
        // 1 | 2 | 8<<2 | 6<<6 | 2<<10 | 2<<14 = 1+2+32+384+2048+32768
        {"116.4 on the 200W range, P=2", 192, 0x89A3, " 116.4", 1, 0},
        // 0 | 0 | 0<<2 | 10<<6 | 8<<10 | 3<<14 = 640+8192+49152: negative, digits 0 5 1
        {"negative, P=3, blank half digit", 33, 0xE280, "- .051", 3, 1},
        // 1 | 10<<2 | 10<<6 | 0<<10 = 1+40+640: digits 5 5 0, no point
        {"no decimal point", 4, 0x02A9, "  550", 0, 0},
        // first nibble 5 reverses to 10 (":"): low six bits 010101 -> overload by sign
        {"non-digit nibble, positive", 3, 0x0015, "OL", 0, 0},
        {"non-digit nibble, negative", 3, 0x0014, "-OL", 0, 1},
        // non-digit in the third digit only: 1 | 15<<10
        {"non-digit third digit", 3, 0x3C01, "OL", 0, 0},
        {"start-up pattern", 3, 0xFFFF, "Init", 3, 0},
        // low six bits all ones with a non-digit: Init even when other bits differ
        {"low six bits all ones", 208, 0x003F, "Init", 0, 0},
    };
    for (const auto& c : cases) {
        BlockReading r;
        DecodeBlock(block(c.code, c.word), r);
        EXPECT_EQ(std::tuple(r.value, r.decimals, r.negative),
                  std::tuple(c.value, c.decimals, c.negative))
            << c.what;
    }
}

// Blocks read one after the other into one reading: a frequency block never touches the
// negative flag (an undecodable one takes its overload sign from the block before), and
// HOLD keeps the range of the block before and raises the indicator until the next block.
TEST(FrameDecoder, BlocksInARowShareTheSignAndHold) {
    const struct {
        int code;
        std::uint16_t word;
        const char* shown; // function, range and value
        int negative;
        bool hold;
    } steps[] = {
        {3, 0x0014, "DCV 200V -OL", 1, false},
        // 50 Hz as 0.050 kHz: 0 | 0 | 0 | 10<<6 | 0 | 3<<14, bit 0 clear = KHz
        {5, 0xC280, "FREQ KHz   .050", 1, false},
        {5, 0xC281, "FREQ MHz   .050", 1, false},
        {5, 0x0014, "FREQ KHz -OL", 1, false},
        {3, 0x0001, "DCV 200V   000", 0, false},
        {5, 0x0014, "FREQ KHz OL", 0, false},
        {193, 0x0001, "W 2000W   000", 0, false},
        {255, 0x89A3, "HOLD 2000W  116.4", 0, true},
        {208, 0x0001, "PF 1.000   000", 0, false},
    };
    BlockReading r;
    for (const auto& s : steps) {
        DecodeBlock(block(s.code, s.word), r);
        EXPECT_EQ(std::tuple(r.function + " " + r.range + " " + r.value, r.negative, r.hold),
                  std::tuple(s.shown, s.negative, s.hold));
    }
}

// Every code of the table with its texts (the 40 besides HOLD), as "code function range;";
// the 215 others read as unknown ("? ?").
TEST(FrameDecoder, FunctionCodes) {
    std::string known;
    for (int code = 0; code < 255; ++code) {
        BlockReading r;
        pa::live::DecodeFunctionCode(block(code, 0x0000), r);
        EXPECT_FALSE(r.hold);
        if (r.function + " " + r.range != "? ?")
            known += std::to_string(code) + " " + r.function + " " + r.range + ";";
    }
    EXPECT_EQ(known, "0 DCV 200mV;1 DCV 2V;2 DCV 20V;3 DCV 200V;4 DCV 1000V;5 FREQ KHz;6 DIODE ;"
                     "8 RES 200Ohm;9 RES 2KOhm;10 RES 20KOhm;12 RES 200KOhm;16 RES 2MOhm;"
                     "17 RES 20MOhm;18 CAP 20uF;20 CAP 2uF;24 CAP 200nF;32 CAP 2000pF;"
                     "33 DCA 20A;34 DCA 200mA;36 DCA 20mA;40 DCA 2mA;48 DCA 200uA;49 DCA 2A;"
                     "64 TEMP 200\u868C;65 TEMP 2000\u868C;66 TEMP 200\u8693;68 TEMP 2000\u8693;"
                     "128 ACV 200mV;129 ACV 2V;130 ACV 20V;131 ACV 200V;132 ACV 750V;"
                     "161 ACA 20A;162 ACA 200mA;164 ACA 20mA;168 ACA 2mA;176 ACA 200uA;"
                     "192 W 200W;193 W 2000W;208 PF 1.000;");
}

// Whatever arrives, the value is either an overload word or a display text that the
// decimals describe; short blocks read missing bytes as zero.
TEST(FrameDecoder, AnyBytesGiveAWellFormedReading) {
    const std::set<std::string> words{"OL", "-OL", "Init"};
    std::mt19937 rng(7);
    BlockReading r;
    for (int i = 0; i < 200000; ++i) {
        std::string b(rng() % 6, '\0');
        for (char& ch : b)
            ch = static_cast<char>(rng() % 4 == 0 ? 0xFF : rng());
        DecodeBlock(b, r);
        ASSERT_FALSE(r.value.empty());
        if (words.count(r.value))
            continue;
        ASSERT_EQ(r.value.find_first_not_of(" -0123456789."), std::string::npos) << r.value;
        const auto point = r.value.find('.');
        ASSERT_EQ(point == std::string::npos ? 0 : r.value.size() - point - 1,
                  static_cast<std::size_t>(r.decimals));
    }
}

} // namespace
