#include "support/fake_clock.h"

#include <cmath>

namespace pa::testing {

double FakeClock::secondsSinceMidnight() {
    t_ += costPerReading_;
    return std::fmod(t_, 86400.0);
}

app::DateTime FakeClock::now() {
    const double s = std::fmod(t_, 86400.0);
    app::DateTime d{2026, 11, 22, 0, 0, 0};
    d.hour = static_cast<int>(s / 3600);
    d.minute = static_cast<int>(std::fmod(s, 3600) / 60);
    d.second = std::fmod(s, 60);
    return d;
}

} // namespace pa::testing
