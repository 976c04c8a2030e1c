// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Statistics of a recording of any length, gathered in one pass with flat memory: counts of
// records and lost-communication lines (and how long the instrument was silent), first and
// last time, minimum and maximum of W, PF, V and A with the time of each, mean and standard
// deviation, and the energy from W and the sampling times; for the whole file and, when
// asked, per day or per hour.
//
// Energy: each record's W is held until the next record, as the main window integrates it
// (negative power is not counted); an interval that holds a lost-communication line, or in
// which the clock goes back, counts nothing. A silent spell runs from its first
// lost-communication line to the next record (or to its last line at the end of the file).
#include "datafile/recording_pieces.h"
#include "datafile/recording_reader.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>

namespace pa::datafile {

// Count, extremes with their times, mean and sample standard deviation of one quantity.
struct QuantityStats {
    std::uint64_t count = 0;
    double minimum = 0, maximum = 0, mean = 0, m2 = 0;
    std::int64_t minimumTimeMs = 0, maximumTimeMs = 0;

    void add(double value, std::int64_t timeMs);
    // Adds the values of a later part of the file (ties keep the earlier time).
    void merge(const QuantityStats& later);
    double standardDeviation() const; // 0 for fewer than two values
};

// The quantities the statistics cover, in this order.
inline constexpr Quantity kStatsQuantities[] = {kQW, kQPF, kQV, kQA};
inline constexpr const char* kStatsNames[] = {"W", "PF", "V", "A"};

struct StatsGroup {
    std::uint64_t records = 0, overloads = 0, lostLines = 0;
    std::int64_t lostMs = 0;
    std::int64_t firstMs = 0, lastMs = 0; // of records and lost lines
    QuantityStats quantities[4];
    double energyKWh = 0;

    void merge(const StatsGroup& later);
};

enum class StatsPer { Whole, Day, Hour };

class RecordingStats {
  public:
    explicit RecordingStats(StatsPer per = StatsPer::Whole) : per_(per) {}
    // Statistics of one piece of a file, to be merged into those of the pieces before.
    static RecordingStats piece(StatsPer per) {
        RecordingStats s(per);
        s.piece_ = true;
        return s;
    }

    void add(const Entry& entry);
    // Adds the statistics of the next piece of the same file, gathered from an empty start;
    // the result is what reading both in one go gives, but for rounding.
    void merge(const RecordingStats& next);
    // Closes a silent spell still open at the end of the file.
    void finish();

    const StatsGroup& whole() const { return whole_; }
    // Per day or hour, keyed by the day's or hour's number since 1970 (empty for Whole).
    const std::map<std::int64_t, StatsGroup>& groups() const { return groups_; }
    StatsPer per() const { return per_; }
    std::uint64_t malformedLines() const { return malformed_; }
    // At most this many days or hours are kept apart (five years of hours, some 16 MB); the lines
    // of further ones count in the whole file's figures only.
    static constexpr std::size_t kMostGroups = 50'000;
    std::uint64_t ungroupedCounts() const { return ungrouped_; }
    // The price per kWh the file's last record implies (cost / energy per period).
    std::optional<double> filePrice() const { return filePrice_; }

  private:
    StatsGroup& groupAt(std::int64_t timeMs);
    void touch(StatsGroup& g, std::int64_t timeMs);

    StatsPer per_;
    StatsGroup whole_;
    std::map<std::int64_t, StatsGroup> groups_;
    StatsGroup spare_;                // takes what Whole counts in no group
    StatsGroup* lastGroup_ = nullptr; // map nodes stay where they are
    std::int64_t lastKey_ = 0;
    std::uint64_t malformed_ = 0, ungrouped_ = 0;
    std::optional<double> filePrice_;
    // The previous record (for energy) and the open silent spell.
    bool havePrevious_ = false, lostSincePrevious_ = false;
    std::int64_t previousMs_ = 0;
    std::optional<double> previousW_;
    bool inSpell_ = false;
    std::int64_t spellStartMs_ = 0, spellLastMs_ = 0;
    // Of a piece of a file: a silent spell before the first record may have begun in the piece
    // before, so it is closed only when merged. The first record's time.
    bool piece_ = false, openingSpell_ = false;
    std::int64_t openingStartMs_ = 0, firstRecordMs_ = 0;
};

// Reads the recording at `path` line by line into the statistics; malformed lines go to
// `problem`. Returns "" or why the file cannot be read.
// A long file is read on all cores (`options`); the figures do not depend on the number of
// threads.
std::string gatherStats(const std::string& path, int downloadYear, RecordingStats& stats,
                        const std::function<void(const Entry&)>& problem,
                        const PieceOptions& options = {});

// The statistics as plain text, CSV (one row for the file, then one per day or hour) or
// JSON. `price` (per kWh) adds the cost.
std::string statsText(const std::string& file, const RecordingStats& s,
                      std::optional<double> price);
std::string statsCsv(const RecordingStats& s, std::optional<double> price);
std::string statsJson(const std::string& file, const RecordingStats& s,
                      std::optional<double> price);

} // namespace pa::datafile
