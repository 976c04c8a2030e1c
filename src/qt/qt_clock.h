// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The wall clock for readouts and a monotonic clock for pauses.
#include "app/clock.h"

namespace pa::qt {

class QtClock : public app::Clock {
  public:
    double secondsSinceMidnight() override;
    app::DateTime now() override;
    // A busy wait in the protocol's sense: the user's keys and clicks wait until it is over,
    // but windows keep painting (and the desktop sees a program that answers), since every
    // other event is served. It sleeps in 1 ms steps so as not to burn a core.
    void pause(double seconds) override;
};

} // namespace pa::qt
