// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "pfimprove/hz_wait.h"

#include "text/leading_number.h"

namespace pa::pfimprove {
namespace {

constexpr double kSecondsPerDay = 86400;

double secondsSince(app::Clock& clock, double start) {
    double elapsed = clock.secondsSinceMidnight() - start;
    if (elapsed < 0)
        elapsed += kSecondsPerDay; // the wait crossed midnight
    return elapsed;
}

} // namespace

bool PrepareHz(live::LiveCycle& cycle, app::Clock& clock, app::Ui& ui,
               const std::function<void()>& sampleOnce) {
    // First the frequency measurement, then the wait box for the time a live frequency
    // may still take to arrive.
    cycle.GetHz();
    ui.statusCaption("Getting Hz");
    ui.statusText("   Wait...");
    ui.statusShow();
    ui.processEvents();

    const std::string& hz = cycle.readouts().Panel3D2[live::kHz];
    const double start = clock.secondsSinceMidnight();
    while (hz.empty() && secondsSince(clock, start) < kHzWaitSeconds) {
        if (sampleOnce)
            sampleOnce();
        ui.processEvents();
        clock.pause(kHzWaitStep);
    }
    ui.statusHide();

    if (text::leadingNumber(hz) == 0) {
        ui.message(kNoHzMessage, "", app::Icon::Exclamation, app::Buttons::Ok);
        return false;
    }
    return true;
}

} // namespace pa::pfimprove
