// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "report/load_survey.h"

#include "datafile/data_folder.h"
#include "datafile/recording_pieces.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <filesystem>
#include <limits>
#include <map>
#include <memory>
#include <numbers>

namespace pa::report {
namespace {

using datafile::Entry;
using datafile::EntryKind;

constexpr std::int64_t kMsPerDay = 86'400'000;
constexpr std::int64_t kMsPerHour = 3'600'000;
constexpr std::int64_t kDemandMs = 15 * 60'000;
constexpr std::int64_t kVoltageMeanMs = 10 * 60'000;
constexpr double kWattMsPerKWh = 3.6e9;
constexpr std::int64_t kLongestSplitMs = 31 * kMsPerDay;
// The charts' slices: a minute at first, doubled whenever there would be more than this many.
constexpr std::int64_t kFirstSliceMs = 60'000;
constexpr std::size_t kMaxSlices = 1500;

// Histogram bins: |value| from kLowest up, each bin 1/1024 of a power of two wide (under 0.1 %
// of the value), found from the bits of the double: its exponent and the mantissa's top bits.
constexpr double kLowest = 1.0 / (1 << 14);
constexpr int kMantissaBits = 10;
constexpr std::size_t kBinsPerSign = 45 << kMantissaBits; // up to 2^31, beyond which all share
const std::uint64_t kLowestKey = std::bit_cast<std::uint64_t>(kLowest) >> (52 - kMantissaBits);

std::int64_t floorDiv(std::int64_t a, std::int64_t b) {
    return a / b - ((a % b != 0) && ((a < 0) != (b < 0)));
}

// The mean of the records whose time lies in a clock-aligned interval, kept when they cover
// at least half of it.
struct IntervalMeans {
    explicit IntervalMeans(std::int64_t length) : lengthMs(length) {}
    std::int64_t lengthMs;
    std::int64_t key = INT64_MIN;
    double sum = 0;
    std::uint64_t count = 0;
    std::int64_t coveredMs = 0;
    std::function<void(std::int64_t startMs, double mean)> done;

    void add(std::int64_t timeMs, std::int64_t heldMs, const std::optional<double>& value) {
        const std::int64_t k = floorDiv(timeMs, lengthMs);
        if (k != key)
            close(), key = k;
        if (!value)
            return;
        sum += *value, ++count;
        coveredMs += std::min(timeMs + heldMs, (k + 1) * lengthMs) - timeMs;
    }
    void close() {
        if (count > 0 && 2 * coveredMs >= lengthMs)
            done(key * lengthMs, sum / static_cast<double>(count));
        sum = 0, count = 0, coveredMs = 0;
    }
};

// Consecutive readings beyond a limit: kept as runs, the first kListedRuns listed.
struct RunTracker {
    explicit RunTracker(bool isDip) : below(isDip) {}
    bool below; // a dip tracker (below the limit) or a swell tracker
    double limit = 0;
    bool open = false;
    VoltageRun run;
    std::vector<VoltageRun>* list = nullptr;
    std::uint64_t* count = nullptr;

