// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Loading one quantity of a data file for plotting: the record count estimated from the
// file length and the first line, the format check, every record below 3600 records, the
// minimum/maximum envelope from 3600 on, a zoom to a range of records, and the time labels
// of the X axis. Only the plotted points are held; the file is read once, in large blocks.
#include "datafile/recording_pieces.h"
#include "plot/plot_columns.h"

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace pa::plot {

// What the loader learns before reading: enough to decide how to load.
struct FileProbe {
    std::int64_t length = 0;          // bytes
    std::string firstLine;            // its first bytes (see LineReader)
    std::uint64_t firstLineBytes = 0; // full length without the line end
    long records = 0;                 // the estimate N
    bool formatOk = false;            // "," at columns 11, 43 and 61
    bool fullLines = false;           // 70 characters or more: entries 4 to 8 exist
};

// The file's length and first line; nothing when it cannot be opened.
std::optional<FileProbe> probeFile(const std::string& path);
// N = L / (first line + 2 bytes of line end), rounded to the nearest whole number.
long estimateRecords(std::int64_t length, std::uint64_t firstLineBytes);
bool formatOk(std::string_view firstLine);

struct PlotData {
    int setCount = 0; // 0 empty, 1, or 2 (minimum and maximum of the envelope)
    std::array<std::vector<double>, 2> sets;
    long firstRecord = 1; // record (line) number of point 1
    long step = 1;        // records per point
    int labelInterval = 1;
    std::vector<std::string> labels; // time texts of points 1, K + 1, 2K + 1, ...
    // Lines after the last point the estimated count allowed for (files of uneven lines).
    std::uint64_t linesNotPlotted = 0;

    std::size_t points() const { return setCount ? sets[0].size() : 0; }
};

// Envelope figures for N records: step S and points P.
long envelopeStep(long records);
long envelopePoints(long records, long step);
// K = count / 5 rounded to the nearest whole number, at least 1.
int labelInterval(double count);

// Called now and then during a long load with the bytes read so far.
using Progress = std::function<void(std::uint64_t bytesRead)>;

// Every record (N below 3600): one set of up to N points.
// The envelope (N of 3600 or more): two sets of P points, each the minimum and maximum of S
// consecutive records. Nothing when the file cannot be opened.
// A long file's envelope is read on all cores (`pieces`), with the same result.
std::optional<PlotData> loadRecords(const std::string& path, const Quantity& quantity, long records,
                                    const Progress& progress = {},
                                    const datafile::PieceOptions& pieces = {});
// Records start to end (1-based, in file order), one point each.
std::optional<PlotData> loadRange(const std::string& path, const Quantity& quantity, double start,
                                  double end);

struct Statistics {
    long count = 0;
    double minimum = 0, maximum = 0, mean = 0;
    double standardDeviation = 0; // sample (n - 1); 0 for one value
};
Statistics statistics(const std::vector<double>& values);

} // namespace pa::plot
