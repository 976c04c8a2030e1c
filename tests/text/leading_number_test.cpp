// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "text/leading_number.h"

#include <gtest/gtest.h>

namespace {

using pa::text::leadingNumber;
using pa::text::roundHalfEven;

TEST(LeadingNumber, ReadsTheNumberAtTheStartOfAText) {
    const std::pair<const char*, double> cases[] = {
        {" 230.1", 230.1}, {"12abc", 12},      {"OL", 0},        {"", 0},       {"- 1.5", -1.5},
        {"1 2 3", 123},    {"1.2.3", 1.2},     {".5", 0.5},      {"-.5", -0.5}, {"+7", 7},
        {"1E3", 1000},     {"2.5e-2x", 0.025}, {"1D2", 100},     {"3E", 3},     {"3E+", 3},
        {"$12.30", 0},     {"12.30$", 12.3},   {"&H1FFF", 8191}, {"&hff", 255}, {"&O17", 15},
        {"&H", 0},         {"&X12", 0},        {"1e999", 0},     {"-", 0},      {".", 0},
        {"5,5", 5},        {"\t42\r\n", 42}};
    for (const auto& [text, expected] : cases)
        EXPECT_DOUBLE_EQ(leadingNumber(text), expected) << '"' << text << '"';
}

TEST(LeadingNumber, SurvivesEveryByteValue) {
    std::string all;
    for (int b = 0; b < 256; ++b)
        all += static_cast<char>(b);
    EXPECT_EQ(leadingNumber(all), 0);
    EXPECT_EQ(leadingNumber(std::string(5000, '9') + "x"), 0); // overflows to infinity: 0
}

TEST(RoundHalfEven, HalvesGoToTheEvenNeighbour) {
    const std::pair<double, double> cases[] = {
        {2.5, 2},    {3.5, 4},    {-2.5, -2},       {-3.5, -4}, {0.5, 0},     {1.5, 2},
        {2.4999, 2}, {2.5001, 3}, {32767.5, 32768}, {0, 0},     {-0.4, -0.0},
    };
    for (const auto& [value, expected] : cases)
        EXPECT_EQ(roundHalfEven(value), expected) << value;
}

} // namespace
