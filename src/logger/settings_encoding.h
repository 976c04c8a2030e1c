// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The logger settings a user types into the Logger window, turned into byte writes.
//
//   box  field              addresses   encoding
//   0    ID                 2, 3        whole number 0..32767, low byte first
//   1,2  "MM-DD" "HH:MM:SS" 8..17       the ten digits MMDDHHMMSS as characters
//   3    sampling interval  18, 19      count of 0.4 s units 1..65535, low byte first
//   4    output interval    60, 61      as the sampling interval
//
// Counts are the typed seconds / 0.4 rounded half to even, so 1 s is 2 units (0.8 s), 0.3 s
// is 1 unit (accepted as 0.4 s) and 0.2 s is 0 units (refused).
#include <string>
#include <vector>

namespace pa::logger {

inline constexpr int kIdBox = 0, kDateBox = 1, kTimeBox = 2, kSamplingBox = 3, kOutputBox = 4;

struct ByteWrite {
    int address;
    int value;
    bool operator==(const ByteWrite&) const = default;
};

struct SettingsUpdate {
    std::vector<ByteWrite> writes; // empty when refused
    std::string refusal;           // the message to show when refused
    int units = 0;                 // the interval count written (boxes 3 and 4)
};

// The writes for an Enter in box n, given the texts of all five boxes. An empty box is
// refused with "No input, update function canceled".
SettingsUpdate encodeSetting(int box, const std::vector<std::string>& boxes);

// The count of 0.4 s units for a number of seconds, rounded half to even.
double intervalUnits(double seconds);

} // namespace pa::logger