    void add(std::int64_t timeMs, double heldSeconds, double v) {
        if (below ? v >= limit : v <= limit)
            return close();
        if (!open)
            open = true, run = {timeMs, 0, v};
        run.seconds += heldSeconds;
        run.extreme = below ? std::min(run.extreme, v) : std::max(run.extreme, v);
    }
    void close() {
        if (!open)
            return;
        open = false;
        ++*count;
        if (list->size() < kListedRuns)
            list->push_back(run);
    }
};

struct DayTotals {
    double kWh = 0;
    std::optional<TimedValue> maxW;
    std::optional<double> minV, maxV;
};

// A record waiting for the next one, which fixes how long its values were held.
struct Held {
    std::int64_t timeMs = 0;
    std::optional<double> w, pf, v, var;
};

} // namespace

// ---- TimeHistogram ----

TimeHistogram::TimeHistogram() = default;

std::size_t TimeHistogram::index(double value) const {
    // Bin kBinsPerSign holds |value| < kLowest; above it the positive values, below the
    // negative ones.
    const double a = std::fabs(value);
    if (!(a >= kLowest))
        return kBinsPerSign;
    const std::uint64_t key = std::bit_cast<std::uint64_t>(a) >> (52 - kMantissaBits);
    const auto n =
        static_cast<std::size_t>(std::min<std::uint64_t>(key - kLowestKey + 1, kBinsPerSign));
    return value > 0 ? kBinsPerSign + n : kBinsPerSign - n;
}

void TimeHistogram::add(double value, double weight) {
    if (!(weight > 0) || !std::isfinite(value))
        return;
    const std::size_t i = index(value);
    if (bins_.empty())
        bins_.resize(2 * kBinsPerSign + 1), lowest_ = highest_ = i;
    lowest_ = std::min(lowest_, i), highest_ = std::max(highest_, i);
    Bin& b = bins_[i];
    if (b.weight == 0)
        b.min = b.max = value;
    b.min = std::min(b.min, value), b.max = std::max(b.max, value);
    b.weight += weight;
    total_ += weight;
}

std::vector<double> TimeHistogram::exceeded(const std::vector<double>& shares) const {
    std::vector<double> out(shares.size(), 0.0);
    std::size_t next = 0;
    double above = 0, lowest = 0;
    for (std::size_t i = highest_ + 1; i-- > lowest_ && !bins_.empty() && next < shares.size();) {
        const Bin& b = bins_[i];
        if (b.weight == 0)
            continue;
        lowest = b.min;
        // Every share this bin reaches takes its value from within the bin.
        for (; next < shares.size() && above + b.weight >= shares[next] * total_; ++next) {
            const double f = (shares[next] * total_ - above) / b.weight;
            out[next] = b.max == b.min ? b.min : b.max - f * (b.max - b.min);
        }
        above += b.weight;
    }
    // Shares the sum fell short of by rounding: the smallest value.
    for (; next < shares.size(); ++next)
        out[next] = lowest;
    return out;
}

double TimeHistogram::at(double x) const {
    if (bins_.empty())
        return 0;
    const Bin& b = bins_[index(x)];
    return b.weight > 0 && b.min == x && b.max == x ? b.weight : 0;
}

double TimeHistogram::below(double x) const {
    if (bins_.empty())
        return 0;
    const std::size_t at = index(x);
    double sum = 0;
    for (std::size_t i = lowest_; i < at && i <= highest_; ++i)
        sum += bins_[i].weight;
    const Bin& b = bins_[at];
    if (b.weight > 0) {
        if (b.max < x)
            sum += b.weight;
        else if (b.min < x) // a part of the bin, as if its values were spread evenly
            sum += b.weight * (x - b.min) / (b.max - b.min);
    }
    return sum;
}

// ---- SurveyBuilder ----

struct SurveyBuilder::State {
    SurveyOptions o;
    Survey out;
    double tanTarget = 0;

    // Period and the open silent spell.
    bool inSpell = false, lostSinceHeld = false;
    std::int64_t spellStartMs = 0, spellLastMs = 0;
    std::optional<Held> held;
    std::optional<double> filePrice;

    // Energy.
    double wattMs = 0, heldMsWithW = 0;
    std::map<std::int64_t, DayTotals> days;
    DayTotals* lastDay = nullptr; // map nodes stay where they are
    std::int64_t lastDayKey = 0;

    DayTotals& dayAt(std::int64_t key) {
        if (!lastDay || key != lastDayKey)
            lastDay = &days[key], lastDayKey = key;
        return *lastDay;
    }

    // Demand and voltage means.
    IntervalMeans demand{kDemandMs}, voltage{kVoltageMeanMs};
    double demandSum = 0;
    std::uint64_t meansWithin10 = 0, meansWithin1015 = 0;
    RunTracker dips{true}, swells{false};

