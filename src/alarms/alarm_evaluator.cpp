// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "alarms/alarm_evaluator.h"

#include "live/mqtt_messages.h"

namespace pa::alarms {
namespace {

enum class Verdict { Holds, Clears, Unknown, Neither };

bool isOverloadText(std::string_view text) {
    while (!text.empty() && text.front() == ' ')
        text.remove_prefix(1);
    while (!text.empty() && text.back() == ' ')
        text.remove_suffix(1);
    return text == "OL" || text == "-OL";
}

// Whether the raw condition holds and, for a raised alarm, whether the value is back past
// the limit by the hysteresis.
Verdict judge(const Alarm& a, double v, bool raised) {
    const double h = raised ? a.hysteresis : 0;
    bool holds = false, clears = false;
    switch (a.condition) {
    case Condition::Above:
    case Condition::SilentFor:
        holds = v > a.low;
        clears = v <= a.low - h;
        break;
    case Condition::Below:
        holds = v < a.high;
        clears = v >= a.high + h;
        break;
    case Condition::Outside:
        holds = v < a.low || v > a.high;
        clears = v >= a.low + h && v <= a.high - h;
        break;
    case Condition::Inside:
        holds = v >= a.low && v <= a.high;
        clears = v < a.low - h || v > a.high + h;
        break;
    case Condition::Overload:
        break;
    }
    if (holds)
        return Verdict::Holds;
    return clears ? Verdict::Clears : Verdict::Neither;
}

} // namespace

Sample sampleFrom(const live::Readouts& r, const live::EnergyCost& energy, double time,
                  bool answered) {
    Sample s;
    s.time = time;
    s.answered = answered;
    if (!answered)
        return s;
    const struct {
        Quantity q;
        int panel;
    } panels[] = {
        {Quantity::W, live::kW},         {Quantity::PF, live::kPF}, {Quantity::V, live::kV},
        {Quantity::A, live::kA},         {Quantity::VA, live::kVA}, {Quantity::VAR, live::kVAR},
        {Quantity::Angle, live::kAngle}, {Quantity::Hz, live::kHz}, {Quantity::KWh, live::kKWH}};
    for (const auto& p : panels) {
        const int q = static_cast<int>(p.q);
        s.value[q] = live::panelNumber(r.Panel3D2[p.panel]);
        s.overload[q] = isOverloadText(r.Panel3D2[p.panel]);
    }
    auto& v = s.value;
    const auto at = [](Quantity q) { return static_cast<int>(q); };
    // VA and VAR of an overloaded reading are not measurements; nor is the angle of an
    // overloaded power factor.
    if (!v[at(Quantity::V)] || !v[at(Quantity::A)])
        v[at(Quantity::VA)].reset();
    if (!v[at(Quantity::VA)] || !v[at(Quantity::W)])
        v[at(Quantity::VAR)].reset();
    s.overload[at(Quantity::VA)] = s.overload[at(Quantity::V)] || s.overload[at(Quantity::A)];
    s.overload[at(Quantity::Angle)] = s.overload[at(Quantity::PF)];
    if (const auto w = v[at(Quantity::W)]) {
        const double hours = energy.hoursPerDay() > 0 ? energy.hoursPerDay() : 24.0;
        v[at(Quantity::CostPerDay)] = energy.price() * (*w / 1000.0) * hours;
    }
    return s;
}

std::string_view eventName(EventKind kind) {
    switch (kind) {
    case EventKind::Raised:
        return "raised";
    case EventKind::Cleared:
        return "cleared";
    case EventKind::Acknowledged:
        return "acknowledged";
    }
    return "";
}

Evaluator::Evaluator(AlarmSet set)
    : set_(std::move(set)), states_(set_.alarms.size()), tracks_(set_.alarms.size()) {}

void Evaluator::step(const Sample& s, std::vector<Event>& events) {
    events.clear();
    if (!started_ || s.answered)
        lastAnswer_ = s.time;
    started_ = true;
    for (std::size_t i = 0; i < set_.alarms.size(); ++i) {
        const Alarm& a = set_.alarms[i];
        AlarmState& state = states_[i];
        Track& track = tracks_[i];
        const int q = static_cast<int>(a.quantity);
        double value = 0;
        Verdict verdict = Verdict::Unknown;
        if (a.condition == Condition::SilentFor) {
            value = s.time - lastAnswer_;
            verdict = s.answered ? Verdict::Clears : judge(a, value, state.raised);
        } else if (a.condition == Condition::Overload) {
            if (s.answered && s.value[q]) {
                value = *s.value[q];
                verdict = Verdict::Clears;
            } else if (s.overload[q]) {
                verdict = Verdict::Holds;
            }
        } else if (s.value[q]) {
            value = *s.value[q];
            verdict = judge(a, value, state.raised);
        }

        if (verdict == Verdict::Unknown)
            continue;
        if (state.raised) {
            if (verdict == Verdict::Clears) {
                state.raised = false;
                state.value = value;
                track.pending = false;
                events.push_back({static_cast<int>(i), EventKind::Cleared, value, s.time});
            } else {
                state.value = value;
            }
            continue;
        }
        if (verdict != Verdict::Holds) {
            track.pending = false;
            continue;
        }
        if (!track.pending) {
            track.pending = true;
            track.since = s.time;
        }
        // Silence counts from the last answer, not from the first silent poll.
        const double held = a.condition == Condition::SilentFor ? 0 : s.time - track.since;
        if (held + 1e-9 >= a.forSeconds) {
            state.raised = true;
            state.acknowledged = false;
            state.value = value;
            state.raisedAt = s.time;
            events.push_back({static_cast<int>(i), EventKind::Raised, value, s.time});
        }
    }
}

void Evaluator::acknowledgeAll(double time, std::vector<Event>& events) {
    events.clear();
    for (std::size_t i = 0; i < states_.size(); ++i) {
        AlarmState& state = states_[i];
        if (state.acknowledged)
            continue;
        state.acknowledged = true;
        events.push_back({static_cast<int>(i), EventKind::Acknowledged, state.value, time});
    }
}

} // namespace pa::alarms
