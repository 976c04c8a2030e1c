// The captions: the texts of the menus, labels and boxes in English and Chinese, exactly as
// the windows show them, and the rules every caption keeps in both languages.
#include "ui/captions.h"

#include <gtest/gtest.h>

#include <cctype>
#include <regex>
#include <set>

namespace {

using pa::ui::Caption;
using pa::ui::caption;

struct Pair {
    Caption which;
    const char* english;
    const char* chinese;
};

// The texts users know from the instrument's own program, pinned one by one.
const Pair kPairs[] = {
    {Caption::NoCom, "NO COM", "斷 線"},
    {Caption::Hold, "HOLD", "讀值鎖定"},
    {Caption::FileNamePrompt, "Enter the name of file to store data", ""},
    {Caption::FileNameTitle, "Input File Name", "請輸入檔案名稱"},
    {Caption::MenuFile, "&File", "檔案"},
    {Caption::MenuCreateDataFile, "&Create Data File", "建立檔案名稱"},
    {Caption::MenuStartRecording, "&Start Recording", "開始記錄(&S)"},
    {Caption::MenuAuto, "Now(Auto)", "自動"},
    {Caption::MenuManual, "Manually", "手動"},
    {Caption::MenuEndRecording, "&End Recording", "停止記錄(&E)"},
    {Caption::MenuViewFile, "&View File", "瀏覽檔案(&V)"},
    {Caption::MenuPlot, "&Plot Data from File", "從檔案作圖(&D)"},
    {Caption::MenuPrinterSetup, "Printer &Setup", "設定印表機"},
    {Caption::PrintButton, "Print", "印畫面"},
    {Caption::MenuExit, "E&xit", "結束(&X)"},
    {Caption::MenuOption, "&Option", "選擇"},
    {Caption::MenuSampleRate, "&Sample Rate", "取樣時間(&S)"},
    {Caption::MenuImprovePF, "&Improve PF", "功因改善篇"},
    {Caption::MenuLanguage, "Language", "語言"},
    {Caption::MenuEnglish, "English", "英文"},
    {Caption::MenuChinese, "Chinese", "中文"},
    {Caption::MenuDatalogger, "&Datalogger", "記錄器"},
    {Caption::WindowTitle, "Power Analyzer", "瓦特計/功率計"},
    {Caption::Reading0, "W", "瓦特(W)"},
    {Caption::Reading1, "PF", "功率因素(PF)"},
    {Caption::Reading2, "V", "電壓(V)"},
    {Caption::Reading3, "A", "電流(A)"},
    {Caption::Reading4, "Phase Angle", "相位角度"},
    {Caption::Reading5, "VA", "視在功率(VA)"},
    {Caption::Reading6, "VAR", "虛功率(VAR)"},
    {Caption::Reading7, "Hz", "頻率"},
    {Caption::Reading8, "KWH", "千瓦小時"},
    {Caption::Reading9, "Est. KWH ($) per", "估計用電度數/費用"},
    {Caption::PeriodMonth, "month", "每月"},
    {Caption::PeriodDay, "day", "每天"},
    {Caption::PeriodYear, "year", "每年"},
    {Caption::PeriodWord, "hour", "每小時"},
    {Caption::HoursPerDay, "hrs/day", "小時/天"},
    {Caption::PricePerKwh, "$/kwh", "$/度"},
    {Caption::RecordButton, "Record", "記錄"},
    {Caption::GetHzButton, "Get Hz", "讀取頻率"},
    {Caption::ResetButton, "Reset", "歸零"},
    {Caption::SerialNumber, "Serial Number", "序列編號"},
    {Caption::LastRecord, "Last Record", "上一次記錄資料"},
    {Caption::Sample, "Sample", "取樣時間"},
    {Caption::Model, "Model", "機種"},
    {Caption::Date, "Date", "日期"},
    {Caption::LastTime, "Last Time", "時間"},
    {Caption::PfTitle, "Improve PF (as reference for inductance load)",
     "功因改善篇(電感負載參考用)"},
    {Caption::PfParameters, "Equivalent System Parameters", "系統等效參數"},
    {Caption::PfCurrentRow, "Current->", "現有->"},
    {Caption::PfImprovedRow, "Improved->", "改善後->"},
    {Caption::PfHint, "Type in target value and hit return to calculate needed capacitance",
     "輸入希望值後按下Enter鍵以計算所需電容"},
    {Caption::PfCircuit, "Equivalent Circuit", "等效電路"},
    {Caption::PfDiagram, "Power Phase Diagram", "電力相位圖"},
    {Caption::PfExit, "E&xit", "離開(&X)"},
    {Caption::PfPrint, "Print", "印畫面"},
    {Caption::PfUpdate, "Update", "更新"},
    {Caption::MenuHelp, "Help", "幫助"},
    {Caption::MenuUserManual, "User Manual", "使用者手冊"},
    {Caption::MenuAbout, "About", "關於"},
};

TEST(Captions, TheInstrumentProgramsTextsInBothLanguages) {
    for (const Pair& p : kPairs) {
        EXPECT_EQ(caption(p.which, 1), p.english);
        EXPECT_EQ(caption(p.which, 2), p.chinese) << p.english;
        for (int language : {0, 3, -1}) // any other language number reads as English
            EXPECT_EQ(caption(p.which, language), p.english) << language;
    }
}

// Every caption: an English text, a Chinese one (only the file-name prompt has none), the same
// %n places in both, and an accelerator letter that the Chinese form keeps as "(&X)".
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
