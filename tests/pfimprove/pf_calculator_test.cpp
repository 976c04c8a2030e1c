// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The PF improvement calculation with hand-worked loads.
//
// Load A: 100 W at 230 V and 0.5 A (115 VA, 56.79 VAR, PF .870, 29.6 degrees, 50 Hz); one
// farad at 230 V and 50 Hz carries 230 * 230 * 50 * 2 * 3.1415926 = 16619024.85 VAR, so full
// compensation needs 56.79 / 16619024.85 = 3.417 uF.
// Load B: 1000 W at 230 V and 6 A (1380 VA, 951.1 VAR, PF .725), full compensation 57.23 uF.
#include "pfimprove/pf_calculator.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace pa::pfimprove;
using Kind = EnterResult::Kind;
using Boxes = std::array<std::string, kTargets>;

// Readouts as the main window shows them: W, PF, V, A, angle, VA, VAR, Hz.
const ReadoutTexts kLoadA{" 100.0", "  .870", "  230",  "  .500",
                          "  29.6", "115.00", " 56.79", "50Hz"};
const ReadoutTexts kLoadB{"1000",   "  .725",  "  230",  " 6.00",
                          "  43.5", "1380.00", "951.10", "50Hz"};

PfCalculator calculatorFor(const ReadoutTexts& readouts) {
    PfCalculator pf;
    pf.UpdateP(readouts);
    return pf;
}

// Each target box fills the improved row: PF, A, VA, VAR, angle and the capacitance to add;
// a typed text counts by its leading number, as the window's other boxes read theirs.
TEST(Targets, FillTheImprovedRow) {
    const struct {
        int box;
        const char* typed;
        Boxes boxes;
    } cases[] = {
        // Above 1 is taken as 1: all reactive power compensated.
        {kTargetPF, "1.2", {"1", "0.43", "100.0", "0.0", "0.0", "3.4uF"}},
        // Less than 0.001 above PF1: the present state, nothing to add; the angle is the typed
        // PF's.
        {kTargetPF, ".8705", {"0.87", "0.5", "115.0", "56.79", "29.5", ".0F"}},
        {kTargetPF, "0.95x", {"0.95", "0.46", "105.3", "32.87", "18.2", "1.4uF"}},
        {kTargetA, "0.45", {"0.966", "0.45", "103.5", "26.69", "14.9", "1.8uF"}},
        {kTargetVA, "110 VA", {"0.909", "0.48", "110.0", "45.83", "24.6", "659.7nF"}},
        {kTargetVAR, "20", {"0.981", "0.44", "102.0", "20.0", "11.3", "2.2uF"}},
        // No lower bound: past full compensation onto the capacitive side.
        {kTargetVAR, "-10", {"0.995", "0.44", "100.5", "-10.0", "5.7", "4.0uF"}},
        {kTargetAngle, " 1 0", {"0.985", "0.44", "101.5", "17.63", "10.0", "2.4uF"}},
        {kTargetAngle, "0", {"1.0", "0.43", "100.0", "0.0", "0.0", "3.4uF"}},
    };
    for (const auto& c : cases) {
        PfCalculator pf = calculatorFor(kLoadA);
        const EnterResult r = pf.Enter(c.box, c.typed);
        EXPECT_EQ(
            std::tuple(r.kind, r.message + r.notice, r.boxes, pf.lastIndex(), pf.hasImproved()),
            std::tuple(Kind::Done, "", c.boxes, c.box, true))
            << c.typed;
    }
}

TEST(CapacitanceTarget, UnitLettersAndTheCap) {
    const struct {
        const char* typed;
        double farads;
        bool capped;
        Boxes boxes;
    } cases[] = {
        {"10u", 10e-6, false, {"0.787", "5.53", "1271.3", "784.91", "38.1", "10.0uF"}},
        // A negative capacitance is trusted: it adds reactive power.
        {"-5u", -5e-6, false, {"0.695", "6.25", "1438.6", "1034.2", "46.0", "-5.E-6F"}},
        // Ten farads (no unit letter: how letters read is the reader's own test): capped.
        {"10", 57.229591e-6, true, {"1.0", "4.35", "1000.0", "0.0", "0.0", "57.2uF"}},
    };
    for (const auto& c : cases) {
        PfCalculator pf = calculatorFor(kLoadB);
        const EnterResult r = pf.Enter(kTargetC, c.typed);
        EXPECT_NEAR(pf.improved().Cadd, c.farads, 1e-12) << c.typed;
        EXPECT_EQ(std::tie(r.kind, r.boxes, r.notice),
                  std::make_tuple(Kind::Done, c.boxes,
                                  c.capped ? "Max. capacitance to be added is 57.2uF(PF=1)" : ""))
            << c.typed;
    }
}

