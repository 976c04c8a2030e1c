// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Reading a number off the start of a text, the way the instrument's program reads display
// texts and typed entries: blanks anywhere are skipped, then an optional sign, digits with at
// most one decimal point and an optional exponent ("E" or "D"), or "&H" hexadecimal and "&O"
// octal whole numbers. Reading stops at the first character that does not fit; a text with
// no number reads as 0 (" 230.1" -> 230.1, "12abc" -> 12, "OL" -> 0, "" -> 0).
#include <string_view>

namespace pa::text {

double leadingNumber(std::string_view text);

// Rounds to the nearest whole number, halves to the even neighbour (2.5 -> 2, 3.5 -> 4).
double roundHalfEven(double value);

} // namespace pa::text
