// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The live cycle's two timers: Timer1, the sample clock, and Timer2, the poll. The link
// switches both together (SetLiveSampling), and the cycle suspends and resumes through it.
#include "app/meter_link.h"
#include "live/live_cycle.h"

#include <QTimer>

namespace pa::qt {

// Sets the start intervals and wires the link's timer switch and the cycle's suspend/resume.
// The caller connects the timers' timeouts to the cycle's ticks and to what it shows.
void wireLiveTimers(QTimer& timer1, QTimer& timer2, app::MeterLink& link, live::LiveCycle& cycle);

} // namespace pa::qt
