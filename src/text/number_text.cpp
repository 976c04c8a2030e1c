// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "text/number_text.h"

#include <charconv>
#include <cmath>
#include <system_error>

namespace pa::text {

std::optional<double> parseDecimal(std::string_view text) {
    // from_chars takes no plus sign; one sign at most, followed by the number itself.
    if (!text.empty() && text[0] == '+') {
        text.remove_prefix(1);
        if (!text.empty() && text[0] == '-')
            return std::nullopt;
    }
    if (text.empty() || text[0] == '+')
        return std::nullopt;
    // Only a plain decimal form: from_chars would also take "inf", "nan" and hexadecimal.
    for (char c : text)
        if (!((c >= '0' && c <= '9') || c == '.' || c == '-' || c == '+' || c == 'e' || c == 'E'))
            return std::nullopt;
    double value = 0;
    const auto [end, ec] =
        std::from_chars(text.data(), text.data() + text.size(), value, std::chars_format::general);
    if (ec != std::errc() || end != text.data() + text.size() || !std::isfinite(value))
        return std::nullopt;
    return value;
}

namespace {

std::string toChars(double value, std::chars_format format, int precision) {
    char buffer[64];
    const auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value, format, precision);
    return ec == std::errc() ? std::string(buffer, end) : std::string();
}

} // namespace

std::string shortestGeneral(double value, int significant) {
    return toChars(value, std::chars_format::general, significant);
}

std::string scientificText(double value, int decimals) {
    return toChars(value, std::chars_format::scientific, decimals);
}

} // namespace pa::text
