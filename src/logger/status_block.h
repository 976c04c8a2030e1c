// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The logger's 96-byte status block (memory addresses 0 to 95) and what the Logger window
// shows of it. Two-byte numbers are little-endian.
//
//   addr  width  field                      shown as
//   0-1   16     a number                   as is
//   2-3   16     ID                         as is
//   5     8      recording mode             0 Normal, 1 Max, 2 Min, else Normal
//   6     8      memory size                byte >> 2, then "K"
//   8-17  10 ch  clock MMDDHHMMSS           "MM-DD" and "HH:MM:SS"
//   18-19 16     sampling interval (0.4 s)  seconds with "#####.0" and three blanks
//   20-21 16     memory pointer             records = (pointer - 96) / 8, half to even;
//                                           "?" below 96
//   41-42 16     memory write failures      "OK" when zero, else the number
//   48    8      baud code                  1 1200, 2 2400, 4 4800, else 9600
//   57-58 16     frequency display word     its value x 1000
//   59    8      RS-232 output mode         1 Continuously, 2 One Shot, else Disabled
//   60-61 16     output interval (0.4 s)    like the sampling interval
//
// Example: a block starting D4 08 01 00 00 00 20 00 and holding "0225200600" at 8 shows
// 2260, ID 1, Normal, "8K", 02-25 and 20:06:00.
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace pa::logger {

inline constexpr int kStatusBytes = 96;
inline constexpr int kRecordBytes = 8;
inline constexpr double kIntervalUnitSeconds = 0.4;

// Addresses of the fields the program writes back.
inline constexpr int kIdAddress = 2;
inline constexpr int kModeAddress = 5;
inline constexpr int kClockAddress = 8;
inline constexpr int kSamplingAddress = 18;
inline constexpr int kBaudAddress = 48;
inline constexpr int kOutputModeAddress = 59;
inline constexpr int kOutputIntervalAddress = 60;

// The drop-down entries, in list order.
inline constexpr const char* kModeItems[] = {"Normal", "Max", "Min"};
inline constexpr const char* kBaudItems[] = {"9600", "4800", "2400", "1200"};
inline constexpr const char* kOutputItems[] = {"Disabled", "Continuously", "One Shot"};

struct LoggerStatus {
    std::string number;     // addresses 0-1 (information label 1)
    int id = 0;             // addresses 2-3
    int modeIndex = 0;      // list index of Combo1
    std::string memorySize; // "8K" (information label 5)
    std::string date;       // "MM-DD"
    std::string time;       // "HH:MM:SS"
    int samplingUnits = 0;  // raw count of 0.4 s
    double samplingSeconds = 0;
    std::string samplingText; // "    1.2   "
    int pointer = 0;
    std::optional<int> records; // none below address 96
    std::string recordsText;    // the number or "?" (information label 7)
    std::string writeCounts;    // "OK" or the failure count (information label 11)
    int baudIndex = 0;          // list index of Combo2
    std::string frequency;      // information label 8
    int outputIndex = 0;        // list index of Combo3
    int outputUnits = 0;
    std::string outputText;
};

// Decodes a block; missing bytes (a short block) read as zero.
LoggerStatus decodeStatusBlock(std::string_view block);

// Records held for a memory pointer: (pointer - 96) / 8 rounded half to even; none below 96.
std::optional<int> recordCount(int pointer);

// Seconds of a count of 0.4 s units, shown with "#####.0" and three blanks.
std::string intervalText(double seconds);

// Every field as (name, value) for listings, in block order.
std::vector<std::pair<std::string, std::string>> describe(const LoggerStatus& status);

} // namespace pa::logger
