// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The instrument's display words: how one 3½-digit display is packed into 16 bits.
//
//   bit  0      sign: 1 = positive, 0 = negative (frequency block: 1 = MHz, 0 = kHz)
//   bit  1      half digit: 1 shows "1", 0 a blank
//   bits 2-5    first digit
//   bits 6-9    second digit
//   bits 10-13  third digit   (each digit bit-reversed in its nibble: 1 -> 8, 2 -> 4, 3 -> 12)
//   bits 14-15  decimal point position P
//
// The display reads sign, half digit, three digits (five characters). P = 0 has no point,
// P = 1 puts it after the third character (" 11.23"), P = 2 after the fourth (" 116.4"),
// P = 3 after the second (" 1.234", "  .550").
//
// Example: " 11.23" is positive (1), half digit (2), digits 1,2,3 -> nibbles 8,4,12, P = 1:
// 0x0001 | 0x0002 | 8<<2 | 4<<6 | 12<<10 | 1<<14 = 0x7123, sent low byte first: 23 71.
#include <cstdint>
#include <span>

namespace pa::sim {

// Packs one display. Digits 0..9 show as digits; 10..15 are the display's non-digit
// patterns (what the instrument shows for overload). Out-of-range arguments are masked.
std::uint16_t encodeValueWord(bool positive, bool halfDigit, int d1, int d2, int d3, int pointPos);

// Digits after the point for a point position: P 0, 1, 2, 3 -> 0, 2, 1, 3.
int decimalsFor(int pointPos);

// The word for a value as shown (116.4 with P = 2): rounded to the display's last digit,
// clamped to 1999 counts. Zero is shown positive.
std::uint16_t encodeReading(double value, int pointPos);

// What the display shows beyond full scale (the program reads it as "OL" / "-OL").
std::uint16_t encodeOverload(bool positive, int pointPos);

// Every segment lit while the instrument starts up (the program reads it as "Init").
inline constexpr std::uint16_t kStartUpWord = 0xFFFF;

// The largest count a 3½-digit display shows.
inline constexpr int kFullScaleCounts = 1999;

// One range of a measuring function: the code byte of its block and its point position.
struct Range {
    std::uint8_t code;
    int pointPos;
};

// The ranges the simulated instrument uses, smallest first.
inline constexpr Range kWattRanges[] = {{192, 2}, {193, 0}};                  // 200W, 2000W
inline constexpr Range kPowerFactorRanges[] = {{208, 3}};                     // 1.000
inline constexpr Range kVoltRanges[] = {{2, 1}, {3, 2}, {4, 0}};              // 20V, 200V, 1000V
inline constexpr Range kAmpRanges[] = {{49, 3}, {33, 1}};                     // 2A, 20A
inline constexpr Range kKilohertzRanges[] = {{5, 3}, {5, 1}, {5, 2}, {5, 0}}; // in kHz

inline constexpr std::uint8_t kFrequencyCode = 5;
inline constexpr std::uint8_t kHoldCode = 255;

// One display block as sent: the code byte and the value word.
struct BlockWord {
    std::uint8_t code;
    std::uint16_t word;

    bool operator==(const BlockWord&) const = default;
};

// The value on the smallest range whose 1999 counts hold it (after rounding); beyond the
// largest range, that range showing overload.
BlockWord showOnRange(double value, std::span<const Range> ranges);

} // namespace pa::sim
