// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// Bytes read at the wrong line speed, worked out bit time by bit time.
#include "serial_line.h"

#include <gtest/gtest.h>

namespace {

using pa::sim::resampleLine;

// Equal speeds pass every byte value; a wrong speed garbles.
TEST(SerialLine, OnlyAWrongSpeedGarbles) {
    std::string all;
    for (int b = 0; b < 256; ++b)
        all.push_back(static_cast<char>(b));
    const struct {
        std::string sent;
        int senderBaud, receiverBaud;
        std::string read;
    } cases[] = {
        {all, 1200, 1200, all},
        {all, 9600, 9600, all},
        // Sampled every second sender bit: start, d1 d3 d5 d7 low, then stop and idle high.
        {std::string(1, '\0'), 9600, 4800, "\xF8"},
        // 0x55 sampled twice per bit gives 0 1 1 0 0 1 1 0 (0x66) with a low stop sample; the
        // next falling edge (d5) starts 0 1 1 0 0 1 1 1 (0xE6).
        {"\x55", 1200, 2400, "\x66\xE6"},
        // Eight receiver bits per sender bit: seven low samples of the start bit, then d0.
        {"\xFF", 1200, 9600, "\x80"},
        {"  ", 9600, 0, ""},
        {"  ", 0, 9600, ""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(resampleLine(c.sent, c.senderBaud, c.receiverBaud), c.read)
            << c.senderBaud << " -> " << c.receiverBaud;
}

} // namespace
