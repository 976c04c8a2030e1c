// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "trend/trend_feed.h"

#include "text/leading_number.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace pa::trend {

float valueOfText(const std::string& text) {
    if (text.find_first_not_of(' ') == std::string::npos || text.find("OL") != std::string::npos ||
        text == "Init" || text == "?")
        return kGap;
    const double v = text::leadingNumber(text);
    // A text too large for the ring's numbers is no reading either.
    if (!(std::abs(v) <= std::numeric_limits<float>::max()))
        return kGap;
    return static_cast<float>(v);
}

double timeOf(const std::string& clockText, const app::DateTime& now) {
    const double seconds = text::leadingNumber(clockText.substr(0, 2)) * 3600 +
                           text::leadingNumber(clockText.substr(3, 2)) * 60 +
                           text::leadingNumber(clockText.substr(6));
    const double nowSeconds = now.hour * 3600.0 + now.minute * 60.0 + now.second;
    double day = dayStart(now.year, now.month, now.day);
    // Set just before midnight, read just after: the text belongs to the day before.
    if (seconds - nowSeconds > 12 * 3600.0)
        day -= 86400;
    return day + seconds;
}

double timeOf(const app::DateTime& when) {
    return dayStart(when.year, when.month, when.day) + when.hour * 3600.0 + when.minute * 60.0 +
           when.second;
}

void TrendFeed::pauseEdge(const app::DateTime& now) {
    store_.appendGap(timeOf(now), Status::Paused);
}

Values TrendFeed::valuesOf(const live::Readouts& r) {
    const auto& p = r.Panel3D2;
    Values v;
    v[kW] = valueOfText(p[live::kW]);
    v[kPF] = valueOfText(p[live::kPF]);
    v[kV] = valueOfText(p[live::kV]);
    v[kA] = valueOfText(p[live::kA]);
    const bool measured = !std::isnan(v[kV]) && !std::isnan(v[kA]);
    v[kVA] = measured ? valueOfText(p[live::kVA]) : kGap;
    v[kVAR] = measured && !std::isnan(v[kW]) ? valueOfText(p[live::kVAR]) : kGap;
    // The frequency comes only with Get Hz: a point where a new reading arrived, none where
    // the panel still shows an old one.
    v[kHz] = p[live::kHz] != lastHz_ ? valueOfText(p[live::kHz]) : kGap;
    lastHz_ = p[live::kHz];
    v[kAngle] = valueOfText(p[live::kAngle]);
    v[kKWH] = valueOfText(p[live::kKWH]);
    return v;
}

Added TrendFeed::afterPoll(const PollState& poll) {
    const std::string& clock = poll.readouts.clockText;
    if (clock.size() < 10 || clock == lastClock_)
        return Added::Nothing;
    const double time = timeOf(clock, poll.now);
    if (poll.noData) {
        lastClock_ = clock;
        store_.appendGap(time, Status::NoCom);
        return Added::Gap;
    }
    if (!poll.framed)
        return Added::Nothing;
    lastClock_ = clock;
    if (poll.readouts.holdVisible) {
        // The instrument holds its display: no new reading, as in a pause.
        store_.appendGap(time, Status::Paused);
        return Added::Gap;
    }
    const auto& panels = poll.readouts.Panel3D2;
    const bool overload = std::any_of(panels.begin(), panels.begin() + live::kKWH + 1,
                                      [](const std::string& t) { return t.find("OL") != t.npos; });
    store_.append(time, valuesOf(poll.readouts), overload ? Status::Overload : Status::Ok);
    return Added::Sample;
}

} // namespace pa::trend
