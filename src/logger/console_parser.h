// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The Logger window's one-line memory console: a command letter, then an address and a
// value separated by a blank. Numbers are decimal, or hexadecimal after "&H".
//
//   "W 8191 5"   write 5 at 8191          "R &H2C"   read address 44
//   "X"          status                   "EEE"      the bare command EEE
// Leading blanks are ignored. A line starting with "E" keeps its whole rest in the command,
// so "EEE" is one command and "EEEE" an unknown one.
#include <optional>
#include <string>

namespace pa::logger {

struct ConsoleLine {
    std::string command; // empty for a blank line
    std::string address; // the address text, "" when none
    std::string value;   // the value text, "" when none
};

ConsoleLine parseConsoleLine(const std::string& line);

// The number a console text holds, or nothing when it is not a number as a whole (decimal
// with an optional sign, point and exponent, or "&H" and hexadecimal digits).
std::optional<double> consoleNumber(const std::string& text);

} // namespace pa::logger

namespace pa::logger {

// Bytes read from consecutive addresses as a hex dump, 16 to a line:
//   "0000  D4 08 01 00 00 00 20 00 31 31 31 35 31 36 35 38  ........11151658"
std::string hexDump(int firstAddress, const std::string& bytes);

} // namespace pa::logger
