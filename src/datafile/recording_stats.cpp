// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "datafile/recording_stats.h"

#include "text/json_text.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

namespace pa::datafile {
namespace {

constexpr std::int64_t kMsPerHour = 3'600'000;
constexpr std::int64_t kMsPerDay = 24 * kMsPerHour;
// W × ms -> kWh.
constexpr double kWattMsPerKWh = 3.6e9;

std::int64_t floorDiv(std::int64_t a, std::int64_t b) {
    return a / b - ((a % b != 0) && ((a < 0) != (b < 0)));
}

// Ten significant digits at most, in C notation.
std::string num(double v) {
    char buffer[64];
    const auto r = std::to_chars(buffer, buffer + sizeof buffer, v, std::chars_format::general, 10);
    return std::string(buffer, r.ptr);
}

std::string groupName(StatsPer per, std::int64_t key) {
    return per == StatsPer::Hour ? isoHour(key * kMsPerHour) : isoDay(key * kMsPerDay);
}

// The text and blanks up to the width, and at least one: a wide figure must not run into the
// next column.
std::string pad(std::string s, std::size_t width) {
    s.append(s.size() < width ? width - s.size() : 1, ' ');
    return s;
}

std::string seconds(std::int64_t ms) {
    return num(static_cast<double>(ms) / 1000);
}

text::Json jsonGroup(const StatsGroup& g, std::optional<double> price, UtcOffsets& offsets) {
    auto isoTime = [&](std::int64_t ms) { return timestamp(ms, offsets); };
    const bool any = g.records + g.lostLines > 0;
    const auto number = [](double v) { return text::jsonNumber(v, 10); };
    text::Json out;
    out["records"] = g.records;
    out["overloads"] = g.overloads;
    out["lost_lines"] = g.lostLines;
    out["lost_seconds"] = number(static_cast<double>(g.lostMs) / 1000);
    out["first"] = any ? text::Json(isoTime(g.firstMs)) : text::Json();
    out["last"] = any ? text::Json(isoTime(g.lastMs)) : text::Json();
    for (int i = 0; i < 4; ++i) {
        const QuantityStats& q = g.quantities[i];
        text::Json& v = out[kStatsNames[i]];
        v["count"] = q.count;
        if (q.count > 0) {
            v["min"] = number(q.minimum);
            v["min_time"] = isoTime(q.minimumTimeMs);
            v["max"] = number(q.maximum);
            v["max_time"] = isoTime(q.maximumTimeMs);
            v["mean"] = number(q.mean);
            v["sd"] = number(q.standardDeviation());
        }
    }
    out["energy_kWh"] = number(g.energyKWh);
    if (price)
        out["cost"] = number(g.energyKWh * *price);
    return out;
}

} // namespace

void QuantityStats::add(double value, std::int64_t timeMs) {
    if (count == 0 || value < minimum)
        minimum = value, minimumTimeMs = timeMs;
    if (count == 0 || value > maximum)
        maximum = value, maximumTimeMs = timeMs;
    ++count;
    const double delta = value - mean;
    mean += delta / static_cast<double>(count);
    m2 += delta * (value - mean);
}

double QuantityStats::standardDeviation() const {
    return count < 2 ? 0 : std::sqrt(m2 / static_cast<double>(count - 1));
}

StatsGroup& RecordingStats::groupAt(std::int64_t timeMs) {
    if (per_ == StatsPer::Whole)
        return spare_; // counted nowhere
    const std::int64_t key = floorDiv(timeMs, per_ == StatsPer::Hour ? kMsPerHour : kMsPerDay);
    // Records come in time order: most belong to the group of the one before.
    if (lastGroup_ == nullptr || key != lastKey_) {
        // Memory stays bounded whatever the file holds (a million distinct hours is half a
        // gigabyte of groups): past the cap, new groups are counted in no group, and said so.
        const auto found = groups_.find(key);
        if (found == groups_.end() && groups_.size() >= kMostGroups) {
            ++ungrouped_;
            return spare_;
        }
        lastGroup_ = found != groups_.end() ? &found->second : &groups_[key];
        lastKey_ = key;
    }
    return *lastGroup_;
}

void RecordingStats::touch(StatsGroup& g, std::int64_t timeMs) {
    if (g.records + g.lostLines == 0 || timeMs < g.firstMs)
        g.firstMs = timeMs;
    if (g.records + g.lostLines == 0 || timeMs > g.lastMs)
        g.lastMs = timeMs;
}

void RecordingStats::add(const Entry& e) {
    if (e.kind == EntryKind::Malformed) {
        ++malformed_;
        return;
    }
    if (e.kind == EntryKind::LostCommunication) {
        for (StatsGroup* g : {&whole_, &groupAt(e.timeMs)}) {
            touch(*g, e.timeMs);
            ++g->lostLines;
        }
        if (!inSpell_)
            inSpell_ = true, spellStartMs_ = e.timeMs;
        spellLastMs_ = e.timeMs;
        lostSincePrevious_ = true;
        return;
    }
    if (e.kind != EntryKind::Record)
        return;
    if (!havePrevious_)
        firstRecordMs_ = e.timeMs;
    if (inSpell_ && piece_ && !havePrevious_) {
        // It may have begun in the piece before: merge() closes it.
        openingSpell_ = true;
        openingStartMs_ = spellStartMs_;
        inSpell_ = false;
    } else if (inSpell_) {
        const std::int64_t silent = std::max<std::int64_t>(0, e.timeMs - spellStartMs_);
        whole_.lostMs += silent;
        groupAt(spellStartMs_).lostMs += silent;
        inSpell_ = false;
    }
    if (havePrevious_ && !lostSincePrevious_ && previousW_ && *previousW_ >= 0 &&
        e.timeMs > previousMs_) {
        const double kwh =
            *previousW_ * static_cast<double>(e.timeMs - previousMs_) / kWattMsPerKWh;
        whole_.energyKWh += kwh;
        groupAt(previousMs_).energyKWh += kwh;
    }
    // Without groups the spare one would only take the same work again.
    StatsGroup* const group = per_ == StatsPer::Whole ? nullptr : &groupAt(e.timeMs);
    for (StatsGroup* g : {&whole_, group}) {
        if (!g)
            continue;
        touch(*g, e.timeMs);
        ++g->records;
        g->overloads += e.overload;
        for (int i = 0; i < 4; ++i)
            if (const auto& v = e.values[kStatsQuantities[i]].number)
                g->quantities[i].add(*v, e.timeMs);
    }
    const auto& est = e.values[kQEstKWH].number;
    if (est && *est > 0 && e.cost.number)
        filePrice_ = *e.cost.number / *est;
    havePrevious_ = true;
    lostSincePrevious_ = false;
    previousMs_ = e.timeMs;
    previousW_ = e.values[kQW].number;
}

void QuantityStats::merge(const QuantityStats& later) {
    if (later.count == 0)
        return;
    if (count == 0) {
        *this = later;
        return;
    }
    if (later.minimum < minimum)
        minimum = later.minimum, minimumTimeMs = later.minimumTimeMs;
    if (later.maximum > maximum)
        maximum = later.maximum, maximumTimeMs = later.maximumTimeMs;
    // Mean and sum of squared deviations of the two parts together (Chan et al.).
    const double n = static_cast<double>(count), m = static_cast<double>(later.count);
    const double delta = later.mean - mean;
    mean += delta * m / (n + m);
    m2 += later.m2 + delta * delta * n * m / (n + m);
    count += later.count;
}

void StatsGroup::merge(const StatsGroup& later) {
    if (later.records + later.lostLines > 0) {
        if (records + lostLines == 0 || later.firstMs < firstMs)
            firstMs = later.firstMs;
        if (records + lostLines == 0 || later.lastMs > lastMs)
            lastMs = later.lastMs;
    }
    records += later.records;
    overloads += later.overloads;
    lostLines += later.lostLines;
    lostMs += later.lostMs;
    for (int i = 0; i < 4; ++i)
        quantities[i].merge(later.quantities[i]);
    energyKWh += later.energyKWh;
}

void RecordingStats::merge(const RecordingStats& next) {
    // The silent spell the next piece opens with (or the one still open here) ends at the
    // next piece's first record.
    const bool spellOpen = inSpell_ || next.openingSpell_ || (!next.havePrevious_ && next.inSpell_);
    const std::int64_t spellStart = inSpell_             ? spellStartMs_
                                    : next.openingSpell_ ? next.openingStartMs_
                                                         : next.spellStartMs_;
    if (next.havePrevious_) {
        if (spellOpen) {
            const std::int64_t silent = std::max<std::int64_t>(0, next.firstRecordMs_ - spellStart);
            whole_.lostMs += silent;
            groupAt(spellStart).lostMs += silent;
        }
        // Energy from this part's last record to the next one's first.
        if (havePrevious_ && !lostSincePrevious_ && !next.openingSpell_ && previousW_ &&
            *previousW_ >= 0 && next.firstRecordMs_ > previousMs_) {
            const double kwh = *previousW_ *
                               static_cast<double>(next.firstRecordMs_ - previousMs_) /
                               kWattMsPerKWh;
            whole_.energyKWh += kwh;
            groupAt(previousMs_).energyKWh += kwh;
        }
    }
    whole_.merge(next.whole_);
    for (const auto& [key, g] : next.groups_) {
        const auto found = groups_.find(key);
        if (found != groups_.end())
            found->second.merge(g);
        else if (groups_.size() < kMostGroups)
            groups_.emplace(key, g);
        else
            ungrouped_ += g.records + g.lostLines;
    }
    lastGroup_ = nullptr; // the map may have changed
    malformed_ += next.malformed_;
    ungrouped_ += next.ungrouped_;
    if (next.filePrice_)
        filePrice_ = next.filePrice_;
    if (next.havePrevious_) {
        havePrevious_ = true;
        lostSincePrevious_ = next.lostSincePrevious_;
        previousMs_ = next.previousMs_;
        previousW_ = next.previousW_;
        inSpell_ = next.inSpell_;
        spellStartMs_ = next.spellStartMs_;
        spellLastMs_ = next.spellLastMs_;
    } else if (next.inSpell_) {
        lostSincePrevious_ = true;
        inSpell_ = true;
        spellStartMs_ = spellStart;
        spellLastMs_ = next.spellLastMs_;
    }
}

void RecordingStats::finish() {
    if (!inSpell_)
        return;
    whole_.lostMs += spellLastMs_ - spellStartMs_;
    groupAt(spellStartMs_).lostMs += spellLastMs_ - spellStartMs_;
    inSpell_ = false;
}

std::string gatherStats(const std::string& path, int downloadYear, RecordingStats& stats,
                        const std::function<void(const Entry&)>& problem,
                        const PieceOptions& options) {
    PieceSlots<RecordingStats> slot(options, RecordingStats(stats.per()));
    const std::string error =
        readInPieces(path, downloadYear, 1u << kQW | 1u << kQPF | 1u << kQV | 1u << kQA, options,
                     {[&](std::size_t i) { slot[i] = RecordingStats::piece(stats.per()); },
                      [&](std::size_t i, const Entry& e) { slot[i].add(e); },
                      [&](std::size_t i, std::uint64_t) {
                          stats.merge(slot[i]);
                          slot[i] = RecordingStats(stats.per()); // its groups' memory goes now
                          return true;
                      },
                      problem,
                      {}});
    if (!error.empty())
        return error;
    stats.finish();
    return "";
}

std::string statsText(const std::string& file, const RecordingStats& s,
                      std::optional<double> price) {
    const StatsGroup& g = s.whole();
    std::string out = "file: " + file + "\n";
    out += "records: " + std::to_string(g.records);
    if (g.overloads > 0)
        out += " (" + std::to_string(g.overloads) + " with an overload)";
    out += "\nlost-communication lines: " + std::to_string(g.lostLines) + " (silent for " +
           durationText(g.lostMs) + ")\n";
    if (s.malformedLines() > 0)
        out += "malformed lines (left out): " + std::to_string(s.malformedLines()) + "\n";
    if (g.records + g.lostLines > 0)
        out += "first: " + isoTime(g.firstMs) + "\nlast: " + isoTime(g.lastMs) + "\n";
    out += "\n" + pad("", 4) + pad("minimum", 12) + pad("at", 24) + pad("maximum", 12) +
           pad("at", 24) + pad("mean", 14) + "standard deviation\n";
    for (int i = 0; i < 4; ++i) {
        const QuantityStats& q = g.quantities[i];
        out += pad(kStatsNames[i], 4);
        if (q.count == 0) {
            out += "(no values)\n";
            continue;
        }
        out += pad(num(q.minimum), 12) + pad(isoTime(q.minimumTimeMs), 24) +
               pad(num(q.maximum), 12) + pad(isoTime(q.maximumTimeMs), 24) + pad(num(q.mean), 14) +
               num(q.standardDeviation()) + "\n";
    }
    out += "\nenergy: " + num(g.energyKWh) + " kWh\n";
    if (price)
        out += "cost: " + num(g.energyKWh * *price) + " (at " + num(*price) + " per kWh)\n";
    if (s.per() == StatsPer::Whole)
        return out;
    const bool hours = s.per() == StatsPer::Hour;
    out += "\n" + pad(hours ? "hour" : "day", 15) + pad("records", 10) + pad("lost", 8) +
           pad("W min", 12) + pad("W max", 12) + pad("W mean", 14) + "kWh" +
           (price ? pad("", 11) + "cost" : "") + "\n";
    for (const auto& [key, d] : s.groups()) {
        const QuantityStats& w = d.quantities[0];
        out += pad(groupName(s.per(), key), 15) + pad(std::to_string(d.records), 10) +
               pad(std::to_string(d.lostLines), 8) + pad(w.count ? num(w.minimum) : "-", 12) +
               pad(w.count ? num(w.maximum) : "-", 12) + pad(w.count ? num(w.mean) : "-", 14) +
               (price ? pad(num(d.energyKWh), 14) + num(d.energyKWh * *price) : num(d.energyKWh)) +
               "\n";
    }
    return out;
}

std::string statsCsv(const RecordingStats& s, std::optional<double> price) {
    UtcOffsets offsets;
    auto isoTime = [&](std::int64_t ms) { return timestamp(ms, offsets); };
    std::string out = "scope,records,overloads,lost_lines,lost_seconds,first,last";
    for (const char* name : kStatsNames)
        for (const char* part : {"count", "min", "min_time", "max", "max_time", "mean", "sd"})
            out += std::string(",") + name + "_" + part;
    out += ",energy_kWh";
    if (price)
        out += ",cost";
    out += "\r\n";
    auto row = [&](const std::string& scope, const StatsGroup& g) {
        const bool any = g.records + g.lostLines > 0;
        out += scope + "," + std::to_string(g.records) + "," + std::to_string(g.overloads) + "," +
               std::to_string(g.lostLines) + "," + seconds(g.lostMs) + "," +
               (any ? isoTime(g.firstMs) : "") + "," + (any ? isoTime(g.lastMs) : "");
        for (const QuantityStats& q : g.quantities) {
            out += "," + std::to_string(q.count);
            if (q.count == 0) {
                out += ",,,,,,";
                continue;
            }
            out += "," + num(q.minimum) + "," + isoTime(q.minimumTimeMs) + "," + num(q.maximum) +
                   "," + isoTime(q.maximumTimeMs) + "," + num(q.mean) + "," +
                   num(q.standardDeviation());
        }
        out += "," + num(g.energyKWh);
        if (price)
            out += "," + num(g.energyKWh * *price);
        out += "\r\n";
    };
    row("all", s.whole());
    for (const auto& [key, g] : s.groups())
        row(groupName(s.per(), key), g);
    return out;
}

std::string statsJson(const std::string& file, const RecordingStats& s,
                      std::optional<double> price) {
    UtcOffsets offsets;
    text::Json out;
    out["file"] = file;
    out["malformed_lines"] = s.malformedLines();
    if (price)
        out["price_per_kWh"] = text::jsonNumber(*price, 10);
    out["all"] = jsonGroup(s.whole(), price, offsets);
    if (s.per() != StatsPer::Whole) {
        text::Json& groups = out[s.per() == StatsPer::Hour ? "per_hour" : "per_day"];
        groups = text::Json::array();
        for (const auto& [key, g] : s.groups())
            groups.push_back(
                {{"scope", groupName(s.per(), key)}, {"stats", jsonGroup(g, price, offsets)}});
    }
    // Each quantity's figures on one line; a day or an hour on one line of its own.
    return text::layoutJson(out, 2);
}

} // namespace pa::datafile
