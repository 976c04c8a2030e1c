// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// What the Logger window does and shows, without the window: the state query, the status
// block read, the three drop-downs, the download, the settings boxes, the memory console
// and the data dump. The window turns each user action into one call here and then shows
// the fields below.
//
// Every operation suspends the live exchange first and resumes it on every path (the
// SetLiveSampling callback), and hides the progress window it showed.
#include "logger/logger_exchange.h"
#include "logger/status_block.h"

#include <array>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace pa::logger {

// One drop-down: its index (-1: none), the last index the logger accepted, and whether a
// change comes from the user (and so is sent to the logger).
struct ComboState {
    int index = -1;
    int lastAccepted = -1;
    bool userChange = true;
};

inline constexpr int kModeCombo = 0, kBaudCombo = 1, kOutputCombo = 2;
inline constexpr int kStateLabel = 30;
inline constexpr int kConsoleAddressLabel = 38, kConsoleDecLabel = 39, kConsoleHexLabel = 40;
inline constexpr const char* kRecordingRefusal =
    "Press record key to stop recording, then try again";

class LoggerSession {
  public:
    using LiveSampling = std::function<void(int)>;

    // folder gives the data folder downloads start in (created on demand).
    LoggerSession(LoggerExchange& exchange, LiveSampling setLiveSampling,
                  std::function<std::string()> folder);

    // Opening the window: empty boxes, no drop-down entry chosen.
    void load();
    // The status button: the state, then (when idle) the 96-byte status block.
    void Read_Status();
    // The user chose entry index in drop-down 0 (mode), 1 (baud) or 2 (RS-232 output).
    void comboChosen(int combo, int index);
    // The Read/Save button: the whole memory into a file the user picks.
    void Read_All();
    // Enter in settings box n (0 ID, 1 date, 2 time, 3 sampling, 4 output interval).
    void updateSetting(int box);
    // Enter in the console line.
    void consoleEnter(const std::string& line);
    // Reads addresses first..last one by one (at most 256 bytes: higher addresses fold onto
    // 0..255). Nothing when a read failed (its message has been shown).
    std::optional<std::string> dataDump(int first, int last);
    // The same from the two typed addresses, read by their leading numbers; a number
    // outside 0..255 (however large) is refused the same way.
    std::optional<std::string> dataDump(std::string_view first, std::string_view last);

    // Reads the status block byte by byte; nothing when the read was abandoned.
    std::optional<std::string> readStatusBlock();
    // Shows a decoded block in the boxes, labels and drop-downs.
    void showStatus(const LoggerStatus& status);

    // What the window shows.
    int lastState = kNoReply;
    std::array<ComboState, 3> combos{};
    std::array<std::string, 5> Text1{};   // ID, date, time, sampling, output interval
    std::array<std::string, 41> Label1{}; // 1, 5, 7, 8, 11 info; 30 state; 38-40 console
    double samplingInterval = 0;          // seconds
    int memoryPointer = 0;
    std::optional<LoggerStatus> status; // the last block decoded
    std::string lastDownloadPath;

  private:
    // Suspends the live exchange for its lifetime.
    struct LivePause {
        explicit LivePause(LoggerSession& s) : session(s) { session.live_(0); }
        ~LivePause() { session.live_(1); }
        LoggerSession& session;
    };
    // Hides the progress window at the end of its lifetime.
    struct ProgressWindow {
        ProgressWindow(app::Ui& ui, const std::string& caption, const std::string& text);
        ~ProgressWindow() { ui.statusHide(); }
        app::Ui& ui;
    };

    // The state query with its state label; false (after the refusal) unless idle.
    bool loggerIdle();
    void setCombo(int combo, int index);
    void revertCombo(int combo);
    std::optional<std::string> receiveStream();
    bool writeDownload(const std::string& path, const std::string& stream);
    std::optional<int> readByte(int address, int& noReply, int& badFrame);

    LoggerExchange& ex_;
    LiveSampling live_;
    std::function<std::string()> folder_;
};

} // namespace pa::logger
