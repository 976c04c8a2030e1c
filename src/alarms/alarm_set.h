// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// An alarm set: the limits a user keeps in a plain text file, one section per alarm.
//
//   # lines starting with # are comments; so is anything after " #" on a line
//   [motor overload]
//   quantity = W        # W, PF, V, A, VA, VAR, angle, Hz, kWh, cost_per_day, reading
//   above = 1500        # or below = X, outside = LOW..HIGH, inside = LOW..HIGH,
//                       #    overload = yes, silent_for = SECONDS (with quantity = reading)
//   for = 5             # seconds the condition holds before the alarm is raised
//   hysteresis = 50     # how far back past the limit the value goes before it clears
//   actions = banner, beep, mark, log, record_start, record_stop, run, mqtt
//   run = /usr/local/bin/notify %n %v %u %t
//
// Numbers are read with a decimal point whatever the locale; a file with any mistake is
// refused as a whole with "FILE:LINE: cause", so that a half-read set never runs.
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace pa::alarms {

enum class Quantity { W, PF, V, A, VA, VAR, Angle, Hz, KWh, CostPerDay, Reading, Count };
inline constexpr int kQuantities = static_cast<int>(Quantity::Count);

enum class Condition { Above, Below, Outside, Inside, Overload, SilentFor };

// Actions, as bits of Alarm::actions.
enum Action : unsigned {
    kBanner = 1,
    kBeep = 2,
    kMark = 4,
    kLog = 8,
    kRecordStart = 16,
    kRecordStop = 32,
    kRun = 64,
    kMqtt = 128,
};

inline constexpr std::size_t kMaxFileBytes = 256 * 1024; // a hand-written file is far smaller
inline constexpr std::size_t kMaxAlarms = 500;
inline constexpr std::size_t kMaxNameLength = 100;

struct Alarm {
    std::string name;
    Quantity quantity = Quantity::W;
    Condition condition = Condition::Above;
    double low = 0, high = 0; // above/silent_for: low; below: high; outside/inside: both
    double forSeconds = 0;
    double hysteresis = 0;
    unsigned actions = kBanner | kLog; // when the section names none
    std::string run;                   // the program and its arguments, with %v %u %n %t
    int line = 0;                      // of its [name] in the file
};

struct AlarmSet {
    std::vector<Alarm> alarms;
};

struct ParseResult {
    AlarmSet set;
    std::string error; // "" or "FILE:LINE: cause"
};

// The key names of the quantities, in Quantity order, and their units.
std::string_view quantityName(Quantity q);
std::string_view quantityUnit(Quantity q);

ParseResult parseAlarms(std::string_view text, std::string_view fileName);
// Reads and parses a file (at most kMaxFileBytes).
ParseResult readAlarmFile(const std::string& path);
// The set as a file that parses back to the same set.
std::string formatAlarms(const AlarmSet& set);

} // namespace pa::alarms
