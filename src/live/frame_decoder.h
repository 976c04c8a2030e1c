// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Decoding of the instrument's display blocks.
//
// A live frame is STX (0x02) followed by four 5-byte display blocks. Of each block the
// program uses three bytes: the function/range code, then the value word low and high byte.
//
//   02 | C0 5B 4D 00 00 | D0 ...
//        ^  ^-----^ value word 0x4D5B
//        code 0xC0 = W, 200W range
//
// Value word bits: 0 sign (1 positive; for a frequency block 1 = MHz), 1 half digit,
// 2-5 / 6-9 / 10-13 the three digits with their nibbles bit-reversed, 14-15 decimal point.
#include <string>
#include <string_view>

namespace pa::live {

struct BlockReading {
    std::string function; // "DCV", "W", "PF", ..., "HOLD" or "?"
    std::string range;    // "200V", "1.000", "MHz"/"KHz" for FREQ, ...
    std::string value;    // " 12.34", "-0.512", "OL", "-OL", "Init" (or "" transiently)
    int negative = 0;     // 1 when the last non-frequency block was negative
    int decimals = 0;     // digits after the decimal point
    bool hold = false;    // the block carried the HOLD code: show the HOLD indicator
};

// Sets function and range text from block byte 1. One reading is kept across blocks: the
// HOLD code keeps the previous range text.
void DecodeFunctionCode(std::string_view block, BlockReading& reading);

// Builds value text, negative flag and decimals from the two value-word bytes. Call after
// DecodeFunctionCode for the same block: a frequency block is told by its function text.
void DecodeBlockValue(std::string_view wordBytes, BlockReading& reading);

// Both steps on the first three bytes of a block (missing bytes count as 0).
void DecodeBlock(std::string_view block, BlockReading& reading);

} // namespace pa::live
