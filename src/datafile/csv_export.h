// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// A recording as a file that spreadsheets and scripts read at once (RFC 4180 CSV): one
// header row with the units, ISO 8601 local time stamps with milliseconds and the UTC offset,
// every value a plain number, an empty cell where the file holds an overload or no number
// (and for VA and VAR worked out of an overload), and a status column, so that no line of the
// recording is dropped in silence:
//
//   time,record,W,PF,V,A,angle_deg,VA,VAR,kWh,est_kWh,period,hours_per_day,cost,status
//   2026-11-15T16:58:09.400+01:00,3,123.4,0.98,230.1,0.547,11.5,125.9,25.1,0.012,8.6,month,8,0.34,ok
//   2026-11-15T16:58:10.400+01:00,,,,,,,,,,,,,,no_com
//
// With ";" as separator the numbers take a decimal comma: the form that spreadsheets of
// decimal-comma countries open directly. The file is read line by line; memory stays flat
// whatever its length.
#include "datafile/recording_pieces.h"
#include "datafile/recording_reader.h"

#include <cstdint>
#include <functional>
#include <string>

namespace pa::datafile {

struct ExportOptions {
    char separator = ','; // ',' or ';' (then with decimal commas)
    int downloadYear = 2026;
    // A long file is read on all cores, a megabyte at a time; the rows come out in order.
    PieceOptions pieces{0, 1 << 20};
};

struct ExportSummary {
    std::uint64_t lines = 0, records = 0, overloads = 0, lostLines = 0, malformed = 0;
};

// Called for each malformed line (its number and the reason), and with the bytes read so
// far and the file's length; the progress callback returns false to cancel.
struct ExportCallbacks {
    std::function<void(const Entry&)> problem;
    std::function<bool(std::uint64_t done, std::uint64_t total)> progress;
};

// The header row (without the line end).
std::string csvHeader(char separator);

class OutputFile;

// Writes the CSV of the recording at `inPath` to `out` and commits it (or abandons it on a
// failure or cancel). Returns "" or what went wrong, naming the file and the system's reason.
std::string exportCsv(const std::string& inPath, OutputFile& out, const ExportOptions& options,
                      ExportSummary& summary, const ExportCallbacks& callbacks = {});

// The same into the file (or "-", standard output) that `outPath` names, through OutputFile:
// a failed or cancelled export leaves no half file and an older file whole.
std::string exportCsvFile(const std::string& inPath, const std::string& outPath,
                          const ExportOptions& options, ExportSummary& summary,
                          const ExportCallbacks& callbacks = {});

// "OUT.csv" for "IN.txt": the name the export suggests.
std::string csvNameFor(const std::string& inPath);

} // namespace pa::datafile