TEST(Refusals, MessagesInTheirOrder) {
    const ReadoutTexts unknownAngle{" 100.0", "  .870", "  230",  "  .500",
                                    "?",      "115.00", " 56.79", "50Hz"};
    ReadoutTexts overloadPf = kLoadA;
    overloadPf[pa::live::kPF] = " OL";
    ReadoutTexts noVolts = kLoadA;
    noVolts[pa::live::kV] = "  0";
    ReadoutTexts noHz = kLoadA;
    noHz[pa::live::kHz] = "0Hz";
    ReadoutTexts noPower = kLoadA; // no load at all: nothing to improve
    noPower[pa::live::kW] = noPower[pa::live::kVAR] = "0";

    const struct {
        const ReadoutTexts& present;
        int box;
        const char* typed;
        const char* message;
    } cases[] = {
        // W1 100, V1 230: IR1 = 0.4348 A.
        {kLoadA, kTargetA, "0.4", "A2 < IR1, can not reduce active current"},
        {kLoadA, kTargetA, "0.6", "A2 > A1, can only reduce current"},
        {kLoadA, kTargetPF, "0.8", "PF2 < PF1, can only improve PF"},
        {overloadPf, kTargetPF, "0.95", "Unknown PF"},
        {kLoadA, kTargetVA, "120", "VA2 > VA1, can only reduce apparent power"},
        {kLoadA, kTargetVA, "99", "VA2 < W1, can not reduce active power"},
        {kLoadA, kTargetVAR, "60", "VAR2 > VAR1, can only reduce reactive power"},
        {unknownAngle, kTargetAngle, "abc", "Current phase angle not known"},
        {kLoadA, kTargetAngle, "-5", "Must enter positive angle in degree"},
        {kLoadA, kTargetAngle, "29.7", "Angle2 > Angle1, can only reduce phase angle"},
        // Letters and blanks read as 0, which the target's own check then refuses.
        {kLoadA, kTargetPF, "abc", "PF2 < PF1, can only improve PF"},
        {kLoadA, kTargetVA, "   ", "VA2 < W1, can not reduce active power"},
        // The target's own check comes first, then the missing voltage or frequency.
        {noVolts, kTargetPF, "0.8", "PF2 < PF1, can only improve PF"},
        {noVolts, kTargetPF, "0.95",
         "No voltage reading (0 V), can not calculate. Press Update with the load connected."},
        {noHz, kTargetVAR, "20", "0 Hz, Can not improve PF of a DC system"},
        {noPower, kTargetVAR, "0",
         "The present reading gives no result for this target (is the load drawing power?). "
         "Press Update and try again."},
    };
    for (const auto& c : cases) {
        PfCalculator pf = calculatorFor(c.present);
        pf.Enter(kTargetPF, "0.95"); // a result to keep where the reading allows one
        const Improved before = pf.improved();
        const EnterResult r = pf.Enter(c.box, c.typed);
        // All six boxes are emptied; the stored numbers stay.
        EXPECT_EQ(std::tuple(r.kind, r.message, r.boxes, pf.lastIndex(), pf.improved().Cadd),
                  std::tuple(Kind::Refused, c.message, Boxes{}, c.box, before.Cadd))
            << c.typed;
    }
}

// An empty box does nothing but is remembered as the last one entered.
TEST(Refusals, EmptyBoxDoesNothingButIsRemembered) {
    PfCalculator pf = calculatorFor(kLoadA);
    const EnterResult r = pf.Enter(kTargetVA, "");
    EXPECT_EQ(std::tuple(r.kind, r.message, pf.lastIndex(), pf.hasImproved()),
              std::tuple(Kind::Ignored, std::string(), kTargetVA, false));
}

// Odd present readings and odd targets: each is either refused with a message and empty
// boxes, or gives finite numbers and texts (a number that is not finite would print as "?").
TEST(Results, NeverShowNanOrInfinity) {
    const ReadoutTexts presents[] = {kLoadA,
                                     kLoadB,
                                     {"OL", "OL", "OL", "OL", "?", "?", "?", "50Hz"},
                                     {"-100", "-.870", "230", ".5", "?", "115", "56.79", "50Hz"},
                                     {"100", "1.000", "230", ".435", "0.0", "100", "0", "60Hz"},
                                     {"", "", "", "", "", "", "", ""}};
    for (const auto& present : presents) {
        for (int box = 0; box < kTargets; ++box) {
            for (const char* t : {"1", "0", "-1", "1e300", "90", "1E-300", "0.001p", "9999999"}) {
                PfCalculator pf = calculatorFor(present);
                const EnterResult r = pf.Enter(box, t);
                const Improved& v = pf.improved();
                const bool refused = r.kind == Kind::Refused;
                bool fine = r.kind != Kind::Ignored && refused != r.message.empty();
                for (const std::string& text : r.boxes)
                    fine &= refused ? text.empty() : !text.empty() && text.find('?') == text.npos;
                for (double x : {v.PF2, v.A2, v.VA2, v.VAR2, v.Angle2, v.Cadd})
                    fine &= refused || std::isfinite(x);
                EXPECT_TRUE(fine) << box << " " << t << ": " << r.message << " " << r.boxes[0];
            }
        }
    }
}

