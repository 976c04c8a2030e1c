// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "text/escaped_text.h"
#include "text/json_text.h"
#include "text/number_text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <optional>

namespace {

using namespace pa::text;

// Only a whole plain decimal number is read; blanks, commas, words and overflow are not.
TEST(ParseDecimal, OnlyAWholePlainDecimalNumber) {
    const std::pair<const char*, double> numbers[] = {
        {"230.5", 230.5}, {"-1e3", -1000}, {"+.5", 0.5}, {"5.", 5}, {"1E-2", 0.01}};
    for (const auto& [text, expected] : numbers)
        EXPECT_EQ(parseDecimal(text), expected) << text;
    for (const char* text :
         {"1,5", " 1", "1 ", "", "+", "++1", "inf", "nan", "0x10", "1e999", "12abc"})
        EXPECT_EQ(parseDecimal(text), std::nullopt) << '"' << text << '"';
}

TEST(NumberText, WritesAsTheCLocaleDoes) {
    const struct {
        double value;
        int digits;
        const char* general; // "%.*g"
    } cases[] = {
        {230.5, 15, "230.5"},    {0.1, 15, "0.1"},       {1e-7, 15, "1e-07"},
        {1.5e20, 15, "1.5e+20"}, {-2.675, 15, "-2.675"}, {1.0 / 3, 4, "0.3333"},
        {123456, 3, "1.23e+05"}, {0, 15, "0"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(shortestGeneral(c.value, c.digits), c.general) << c.value;
    EXPECT_EQ(scientificText(1234.56, 3), "1.235e+03");
    EXPECT_EQ(scientificText(0.000123, 14), "1.23000000000000e-04");
}

} // namespace

TEST(Printable, ShowsControlsAndBrokenBytesWithoutSendingThem) {
    const struct {
        std::string_view in, shown;
    } cases[] = {
        {"plain 230.5 V", "plain 230.5 V"},
        {"\x1b]0;owned\x07", "\\x1B]0;owned\\x07"},
        {"line\r\nend\t", "line\\x0D\\x0Aend\\x09"},
        {"\xc2\x9b"
         "31m",
         "\\xC2\\x9B31m"},                          // C1 control sequence introducer
        {"\xff\xfe ok", "\\xFF\\xFE ok"},           // not UTF-8
        {"\xc0\xaf", "\\xC0\\xAF"},                 // overlong "/"
        {"月 José", "月 José"},                     // text the user reads stays as it is
        {std::string_view("nul\0", 4), "nul\\x00"}, // and a NUL is seen
    };
    for (const auto& c : cases)
        EXPECT_EQ(pa::text::printable(c.in), c.shown) << c.shown;
}

TEST(JsonText, EveryOutputIsValidUtf8Json) { // a quote, control characters, a Latin-1 name
    const Json strings = {
        {"a\"b\\c", "line\r\n\x1b"}, {"月", std::string(1, '\0')}, {"f", "caf\xe9"}};
    EXPECT_EQ(compactJson(strings), R"({"a\"b\\c":"line\r\n\u001b","月":"\u0000","f":"caf)"
                                    "\xEF\xBF\xBD\"}");
    const Json numbers = {jsonNumber(230.0), jsonNumber(0.55), jsonNumber(2345.6789, 5),
                          jsonNumber(std::nullopt), jsonNumber(std::nan(""))};
    EXPECT_EQ(compactJson(numbers), "[230,0.55,2345.7,null,null]");
    const Json nested = {{"a", {{{"b", 1}, {"c", Json::array()}}}}, {"d", Json::object()}};
    EXPECT_EQ(layoutJson(nested, 2),
              "{\n  \"a\": [\n    {\"b\": 1, \"c\": []}\n  ],\n  \"d\": {}\n}\n");
}
