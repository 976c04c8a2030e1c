// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Program-wide state shared by the windows and the live cycle. One instance lives for the
// whole run (owned by the start-up code); everything else borrows it.
#include <string>

namespace pa::app {

struct ProgramState {
    int language = 1;          // 1 English, 2 Chinese
    int wholeSecondMode = 1;   // 0 = half-second sampling
    int sampleTickCounter = 0; // ticks counted towards the next sample
    int tickPeriod = 1000;     // sample clock period in ms (500 in half-second mode)
    int portOpenFlag = 0;      // guards the close-before-switch step; nothing sets it
    int slowPcFlag = 0;        // the speed check found the PC slow
    int baudCode = 0;          // 9, 4, 2, 1 once the user picked a baud rate; 0 before
    bool noData = false;       // the instrument has been silent for over a second

    // Back to the values every run starts with.
    void reset() { *this = ProgramState{}; }
};

} // namespace pa::app
