// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The record line the recorder writes: twelve fields of fixed widths at fixed commas, each
// value right-aligned before its unit, the clock as "hh:mm:ss.s", the last field holding the
// energy per period, the period, the hours per day and the cost:
//
//          1, 11-15-2026,08:00:01.0, 1191.8W, 0.85 PF,  231.7V, ...,  600.00/month 8$0.30
//
// Almost every line of a long recording is one, with every number in plain decimal notation.
// Such a line is split here in one pass, its numbers kept as the texts they are; a program that
// copies them (the CSV export) need not convert them. Any other line goes to RecordingReader.
#include "datafile/recording_reader.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace pa::datafile {

// A record line of a data file has eleven commas: twelve fields.
constexpr int kDataFields = 12;

// The unit each value field of a data file ends with, in the order of Quantity.
constexpr std::string_view kDataSuffix[] = {"W", "PF", "V", "A", "", "VA", "VAR", "KWH"};

// A plain decimal ("-12.5", ".980") has at most this many digits: every such whole number
// is exact in a double.
constexpr int kPlainDigits = 15;

// The top bit of each byte of x that is zero, exactly (no borrow from one byte to the next).
constexpr std::uint64_t zeroBytes(std::uint64_t x) {
    constexpr std::uint64_t kLow7 = 0x7f7f7f7f7f7f7f7fULL;
    return ~(((x & kLow7) + kLow7) | x) & ~kLow7;
}

// Splits a line of the recorder's layout (commas at the fixed places and nowhere else) into its
// twelve fields; false (nothing touched) for any other line.
bool splitFixed(std::string_view line, std::string_view* out);

// True when the field holds the keptSize bytes at `kept` (never for keptSize 0): the fields of
// a recording hold the same text for many lines, and the same bytes read the same.
bool sameField(std::string_view field, const char* kept, std::size_t keptSize);

// The recorder's own clock "hh:mm:ss.s" and nothing else: milliseconds since midnight.
std::optional<std::int64_t> recorderClock(std::string_view s);

// The texts of a plain record line's numbers (views into the line, blanks and units taken off)
// and its time: what RecordingReader reads from the same line as plain numbers.
struct PlainRecord {
    std::int64_t timeMs = 0;
    std::string_view record;
    std::array<std::string_view, kQuantityCount> values;
    std::string_view period, hoursPerDay, cost;
};

class PlainRecordReader {
  public:
    // True (and `out` filled) when the line (without its line end) is a record line of the
    // recorder's layout whose every field holds a plain decimal; false for any other line.
    bool read(std::string_view line, PlainRecord& out);

  private:
    // A recording holds thousands of lines of each date: the last one is remembered.
    char lastDate_[16] = {};
    std::size_t lastDateSize_ = 0;
    std::int64_t lastDay_ = 0;
    std::string_view fields_[kDataFields];
};

} // namespace pa::datafile
