// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "display_word.h"

#include <cmath>
#include <limits>

namespace pa::sim {

namespace {

// The display stores each digit with its four bits in reverse order.
int reverseNibble(int n) {
    return ((n & 1) << 3) | ((n & 2) << 1) | ((n & 4) >> 1) | ((n & 8) >> 3);
}

// The count a value shows with P's decimals, before clamping; rounds half away from zero.
// Not-a-number, infinities and absurd values count as far beyond full scale.
long long countsFor(double value, int pointPos) {
    const double scaled = std::fabs(value) * std::pow(10.0, decimalsFor(pointPos));
    if (!(scaled < 1e15))
        return std::numeric_limits<long long>::max();
    return std::llround(scaled);
}

} // namespace

std::uint16_t encodeValueWord(bool positive, bool halfDigit, int d1, int d2, int d3, int pointPos) {
    unsigned word = 0;
    word |= positive ? 1u : 0u;
    word |= halfDigit ? 2u : 0u;
    word |= static_cast<unsigned>(reverseNibble(d1 & 15)) << 2;
    word |= static_cast<unsigned>(reverseNibble(d2 & 15)) << 6;
    word |= static_cast<unsigned>(reverseNibble(d3 & 15)) << 10;
    word |= static_cast<unsigned>(pointPos & 3) << 14;
    return static_cast<std::uint16_t>(word);
}

int decimalsFor(int pointPos) {
    static constexpr int kDecimals[] = {0, 2, 1, 3};
    return kDecimals[pointPos & 3];
}

std::uint16_t encodeReading(double value, int pointPos) {
    long long counts = std::isnan(value) ? 0 : countsFor(value, pointPos);
    if (counts > kFullScaleCounts)
        counts = kFullScaleCounts;
    const int c = static_cast<int>(counts);
    const bool positive = !(value < 0) || c == 0;
    return encodeValueWord(positive, c >= 1000, c / 100 % 10, c / 10 % 10, c % 10, pointPos);
}

std::uint16_t encodeOverload(bool positive, int pointPos) {
    // All three digits show the blank-and-dash pattern 15 with the half digit off, so the
    // low six bits are never all ones (that would read as the start-up pattern).
    return encodeValueWord(positive, false, 15, 15, 15, pointPos);
}

BlockWord showOnRange(double value, std::span<const Range> ranges) {
    for (const Range& r : ranges) {
        if (countsFor(value, r.pointPos) <= kFullScaleCounts)
            return {r.code, encodeReading(value, r.pointPos)};
    }
    const Range& top = ranges.back();
    return {top.code, encodeOverload(!(value < 0), top.pointPos)};
}

} // namespace pa::sim
