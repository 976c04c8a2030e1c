// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "text/leading_number.h"

#include "text/number_text.h"

#include <cmath>
#include <string>

namespace pa::text {
namespace {

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

// "&H1F" or "&O17" after the blanks are gone; the prefix has been checked.
double radixNumber(const std::string& s, int base) {
    double value = 0;
    for (std::size_t i = 2; i < s.size(); ++i) {
        const char c = s[i];
        int digit;
        if (c >= '0' && c <= '9')
            digit = c - '0';
        else if (c >= 'a' && c <= 'f')
            digit = c - 'a' + 10;
        else if (c >= 'A' && c <= 'F')
            digit = c - 'A' + 10;
        else
            break;
        if (digit >= base)
            break;
        value = value * base + digit;
    }
    return value;
}

} // namespace

double leadingNumber(std::string_view text) {
    std::string s;
    s.reserve(text.size());
    for (char c : text)
        if (!isBlank(c))
            s += c;

    if (s.size() >= 2 && s[0] == '&') {
        const char kind = s[1];
        if (kind == 'H' || kind == 'h')
            return radixNumber(s, 16);
        if (kind == 'O' || kind == 'o')
            return radixNumber(s, 8);
        return 0;
    }

    // Keep only the longest prefix shaped like [sign] digits [. digits] [E|D [sign] digits].
    std::size_t i = 0;
    if (i < s.size() && (s[i] == '+' || s[i] == '-'))
        ++i;
    std::size_t digits = 0;
    while (i < s.size() && s[i] >= '0' && s[i] <= '9')
        ++i, ++digits;
    if (i < s.size() && s[i] == '.') {
        ++i;
        while (i < s.size() && s[i] >= '0' && s[i] <= '9')
            ++i, ++digits;
    }
    if (digits == 0)
        return 0;
    std::string number = s.substr(0, i);
    if (i < s.size() && (s[i] == 'E' || s[i] == 'e' || s[i] == 'D' || s[i] == 'd')) {
        std::size_t j = i + 1;
        if (j < s.size() && (s[j] == '+' || s[j] == '-'))
            ++j;
        const std::size_t expStart = j;
        while (j < s.size() && s[j] >= '0' && s[j] <= '9')
            ++j;
        if (j > expStart)
            number += "e" + s.substr(i + 1, j - i - 1);
    }
    // An out-of-range exponent must not turn a display text into infinity: it reads as 0.
    const double value = parseDecimal(number).value_or(0);
    return value == 0 ? 0 : value; // never -0
}

double roundHalfEven(double value) {
    // nearbyint rounds in the current mode, which is to nearest with ties to even unless a
    // program changes it; this one never does.
    return std::nearbyint(value);
}

} // namespace pa::text
