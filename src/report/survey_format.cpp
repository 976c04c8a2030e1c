// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "report/survey_format.h"

#include <charconv>
#include <cmath>

namespace pa::report {

std::string fixed(double value, int decimals) {
    if (!std::isfinite(value))
        return "-";
    char buffer[64];
    const auto r =
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, decimals);
    std::string text(buffer, r.ptr);
    if (text.front() == '-' && text.find_first_not_of("-0.") == std::string::npos)
        text.erase(0, 1);
    return text;
}

} // namespace pa::report
