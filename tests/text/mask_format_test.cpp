// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "text/mask_format.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using pa::text::formatGeneral;
using pa::text::formatMask;

struct MaskCase {
    double value;
    const char* mask;
    const char* expected;
};

class FormatMask : public ::testing::TestWithParam<MaskCase> {};

TEST_P(FormatMask, FormatsAsTheDisplayShows) {
    const MaskCase& c = GetParam();
    EXPECT_EQ(formatMask(c.value, c.mask), c.expected) << c.value << " with " << c.mask;
}

// Hand-worked values for every mask the program uses.
INSTANTIATE_TEST_SUITE_P(
    Masks, FormatMask,
    ::testing::Values(
        // "###0.0": one decimal, at least one integer digit.
        MaskCase{23.07, "###0.0", "23.1"}, MaskCase{0.04, "###0.0", "0.0"},
        MaskCase{0.05, "###0.0", "0.1"}, MaskCase{-0.05, "###0.0", "-0.1"},
        MaskCase{-0.04, "###0.0", "0.0"},
        MaskCase{123456.78, "###0.0", "123456.8"}, // wider than the mask: never cut
        // "######0.00"
        MaskCase{0.005, "######0.00", "0.01"}, MaskCase{2.675, "######0.00", "2.68"},
        MaskCase{-12.345, "######0.00", "-12.35"}, MaskCase{99.995, "######0.00", "100.00"},
        // "######0.0###": one to four decimals.
        MaskCase{0, "######0.0###", "0.0"}, MaskCase{0.00125, "######0.0###", "0.0013"},
        MaskCase{0.00004, "######0.0###", "0.0"}, MaskCase{0.00005, "######0.0###", "0.0001"},
        // "#0.0", "##0.0", "0.0##", "###0.0#"
        MaskCase{0.25, "#0.0", "0.3"}, MaskCase{0.24, "##0.0", "0.2"},
        MaskCase{1.23456, "0.0##", "1.235"}, MaskCase{0.9995, "0.0##", "1.0"},
        MaskCase{3, "0.0##", "3.0"}, MaskCase{1.25, "###0.0#", "1.25"},
        MaskCase{1.999, "###0.0#", "2.0"},
        // "#.0": no leading zero below 1.
        MaskCase{0.5, "#.0", ".5"}, MaskCase{0, "#.0", ".0"}, MaskCase{0.96, "#.0", "1.0"},
        // Whole-number masks.
        MaskCase{7, "00", "07"}, MaskCase{123, "00", "123"}, MaskCase{5, "#00", "05"},
        MaskCase{0, "#00", "00"}, MaskCase{7.5, "00", "08"},
        MaskCase{6.5, "00", "07"}, // halves go away from zero, not to even
        MaskCase{5.25, "#00.00", "05.25"}, MaskCase{59.999, "#00.00", "60.00"},
        MaskCase{3.45, "00.0", "03.5"}, MaskCase{0.4, "#####.0", ".4"},
        // Literals stand as they are; "#" prints nothing for zero.
        MaskCase{100, "      #", "      100"}, MaskCase{0, "      #", "      "},
        // Scientific: one digit before the point; the exponent's sign only when negative.
        MaskCase{0.000123, "#0.0#E-##", "1.23E-4"}, MaskCase{1.5e12, "#0.0#E-##", "1.5E12"},
        MaskCase{0.0009999, "#0.0#E-##", "1.0E-3"}, MaskCase{-2.5e-15, "#0.0#E-##", "-2.5E-15"},
        MaskCase{4.7e-10, "##.##E-", "4.7E-10"}, MaskCase{1e-12, "##.##E-", "1.E-12"},
        MaskCase{3.456e-11, "##.##E-", "3.46E-11"}, MaskCase{2.5e3, "0.0E+00", "2.5E+03"},
        MaskCase{0, "#0.0#E-##", "0.0E0"}));

TEST(FormatMask, NonFiniteValuesNeverReachTheDisplayAsGarbage) {
    EXPECT_EQ(formatMask(std::numeric_limits<double>::infinity(), "######0.00"), "?");
    EXPECT_EQ(formatMask(std::nan(""), "###0.0"), "?");
}

TEST(FormatGeneral, PrintsShortestPlainNumber) {
    const std::pair<double, const char*> cases[] = {{50, "50"},
                                                    {0, "0"},
                                                    {-3, "-3"},
                                                    {-0.0, "0"},
                                                    {0.1 + 0.2, "0.3"},
                                                    {1e-7, "1E-07"},
                                                    {1.5e20, "1.5E+20"},
                                                    {49999.99999, "49999.99999"},
                                                    {123456789012345.0, "123456789012345"}};
    for (const auto& [value, expected] : cases)
        EXPECT_EQ(formatGeneral(value), expected) << value;
}

} // namespace
