// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Turning a downloaded logger memory into lines of text.
//
// The download stream is STX, the 96-byte status block, the records, ETX. A record is four
// display words (low byte first) in the order W, A, V, PF. Each becomes one line:
//
//   No.,Date,Time,Watts,PF,Volts,Amps          (written once, before the first record)
//   1,02-25,20:06:00,116.4,0.9,230.0,0.6
//   2,02-25,20:06:00.4,116.4,0.9,230.0,0.6     (time + sampling interval, with tenths)
//
// The date is the logger clock's at download time and never advances, even past midnight.
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace pa::logger {

inline constexpr const char* kDownloadHeader = "No.,Date,Time,Watts,PF,Volts,Amps";

// A time of day kept in tenths of a second, so that 0.4 s steps add up exactly.
struct TimeStamp {
    long tenths = 0;

    // "HH:MM:SS" from the window's time box (leading numbers of each pair).
    static TimeStamp fromBox(const std::string& hhmmss);
    // Adds the interval, carrying seconds into minutes and hours and dropping whole days.
    void advance(long intervalTenths);
    // Hours "00", minutes "00", seconds "00.0": "00:00:00.4".
    std::string text() const;
};

struct ConvertedRecords {
    std::vector<std::string> lines; // header first when there is any record line
    int recordsPromised = 0;        // the count the status block gave
    int recordsWritten = 0;         // lines other than the header
};

// Converts records from a stream as received (STX at position 0, records from index 97):
// wordCount words (the record count x 4), the first record stamped with the box's time text
// and each later one intervalTenths later. Words beyond the received data are skipped. The
// progress callback gets each word number k (1-based) before it is converted.
ConvertedRecords convertRecords(std::string_view stream, int wordCount, const std::string& date,
                                const std::string& timeBox, long intervalTenths,
                                const std::function<void(int)>& progress = {});

// A display word as the download writes it: its value with "0.0", or the display text as
// it stands when it is not a number ("OL", "-OL", "Init").
std::string recordValueText(std::string_view word);

} // namespace pa::logger
