// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The alarm evaluator: a pure state machine per alarm. It takes samples (a time in seconds on
// any steady clock and the value of every quantity) and returns the events they cause.
//
// An alarm is raised once its condition has held without a break for its `for` seconds, and
// cleared as soon as the value is back past the limit by the hysteresis, so that noise around
// a limit raises one alarm, not a hundred. A quantity the sample does not have (a frequency
// before it was measured, an overload text where a number is wanted) neither raises nor
// clears an alarm and leaves its delay running as it was. The "reading" quantity is the time
// since the instrument last answered: silent_for is raised while the line is silent for that
// long and cleared by the first answer.
#include "alarms/alarm_set.h"
#include "live/energy_cost.h"
#include "live/live_cycle.h"

#include <array>
#include <optional>
#include <vector>

namespace pa::alarms {

struct Sample {
    double time = 0;       // seconds, steady
    bool answered = false; // a frame came with this sample (false: a silent poll)
    std::array<std::optional<double>, kQuantities> value{};
    std::array<bool, kQuantities> overload{}; // the panel shows OL or -OL
};

// The sample of the cycle's readouts: numbers where the panels show them; VA and VAR only
// where what they are derived from is a number; cost_per_day is the price of the energy at
// the present power over the hours a day given (24 when none are).
Sample sampleFrom(const live::Readouts& readouts, const live::EnergyCost& energy, double time,
                  bool answered);

enum class EventKind { Raised, Cleared, Acknowledged };
std::string_view eventName(EventKind kind); // "raised", "cleared", "acknowledged"

struct Event {
    int alarm = 0; // index in the set
    EventKind kind = EventKind::Raised;
    double value = 0;
    double time = 0;
};

// What the banner lists: each alarm raised, and each one that cleared but was not yet
// acknowledged.
struct AlarmState {
    bool raised = false;
    bool acknowledged = true; // false from raising until acknowledged
    double value = 0;         // that raised it, or the last while raised
    double raisedAt = 0;
    bool listed() const { return raised || !acknowledged; }
};

class Evaluator {
  public:
    explicit Evaluator(AlarmSet set);
    const AlarmSet& set() const { return set_; }
    const std::vector<AlarmState>& states() const { return states_; }

    // Appends the events of one sample to events (cleared first, so that it is reused).
    void step(const Sample& sample, std::vector<Event>& events);
    // Acknowledges every listed alarm: those that cleared leave the list.
    void acknowledgeAll(double time, std::vector<Event>& events);

  private:
    struct Track {
        bool pending = false;
        double since = 0;
    };
    AlarmSet set_;
    std::vector<AlarmState> states_;
    std::vector<Track> tracks_;
    double lastAnswer_ = 0;
    bool started_ = false;
};

} // namespace pa::alarms
