// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Serial line settings strings such as "9600,n,8,1": baud, parity, data bits, stop bits.
#include <optional>
#include <string_view>

namespace pa::app {

struct LineSettings {
    int baud = 9600;
    char parity = 'n';   // n, e, o, m, s
    int dataBits = 8;    // 5..8
    double stopBits = 1; // 1, 1.5, 2
};

inline constexpr std::string_view kDefaultSettings = "9600,n,8,1";

// Nothing when the string is not a valid settings string.
std::optional<LineSettings> parseLineSettings(std::string_view text);

} // namespace pa::app
