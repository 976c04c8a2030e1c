// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Number formatting with the display masks the instrument's program uses.
//
// A mask is made of digit places and literals:
//   '0'  a digit that is always shown (a leading or trailing zero when needed),
//   '#'  a digit that is shown only when significant,
//   '.'  the decimal point (always shown when the mask has one: "##.##" prints 1 as "1."),
//   "E-" / "E+" after the digits: scientific notation; the exponent's sign is shown only
//        when negative ("E-") or always ("E+"); the '0' places after it set its least width.
// Anything else is printed as it stands. Integer digits that do not fit spill to the left of
// the leftmost digit place, so a value wider than its mask is never cut. Rounding is to
// nearest, halves away from zero, on the value's 15 significant decimal digits (so 2.675 to two
// places is 2.68, as a person reading the display expects). A value that rounds to zero is
// shown without a minus sign.
#include <string>
#include <string_view>

namespace pa::text {

// "######0.00" gives 1234.5 -> "1234.50", 0.004 -> "0.00"; "#.0" gives 0.5 -> ".5";
// "      #" gives 7 -> "      7"; "#0.0#E-##" gives 0.000123 -> "1.23E-4".
std::string formatMask(double value, std::string_view mask);

// The general number format: up to 15 significant digits, no trailing zeros, no leading
// blank (50 -> "50", 59.9 -> "59.9", 0.5 -> "0.5"); very large or small values in E notation
// ("1E-07", "1.5E+20").
std::string formatGeneral(double value);

} // namespace pa::text
