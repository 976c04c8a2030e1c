// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// A virtual clock: pauses advance it at once, so protocol waits cost no real time. Its date
// is 2026-11-22 and moves on one day each time the clock passes midnight.
#include "app/clock.h"

#include <chrono>
#include <cmath>
#include <functional>

namespace pa::testing {

class FakeClock : public app::Clock {
  public:
    explicit FakeClock(double secondsSinceMidnight = 12 * 3600.0) : t_(secondsSinceMidnight) {}

    double secondsSinceMidnight() override {
        t_ += costPerReading_;
        return std::fmod(t_, 86400.0);
    }
    // Day 0 is 2026-11-22; running the clock past midnight moves on to the next date.
    app::DateTime now() override {
        using namespace std::chrono;
        const double s = std::fmod(t_, 86400.0);
        const year_month_day date{sys_days{2026y / November / 22} +
                                  days{static_cast<int>(std::floor(t_ / 86400.0))}};
        const auto whole = [](auto n) { return static_cast<int>(n); };
        return {whole(date.year()), whole(unsigned(date.month())),  whole(unsigned(date.day())),
                whole(s / 3600),    whole(std::fmod(s, 3600) / 60), std::fmod(s, 60)};
    }
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
