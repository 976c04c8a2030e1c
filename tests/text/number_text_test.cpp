#include "text/escaped_text.h"
#include "text/number_text.h"

#include <gtest/gtest.h>

#include <optional>

namespace {

using namespace pa::text;

TEST(ParseDecimal, OnlyAWholePlainDecimalNumber) {
    const std::pair<const char*, std::optional<double>> cases[] = {{"230.5", 230.5},
                                                                   {"-1e3", -1000},
                                                                   {"+.5", 0.5},
                                                                   {"5.", 5},
                                                                   {"1E-2", 0.01},
                                                                   {"1,5", std::nullopt},
                                                                   {" 1", std::nullopt},
                                                                   {"1 ", std::nullopt},
                                                                   {"", std::nullopt},
                                                                   {"+", std::nullopt},
                                                                   {"++1", std::nullopt},
                                                                   {"inf", std::nullopt},
                                                                   {"nan", std::nullopt},
                                                                   {"0x10", std::nullopt},
                                                                   {"1e999", std::nullopt},
                                                                   {"12abc", std::nullopt}};
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(parseDecimal(text), expected) << '"' << text << '"';
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

TEST(JsonString, EveryOutputIsValidUtf8Json) {
    const struct {
        std::string_view in, json;
    } cases[] = {
        {"230.5 V", R"("230.5 V")"},
        {"a\"b\\c", R"("a\"b\\c")"},
        {"line\r\n\x1b", R"("line\u000d\u000a\u001b")"},
        {std::string_view("\0", 1), R"("\u0000")"},
        {"caf\xe9.txt", "\"caf\xEF\xBF\xBD.txt\""}, // a Latin-1 name
        {"月.txt", "\"月.txt\""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(pa::text::jsonString(c.in), c.json) << c.json;
}
