// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The load survey of a recording: energy and cost per day, 15-minute demand, the
// load-duration curve, power factor bands, indicative voltage quality and the capacitor that
// would bring the power factor to a target. One or several files (daily files, a datalogger
// download) are read as one recording in time order, in one pass with bounded memory: the
// per-day and per-interval aggregates are small, and percentiles come from fixed-size
// histograms of values against the time they were held.
//
// Time: each record's values are held until the next record, never across a
// lost-communication line (the rule of the statistics and the main window's energy). A figure
// with too little data to stand on is left empty (std::nullopt), never a made-up zero.
#include "datafile/recording_reader.h"

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace pa::report {

struct SurveyOptions {
    std::optional<double> price; // per kWh; else the one the file's cost column implies
    double nominalV = 230, hz = 50, targetPf = 0.95;
    int downloadYear = 2026; // the year of a download file's records
};

// A value with the time it was found at (a peak, a lowest mean, ...).
struct TimedValue {
    std::int64_t timeMs = 0;
    double value = 0;
};

// A run of consecutive readings beyond a voltage limit.
struct VoltageRun {
    std::int64_t startMs = 0;
    double seconds = 0;
    double extreme = 0;
};

struct DaySummary {
    std::int64_t day = 0; // days since 1970-01-01
    double kWh = 0;
    std::optional<TimedValue> maxW;
    std::optional<double> minV, maxV;
};

// One slice of the whole period for the charts: extremes and mean of W and V.
struct SeriesPoint {
    std::int64_t startMs = 0, endMs = 0;
    std::uint32_t wCount = 0, vCount = 0;
    double wMin = 0, wMax = 0, wSum = 0, vMin = 0, vMax = 0, vSum = 0;
};

struct HourProfile {
    std::uint64_t count = 0;
    double minW = 0, maxW = 0, sumW = 0;
};

inline constexpr int kPfBands = 20; // 0.05 wide, from 0.00
inline constexpr double kExceededShares[] = {0.01, 0.10, 0.50, 0.90, 0.99};
inline constexpr std::size_t kListedRuns = 1000; // dips or swells listed (all are counted)

struct Survey {
    std::vector<std::string> files; // in time order
    SurveyOptions options;

    // Period.
    std::optional<std::int64_t> firstMs, lastMs;
    std::uint64_t records = 0, lostLines = 0, malformedLines = 0;
    std::int64_t lostMs = 0;

    // Energy.
    std::optional<double> kWh, meanW;
    std::optional<double> price; // the one in use, if any
    std::optional<TimedValue> maxW;
    std::vector<DaySummary> days;

    // 15-minute demand.
    std::uint64_t demandIntervals = 0;
    std::vector<TimedValue> peaks; // the highest first
    std::optional<double> loadFactor;

    // Load duration: the W exceeded for 1, 10, 50, 90 and 99 % of the time, and the whole
    // curve (the W exceeded for 0, 1, ..., 100 % of the time) for the chart.
    std::optional<std::array<double, 5>> exceeded;
    std::vector<double> durationCurve;

    // Power factor.
    std::array<double, kPfBands> pfHours{};
    std::optional<double> hoursBelow090, kVARhBelow090;

    // Voltage (indicative).
    std::uint64_t tenMinuteMeans = 0;
    std::optional<double> shareWithin10, shareWithinPlus10Minus15;
    std::optional<TimedValue> lowestMean, highestMean;
    std::vector<VoltageRun> dips, swells;
    std::uint64_t dipCount = 0, swellCount = 0;

    // Capacitor to reach the target power factor, in µF.
    std::optional<double> uFp50, uFp90, uFp95, uFmax, recommendeduF;
    std::optional<double> shareReachingTarget, shareOvercompensated;

    // For the charts.
    std::vector<SeriesPoint> series;
    std::array<HourProfile, 24> hourProfile{};

    std::optional<double> cost(double kWh) const {
        return price ? std::optional<double>(kWh * *price) : std::nullopt;
    }
};

// Time-weighted values in fixed-size logarithmic bins (under 0.1 % wide), with each bin's
// smallest and largest value, so that a share of the time or a percentile costs no memory per
// record and is exact where the values of a bin are all the same.
class TimeHistogram {
  public:
    TimeHistogram();
    void add(double value, double weight);
    double total() const { return total_; }
    // The value exceeded for `share` of the weight (0 <= share <= 1).
    double exceeded(double share) const { return exceeded(std::vector<double>{share})[0]; }
    // The same for several shares in rising order, in one walk over the bins.
    std::vector<double> exceeded(const std::vector<double>& shares) const;
    // The weight of the values below x, and of the values above x.
    double below(double x) const;
    double above(double x) const { return total_ - below(x) - at(x); }

  private:
    struct Bin {
        double weight = 0, min = 0, max = 0;
    };
    std::size_t index(double value) const;
    double at(double x) const;
    std::vector<Bin> bins_;                // made at the first value
    std::size_t lowest_ = 0, highest_ = 0; // the bins used lie between these
    double total_ = 0;
};

// Gathers the survey from the entries of the files in time order.
class SurveyBuilder {
  public:
    explicit SurveyBuilder(const SurveyOptions& options);
    ~SurveyBuilder();
    void add(const datafile::Entry& entry);
    Survey finish(std::vector<std::string> files);

  private:
    struct State;
    std::unique_ptr<State> s_;
};

struct SurveyCallbacks {
    // A line left out: its file and entry (line number and reason).
    std::function<void(const std::string& file, const datafile::Entry&)> problem;
    // The share of the bytes read so far; false cancels.
    std::function<bool(double)> progress;
};

// Reads the files (in any order) as one recording into `survey`. Returns "" or why it could
// not: a file that cannot be read, files that overlap in time (with both names), or
// "cancelled".
std::string gatherSurvey(const std::vector<std::string>& files, const SurveyOptions& options,
                         Survey& survey, const SurveyCallbacks& callbacks = {});

// The survey as plain text and as JSON (valid UTF-8; figures without data are null).
std::string surveyText(const Survey& s);
std::string surveyJson(const Survey& s);

} // namespace pa::report