    TimeHistogram w, uFNeeded, uFMost;
    double pfMs = 0;
    double belowMs = 0, belowVarMs = 0;
    bool anyBelowTarget = false;
    double uFmax = 0;

    std::int64_t sliceMs = kFirstSliceMs;

    explicit State(const SurveyOptions& options) : o(options) {
        out.options = o;
        tanTarget = std::tan(std::acos(std::clamp(o.targetPf, 0.0, 1.0)));
        demand.done = [this](std::int64_t start, double mean) {
            ++out.demandIntervals;
            demandSum += mean;
            auto& p = out.peaks;
            p.insert(std::upper_bound(p.begin(), p.end(), mean,
                                      [](double m, const TimedValue& t) { return m > t.value; }),
                     TimedValue{start, mean});
            if (p.size() > 5)
                p.pop_back();
        };
        voltage.done = [this](std::int64_t start, double mean) {
            ++out.tenMinuteMeans;
            const double d = mean - o.nominalV;
            meansWithin10 += std::fabs(d) <= 0.1 * o.nominalV;
            meansWithin1015 += d <= 0.1 * o.nominalV && d >= -0.15 * o.nominalV;
            if (!out.lowestMean || mean < out.lowestMean->value)
                out.lowestMean = TimedValue{start, mean};
            if (!out.highestMean || mean > out.highestMean->value)
                out.highestMean = TimedValue{start, mean};
        };
        dips.limit = 0.9 * o.nominalV, dips.list = &out.dips, dips.count = &out.dipCount;
        swells.limit = 1.1 * o.nominalV, swells.list = &out.swells, swells.count = &out.swellCount;
    }

    void touch(std::int64_t t) {
        if (!out.firstMs || t < *out.firstMs)
            out.firstMs = t;
        if (!out.lastMs || t > *out.lastMs)
            out.lastMs = t;
    }

    void slice(std::int64_t t, const Held& h) {
        auto& s = out.series;
        if (s.empty() || s.back().startMs != floorDiv(t, sliceMs) * sliceMs) {
            if (s.size() >= kMaxSlices)
                coarsen(); // the new slice may now be the last one
            const std::int64_t begin = floorDiv(t, sliceMs) * sliceMs;
            if (s.empty() || s.back().startMs != begin)
                s.push_back(SeriesPoint{begin, begin + sliceMs});
        }
        SeriesPoint& p = s.back();
        if (h.w) {
            p.wMin = p.wCount ? std::min(p.wMin, *h.w) : *h.w;
            p.wMax = p.wCount ? std::max(p.wMax, *h.w) : *h.w;
            p.wSum += *h.w, ++p.wCount;
        }
        if (h.v) {
            p.vMin = p.vCount ? std::min(p.vMin, *h.v) : *h.v;
            p.vMax = p.vCount ? std::max(p.vMax, *h.v) : *h.v;
            p.vSum += *h.v, ++p.vCount;
        }
    }

    // Doubles the slices' length, merging neighbours.
    void coarsen() {
        sliceMs *= 2;
        std::vector<SeriesPoint> merged;
        for (const SeriesPoint& p : out.series) {
            const std::int64_t start = floorDiv(p.startMs, sliceMs) * sliceMs;
            if (merged.empty() || merged.back().startMs != start) {
                merged.push_back(p);
                merged.back().startMs = start, merged.back().endMs = start + sliceMs;
                continue;
            }
            SeriesPoint& m = merged.back();
            if (p.wCount)
                m.wMin = m.wCount ? std::min(m.wMin, p.wMin) : p.wMin,
                m.wMax = m.wCount ? std::max(m.wMax, p.wMax) : p.wMax;
            if (p.vCount)
                m.vMin = m.vCount ? std::min(m.vMin, p.vMin) : p.vMin,
                m.vMax = m.vCount ? std::max(m.vMax, p.vMax) : p.vMax;
            m.wSum += p.wSum, m.wCount += p.wCount, m.vSum += p.vSum, m.vCount += p.vCount;
        }
        out.series = std::move(merged);
    }