TEST(CircuitFields, FromThePresentReading) {
    const struct {
        ReadoutTexts present;
        std::array<std::string, kCircuitFields> fields; // W, V, IR, R, IX, X, L, Hz
    } cases[] = {
        {kLoadA, {" 100.0", "  230", "434.8mA", "529.0", "246.9mA", "931.5", "3.0H", "50Hz"}},
        // A small load: kilohms; no reactive power: no reactance or inductance.
        {{"1", ".999", "230", ".004", "0.0", ".92", "0", "60Hz"},
         {"1", "230", "4.3mA", "52.9K", "0.0A", "?", "?", "60Hz"}},
        // No active power: the active current reads 0 and the resistance is not known.
        {{"0", "0", "230", ".2", "90.0", "46", "46", "50Hz"},
         {"0", "230", "0", "?", "200.0mA", "1.2K", "3.7H", "50Hz"}},
        // No voltage: no current or impedance can be derived.
        {{"100", ".870", "OL", ".5", "29.6", "0", "0", "50Hz"},
         {"100", "OL", "?", "?", "?", "?", "?", "50Hz"}},
        // Power flowing back: negative values in scientific form.
        {{"-100", "-.870", "230", ".5", "?", "115", "56.79", "50Hz"},
         {"-100", "230", "-4.35E-1A", "-5.29E2", "246.9mA", "931.5", "3.0H", "50Hz"}},
        // No frequency: the inductance is not known.
        {{"100", ".870", "230", ".5", "29.6", "115", "56.79", ""},
         {"100", "230", "434.8mA", "529.0", "246.9mA", "931.5", "?", ""}},
    };
    for (const auto& c : cases) {
        const PfCalculator pf = calculatorFor(c.present);
        EXPECT_EQ(pf.circuitFields(), c.fields) << c.present[0];
    }
    const PfCalculator pf = calculatorFor(kLoadA);
    EXPECT_EQ(pf.currentRow(), (std::array<std::string, kCurrentFields>{
                                   "  .870", "  .500", "115.00", " 56.79", "  29.6"}));
}

// Each prefix from its threshold; below 1E-9, from 1E12 and negative: scientific form.
TEST(CapacitanceText, MasksAndPrefixes) {
    const std::pair<double, const char*> cases[] = {
        {0, ".0F"},         {999, "999.0F"},    {1000, "1.0KF"},         {1e9, "1.0GF"},
        {999e9, "999.0GF"}, {1e12, "1.E12F"},   {0.001, "1.0mF"},        {1e-6, "1.0uF"},
        {1e-9, "1.0nF"},    {9e-10, "9.E-10F"}, {3.456e-11, "3.46E-11F"}};
    for (const auto& [farads, text] : cases)
        EXPECT_EQ(capacitanceText(farads), text) << farads;
}

TEST(ReadCapacitance, FirstUnitLetterWins) {
    const std::pair<const char*, double> cases[] = {
        {"10u", 10e-6}, {"4.7 nF", 4.7e-9}, {"22p", 22e-12}, {"1.5m", 1.5e-3}, {"3", 3},
        {"2um", 2e-3},  {"2pn", 2e-9},      {"5M", 5},       {"uF", 0},        {"1e-6", 1e-6}};
    for (const auto& [typed, farads] : cases)
        EXPECT_NEAR(readCapacitance(typed), farads, farads * 1e-12) << typed;
}

TEST(RoundedConstants, AngleAndCapacitance) {
    PfCalculator pf = calculatorFor(kLoadA);
    ASSERT_EQ(pf.Enter(kTargetPF, "1").kind, Kind::Done);
    EXPECT_NEAR(pf.improved().Cadd, 3.41717e-6, 1e-11); // worked out at the top
    EXPECT_EQ(angleFromPf(1), 0);
    EXPECT_NEAR(angleFromPf(0), 90, 1e-12);
    // The rounded constants show in the fourth decimal: 36.86990 with the true pi.
    EXPECT_NEAR(angleFromPf(0.8), 36.87002, 1e-5);
    EXPECT_NEAR(angleFromPf(0.95), 18.19504, 1e-5);
}

} // namespace
