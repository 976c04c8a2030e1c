#include "ui/help_about.h"

#include <gtest/gtest.h>

namespace {

using pa::ui::aboutText;
using pa::ui::manualPath;

TEST(HelpMenu, OnlyEnglishAndSpanishNameAManualBesideTheProgram) {
    const std::pair<int, const char*> cases[] = {
        {0, "/opt/pa/bin/help/KV2260-SW-HELP-EN_V6.7.pdf"},
        {1, ""},
        {2, ""},
        {3, "/opt/pa/bin/help/KV2260-SW-AYUDA-ES_V6.7.pdf"},
        {4, ""},
        {5, ""},
        {6, ""},
        {-1, ""},
    };
    for (const auto& [item, expected] : cases)
        EXPECT_EQ(manualPath("/opt/pa/bin", item), expected) << item;
    EXPECT_EQ(manualPath("/opt/pa/bin/", 0), manualPath("/opt/pa/bin", 0))
        << "a trailing separator is not doubled";
}

TEST(AboutBox, ThreeLinesCentredByLeadingBlanksOnTheNotice) {
    // The notice has 38 characters: the model (6) gets 32 blanks, the version (12) 26.
    const std::string expected = std::string(32, ' ') + "KV2260" + "\r\n\r\n" +
                                 std::string(26, ' ') + "Version: 6.7" + "\r\n\r\n" +
                                 "(C) 2026 The Power Analyzer developers";
    EXPECT_EQ(aboutText(), expected);
}

} // namespace