    // A record whose values were held for heldMs; `broken` when a silent spell follows it.
    void settle(const Held& h, std::int64_t heldMs, bool broken) {
        const double dt = static_cast<double>(heldMs);
        if (h.w) {
            heldMsWithW += dt;
            if (*h.w >= 0) {
                wattMs += *h.w * dt;
                // Split at midnight, so that each day gets its own part. A hold of more than
                // a month (a gap in the recording with no lost-communication line) stays with
                // the day it starts: the days kept stay as many as the days recorded.
                std::int64_t t = h.timeMs;
                const std::int64_t end = h.timeMs + heldMs;
                if (heldMs > kLongestSplitMs)
                    dayAt(floorDiv(t, kMsPerDay)).kWh += *h.w * dt / kWattMsPerKWh, t = end;
                while (t < end) {
                    const std::int64_t day = floorDiv(t, kMsPerDay);
                    const std::int64_t upTo = std::min(end, (day + 1) * kMsPerDay);
                    dayAt(day).kWh += *h.w * static_cast<double>(upTo - t) / kWattMsPerKWh;
                    t = upTo;
                }
            }
            w.add(*h.w, dt);
        }
        demand.add(h.timeMs, heldMs, h.w);
        voltage.add(h.timeMs, heldMs, h.v);
        if (h.v) {
            dips.add(h.timeMs, dt / 1000, *h.v);
            swells.add(h.timeMs, dt / 1000, *h.v);
        }
        if (broken)
            dips.close(), swells.close();
        if (h.pf && heldMs > 0) {
            const double pf = std::fabs(*h.pf);
            // Clamped as a double: a PF field of 1e100 has no int.
            const int band = static_cast<int>(
                std::clamp(std::floor(pf / 0.05 + 1e-9), 0.0, static_cast<double>(kPfBands - 1)));
            out.pfHours[static_cast<std::size_t>(band)] += dt / kMsPerHour;
            pfMs += dt;
            if (pf < 0.90) {
                belowMs += dt;
                if (h.var)
                    belowVarMs += std::fabs(*h.var) * dt;
            }
        }
        capacitor(h, dt);
    }

    void capacitor(const Held& h, double dt) {
        if (!h.pf || !h.w || !h.v || !h.var || !(*h.v > 0) || dt <= 0)
            return;
        const double k = 2 * std::numbers::pi * o.hz * *h.v * *h.v / 1e6; // VAR per µF
        const double w = std::fabs(*h.w), var = std::fabs(*h.var);
        const bool below = std::fabs(*h.pf) < o.targetPf;
        const double needed = below ? std::max(0.0, (var - w * tanTarget) / k) : 0.0;
        anyBelowTarget = anyBelowTarget || below;
        uFmax = std::max(uFmax, needed);
        uFNeeded.add(needed, dt);
        // Beyond this much the current would lead by more than the target allows.
        uFMost.add((var + w * tanTarget) / k, dt);
    }

