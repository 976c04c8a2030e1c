// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The load survey as plain text and as JSON.
#include "report/load_survey.h"
#include "report/survey_format.h"
#include "text/json_text.h"

#include <charconv>
#include <cmath>

namespace pa::report {
namespace {

using text::Json;

using datafile::isoDay;
using datafile::isoTime;

constexpr const char* kNotEnough = "not enough data";

// ---- JSON ----

// Ten significant digits at most; null when missing or not finite.
Json jsonNumber(const std::optional<double>& v) {
    return text::jsonNumber(v, 10);
}

// A JSON time stamp: milliseconds and the UTC offset of its date, as the CSV export writes.
Json jsonTime(std::int64_t ms) {
    datafile::UtcOffsets offsets;
    return datafile::timestamp(ms, offsets);
}

// Members of an object, in the order they are added.
class Object {
  public:
    Object& raw(const std::string& name, Json value) {
        json_[name] = std::move(value);
        return *this;
    }
    Object& num(const std::string& name, const std::optional<double>& v) {
        return raw(name, jsonNumber(v));
    }
    Object& count(const std::string& name, std::uint64_t v) { return raw(name, v); }
    Object& text(const std::string& name, const std::string& v) { return raw(name, v); }
    Object& time(const std::string& name, const std::optional<std::int64_t>& t) {
        return raw(name, t ? jsonTime(*t) : Json());
    }
    const Json& json() const { return json_; }

