// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "support/fake_clock.h"

#include <chrono>
#include <cmath>

namespace pa::testing {

double FakeClock::secondsSinceMidnight() {
    t_ += costPerReading_;
    return std::fmod(t_, 86400.0);
}

app::DateTime FakeClock::now() {
    using namespace std::chrono;
    // Day 0 is 2026-11-22; running the clock past midnight moves on to the next date.
    const double s = std::fmod(t_, 86400.0);
    const year_month_day date{sys_days{2026y / November / 22} +
                              days{static_cast<int>(std::floor(t_ / 86400.0))}};
    const auto whole = [](auto n) { return static_cast<int>(n); };
    return {whole(date.year()), whole(unsigned(date.month())),  whole(unsigned(date.day())),
            whole(s / 3600),    whole(std::fmod(s, 3600) / 60), std::fmod(s, 60)};
}

} // namespace pa::testing