    void record(const Entry& e) {
        using namespace datafile;
        Held h;
        h.timeMs = e.timeMs;
        h.w = e.values[kQW].number, h.pf = e.values[kQPF].number, h.v = e.values[kQV].number;
        h.var = e.values[kQVAR].number;
        if (!h.var && h.w) {
            // VAR is what the apparent power leaves beyond the real power.
            std::optional<double> va = e.values[kQVA].number;
            if (!va && h.v && e.values[kQA].number)
                va = *h.v * *e.values[kQA].number;
            if (va)
                h.var = std::sqrt(std::max(0.0, *va * *va - *h.w * *h.w));
        }
        if (inSpell) {
            out.lostMs += std::max<std::int64_t>(0, e.timeMs - spellStartMs);
            inSpell = false;
        }
        if (held) {
            const std::int64_t dt =
                lostSinceHeld || e.timeMs <= held->timeMs ? 0 : e.timeMs - held->timeMs;
            settle(*held, dt, lostSinceHeld);
        }
        held = h;
        lostSinceHeld = false;
        ++out.records;
        touch(e.timeMs);
        DayTotals& d = dayAt(floorDiv(e.timeMs, kMsPerDay));
        if (h.w) {
            if (!out.maxW || *h.w > out.maxW->value)
                out.maxW = TimedValue{e.timeMs, *h.w};
            if (!d.maxW || *h.w > d.maxW->value)
                d.maxW = TimedValue{e.timeMs, *h.w};
            const std::int64_t hour = floorDiv(e.timeMs, kMsPerHour) % 24;
            HourProfile& p = out.hourProfile[static_cast<std::size_t>(hour < 0 ? hour + 24 : hour)];
            p.minW = p.count ? std::min(p.minW, *h.w) : *h.w;
            p.maxW = p.count ? std::max(p.maxW, *h.w) : *h.w;
            p.sumW += *h.w, ++p.count;
        }
        if (h.v) {
            d.minV = d.minV ? std::min(*d.minV, *h.v) : *h.v;
            d.maxV = d.maxV ? std::max(*d.maxV, *h.v) : *h.v;
        }
        slice(e.timeMs, h);
        const auto& est = e.values[kQEstKWH].number;
        if (est && *est > 0 && e.cost.number)
            filePrice = *e.cost.number / *est;
    }

    void lost(const Entry& e) {
        ++out.lostLines;
        touch(e.timeMs);
        if (!inSpell)
            inSpell = true, spellStartMs = e.timeMs;
        spellLastMs = e.timeMs;
        lostSinceHeld = true;
    }
};

SurveyBuilder::SurveyBuilder(const SurveyOptions& options) : s_(std::make_unique<State>(options)) {}
SurveyBuilder::~SurveyBuilder() = default;

void SurveyBuilder::add(const Entry& e) {
    if (e.kind == EntryKind::Malformed)
        ++s_->out.malformedLines;
    else if (e.kind == EntryKind::Record)
        s_->record(e);
    else if (e.kind == EntryKind::LostCommunication)
        s_->lost(e);
}

Survey SurveyBuilder::finish(std::vector<std::string> files) {
    State& s = *s_;
    Survey& out = s.out;
    out.files = std::move(files);
    if (s.held)
        s.settle(*s.held, 0, true);
    s.held.reset();
    if (s.inSpell)
        out.lostMs += s.spellLastMs - s.spellStartMs, s.inSpell = false;
    s.demand.close();
    s.voltage.close();

    out.price = s.o.price ? s.o.price : s.filePrice;
    if (s.heldMsWithW > 0) {
        out.kWh = s.wattMs / kWattMsPerKWh;
        out.meanW = s.wattMs / s.heldMsWithW;
    }
    for (const auto& [day, d] : s.days)
        out.days.push_back({day, d.kWh, d.maxW, d.minV, d.maxV});
    if (out.demandIntervals > 0 && out.peaks.front().value > 0)
        out.loadFactor =
            s.demandSum / static_cast<double>(out.demandIntervals) / out.peaks.front().value;
    if (s.w.total() > 0) {
        std::array<double, 5> e{};
        const std::vector<double> listed = s.w.exceeded(
            std::vector<double>(std::begin(kExceededShares), std::end(kExceededShares)));
        std::copy(listed.begin(), listed.end(), e.begin());
        out.exceeded = e;
        std::vector<double> shares;
        for (int p = 0; p <= 100; ++p)
            shares.push_back(p / 100.0);
        out.durationCurve = s.w.exceeded(shares);
    }
    if (s.pfMs > 0) {
        out.hoursBelow090 = s.belowMs / kMsPerHour;
        out.kVARhBelow090 = s.belowVarMs / kWattMsPerKWh;
    }
    if (out.tenMinuteMeans > 0) {
        const double n = static_cast<double>(out.tenMinuteMeans);
        out.shareWithin10 = static_cast<double>(s.meansWithin10) / n;
        out.shareWithinPlus10Minus15 = static_cast<double>(s.meansWithin1015) / n;
    }
    if (s.anyBelowTarget && s.uFNeeded.total() > 0) {
        const std::vector<double> p = s.uFNeeded.exceeded(std::vector<double>{0.05, 0.10, 0.50});
        out.uFp95 = p[0], out.uFp90 = p[1], out.uFp50 = p[2];
        out.uFmax = s.uFmax;
        out.recommendeduF = out.uFp95;
        const double c = *out.recommendeduF, total = s.uFNeeded.total();
        const double over = s.uFMost.below(c);
        out.shareOvercompensated = over / total;
        out.shareReachingTarget = std::max(0.0, total - over - s.uFNeeded.above(c)) / total;
    }
    return std::move(out);
}

// ---- Reading the files ----

namespace {

struct FileSpan {
    std::string path;
    std::optional<std::int64_t> firstMs;
    std::uint64_t size = 0;
};

// The time of the file's first record or lost-communication line.
std::string firstTime(const std::string& path, int year, FileSpan& span) {
    datafile::RecordingReader reader(year, 0);
    return datafile::readRecording(path, reader, [&](const Entry& e, std::uint64_t) {
        if (e.kind == EntryKind::Record || e.kind == EntryKind::LostCommunication) {
            span.firstMs = e.timeMs;
            return false;
        }
        return true;
    });
}

} // namespace

namespace {

// What the survey takes of a line, kept while the lines before it are still being read: the
// kind, the time and the numbers it uses (NaN where there is none), the problem of a bad one.
struct SurveyLine {
    static constexpr datafile::Quantity kKept[] = {
        datafile::kQW,  datafile::kQPF,  datafile::kQV,     datafile::kQA,
        datafile::kQVA, datafile::kQVAR, datafile::kQEstKWH};
    datafile::EntryKind kind;
    std::uint64_t lineNumber;
    std::int64_t timeMs;
    double values[std::size(kKept)];
    double cost;
    std::string problem;

