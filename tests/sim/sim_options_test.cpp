// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The poweranalyzer-sim command line.
#include "sim_options.h"

#include <gtest/gtest.h>

#include <iterator>
#include <sstream>
#include <tuple>

namespace {

using namespace pa::sim;

// Every option a command line sets, in one comparable tuple.
auto fields(const SimOptions& o) {
    return std::make_tuple(o.load.volts, o.load.amps, o.load.powerFactor, o.load.hertz,
                           o.load.noise, o.load.swing, o.load.swingPeriod, o.seed, o.display,
                           o.fault, o.records, o.loggerFault, o.pace, o.delayMs, o.splitGapMs,
                           o.help);
}

// Each command line as one text, split at blanks.
TEST(SimOptions, GoodCommandLines) {
    const Load steady{230, 0.55, 0.92, 50, 0.002, 0, 60}; // a steady load unless asked
    const auto none = LoggerFault::None;
    const std::pair<const char*, SimOptions> cases[] = {
        {"", {steady, 1, Display::Normal, Fault::None, 10, none, false, 0, 0, false}},
        {"--volts 120 --amps=2.5 --pf -0.8 --hz 60 --noise 0 --seed 42 --display hold "
         "--fault=garbage --swing 0.4 --swing-period=30 --records 1012 --logger-fault=noetx "
         "--pace --delay 400 --split=250",
         {Load{120, 2.5, -0.8, 60, 0, 0.4, 30}, 42, Display::Hold, Fault::Garbage, 1012,
          LoggerFault::NoEtx, true, 400, 250, false}},
        {"--help", {steady, 1, Display::Normal, Fault::None, 10, none, false, 0, 0, true}},
    };
    for (const auto& [line, expected] : cases) {
        std::istringstream words(line);
        const auto parsed = parseSimOptions({std::istream_iterator<std::string>(words), {}});
        EXPECT_EQ(parsed.error, "");
        EXPECT_EQ(fields(parsed.options), fields(expected)) << line;
    }
}

TEST(SimOptions, BadCommandLinesSayWhatIsWrong) {
    const struct {
        std::vector<std::string> args;
        const char* error;
    } cases[] = {
        {{"--watts", "5"}, "unknown option --watts"},
        {{"--volts"}, "--volts needs a number"},
        {{"--volts", "abc"}, "--volts takes a number, not \"abc\""},
        {{"--pf", "1.5"}, "--pf takes a number from -1 to 1, not \"1.5\""},
        {{"--hz", "inf"}, "--hz takes a number of 0 or more, not \"inf\""},
        {{"--seed", "4294967296"}, "--seed takes a whole number from 0 to 4294967295"},
        {{"--display", "frozen"}, "--display takes normal, hold, overload or startup"},
        {{"--fault"}, "--fault takes none, silent, garbage or truncated"},
        {{"--records", "1013"}, "--records takes a whole number from 0 to 1012"},
        {{"--records", "-1"}, "--records takes a whole number from 0 to 1012"},
        {{"--delay", "-5"}, "--delay takes milliseconds from 0 to 60000"},
        {{"--split", "60001"}, "--split takes milliseconds from 0 to 60000"},
        {{"--swing", "2"}, "--swing takes a number from 0 to 1, not \"2\""},
        {{"--swing-period", "0"}, "--swing-period takes a number of seconds from 1, not \"0\""},
        {{"--logger-fault", "late"},
         "--logger-fault takes none, noreply, badframing, short or noetx"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(parseSimOptions(c.args).error, c.error);
}

} // namespace
