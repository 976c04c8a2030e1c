// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "ui/help_about.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

using pa::ui::manualPath;

TEST(HelpMenu, OnlyEnglishAndSpanishNameAManualBesideTheProgram) {
#ifdef _WIN32
    const std::string folder = "C:/Program Files/pa", help = "C:\\Program Files\\pa\\help\\";
#else
    const std::string folder = "/opt/pa/bin", help = "/opt/pa/bin/help/";
#endif
    const std::string english = help + "KV2260-SW-HELP-EN_V6.7.pdf",
                      spanish = help + "KV2260-SW-AYUDA-ES_V6.7.pdf";
    const auto nowhere = [](const std::string&) { return false; };
    for (int item = -1; item <= 6; ++item)
        EXPECT_EQ(manualPath(folder, item, nowhere), item == 0   ? english
                                                     : item == 3 ? spanish
                                                                 : "")
            << item;
    EXPECT_EQ(manualPath(folder + "/", 0, nowhere), english)
        << "a trailing separator is not doubled";
#ifdef _WIN32
    EXPECT_EQ(manualPath("C:\\Program Files/pa\\", 0, nowhere), english) << "one separator style";
#endif
}

#ifndef _WIN32
TEST(HelpMenu, ManualFoundInTheFirstPlaceThatHoldsIt) {
    const std::string name = "KV2260-SW-HELP-EN_V6.7.pdf", beside = "/opt/pa/lib/pa/help/" + name,
                      prefixDoc = "/opt/pa/share/doc/poweranalyzer/" + name,
                      systemDoc = "/usr/share/doc/poweranalyzer/" + name;
    const struct {
        std::vector<std::string> present;
        std::string expected;
    } cases[] = {
        {{beside, prefixDoc, systemDoc}, beside},
        {{prefixDoc, systemDoc}, prefixDoc},
        {{systemDoc}, systemDoc},
        {{}, beside},
    };
    for (const auto& c : cases) {
        const auto exists = [&](const std::string& path) {
            return std::find(c.present.begin(), c.present.end(), path) != c.present.end();
        };
        EXPECT_EQ(manualPath("/opt/pa/lib/pa/", 0, exists), c.expected);
    }
}
#endif

TEST(AboutBox, ThreeLinesCentredByLeadingBlanksOnTheNotice) {
    // The notice has 38 characters: the model (6) gets 32 blanks, the version (12) 26.
    const std::string expected = std::string(32, ' ') + "KV2260" + "\r\n\r\n" +
                                 std::string(26, ' ') + "Version: 6.7" + "\r\n\r\n" +
                                 "(C) 2026 The Power Analyzer developers";
    EXPECT_EQ(pa::ui::aboutText(), expected);
}

} // namespace