    explicit SurveyLine(const Entry& e)
        : kind(e.kind), lineNumber(e.lineNumber), timeMs(e.timeMs),
          cost(e.cost.number.value_or(kNone)),
          problem(e.kind == datafile::EntryKind::Malformed ? e.problem : std::string()) {
        for (std::size_t i = 0; i < std::size(kKept); ++i)
            values[i] = e.values[kKept[i]].number.value_or(kNone);
    }
    // Back into an entry as the reader made it (for what the survey reads of it).
    void into(Entry& e) const {
        e.kind = kind;
        e.lineNumber = lineNumber;
        e.timeMs = timeMs;
        for (std::size_t i = 0; i < std::size(kKept); ++i)
            e.values[kKept[i]].number = number(values[i]);
        e.cost.number = number(cost);
        e.problem = problem;
    }

  private:
    static constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
    static std::optional<double> number(double v) {
        return std::isnan(v) ? std::nullopt : std::optional<double>(v);
    }
};

// Pieces of 2 MB: the lines of those read ahead of the survey stay a few megabytes.
constexpr datafile::PieceOptions kSurveyPieces{0, std::uint64_t{2} << 20};
constexpr std::size_t kSurveyPieceLines = 65536;
constexpr std::uint64_t kProgressLines = 65536;

} // namespace

std::string gatherSurvey(const std::vector<std::string>& files, const SurveyOptions& options,
                         Survey& survey, const SurveyCallbacks& callbacks) {
    std::vector<FileSpan> spans;
    std::uint64_t totalBytes = 0;
    for (const std::string& f : files) {
        FileSpan span;
        span.path = f;
        if (std::string error = firstTime(f, options.downloadYear, span); !error.empty())
            return error;
        std::error_code ec;
        span.size = std::filesystem::file_size(datafile::pathFromUtf8(f), ec);
        totalBytes += ec ? 0 : span.size;
        spans.push_back(std::move(span));
    }
    // Files without a time stamp first (they only have lines to report), then by time.
    std::stable_sort(spans.begin(), spans.end(), [](const FileSpan& a, const FileSpan& b) {
        return a.firstMs.value_or(INT64_MIN) < b.firstMs.value_or(INT64_MIN);
    });

    SurveyBuilder builder(options);
    std::vector<std::string> ordered;
    std::optional<std::int64_t> lastMs;
    std::string lastFile;
    std::uint64_t doneBytes = 0;
    bool cancelled = false;
    for (const FileSpan& span : spans) {
        if (span.firstMs && lastMs && *span.firstMs < *lastMs)
            return lastFile + " and " + span.path + " overlap in time (" + span.path +
                   " begins at " + datafile::isoTime(*span.firstMs) +
                   ", before the other ends at " + datafile::isoTime(*lastMs) + ")";
        using namespace datafile;
        // A download's records always have their four values; a data file's VAR is there (a
        // record whose VAR is an overload has no VA to take it from either). The lines are read
        // on all cores, piece by piece, and taken into the survey in the file's order.
        PieceSlots<std::vector<SurveyLine>> pieces(kSurveyPieces);
        std::uint64_t lines = 0, nextProgress = kProgressLines;
        Entry replayed;
        auto take = [&](const SurveyLine& line) {
            line.into(replayed);
            replayed.lineNumber += lines;
            if (replayed.kind == EntryKind::Malformed) {
                if (callbacks.problem)
                    callbacks.problem(span.path, replayed);
            } else if (replayed.kind == EntryKind::Record ||
                       replayed.kind == EntryKind::LostCommunication) {
                if (lastMs && replayed.timeMs < *lastMs) {
                    // Everything is taken in time order: a step back is left out.
                    Entry back;
                    back.kind = EntryKind::Malformed;
                    back.lineNumber = replayed.lineNumber;
                    back.problem = "the time " + datafile::isoTime(replayed.timeMs) +
                                   " goes back (before " + datafile::isoTime(*lastMs) + ")";
                    if (callbacks.problem)
                        callbacks.problem(span.path, back);
                    builder.add(back);
                    return;
                }
                lastMs = replayed.timeMs;
            }
            builder.add(replayed);
        };
        const std::string error = readInPieces(
            span.path, options.downloadYear, 1u << kQW | 1u << kQPF | 1u << kQV | 1u << kQVAR,
            kSurveyPieces,
            {[&](std::size_t i) { pieces[i].clear(); },
             [&](std::size_t i, const Entry& e) { pieces[i].emplace_back(e); },
             [&](std::size_t i, std::uint64_t position) {
                 std::vector<SurveyLine>& piece = pieces[i];
                 for (const SurveyLine& line : piece)
                     take(line);
                 lines += piece.size();
                 if (piece.capacity() > kSurveyPieceLines)
                     std::vector<SurveyLine>().swap(piece); // a piece of short lines
                 piece.clear();
                 if (callbacks.progress && lines >= nextProgress && totalBytes > 0) {
                     nextProgress = lines + kProgressLines;
                     if (!callbacks.progress(static_cast<double>(doneBytes + position) /
                                             static_cast<double>(totalBytes)))
                         cancelled = true;
                 }
                 return !cancelled;
             },
             {},
             {}});
        if (!error.empty())
            return error;
        if (cancelled)
            return "cancelled";
        doneBytes += span.size;
        lastFile = span.path;
        ordered.push_back(span.path);
    }
    survey = builder.finish(std::move(ordered));
    return "";
}

} // namespace pa::report
