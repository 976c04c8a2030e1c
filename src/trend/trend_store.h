// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The live readings over time: a fixed-size ring of samples, each a time and one value per
// quantity, with the questions the trend chart asks of it: the samples of a span, their
// minimum, maximum and average, and a minimum/maximum envelope per pixel column so that
// drawing a day of samples costs no more than drawing a minute.
//
// A value that is not a number (NaN) is a gap: the display showed "OL", "-OL", "Init" or
// HOLD, the instrument was silent, or the live readings were held still (Get Hz, a datalogger
// exchange, an open viewer or plot window). Gaps break the line and never count in a
// statistic; each sample carries its status, so that a gap says why it is one.
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace pa::trend {

// The quantities the trend keeps, in the order of the chart's lists and the CSV columns.
enum Quantity { kW, kPF, kV, kA, kVA, kVAR, kHz, kAngle, kKWH, kQuantities };

// Why a sample is what it is: a reading, or a gap and its cause.
enum class Status : std::uint8_t { Ok, Paused, NoCom, Overload };
// Its word in the CSV: ok, paused, no_com, overload.
const char* statusWord(Status s);

// 24 hours at the shortest sampling time of 0.5 s.
inline constexpr std::size_t kDayOfSamples = 172800;

using Values = std::array<float, kQuantities>;
inline constexpr float kGap = std::numeric_limits<float>::quiet_NaN();

struct Stats {
    std::size_t count = 0; // values in the span (gaps not counted)
    double min = 0, max = 0, mean = 0;
};

// One pixel column of the envelope.
struct Column {
    bool data = false;      // at least one value falls in the column
    bool joins = false;     // the line runs on from the previous value without a gap between
    bool gap = false;       // a gap falls in the column
    float min = 0, max = 0; // of the column's values
    float first = 0, last = 0;
};

class TrendStore {
  public:
    explicit TrendStore(std::size_t capacity = kDayOfSamples);

    // Adds a sample at a time in seconds; once full, the oldest sample makes room. Times
    // never run backwards: an earlier time is taken as the newest one.
    void append(double time, const Values& values, Status status = Status::Ok);
    void appendGap(double time, Status status);
    void clear();

    std::size_t size() const { return size_; }
    std::size_t capacity() const { return capacity_; }
    bool empty() const { return size_ == 0; }
    // Sample i counted from the oldest (0) to the newest (size() - 1).
    double time(std::size_t i) const { return times_[slot(i)]; }
    float value(std::size_t i, Quantity q) const { return values_[q][slot(i)]; }
    Status status(std::size_t i) const { return status_[slot(i)]; }
    double oldestTime() const { return empty() ? 0 : time(0); }
    double newestTime() const { return empty() ? 0 : time(size_ - 1); }

    // The first sample at or after a time (size() when none).
    std::size_t firstAtOrAfter(double t) const;
    // Of the values of one quantity with from <= time <= to.
    Stats stats(Quantity q, double from, double to) const;
    // The span from..to cut into equal columns.
    std::vector<Column> envelope(Quantity q, double from, double to, int columns) const;

    // Bytes held by the samples and their block summaries once the ring is full.
    std::size_t fullBytes() const;

    // Samples are summarised in blocks of this many, so that a span of many samples per
    // pixel column is read a block at a time (when the capacity is a multiple of it).
    static constexpr std::size_t kBlock = 16;

  private:
    // What a block of samples holds of one quantity.
    struct Block {
        float min = 0, max = 0, first = 0, last = 0;
        double sum = 0;
        std::uint32_t count = 0; // values, gaps not counted
        bool gap = false;        // a gap anywhere in the block
        bool gapBefore = false;  // a gap before the first value (or no value at all)
        bool gapAfter = false;   // a gap after the last value
    };
    // The block of sample i when blocks are kept and i starts a whole block before `end`.
    const Block* wholeBlock(Quantity q, std::size_t i, std::size_t end) const;
    std::size_t firstAfter(double t) const;

    std::size_t slot(std::size_t i) const {
        const std::size_t s = oldest_ + i;
        return s < capacity_ ? s : s - capacity_;
    }

    std::size_t capacity_;
    std::size_t size_ = 0;
    std::size_t oldest_ = 0; // slot of sample 0
    std::vector<double> times_;
    std::array<std::vector<float>, kQuantities> values_;
    std::vector<Status> status_;
    std::size_t appended_ = 0; // samples appended since the last clear
    std::size_t blockCount_ = 0;
    std::array<std::vector<Block>, kQuantities> blocks_;
};

// The samples of from..to as CSV: a header "date,time,W,PF,V,A,VA,VAR,Hz,Angle,kWh,status",
// then one line per sample with the date (YYYY-MM-DD), the clock time (hh:mm:ss.s), the values
// in plain decimal notation (a gap as an empty field) and the sample's status word. Lines end
// in CR LF.
std::string toCsv(const TrendStore& store, double from, double to);

// Seconds since 1970-01-01 00:00 of a calendar day, and back to its clock text hh:mm:ss.s.
double dayStart(int year, int month, int day);
std::string clockTextOf(double time);
// The calendar date YYYY-MM-DD of a time.
std::string dateTextOf(double time);

} // namespace pa::trend
