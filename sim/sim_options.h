// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The command line of the poweranalyzer-sim program.
#include "instrument.h"

#include <string>
#include <vector>

namespace pa::sim {

struct SimOptions {
    Load load;
    unsigned seed = 1;
    Display display = Display::Normal;
    Fault fault = Fault::None;
    int records = 10; // logged records held at start
    LoggerFault loggerFault = LoggerFault::None;
    bool pace = false;  // hand answers over at the line's speed
    int delayMs = 0;    // every answer held back this long
    int splitGapMs = 0; // every answer in two halves, this long apart
    bool help = false;
};

struct ParsedOptions {
    SimOptions options;
    std::string error; // empty when the command line is good; else one line saying what is wrong
};

// The arguments after the program name. Each option takes its value as the next argument
// or after "=" (--volts 230 or --volts=230).
ParsedOptions parseSimOptions(const std::vector<std::string>& args);

// The --help text.
std::string simUsage();

} // namespace pa::sim
