// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The poweranalyzer-sim command line.
#include "sim_options.h"

#include <gtest/gtest.h>

namespace {

using namespace pa::sim;

TEST(SimOptions, GoodCommandLines) {
    const auto p =
        parseSimOptions({"--volts", "120", "--amps=2.5", "--pf", "-0.8", "--hz", "60", "--noise",
                         "0", "--seed", "42", "--display", "hold", "--fault=garbage"});
    ASSERT_EQ(p.error, "");
    EXPECT_EQ(p.options.load.volts, 120);
    EXPECT_EQ(p.options.load.amps, 2.5);
    EXPECT_EQ(p.options.load.powerFactor, -0.8);
    EXPECT_EQ(p.options.load.hertz, 60);
    EXPECT_EQ(p.options.load.noise, 0);
    EXPECT_EQ(p.options.seed, 42u);
    EXPECT_EQ(p.options.display, Display::Hold);
    EXPECT_EQ(p.options.fault, Fault::Garbage);
    EXPECT_FALSE(p.options.help);
    EXPECT_EQ(p.options.load.swing, 0) << "a steady load unless asked";

    const auto swinging = parseSimOptions({"--swing", "0.4", "--swing-period=30"});
    ASSERT_EQ(swinging.error, "");
    EXPECT_EQ(swinging.options.load.swing, 0.4);
    EXPECT_EQ(swinging.options.load.swingPeriod, 30);

    const auto defaults = parseSimOptions({});
    EXPECT_EQ(defaults.error, "");
    EXPECT_EQ(defaults.options.load.volts, 230);
    EXPECT_EQ(defaults.options.display, Display::Normal);
    EXPECT_EQ(defaults.options.records, 10);
    EXPECT_TRUE(parseSimOptions({"--help"}).options.help);

    const auto logger = parseSimOptions(
        {"--records", "1012", "--logger-fault=noetx", "--pace", "--delay", "400", "--split=250"});
    ASSERT_EQ(logger.error, "");
    EXPECT_EQ(logger.options.delayMs, 400);
    EXPECT_EQ(logger.options.splitGapMs, 250);
    EXPECT_EQ(logger.options.records, 1012);
    EXPECT_EQ(logger.options.loggerFault, LoggerFault::NoEtx);
    EXPECT_TRUE(logger.options.pace);
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
