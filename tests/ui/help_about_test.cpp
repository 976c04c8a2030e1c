#include "ui/help_about.h"

#include <gtest/gtest.h>

namespace {

using pa::ui::aboutText;
using pa::ui::manualPath;

TEST(HelpMenu, OnlyEnglishAndSpanishNameAManualBesideTheProgram) {
#ifdef _WIN32
    const std::string folder = "C:/Program Files/pa",
                      english = "C:\\Program Files\\pa\\help\\KV2260-SW-HELP-EN_V6.7.pdf";
    const std::string spanish = "C:\\Program Files\\pa\\help\\KV2260-SW-AYUDA-ES_V6.7.pdf";
#else
    const std::string folder = "/opt/pa/bin",
                      english = "/opt/pa/bin/help/KV2260-SW-HELP-EN_V6.7.pdf";
    const std::string spanish = "/opt/pa/bin/help/KV2260-SW-AYUDA-ES_V6.7.pdf";
#endif
    const std::pair<int, std::string> cases[] = {
        {0, english}, {1, ""}, {2, ""}, {3, spanish}, {4, ""}, {5, ""}, {6, ""}, {-1, ""},
    };
    for (const auto& [item, expected] : cases)
        EXPECT_EQ(manualPath(folder, item), expected) << item;
    EXPECT_EQ(manualPath(folder + "/", 0), english) << "a trailing separator is not doubled";
#ifdef _WIN32
    EXPECT_EQ(manualPath("C:\\Program Files/pa\\", 0), english) << "one separator style";
#endif
}

TEST(AboutBox, ThreeLinesCentredByLeadingBlanksOnTheNotice) {
    // The notice has 38 characters: the model (6) gets 32 blanks, the version (12) 26.
    const std::string expected = std::string(32, ' ') + "KV2260" + "\r\n\r\n" +
                                 std::string(26, ' ') + "Version: 6.7" + "\r\n\r\n" +
                                 "(C) 2026 The Power Analyzer developers";
    EXPECT_EQ(aboutText(), expected);
}

} // namespace
