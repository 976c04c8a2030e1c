// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "text/mask_format.h"

#include "text/number_text.h"

#include <cmath>
#include <cstdlib>
#include <tuple>
#include <utility>

namespace pa::text {
namespace {

constexpr int kSignificant = 15; // decimal digits a double carries reliably

bool isDigitPlace(char c) {
    return c == '0' || c == '#';
}

// A non-negative value as 15 significant digits: value = 0.digits x 10^point.
struct Decimal {
    std::string digits; // kSignificant digits, or empty for zero
    int point = 0;
};

Decimal toDecimal(double magnitude) {
    Decimal d;
    if (magnitude == 0)
        return d;
    const std::string buf = scientificText(magnitude, kSignificant - 1);
    // buf is "d.dddddddddddddde[+-]xx"
    d.digits = buf.substr(0, 1) + buf.substr(2, kSignificant - 1);
    d.point = std::atoi(buf.c_str() + kSignificant + 2) + 1;
    return d;
}

// Rounds to `decimals` places after the point, halves away from zero. Returns the integer
// digits without leading zeros ("" for less than 1) and exactly `decimals` fraction digits.
std::pair<std::string, std::string> roundFixed(const Decimal& d, int decimals) {
    std::string kept;
    int point = d.point;
    if (!d.digits.empty()) {
        const int keep = d.point + decimals;
        if (keep >= kSignificant) {
            kept = d.digits;
        } else if (keep >= 0) {
            kept = d.digits.substr(0, keep);
            if (d.digits[keep] >= '5') {
                int i = keep - 1;
                while (i >= 0 && kept[i] == '9')
                    kept[i--] = '0';
                if (i >= 0) {
                    ++kept[i];
                } else {
                    kept.insert(kept.begin(), '1');
                    ++point;
                }
            }
        }
        // keep < 0: rounds to zero, kept stays empty.
    }
    if (kept.find_first_not_of('0') == std::string::npos)
        return {"", std::string(decimals, '0')};
    // Lay the kept digits out on a fixed grid of integer and fraction places.
    std::string intDigits, fracDigits;
    if (point > 0) {
        std::string padded = kept;
        if (static_cast<int>(padded.size()) < point + decimals)
            padded.append(point + decimals - padded.size(), '0');
        intDigits = padded.substr(0, point);
        fracDigits = padded.substr(point, decimals);
    } else {
        fracDigits = std::string(-point, '0') + kept;
        fracDigits.resize(decimals, '0');
    }
    const auto first = intDigits.find_first_not_of('0');
    intDigits = first == std::string::npos ? "" : intDigits.substr(first);
    return {intDigits, fracDigits};
}

struct Mantissa {
    std::string intMask;  // the mask left of the point
    std::string fracMask; // the mask right of the point
    bool hasPoint = false;
    int maxDecimals = 0;
    int minDecimals = 0;  // up to and including the last '0' after the point
    int minIntDigits = 0; // from the first '0' before the point
};

Mantissa parseMantissa(std::string_view mask) {
    Mantissa m;
    const auto dot = mask.find('.');
    m.hasPoint = dot != std::string_view::npos;
    m.intMask = std::string(mask.substr(0, dot));
    if (m.hasPoint)
        m.fracMask = std::string(mask.substr(dot + 1));
    int places = 0;
    for (char c : m.fracMask) {
        if (isDigitPlace(c))
            ++places;
        if (c == '0')
            m.minDecimals = places;
    }
    m.maxDecimals = places;
    bool seenZero = false;
    for (char c : m.intMask) {
        if (c == '0')
            seenZero = true;
        if (seenZero && isDigitPlace(c))
            ++m.minIntDigits;
    }
    return m;
}

// Fills the mask with already rounded digits.
std::string layout(const Mantissa& m, std::string intDigits, std::string fracDigits) {
    if (static_cast<int>(intDigits.size()) < m.minIntDigits)
        intDigits.insert(0, m.minIntDigits - intDigits.size(), '0');
    while (static_cast<int>(fracDigits.size()) > m.minDecimals && fracDigits.back() == '0')
        fracDigits.pop_back();

    // Integer places take digits from the right; the leftmost place takes any overflow.
    std::string out;
    int places = 0;
    for (char c : m.intMask)
        places += isDigitPlace(c);
    const int offset = static_cast<int>(intDigits.size()) - places; // digit of place 0
    int place = 0;
    for (char c : m.intMask) {
        if (!isDigitPlace(c)) {
            out += c;
            continue;
        }
        if (place == 0 && offset > 0)
            out += intDigits.substr(0, offset);
        if (offset + place >= 0)
            out += intDigits[offset + place];
        ++place;
    }
    if (places == 0)
        out += intDigits; // a mask like ".00" still shows the whole part
    if (m.hasPoint)
        out += '.';
    std::size_t f = 0;
    for (char c : m.fracMask) {
        if (!isDigitPlace(c)) {
            out += c;
            continue;
        }
        if (f < fracDigits.size())
            out += fracDigits[f];
        ++f;
    }
    return out;
}

std::string formatFixed(double value, std::string_view mask) {
    const Mantissa m = parseMantissa(mask);
    auto [intDigits, fracDigits] = roundFixed(toDecimal(std::fabs(value)), m.maxDecimals);
    const bool zero = intDigits.empty() && fracDigits.find_first_not_of('0') == std::string::npos;
    std::string out = layout(m, intDigits, fracDigits);
    return (value < 0 && !zero) ? "-" + out : out;
}

std::string formatScientific(double value, std::string_view mask, std::size_t e) {
    const Mantissa m = parseMantissa(mask.substr(0, e));
    const char expSign = e + 1 < mask.size() ? mask[e + 1] : '-';
    int expWidth = 0;
    for (char c : mask.substr(e + 1))
        expWidth += c == '0';

    // One significant digit before the point: 0.000123 is 1.23E-4.
    const Decimal d = toDecimal(std::fabs(value));
    int exponent = 0;
    std::string intDigits, fracDigits(m.maxDecimals, '0');
    if (!d.digits.empty()) {
        exponent = d.point - 1;
        Decimal shifted = d;
        shifted.point = 1;
        std::tie(intDigits, fracDigits) = roundFixed(shifted, m.maxDecimals);
        if (intDigits.size() > 1) { // 9.999 rounded up to 10.00
            shifted.point = 0;
            ++exponent;
            std::tie(intDigits, fracDigits) = roundFixed(shifted, m.maxDecimals);
        }
    }
    std::string out = layout(m, intDigits, fracDigits);
    out += 'E';
    if (exponent < 0)
        out += '-';
    else if (expSign == '+')
        out += '+';
    std::string digits = std::to_string(std::abs(exponent));
    if (static_cast<int>(digits.size()) < expWidth)
        digits.insert(0, expWidth - digits.size(), '0');
    out += digits;
    return value < 0 && !intDigits.empty() ? "-" + out : out;
}

} // namespace

std::string formatMask(double value, std::string_view mask) {
    if (!std::isfinite(value))
        return "?";
    const auto e = mask.find_first_of("Ee");
    if (e != std::string_view::npos && e + 1 < mask.size() &&
        (mask[e + 1] == '-' || mask[e + 1] == '+'))
        return formatScientific(value, mask, e);
    return formatFixed(value, mask);
}

std::string formatGeneral(double value) {
    if (!std::isfinite(value))
        return "?";
    if (value == 0)
        return "0";
    std::string s = shortestGeneral(value, kSignificant);
    const auto e = s.find('e');
    if (e != std::string::npos)
        s[e] = 'E';
    std::string mantissa = s.substr(0, e);
    if (mantissa.find('.') != std::string::npos) {
        while (mantissa.back() == '0')
            mantissa.pop_back();
        if (mantissa.back() == '.')
            mantissa.pop_back();
    }
    return e == std::string::npos ? mantissa : mantissa + s.substr(e);
}

} // namespace pa::text
