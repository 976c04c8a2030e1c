// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Before the PF improvement window opens it needs the line frequency: it runs Get Hz, then
// shows the small wait box and, while the Hz readout is still empty, keeps the live cycle
// running for up to 5 s in case a live frequency reading arrives.
#include "app/clock.h"
#include "app/ui.h"
#include "live/live_cycle.h"

#include <functional>

namespace pa::pfimprove {

inline constexpr double kHzWaitSeconds = 5.0;
inline constexpr double kHzWaitStep = 0.05; // between two yields to the interface
inline constexpr const char* kNoHzMessage = "0 Hz, Can not improve PF of a DC system";

// Returns true when a frequency other than 0 is shown and the window may open; otherwise the
// user has been told why not. sampleOnce runs one sampling cycle while the live timers are on
// (the window's event loop may already do that when the interface yields).
bool PrepareHz(live::LiveCycle& cycle, app::Clock& clock, app::Ui& ui,
               const std::function<void()>& sampleOnce);

} // namespace pa::pfimprove
