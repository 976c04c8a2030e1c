// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The recording file: plain text, one line per record, fields of fixed width separated by
// commas, each line ended by CR LF. A record line for 123.4 W, PF .98, 230.1 V, 0.547 A:
//
//            3, 11-15-2026,16:58:09.4,  123.4W, 0.98 PF,  230.1V,  0.547A,       11.5,
//       125.9VA,      25.1VAR,     0.012KWH,    8.60/month 8$0.34
//
// (one line, wrapped here). Every field is built the same way: ten blanks, the text, its
// suffix, then the rightmost W characters. A text too long for its field therefore loses its
// leftmost characters; readers rely on the fixed columns, so the cut is kept. The period
// field has no comma: the hours-per-day text and the cost follow it after one blank, glued
// together. Widths are counted in characters, not bytes (the period may be Chinese).
//
// Lines are appended with the file opened, written, flushed to the disk and closed each
// time, so a recording survives a crash or a power cut up to its last line.
#include <string>
#include <string_view>
#include <vector>

namespace pa::datafile {

// Ten blanks, text and suffix, then the rightmost width characters (UTF-8 code points).
std::string fixedField(std::string_view text, std::string_view suffix, int width);

// The texts of one record as the main window shows them.
struct RecordTexts {
    std::string date;  // "mm-dd-yyyy"
    std::string clock; // "hh:mm:ss.s"
    std::string watts, powerFactor, volts, amps, angle, voltAmps, vars, kwh;
    std::string energyPerPeriod; // the estimate, "######0.00"
    std::string period;          // the period list's text: "month", "day", "year"
    std::string hoursPerDay;     // the hours-per-day box as typed
    std::string cost;            // the cost panel, "$" and the amount
};

// The header line for the chosen period (without the line end).
std::string headerLine(std::string_view period);
// One record line (without the line end); the number is printed as a plain number.
std::string recordLine(double number, const RecordTexts& texts);
// The line written at each new clock text while the instrument is silent: the date field,
// the clock text and a fixed notice, padded or cut to exactly 143 characters.
std::string lostCommunicationLine(std::string_view date, std::string_view clock);
inline constexpr int kLostCommunicationLength = 143;
// The characters of a record line before its second field (the record number and comma).
inline constexpr int kNumberFieldWidth = 11;

// "mm-dd-yyyy".
std::string dateText(int year, int month, int day);
// A line without its first n characters (code points).
std::string dropCharacters(std::string_view line, int n);

// Keeps what the user typed as a file name inside the data folder: anything up to the last
// path separator ("/", "\" or ":") is dropped, then everything from the first "." on, and
// ".txt" is appended: "test.csv" -> "test.txt", "a.b.c" -> "a.txt". A name that leaves
// nothing but blanks ("", "...", "a/", "  ") gives "".
std::string normaliseFileName(std::string_view typed);

// Creates or truncates the file and writes the header line into it; appends one line to
// an existing file. A recording file that has gone (removed or moved away while recording)
// is not made again: that would leave records without a header, and the user must learn
// that the lines are no longer where the program put them. appendLines adds a block of
// lines at once, creating the file when missing (a download). All of them open and close
// the file around the write and flush it to the disk before closing. They return "" on
// success, or a message naming the file and the system's reason. What a failing write cut
// short is removed again, so every line before it stays whole and the block is all or
// nothing.
std::string createWithHeader(const std::string& path, std::string_view period);
std::string appendLine(const std::string& path, std::string_view line);
std::string appendLines(const std::string& path, const std::vector<std::string>& lines);

} // namespace pa::datafile
