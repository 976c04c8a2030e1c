// Every caption pair, English and Chinese, exactly as the windows must show them.
#include "ui/captions.h"

#include <gtest/gtest.h>

#include <set>

namespace {

using pa::ui::Caption;
using pa::ui::caption;

struct Pair {
    Caption which;
    const char* english;
    const char* chinese;
};

// In the order in which the table is filled.
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
    // The program's own additions: the PF window's capacitance heading and the viewer.
    {Caption::PfCapacitance, "C to add", "需加電容"},
    {Caption::ViewerOpen, "&Open...", "開啟檔案(&O)..."},
    {Caption::ViewerReload, "&Reload", "重新讀取(&R)"},
    {Caption::ViewerOrientation, "Page &Orientation", "紙張方向(&O)"},
    {Caption::ViewerPortrait, "&Portrait", "直印(&P)"},
    {Caption::ViewerLandscape, "&Landscape", "橫印(&L)"},
    {Caption::ViewerFont, "&Font...", "字型(&F)..."},
    {Caption::ViewerClose, "&Close", "關閉(&C)"},
    // The trend chart and the CSV export.
    {Caption::Trend, "Trend", "趨勢圖"},
    {Caption::TrendShow, "Show", "顯示"},
    {Caption::TrendAnd, "and", "及"},
    {Caption::TrendNone, "(none)", "(無)"},
    {Caption::TrendSpan, "Span", "時間範圍"},
    {Caption::TrendMinute, "1 min", "1 分鐘"},
    {Caption::TrendTenMinutes, "10 min", "10 分鐘"},
    {Caption::TrendHour, "1 h", "1 小時"},
    {Caption::TrendAll, "All", "全部"},
    {Caption::TrendPause, "&Pause", "暫停(&P)"},
    {Caption::TrendReset, "&Reset", "清除(&R)"},
    {Caption::TrendSavePng, "Save P&NG...", "存成 PNG(&N)..."},
    {Caption::TrendSaveCsv, "Save &CSV...", "存成 CSV(&C)..."},
    {Caption::TrendMinimum, "Minimum", "最小值"},
    {Caption::TrendMaximum, "Maximum", "最大值"},
    {Caption::TrendAverage, "Average", "平均值"},
    {Caption::TrendEmpty, "No readings yet", "尚無讀值"},
    {Caption::TrendClearQuestion, "Clear every reading of the trend?", "清除趨勢圖的所有讀值?"},
    {Caption::TrendCannotSave, "Could not save", "無法儲存"},
    {Caption::ViewerExport, "&Export to CSV...", "匯出為 CSV 檔(&E)..."},
    {Caption::PauseQuestion,
     "Recording is on. While the %1 window is open the live readings pause and no records are "
     "written: the data file gets a gap for that time.\n\nRecording goes on when the window is "
     "closed. Open %1 now?",
     "正在記錄中。%1 視窗開啟期間，即時讀值會暫停，也不會寫入記錄：資料檔在這段時間會有空缺。"
     "\n\n關閉視窗後會繼續記錄。現在開啟 %1 嗎?"},
    {Caption::PauseTitle, "Recording", "記錄"},
    {Caption::PausedLabel, "PAUSED while %1 is open", "%1 開啟中，讀值暫停"},
    {Caption::MenuAlarms, "&Alarms...", "警報設定(&A)..."},
    {Caption::AlarmAcknowledge, "&Acknowledge", "確認(&A)"},
    {Caption::AlarmRaised, "ALARM", "警報"},
    {Caption::AlarmCleared, "cleared", "已解除"},
    {Caption::AlarmSetInUse, "Alarms: %1 (%2)", "警報: %1 (%2)"},
    {Caption::AlarmEditorHint,
     "One section per alarm: [name], then quantity, a condition (above, below, outside, "
     "inside, overload, silent_for), for, hysteresis, actions and run. Lines starting with # "
     "are comments.",
     "每個警報一段: [名稱]，接著 quantity、條件 (above、below、outside、inside、overload、"
     "silent_for)、for、hysteresis、actions 及 run。以 # 開頭的行是註解。"},
    {Caption::AlarmLoad, "&Load...", "載入(&L)..."},
    {Caption::AlarmSaveAs, "Save &As...", "另存新檔(&A)..."},
    {Caption::AlarmCheck, "&Check", "檢查(&C)"},
    {Caption::AlarmSaveAndUse, "Save and &Use", "儲存並使用(&U)"},
    {Caption::AlarmStop, "&Stop Alarms", "停用警報(&S)"},
    {Caption::AlarmCancel, "Cancel", "取消"},
    {Caption::AlarmFilter, "Alarm files (*.alarms *.txt)", "警報檔 (*.alarms *.txt)"},
    {Caption::AlarmCheckedOk, "The alarm set is correct: %1 alarms.", "警報設定正確: %1 個警報。"},
    {Caption::AlarmLogFailed, "The alarm log cannot be written; alarms are no longer logged:",
     "無法寫入警報記錄檔，警報不再記錄:"},
    {Caption::ReportMenu, "&Report...", "負載報告(&R)..."},
    {Caption::ReportTitle, "Load survey", "負載調查報告"},
    {Caption::ReportFiles, "Files", "檔案"},
    {Caption::ReportPeriod, "Period", "期間"},
    {Caption::ReportPage, "Page %1", "第 %1 頁"},
    {Caption::ReportRecords, "%1 records, %2 lost-communication lines (silent for %3)",
     "%1 筆記錄，%2 行斷線 (無讀值 %3)"},
    {Caption::ReportEnergy, "Energy", "用電量"},
    {Caption::ReportCost, "Cost", "電費"},
    {Caption::ReportMeanPower, "Mean power", "平均功率"},
    {Caption::ReportPeakDemand, "Peak 15-minute demand", "15 分鐘最高需量"},
    {Caption::ReportLoadFactor, "Load factor", "負載率"},
    {Caption::ReportPowerFactor, "Power factor", "功率因素"},
    {Caption::ReportPfVerdict, "below 0.90 for %1 % of the time (%2 kVARh)",
     "低於 0.90 的時間佔 %1 % (%2 kVARh)"},
    {Caption::ReportVoltage, "Voltage (indicative)", "電壓 (僅供參考)"},
    {Caption::ReportVoltageVerdict,
     "%1 % of 10-minute means within ±10 % of %2 V; %3 dips, %4 swells",
     "%1 % 的 10 分鐘平均值在 %2 V ±10 % 內；驟降 %3 次，驟升 %4 次"},
    {Caption::ReportCapacitor, "Recommended capacitor", "建議電容"},
    {Caption::ReportCapacitorVerdict,
     "for PF %1: target reached %2 % of the time, overcompensated %3 %",
     "目標 PF %1：達到目標的時間 %2 %，過度補償 %3 %"},
    {Caption::ReportNotEnough, "not enough data", "資料不足"},
    {Caption::ReportAt, "at %1", "於 %1"},
    {Caption::ReportEnergyPerDay, "Energy per day (kWh)", "每日用電量 (kWh)"},
    {Caption::ReportChartPower, "Power (W) over the period, with day boundaries and the peak",
     "全期間功率 (W)，含日界線與最高值"},
    {Caption::ReportChartVoltage, "Voltage (V) with the ±10 % band", "電壓 (V) 與 ±10 % 範圍"},
    {Caption::ReportChartDuration, "Load-duration curve: W exceeded for a share of the time",
     "負載持續曲線：功率超過該值的時間比例"},
    {Caption::ReportChartPfBands, "Hours per power factor band", "各功率因素區間的時數"},
    {Caption::ReportChartHours, "Load by hour of day: minimum, mean, maximum (W)",
     "每小時負載：最小、平均、最大 (W)"},
    {Caption::ReportPeak, "peak", "最高"},
    {Caption::ReportDate, "Date", "日期"},
    {Caption::ReportMaxW, "Max W", "最大 W"},
    {Caption::ReportTime, "Time", "時間"},
    {Caption::ReportMinV, "Min V", "最低 V"},
    {Caption::ReportMaxV, "Max V", "最高 V"},
    {Caption::ReportPeaksTable, "Highest 15-minute demands", "最高的 15 分鐘需量"},
    {Caption::ReportStart, "Start", "開始"},
    {Caption::ReportShareOfTime, "Share of the time", "時間比例"},
    {Caption::ReportHours, "Hours", "時數"},
    {Caption::ReportBand, "PF band", "PF 區間"},
    {Caption::ReportVoltageNote,
     "Indicative: the instrument's readings are not IEC 61000-4-30 class A or S.",
     "僅供參考：本儀器的讀值不符合 IEC 61000-4-30 A 級或 S 級。"},
    {Caption::ReportMeans, "10-minute means", "10 分鐘平均值"},
    {Caption::ReportWithin10, "within ±10 %", "在 ±10 % 內"},
    {Caption::ReportWithin1015, "within +10 % / −15 %", "在 +10 % / −15 % 內"},
    {Caption::ReportLowest, "lowest", "最低"},
    {Caption::ReportHighest, "highest", "最高"},
    {Caption::ReportDips, "Dips (below 90 % of nominal)", "電壓驟降 (低於標稱值 90 %)"},
    {Caption::ReportSwells, "Swells (above 110 % of nominal)", "電壓驟升 (高於標稱值 110 %)"},
    {Caption::ReportSeconds, "Seconds", "秒"},
    {Caption::ReportExtreme, "Extreme V", "極值 V"},
    {Caption::ReportMoreRuns, "%1 more not listed", "另有 %1 次未列出"},
    {Caption::ReportCapacitorTable, "Capacitor needed for the target PF (µF)",
     "達到目標 PF 所需電容 (µF)"},
    {Caption::ReportCapacitorNote,
     "VAR here is √(VA² − W²), which includes distortion, so a capacitor sized from it may be too "
     "large for a distorted current.",
     "此處 VAR 為 √(VA² − W²)，包含諧波失真成分，因此據此選定的電容對失真電流可能過大。"},
    {Caption::ReportOfTime, "%1 % of the time", "%1 % 的時間"},
    {Caption::ReportMost, "most", "最大"},
    {Caption::ReportAskPrice, "Price per kWh (empty: from the file's cost column)",
     "每度電價 (空白：取自檔案的電費欄)"},
    {Caption::ReportAskNominal, "Nominal voltage (V)", "標稱電壓 (V)"},
    {Caption::ReportAskTarget, "Target power factor", "目標功率因素"},
    {Caption::ReportAskHz, "Mains frequency (Hz)", "電源頻率 (Hz)"},
    {Caption::ReportSaveTitle, "Save the report as PDF", "將報告存成 PDF"},
    {Caption::ReportWriting, "Reading the recording for the report...",
     "正在讀取記錄以製作報告..."},
    {Caption::ReportFailed, "The report was not written", "報告未寫入"},
    {Caption::ReportBadLines, "%1 unreadable lines were left out; the first: %2",
     "%1 行無法讀取而略過；第一行：%2"},
    {Caption::ReportNoFile, "Open a data file first.", "請先開啟資料檔。"},
};

TEST(Captions, EveryPairInBothLanguages) {
    ASSERT_EQ(std::size(kPairs), static_cast<std::size_t>(Caption::Count)) << "a caption unpinned";
    std::set<Caption> seen;
    for (const Pair& p : kPairs) {
        EXPECT_TRUE(seen.insert(p.which).second) << p.english;
        EXPECT_EQ(caption(p.which, 1), p.english);
        EXPECT_EQ(caption(p.which, 2), p.chinese) << p.english;
    }
}

TEST(Captions, OtherLanguageNumbersReadAsEnglish) {
    for (int language : {0, 3, -1})
        for (const Pair& p : kPairs)
            EXPECT_EQ(caption(p.which, language), p.english) << language;
}

} // namespace
