#pragma once
// The wall clock for readouts and a monotonic clock for pauses.
#include "app/clock.h"

namespace pa::qt {

class QtClock : public app::Clock {
  public:
    double secondsSinceMidnight() override;
    app::DateTime now() override;
    // A busy wait in the protocol's sense (no events served); it sleeps in 1 ms steps so as
    // not to burn a core.
    void pause(double seconds) override;
};

} // namespace pa::qt
