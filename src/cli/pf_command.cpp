// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// poweranalyzer-cli pf: the PF improvement calculator without a window.
//
//   poweranalyzer-cli pf --w TEXT --pf TEXT --v TEXT --a TEXT --angle TEXT --va TEXT
//                        --var TEXT --hz TEXT --target pf|a|va|var|angle|c VALUE
//
// The present state is given as the main window's readout texts (read by their leading
// number: "50Hz" is 50, "OL" and "?" are 0); an option left out reads as an empty text. The
// target value is the text typed into the window's box, unit letters included ("10u"). The
// output is one "name: text" line per circuit field and improved value; a capped capacitance
// adds its notice first. A refused target prints its message on standard error and exits 1.
#include "cli/commands.h"
#include "cmdline/command_options.h"
#include "pfimprove/pf_calculator.h"

#include <cstdio>
#include <string>
#include <vector>

namespace pa::cli {

using namespace pa::cmdline;
namespace {

using namespace pa::pfimprove;

} // namespace

int pfCommand(const std::vector<std::string>& args) {
    PfOptions o;
    if (const std::string error = parsePf(args, o); !error.empty())
        return fail(error);

    PfCalculator pf;
    pf.UpdateP(o.readouts);
    const EnterResult r = pf.Enter(o.target, o.value);
    if (r.kind == EnterResult::Kind::Ignored)
        return fail("the target value is empty");
    if (r.kind == EnterResult::Kind::Refused) {
        std::fprintf(stderr, "poweranalyzer-cli: %s\n", r.message.c_str());
        return 1;
    }
    if (!r.notice.empty())
        std::printf("%s\n", r.notice.c_str());
    const char* fieldNames[] = {"W", "V", "IR", "R", "IX", "X", "L", "Hz"};
    for (int i = 0; i < kCircuitFields; ++i)
        std::printf("%s: %s\n", fieldNames[i], pf.circuitFields()[i].c_str());
    const char* boxNames[] = {"PF2", "A2", "VA2", "VAR2", "Angle2", "C"};
    for (int i = 0; i < kTargets; ++i)
        std::printf("%s: %s\n", boxNames[i], r.boxes[i].c_str());
    return 0;
}

} // namespace pa::cli
