// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Turns the live cycle's readouts into trend samples: one per new clock text, as the cycle
// integrates energy and records. The values are the displayed texts read as numbers; a
// display showing "OL", "-OL", "Init" or HOLD gives a gap, and so does every sample time
// while the instrument is silent (NO COM), so that the line breaks instead of dropping to
// zero. VA and VAR, which the cycle computes from V and A, are gaps when those are. While the
// readings are held still (Get Hz, the datalogger, the viewer) the chart is told the pause's
// start and end, each a gap, so that the line never bridges the time nothing was read.
#include "app/clock.h"
#include "live/live_cycle.h"
#include "trend/trend_store.h"

#include <string>

namespace pa::trend {

// What the main window knows after a poll tick.
struct PollState {
    const live::Readouts& readouts;
    bool noData = false; // the NO COM state of the cycle
    bool framed = false; // this tick decoded a frame
    app::DateTime now;   // the calendar, for the date of the clock text
};

enum class Added { Nothing, Sample, Gap };

class TrendFeed {
  public:
    explicit TrendFeed(TrendStore& store) : store_(store) {}
    Added afterPoll(const PollState& poll);
    // A gap marking the start or end of a pause of the readings at a calendar time.
    void pauseEdge(const app::DateTime& now);

  private:
    Values valuesOf(const live::Readouts& readouts);

    TrendStore& store_;
    std::string lastClock_; // the clock text of the last sample or gap
    std::string lastHz_;    // the Hz panel's text at the last sample
};

// The displayed text as a value, or a gap for "OL", "-OL", "Init", "?" and an empty text.
float valueOfText(const std::string& text);
// The time of a clock text hh:mm:ss.s on the day of now (the day before when the text is
// from just before midnight and now just after).
double timeOf(const std::string& clockText, const app::DateTime& now);
// The time of a calendar date and clock time, in the same seconds.
double timeOf(const app::DateTime& when);

} // namespace pa::trend
