// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "qt/live_timers.h"

namespace pa::qt {

void wireLiveTimers(QTimer& timer1, QTimer& timer2, app::MeterLink& link, live::LiveCycle& cycle) {
    timer1.setInterval(live::kFirstSampleMs);
    timer1.setTimerType(Qt::PreciseTimer);
    timer2.setInterval(live::kPollMs);
    link.setTimerSwitch([&timer1, &timer2](bool on) {
        if (on) {
            timer1.start();
            timer2.start();
        } else {
            timer1.stop();
            timer2.stop();
        }
    });
    cycle.setLiveSampling([&link](int on) { link.SetLiveSampling(on); });
    cycle.setPortReset([&link] { link.ReopenPort(); });
}

} // namespace pa::qt
