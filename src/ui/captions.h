#pragma once
// Every translatable text of the program as a pair (English, Traditional Chinese). The
// program-wide language number (1 English, 2 Chinese) picks the element.
#include <string>

namespace pa::ui {

enum class Caption {
    NoCom,
    Hold,
    FileNamePrompt,
    FileNameTitle,
    MenuFile,
    MenuCreateDataFile,
    MenuStartRecording,
    MenuAuto,
    MenuManual,
    MenuEndRecording,
    MenuViewFile,
    MenuPlot,
    MenuPrinterSetup,
    PrintButton,
    MenuExit,
    MenuOption,
    MenuSampleRate,
    MenuImprovePF,
    MenuLanguage,
    MenuEnglish,
    MenuChinese,
    MenuDatalogger,
    WindowTitle,
    Reading0,
    Reading1,
    Reading2,
    Reading3,
    Reading4,
    Reading5,
    Reading6,
    Reading7,
    Reading8,
    Reading9,
    PeriodMonth,
    PeriodDay,
    PeriodYear,
    PeriodWord,
    HoursPerDay,
    PricePerKwh,
    RecordButton,
    GetHzButton,
    ResetButton,
    SerialNumber,
    LastRecord,
    Sample,
    Model,
    Date,
    LastTime,
    PfTitle,
    PfParameters,
    PfCurrentRow,
    PfImprovedRow,
    PfHint,
    PfCircuit,
    PfDiagram,
    PfExit,
    PfPrint,
    PfUpdate,
    MenuHelp,
    MenuUserManual,
    MenuAbout,
    PfCapacitance, // PF window: heading of the capacitance box
    ViewerOpen,
    ViewerReload,
    ViewerOrientation,
    ViewerPortrait,
    ViewerLandscape,
    ViewerFont,
    ViewerClose,
    // The trend chart: its button on the main window (also its window title) and controls.
    Trend,
    TrendShow,
    TrendAnd,
    TrendNone,
    TrendSpan,
    TrendMinute,
    TrendTenMinutes,
    TrendHour,
    TrendAll,
    TrendPause,
    TrendReset,
    TrendSavePng,
    TrendSaveCsv,
    TrendMinimum,
    TrendMaximum,
    TrendAverage,
    TrendEmpty,
    TrendClearQuestion,
    TrendCannotSave,
    ViewerExport,  // the viewer's File > Export to CSV
    PauseQuestion, // %1: the window about to open
    PauseTitle,
    PausedLabel, // %1: the open window
    // Alarms: the Option menu's item (also the editor's title), the banner, the status line
    // and the editor.
    MenuAlarms,
    AlarmAcknowledge,
    AlarmRaised,
    AlarmCleared,
    AlarmSetInUse, // %1: the alarm file's name, %2: how many alarms
    AlarmEditorHint,
    AlarmLoad,
    AlarmSaveAs,
    AlarmCheck,
    AlarmSaveAndUse,
    AlarmStop,
    AlarmCancel,
    AlarmFilter,
    AlarmCheckedOk, // %1: how many alarms
    AlarmLogFailed,
    Count
};

// The caption in the given language (1 English, 2 Chinese; anything else reads as English).
const std::string& caption(Caption which, int language);

// The start-up caption of the help menu, replaced by the table's "Help" once captions apply.
inline constexpr const char* kStartupHelpCaption = "&Help";

} // namespace pa::ui
