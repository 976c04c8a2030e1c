#include "ui/captions.h"

#include <array>

namespace pa::ui {
namespace {

struct Pair {
    std::string english;
    std::string chinese;
};

// In the order of the Caption enumeration.
const std::array<Pair, static_cast<std::size_t>(Caption::Count)> kTable{{
    {"NO COM", "斷 線"},
    {"HOLD", "讀值鎖定"},
    {"Enter the name of file to store data", ""},
    {"Input File Name", "請輸入檔案名稱"},
    {"&File", "檔案"},
    {"&Create Data File", "建立檔案名稱"},
    {"&Start Recording", "開始記錄(&S)"},
    {"Now(Auto)", "自動"},
    {"Manually", "手動"},
    {"&End Recording", "停止記錄(&E)"},
    {"&View File", "瀏覽檔案(&V)"},
    {"&Plot Data from File", "從檔案作圖(&D)"},
    {"Printer &Setup", "設定印表機"},
    {"Print", "印畫面"},
    {"E&xit", "結束(&X)"},
    {"&Option", "選擇"},
    {"&Sample Rate", "取樣時間(&S)"},
    {"&Improve PF", "功因改善篇"},
    {"Language", "語言"},
    {"English", "英文"},
    {"Chinese", "中文"},
    {"&Datalogger", "記錄器"},
    {"Power Analyzer", "瓦特計/功率計"},
    {"W", "瓦特(W)"},
    {"PF", "功率因素(PF)"},
    {"V", "電壓(V)"},
    {"A", "電流(A)"},
    {"Phase Angle", "相位角度"},
    {"VA", "視在功率(VA)"},
    {"VAR", "虛功率(VAR)"},
    {"Hz", "頻率"},
    {"KWH", "千瓦小時"},
    {"Est. KWH ($) per", "估計用電度數/費用"},
    {"month", "每月"},
    {"day", "每天"},
    {"year", "每年"},
    {"hour", "每小時"},
    {"hrs/day", "小時/天"},
    {"$/kwh", "$/度"},
    {"Record", "記錄"},
    {"Get Hz", "讀取頻率"},
    {"Reset", "歸零"},
    {"Serial Number", "序列編號"},
    {"Last Record", "上一次記錄資料"},
    {"Sample", "取樣時間"},
    {"Model", "機種"},
    {"Date", "日期"},
    {"Last Time", "時間"},
    {"Improve PF (as reference for inductance load)", "功因改善篇(電感負載參考用)"},
    {"Equivalent System Parameters", "系統等效參數"},
    {"Current->", "現有->"},
    {"Improved->", "改善後->"},
    {"Type in target value and hit return to calculate needed capacitance",
     "輸入希望值後按下Enter鍵以計算所需電容"},
    {"Equivalent Circuit", "等效電路"},
    {"Power Phase Diagram", "電力相位圖"},
    {"E&xit", "離開(&X)"},
    {"Print", "印畫面"},
    {"Update", "更新"},
    {"Help", "幫助"},
    {"User Manual", "使用者手冊"},
    {"About", "關於"},
    {"C to add", "需加電容"},
    {"&Open...", "開啟檔案(&O)..."},
    {"&Reload", "重新讀取(&R)"},
    {"Page &Orientation", "紙張方向(&O)"},
    {"&Portrait", "直印(&P)"},
    {"&Landscape", "橫印(&L)"},
    {"&Font...", "字型(&F)..."},
    {"&Close", "關閉(&C)"},
    {"Trend", "趨勢圖"},
    {"Show", "顯示"},
    {"and", "及"},
    {"(none)", "(無)"},
    {"Span", "時間範圍"},
    {"1 min", "1 分鐘"},
    {"10 min", "10 分鐘"},
    {"1 h", "1 小時"},
    {"All", "全部"},
    {"&Pause", "暫停(&P)"},
    {"&Reset", "清除(&R)"},
    {"Save P&NG...", "存成 PNG(&N)..."},
    {"Save &CSV...", "存成 CSV(&C)..."},
    {"Minimum", "最小值"},
    {"Maximum", "最大值"},
    {"Average", "平均值"},
    {"No readings yet", "尚無讀值"},
    {"Clear every reading of the trend?", "清除趨勢圖的所有讀值?"},
    {"Could not save", "無法儲存"},
    {"&Export to CSV...", "匯出為 CSV 檔(&E)..."},
    {"Recording is on. While the %1 window is open the live readings pause and no records are "
     "written: the data file gets a gap for that time.\n\nRecording goes on when the window is "
     "closed. Open %1 now?",
     "正在記錄中。%1 視窗開啟期間，即時讀值會暫停，也不會寫入記錄：資料檔在這段時間會有空缺。"
     "\n\n關閉視窗後會繼續記錄。現在開啟 %1 嗎?"},
    {"Recording", "記錄"},
    {"PAUSED while %1 is open", "%1 開啟中，讀值暫停"},
    {"&Alarms...", "警報設定(&A)..."},
    {"&Acknowledge", "確認(&A)"},
    {"ALARM", "警報"},
    {"cleared", "已解除"},
    {"Alarms: %1 (%2)", "警報: %1 (%2)"},
    {"One section per alarm: [name], then quantity, a condition (above, below, outside, "
     "inside, overload, silent_for), for, hysteresis, actions and run. Lines starting with # "
     "are comments.",
     "每個警報一段: [名稱]，接著 quantity、條件 (above、below、outside、inside、overload、"
     "silent_for)、for、hysteresis、actions 及 run。以 # 開頭的行是註解。"},
    {"&Load...", "載入(&L)..."},
    {"Save &As...", "另存新檔(&A)..."},
    {"&Check", "檢查(&C)"},
    {"Save and &Use", "儲存並使用(&U)"},
    {"&Stop Alarms", "停用警報(&S)"},
    {"Cancel", "取消"},
    {"Alarm files (*.alarms *.txt)", "警報檔 (*.alarms *.txt)"},
    {"The alarm set is correct: %1 alarms.", "警報設定正確: %1 個警報。"},
    {"The alarm log cannot be written; alarms are no longer logged:",
     "無法寫入警報記錄檔，警報不再記錄:"},
}};

} // namespace

const std::string& caption(Caption which, int language) {
    const Pair& pair = kTable[static_cast<std::size_t>(which)];
    return language == 2 ? pair.chinese : pair.english;
}

} // namespace pa::ui
