// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "pfimprove/pf_calculator.h"

#include "text/leading_number.h"
#include "text/mask_format.h"

#include <cmath>

namespace pa::pfimprove {
namespace {

using text::formatMask;
using text::leadingNumber;

constexpr double kPi = 3.1415926;            // capacitance and the angle target
constexpr double kAnglePi = 3.1416;          // degrees from the angle formula
constexpr double kHalfPi = 1.5708;           // the angle formula's quarter turn
constexpr double kInductanceTwoPi = 6.28318; // inductance from reactance
constexpr double kNoImprovement = 0.001;     // a power factor step smaller than this needs nothing

// The improved row's display masks, box by box (box 5, the capacitance, has its own text).
constexpr const char* kBoxMasks[] = {"0.0##", "###0.0#", "###0.0", "###0.0#", "##0.0"};

bool allFinite(const Improved& v) {
    for (double x : {v.PF2, v.A2, v.VA2, v.VAR2, v.Angle2, v.Cadd})
        if (!std::isfinite(x))
            return false;
    return true;
}

} // namespace

Scaled ScaleToPrefix(double x) {
    if (x >= 1E12)
        return {x, "E"};
    if (x >= 1E9)
        return {x / 1E9, "G"};
    if (x >= 1E6)
        return {x / 1E6, "M"};
    if (x >= 1000)
        return {x / 1000, "K"};
    if (x >= 1)
        return {x, ""};
    if (x >= 0.001)
        return {x * 1000, "m"};
    if (x >= 1E-6)
        return {x * 1E6, "u"};
    if (x >= 1E-9)
        return {x * 1E9, "n"};
    if (x == 0)
        return {0, ""};
    return {x, "E"}; // below 1E-9, or negative
}

std::string prefixedText(double x, std::string_view unit) {
    const Scaled s = ScaleToPrefix(x);
    if (s.prefix != "E")
        return formatMask(s.value, "0.0") + s.prefix + std::string(unit);
    return formatMask(x, "#0.0#E-##") + std::string(unit);
}

std::string capacitanceText(double farads) {
    const Scaled s = ScaleToPrefix(farads);
    if (s.prefix != "E")
        return formatMask(s.value, "#.0") + s.prefix + "F";
    return formatMask(farads, "##.##E-") + "F";
}

double readCapacitance(std::string_view text) {
    const double number = leadingNumber(text);
    const struct {
        char letter;
        double factor;
    } units[] = {{'m', 1E-3}, {'u', 1E-6}, {'n', 1E-9}, {'p', 1E-12}};
    for (const auto& u : units)
        if (text.find(u.letter) != std::string_view::npos)
            return number * u.factor;
    return number;
}

double angleFromPf(double pf) {
    if (pf == 1)
        return 0;
    return (std::atan(-pf / std::sqrt(1 - pf * pf)) + kHalfPi) * 180 / kAnglePi;
}

void PfCalculator::UpdateP(const ReadoutTexts& r) {
    // An improved state worked out for another reading no longer describes this load.
    if (r != lastReadouts_)
        hasImproved_ = false;
    lastReadouts_ = r;
    currentRow_ = {r[live::kPF], r[live::kA], r[live::kVA], r[live::kVAR], r[live::kAngle]};
    fields_ = {};
    fields_[kFieldW] = r[live::kW];
    fields_[kFieldV] = r[live::kV];
    fields_[kFieldHz] = r[live::kHz];

    Present& p = present_;
    p.W1 = leadingNumber(r[live::kW]);
    p.PF1 = leadingNumber(r[live::kPF]);
    p.V1 = leadingNumber(r[live::kV]);
    p.A1 = leadingNumber(r[live::kA]);
    p.Angle1 = leadingNumber(r[live::kAngle]);
    p.VA1 = leadingNumber(r[live::kVA]);
    p.VAR1 = leadingNumber(r[live::kVAR]);
    p.Hz = leadingNumber(r[live::kHz]);

    // Without a voltage reading the currents cannot be known: the fields show "?".
    Circuit& c = circuit_;
    c = {};
    p.IR1 = 0;
    if (p.W1 == 0) {
        fields_[kFieldIR] = "0";
        c.knownIR = true;
    } else if (p.V1 != 0) {
        p.IR1 = p.W1 / p.V1;
        fields_[kFieldIR] = prefixedText(p.IR1, "A");
        c.knownIR = true;
    } else {
        fields_[kFieldIR] = "?";
    }
    c.IR = p.IR1;

    if (p.IR1 != 0) {
        c.R = p.V1 / p.IR1;
        c.knownR = true;
        fields_[kFieldR] = prefixedText(c.R, "");
    } else {
        fields_[kFieldR] = "?";
    }

    if (p.V1 != 0) {
        c.IX = p.VAR1 / p.V1;
        c.knownIX = true;
        fields_[kFieldIX] = prefixedText(c.IX, "A");
    } else {
        fields_[kFieldIX] = "?";
    }

    fields_[kFieldX] = fields_[kFieldL] = "?";
    if (c.IX != 0) {
        c.X = p.V1 / c.IX;
        c.knownX = true;
        fields_[kFieldX] = prefixedText(c.X, "");
        if (p.Hz != 0) {
            c.L = c.X / (p.Hz * kInductanceTwoPi);
            c.knownL = true;
            fields_[kFieldL] = prefixedText(c.L, "H");
        }
    }
}

double PfCalculator::cFactor() const {
    return present_.V1 * present_.V1 * present_.Hz * (kPi * 2);
}

std::string PfCalculator::compute(int index, std::string_view typed, Improved& n,
                                  std::string& notice) const {
    const Present& p = present_;
    // Checks on the present reading come before the typed value is looked at.
    if (index == kTargetPF && currentRow_[kCurrentPF].find("OL") != std::string::npos)
        return "Unknown PF";
    if (index == kTargetAngle && currentRow_[kCurrentAngle].find('?') != std::string::npos)
        return "Current phase angle not known";
    // Any text counts by its leading number: letters and blanks read as 0.
    const double value = leadingNumber(typed);

    // The target's own checks, in order.
    switch (index) {
    case kTargetPF:
        if (value < p.PF1)
            return "PF2 < PF1, can only improve PF";
        break;
    case kTargetA:
        if (value > p.A1)
            return "A2 > A1, can only reduce current";
        if (value < p.IR1)
            return "A2 < IR1, can not reduce active current";
        break;
    case kTargetVA:
        if (value > p.VA1)
            return "VA2 > VA1, can only reduce apparent power";
        if (value < p.W1)
            return "VA2 < W1, can not reduce active power";
        break;
    case kTargetVAR:
        if (value > p.VAR1)
            return "VAR2 > VAR1, can only reduce reactive power";
        break;
    case kTargetAngle:
        if (value < 0)
            return "Must enter positive angle in degree";
        if (value > leadingNumber(currentRow_[kCurrentAngle]))
            return "Angle2 > Angle1, can only reduce phase angle";
        break;
    default:
        break;
    }

    // Every formula below divides by the voltage or the frequency.
    if (p.V1 == 0)
        return "No voltage reading (0 V), can not calculate. Press Update with the load "
               "connected.";
    if (p.Hz == 0)
        return "0 Hz, Can not improve PF of a DC system";

    const double perFarad = cFactor();
    auto capacitanceFor = [&](double var2) { return (p.VAR1 - var2) / perFarad; };
    // From a new apparent power at unchanged active power and voltage.
    auto fromVA = [&](double va2) {
        n.VA2 = va2;
        n.A2 = va2 / p.V1;
        n.VAR2 = std::sqrt(va2 * va2 - p.W1 * p.W1);
        n.Cadd = capacitanceFor(n.VAR2);
    };

    switch (index) {
    case kTargetPF:
        n.PF2 = value > 1 ? 1 : value;
        n.Angle2 = angleFromPf(n.PF2);
        if (n.PF2 - p.PF1 < kNoImprovement) {
            n.PF2 = p.PF1;
            n.VA2 = p.VA1;
            n.A2 = p.A1;
            n.VAR2 = p.VAR1;
            n.Cadd = 0;
        } else {
            fromVA(p.W1 / n.PF2);
        }
        break;
    case kTargetA: {
        double va2 = value * p.V1;
        if (p.V1 > 0 && va2 < p.W1)
            va2 = p.W1; // A2 >= IR1 was checked: only rounding can put VA2 below W1
        fromVA(va2);
        n.PF2 = p.W1 / n.VA2;
        n.Angle2 = angleFromPf(n.PF2);
        break;
    }
    case kTargetVA:
        fromVA(value);
        n.PF2 = p.W1 / value;
        n.Angle2 = angleFromPf(n.PF2);
        break;
    case kTargetVAR:
        n.VAR2 = value;
        n.Cadd = capacitanceFor(value);
        n.VA2 = std::sqrt(value * value + p.W1 * p.W1);
        n.A2 = n.VA2 / p.V1;
        n.PF2 = p.W1 / n.VA2;
        n.Angle2 = angleFromPf(n.PF2);
        break;
    case kTargetAngle:
        n.Angle2 = value;
        n.PF2 = std::cos(value * kPi / 180);
        fromVA(p.W1 / n.PF2);
        break;
    case kTargetC: {
        n.Cadd = readCapacitance(typed);
        const double cMax = p.VAR1 / perFarad;
        if (n.Cadd > cMax) {
            n.Cadd = cMax;
            notice = "Max. capacitance to be added is " + capacitanceText(cMax) + "(PF=1)";
        }
        n.VAR2 = p.VAR1 - n.Cadd * perFarad;
        n.VA2 = std::sqrt(n.VAR2 * n.VAR2 + p.W1 * p.W1);
        n.A2 = n.VA2 / p.V1;
        n.PF2 = p.W1 / n.VA2;
        n.Angle2 = angleFromPf(n.PF2);
        break;
    }
    default:
        break;
    }
    if (!allFinite(n))
        return "The present reading gives no result for this target (is the load drawing "
               "power?). Press Update and try again.";
    return "";
}

EnterResult PfCalculator::Enter(int index, std::string_view typed) {
    EnterResult result;
    if (index < 0 || index >= kTargets)
        return result;
    lastIndex_ = index;
    if (typed.empty()) // only an empty box; one of blanks reads as 0
        return result;

    Improved next = improved_;
    std::string notice;
    if (std::string message = compute(index, typed, next, notice); !message.empty()) {
        result.kind = EnterResult::Kind::Refused;
        result.message = std::move(message);
        hasImproved_ = false; // the stored numbers stay, but nothing shows them any more
        return result;        // the boxes are emptied
    }
    improved_ = next;
    hasImproved_ = true;
    result.kind = EnterResult::Kind::Done;
    result.notice = std::move(notice);
    const double values[] = {next.PF2, next.A2, next.VA2, next.VAR2, next.Angle2};
    for (int i = 0; i < kTargetC; ++i)
        result.boxes[i] = formatMask(values[i], kBoxMasks[i]);
    result.boxes[kTargetC] = capacitanceText(next.Cadd);
    // A power factor typed above 1 is taken as 1, and the box says so plainly.
    if (index == kTargetPF && leadingNumber(typed) > 1)
        result.boxes[kTargetPF] = "1";
    return result;
}

} // namespace pa::pfimprove
