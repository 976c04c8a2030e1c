// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Conversions between numbers and text that never depend on the process locale. Qt sets the
// C library's locale from the environment at start, and under es_ES or de_DE the C functions
// (strtod, printf's %f/%e/%g) read and write a decimal comma; the instrument, the data files
// and the command-line output always use a point. Every conversion of a fractional number in
// the program goes through here.
#include <optional>
#include <string>
#include <string_view>

namespace pa::text {

// A whole text that is one decimal number: an optional sign, digits with an optional point,
// an optional exponent ("230.5", "-1e3", "+.5"). Anything else, including blanks, a decimal
// comma, an infinite value or one out of range, gives nothing.
std::optional<double> parseDecimal(std::string_view text);

// The value with at most `significant` significant digits, as C's "%.*g" writes it in the C
// locale: 230.5 -> "230.5", 1e-7 -> "1e-07", 1.5e20 -> "1.5e+20".
std::string shortestGeneral(double value, int significant = 15);

// The value in scientific notation with `decimals` digits after the point, as C's "%.*e"
// writes it in the C locale: (1234.5, 3) -> "1.234e+03".
std::string scientificText(double value, int decimals);

} // namespace pa::text