  private:
    Json json_ = Json::object();
};

Json timedJson(const std::optional<TimedValue>& t, const char* unit) {
    if (!t)
        return nullptr;
    return Object().raw("start", jsonTime(t->timeMs)).num(unit, t->value).json();
}

Json runsJson(const std::vector<VoltageRun>& runs) {
    Json items = Json::array();
    for (const VoltageRun& r : runs)
        items.push_back(Object()
                            .raw("start", jsonTime(r.startMs))
                            .num("seconds", r.seconds)
                            .num("extreme", r.extreme)
                            .json());
    return items;
}

// ---- Text ----

std::string orNot(const std::optional<double>& v, int decimals, const char* unit = "") {
    return v ? fixed(*v, decimals) + unit : kNotEnough;
}

std::string share(const std::optional<double>& v) {
    return v ? fixed(*v * 100, 1) + " %" : kNotEnough;
}

std::string pad(std::string s, std::size_t width) {
    if (s.size() < width)
        s.append(width - s.size(), ' ');
    return s;
}

} // namespace

std::string surveyJson(const Survey& s) {
    Json files = Json::array();
    for (const std::string& f : s.files)
        files.push_back(f);

    Object period;
    period.time("first", s.firstMs).time("last", s.lastMs).count("records", s.records);
    period.count("lost_lines", s.lostLines).num("lost_seconds", s.lostMs / 1000.0);

    Object energy;
    energy.num("kWh", s.kWh);
    if (s.price)
        energy.num("cost", s.kWh ? s.cost(*s.kWh) : std::nullopt);
    energy.num("mean_W", s.meanW)
        .num("max_W", s.maxW ? std::optional(s.maxW->value) : std::nullopt);
    energy.time("max_W_time", s.maxW ? std::optional(s.maxW->timeMs) : std::nullopt);

    Json days = Json::array();
    for (const DaySummary& d : s.days) {
        Object day;
        day.text("date", isoDay(d.day * 86'400'000)).num("kWh", d.kWh);
        if (s.price)
            day.num("cost", s.cost(d.kWh));
        day.num("max_W", d.maxW ? std::optional(d.maxW->value) : std::nullopt);
        day.time("max_W_time", d.maxW ? std::optional(d.maxW->timeMs) : std::nullopt);
        day.num("min_V", d.minV).num("max_V", d.maxV);
        days.push_back(day.json());
    }

    Object demand;
    demand.count("intervals", s.demandIntervals);
    if (s.peaks.empty()) {
        demand.raw("peaks", nullptr);
    } else {
        Json peaks = Json::array();
        for (const TimedValue& p : s.peaks)
            peaks.push_back(timedJson(p, "W"));
        demand.raw("peaks", peaks);
    }
    demand.num("load_factor", s.loadFactor);

    Object duration;
    static constexpr const char* kNames[] = {"p1", "p10", "p50", "p90", "p99"};
    for (std::size_t i = 0; i < 5; ++i)
        duration.num(kNames[i], s.exceeded ? std::optional((*s.exceeded)[i]) : std::nullopt);

    Object pf;
    Json bands = Json::array();
    for (int i = 0; i < kPfBands; ++i)
        bands.push_back(Object()
                            .num("from", i * 0.05)
                            .num("to", (i + 1) * 0.05)
                            .num("hours", s.pfHours[static_cast<std::size_t>(i)])
                            .json());
    pf.raw("hours", bands);
    pf.num("hours_below_0.90", s.hoursBelow090).num("kVARh_below_0.90", s.kVARhBelow090);

    Object voltage;
    voltage.text("note", std::string(kVoltageNote));
    voltage.num("nominal", s.options.nominalV).count("ten_minute_means", s.tenMinuteMeans);
    voltage.num("share_within_10pct", s.shareWithin10);
    voltage.num("share_within_plus10_minus15", s.shareWithinPlus10Minus15);
    voltage.raw("lowest", timedJson(s.lowestMean, "V"));
    voltage.raw("highest", timedJson(s.highestMean, "V"));
    voltage.raw("dips", runsJson(s.dips)).count("dips_total", s.dipCount);
    voltage.raw("swells", runsJson(s.swells)).count("swells_total", s.swellCount);

    Object capacitor;
    capacitor.text("note", std::string(kCapacitorNote));
    capacitor.num("target_pf", s.options.targetPf).num("hz", s.options.hz);
    capacitor.num("uF_p50", s.uFp50).num("uF_p90", s.uFp90).num("uF_p95", s.uFp95);
    capacitor.num("uF_max", s.uFmax).num("recommended_uF", s.recommendeduF);
    capacitor.num("share_reaching_target", s.shareReachingTarget);
    capacitor.num("share_overcompensated", s.shareOvercompensated);

    Object root;
    root.raw("files", files).count("malformed_lines", s.malformedLines);
    if (s.price)
        root.num("price_per_kWh", s.price);
    root.raw("period", period.json()).raw("energy", energy.json()).raw("days", days);
    root.raw("demand", demand.json()).raw("load_duration", duration.json()).raw("pf", pf.json());
    root.raw("voltage", voltage.json()).raw("capacitor", capacitor.json());
    // A day on lines of its own; a peak, a band or a dip on one line.
    return text::layoutJson(root.json(), 3);
}

std::string surveyText(const Survey& s) {
    std::string out = "Load survey\n";
    for (const std::string& f : s.files)
        out += "file: " + f + "\n";
    if (s.malformedLines > 0)
        out += "malformed lines (left out): " + std::to_string(s.malformedLines) + "\n";
    out += "\nPeriod\n";
    out += "  first: " + (s.firstMs ? isoTime(*s.firstMs) : kNotEnough) + "\n";
    out += "  last: " + (s.lastMs ? isoTime(*s.lastMs) : kNotEnough) + "\n";
    out += "  records: " + std::to_string(s.records) + "\n";
    out += "  lost-communication lines: " + std::to_string(s.lostLines) + " (silent for " +
           datafile::durationText(s.lostMs) + ")\n";

    out += "\nEnergy\n  energy: " + orNot(s.kWh, 3, " kWh") + "\n";
    if (s.price && s.kWh)
        out +=
            "  cost: " + fixed(*s.cost(*s.kWh), 2) + " (at " + fixed(*s.price, 4) + " per kWh)\n";
    out += "  mean power: " + orNot(s.meanW, 1, " W") + "\n";
    out += "  highest power: " +
           (s.maxW ? fixed(s.maxW->value, 1) + " W at " + isoTime(s.maxW->timeMs) : kNotEnough) +
           "\n";

    out += "\nDays\n  " + pad("date", 12) + pad("kWh", 12) + (s.price ? pad("cost", 10) : "") +
           pad("max W", 10) + pad("at", 21) + pad("min V", 8) + "max V\n";
    for (const DaySummary& d : s.days) {
        out += "  " + pad(isoDay(d.day * 86'400'000), 12) + pad(fixed(d.kWh, 3), 12);
        if (s.price)
            out += pad(fixed(*s.cost(d.kWh), 2), 10);
        out += pad(d.maxW ? fixed(d.maxW->value, 1) : "-", 10) +
               pad(d.maxW ? isoTime(d.maxW->timeMs) : "-", 21) +
               pad(d.minV ? fixed(*d.minV, 1) : "-", 8) + (d.maxV ? fixed(*d.maxV, 1) : "-") + "\n";
    }

    out += "\n15-minute demand (" + std::to_string(s.demandIntervals) + " intervals)\n";
    if (s.peaks.empty())
        out += "  peaks: " + std::string(kNotEnough) + "\n";
    for (const TimedValue& p : s.peaks)
        out += "  " + fixed(p.value, 1) + " W from " + isoTime(p.timeMs) + "\n";
    out += "  load factor: " + orNot(s.loadFactor, 3) + "\n";

    out += "\nLoad duration (W exceeded for a share of the time)\n";
    static constexpr const char* kShares[] = {"1 %", "10 %", "50 %", "90 %", "99 %"};
    for (std::size_t i = 0; i < 5; ++i)
        out += "  " + pad(kShares[i], 6) +
               (s.exceeded ? fixed((*s.exceeded)[i], 1) + " W" : kNotEnough) + "\n";

    out += "\nPower factor (hours per band)\n";
    for (int i = 0; i < kPfBands; ++i)
        if (const double h = s.pfHours[static_cast<std::size_t>(i)]; h > 0)
            out += "  " + fixed(i * 0.05, 2) + "-" + fixed((i + 1) * 0.05, 2) + "  " + fixed(h, 3) +
                   " h\n";
    out += "  below 0.90: " + orNot(s.hoursBelow090, 3, " h") + ", " +
           orNot(s.kVARhBelow090, 3, " kVARh") + "\n";

    out += "\nVoltage (" + std::string(kVoltageNote) + ")\n";
    out += "  nominal: " + fixed(s.options.nominalV, 1) + " V\n";
    out += "  10-minute means: " + std::to_string(s.tenMinuteMeans) + "\n";
    out += "  within +/-10 %: " + share(s.shareWithin10) + "\n";
    out += "  within +10 % / -15 %: " + share(s.shareWithinPlus10Minus15) + "\n";
    for (const auto& [name, m] : {std::pair{"lowest", &s.lowestMean}, {"highest", &s.highestMean}})
        out += std::string("  ") + name + " mean: " +
               (*m ? fixed((*m)->value, 1) + " V from " + isoTime((*m)->timeMs) : kNotEnough) +
               "\n";
    for (const auto& [name, runs, total] :
         {std::tuple{"dips", &s.dips, s.dipCount}, {"swells", &s.swells, s.swellCount}}) {
        out += std::string("  ") + name + ": " + std::to_string(total) +
               (total > runs->size() ? " (the first " + std::to_string(runs->size()) + " listed)"
                                     : "") +
               "\n";
        for (const VoltageRun& r : *runs)
            out += "    " + isoTime(r.startMs) + "  " + fixed(r.seconds, 1) + " s  " +
                   fixed(r.extreme, 1) + " V\n";
    }

    out += "\nCapacitor for PF " + fixed(s.options.targetPf, 2) + " at " + fixed(s.options.hz, 0) +
           " Hz\n";
    out += "  needed (50/90/95 % of the time, most): " + orNot(s.uFp50, 1) + " / " +
           orNot(s.uFp90, 1) + " / " + orNot(s.uFp95, 1) + " / " + orNot(s.uFmax, 1, " uF") + "\n";
    out += "  recommended: " + orNot(s.recommendeduF, 1, " uF") + "\n";
    out += "  with it: target reached " + share(s.shareReachingTarget) +
           " of the time, overcompensated " + share(s.shareOvercompensated) + "\n";
    out += "  " + std::string(kCapacitorNote) + "\n";
    return out;
}

} // namespace pa::report
