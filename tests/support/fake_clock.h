// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// A virtual clock: pauses advance it at once, so protocol waits cost no real time. Its date
// is 2026-11-22 and moves on one day each time the clock passes midnight.
#include "app/clock.h"

#include <functional>

namespace pa::testing {

class FakeClock : public app::Clock {
  public:
    explicit FakeClock(double secondsSinceMidnight = 12 * 3600.0) : t_(secondsSinceMidnight) {}

    double secondsSinceMidnight() override;
    app::DateTime now() override;
    void pause(double seconds) override { advance(seconds); }

    void advance(double seconds) { t_ += seconds; }
    void set(double secondsSinceMidnight) { t_ = secondsSinceMidnight; }
    // Added to the clock at every reading: models work that takes time (a slow PC).
    void setCostPerReading(double seconds) { costPerReading_ = seconds; }

  private:
    double t_;
    double costPerReading_ = 0;
};

} // namespace pa::testing
