// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Time as the protocol uses it: seconds since midnight for pacing, the calendar for the
// readouts and the files, and the busy-wait pause between protocol steps.
namespace pa::app {

struct DateTime {
    int year = 2000, month = 1, day = 1;
    int hour = 0, minute = 0;
    double second = 0.0; // with its fraction
};

class Clock {
  public:
    virtual ~Clock() = default;
    virtual double secondsSinceMidnight() = 0;
    virtual DateTime now() = 0;
    // Waits the given number of seconds without serving the user interface.
    virtual void pause(double seconds) = 0;
};

} // namespace pa::app
