// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "app/line_settings.h"

#include <cctype>
#include <charconv>
#include <string>
#include <vector>

namespace pa::app {
namespace {

std::vector<std::string_view> splitCommas(std::string_view text) {
    std::vector<std::string_view> parts;
    std::size_t start = 0;
    for (std::size_t comma; (comma = text.find(',', start)) != std::string_view::npos;
         start = comma + 1)
        parts.push_back(text.substr(start, comma - start));
    parts.push_back(text.substr(start));
    return parts;
}

std::optional<int> wholeNumber(std::string_view s) {
    int value = 0;
    auto [end, ec] = std::from_chars(s.data(), s.data() + s.size(), value);
    if (ec != std::errc{} || end != s.data() + s.size())
        return std::nullopt;
    return value;
}

} // namespace

std::optional<LineSettings> parseLineSettings(std::string_view text) {
    const auto parts = splitCommas(text);
    if (parts.size() != 4 || parts[1].size() != 1)
        return std::nullopt;
    LineSettings s;
    const auto baud = wholeNumber(parts[0]);
    const auto bits = wholeNumber(parts[2]);
    if (!baud || *baud <= 0 || !bits || *bits < 5 || *bits > 8)
        return std::nullopt;
    s.baud = *baud;
    s.dataBits = *bits;
    s.parity = static_cast<char>(std::tolower(static_cast<unsigned char>(parts[1][0])));
    if (std::string_view("neoms").find(s.parity) == std::string_view::npos)
        return std::nullopt;
    if (parts[3] == "1")
        s.stopBits = 1;
    else if (parts[3] == "1.5")
        s.stopBits = 1.5;
    else if (parts[3] == "2")
        s.stopBits = 2;
    else
        return std::nullopt;
    return s;
}

} // namespace pa::app
