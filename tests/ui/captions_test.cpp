// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The captions: the texts users know, in English and Chinese, and the rules every caption
// keeps in both languages.
#include "ui/captions.h"

#include <gtest/gtest.h>

#include <cctype>
#include <regex>
#include <set>

namespace {

using pa::ui::Caption;
using pa::ui::caption;

// A sample of the texts the windows must show, written out (the menus' texts: the main window's
// menu tree); any other language number reads as English.
TEST(Captions, KnownTextsInBothLanguages) {
    const struct {
        Caption which;
        const char *english, *chinese;
    } cases[] = {
        {Caption::NoCom, "NO COM", "斷 線"},
        {Caption::MenuStartRecording, "&Start Recording", "開始記錄(&S)"},
        {Caption::WindowTitle, "Power Analyzer", "瓦特計/功率計"},
        {Caption::Reading0, "W", "瓦特(W)"},
        {Caption::Reading9, "Est. KWH ($) per", "估計用電度數/費用"},
        {Caption::PricePerKwh, "$/kwh", "$/度"},
        {Caption::PfTitle, "Improve PF (as reference for inductance load)",
         "功因改善篇(電感負載參考用)"},
        {Caption::PfExit, "E&xit", "離開(&X)"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(std::tuple(caption(c.which, 1), caption(c.which, 2), caption(c.which, 0),
                             caption(c.which, 3), caption(c.which, -1)),
                  std::tuple(c.english, c.chinese, c.english, c.english, c.english));
}

// Every caption: an English text, a Chinese one (only the file-name prompt has none), the same
// %n places in both, and (for the texts added to the instrument program's own) a keyboard
// letter that the Chinese form keeps as "(&X)".
TEST(Captions, EveryCaptionHasBothFormsWithTheSamePlacesAndKeys) {
    const std::regex place("%[0-9]");
    const std::regex key("&([A-Za-z])");
    const auto places = [&](const std::string& s) {
        std::multiset<std::string> found;
        for (std::sregex_iterator i(s.begin(), s.end(), place), end; i != end; ++i)
            found.insert(i->str());
        return found;
    };
    for (int i = 0; i < static_cast<int>(Caption::Count); ++i) {
        const auto which = static_cast<Caption>(i);
        const std::string& english = caption(which, 1);
        const std::string& chinese = caption(which, 2);
        SCOPED_TRACE(english);
        EXPECT_FALSE(english.empty()) << i;
        EXPECT_EQ(chinese.empty(), which == Caption::FileNamePrompt);
        EXPECT_NE(chinese, english);
        EXPECT_EQ(places(english), places(chinese));
        std::smatch letter;
        if (i > static_cast<int>(Caption::MenuAbout) && std::regex_search(english, letter, key)) {
            const char upper = static_cast<char>(std::toupper(letter[1].str()[0]));
            EXPECT_NE(chinese.find("(&" + std::string(1, upper) + ")"), std::string::npos);
        }
    }
}

} // namespace
