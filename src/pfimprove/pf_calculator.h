// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Power factor improvement for an inductive load: how much capacitance to connect in
// parallel to reach one target (power factor, current, apparent power, reactive power, phase
// angle, or a capacitance itself), what the load then looks like, and the load's equivalent
// circuit (R parallel with L).
//
// The present state is read from the main window's readout texts by their leading number
// ("OL" and "?" read as 0). Active power and voltage stay unchanged by the capacitor. The
// rounded constants (1.5708 and 3.1416 in the angle, 3.1415926 in the capacitance and the
// angle target, 6.28318 in the inductance) are kept as they are so that the shown values
// agree with the instrument's reference tables.
#include "live/live_cycle.h"

#include <array>
#include <string>
#include <string_view>

namespace pa::pfimprove {

// The six input boxes of the row "Improved->" (Text1) and the five fields of "Current->".
enum Target { kTargetPF, kTargetA, kTargetVA, kTargetVAR, kTargetAngle, kTargetC, kTargets };
enum CurrentField { kCurrentPF, kCurrentA, kCurrentVA, kCurrentVAR, kCurrentAngle, kCurrentFields };
// The circuit fields.
enum CircuitField {
    kFieldW,
    kFieldV,
    kFieldIR,
    kFieldR,
    kFieldIX,
    kFieldX,
    kFieldL,
    kFieldHz,
    kCircuitFields
};

// The main window's readouts 0..7 (W, PF, V, A, angle, VA, VAR, Hz) as displayed.
using ReadoutTexts = std::array<std::string, live::kHz + 1>;

struct Present {
    double W1 = 0, PF1 = 0, V1 = 0, A1 = 0, Angle1 = 0, VA1 = 0, VAR1 = 0, Hz = 0;
    double IR1 = 0; // active current W1 / V1
};

struct Improved {
    double PF2 = 0, A2 = 0, VA2 = 0, VAR2 = 0, Angle2 = 0, Cadd = 0;
};

// The equivalent circuit values behind the circuit fields; a value is known only when its
// field shows a number.
struct Circuit {
    double IR = 0, R = 0, IX = 0, X = 0, L = 0;
    bool knownIR = false, knownR = false, knownIX = false, knownX = false, knownL = false;
};

// Engineering notation: the value scaled to a prefix "G", "M", "K", "", "m", "u" or "n".
// Prefix "E" means "show the value unscaled in scientific form" (1E12 and above, below 1E-9,
// and negative values).
struct Scaled {
    double value;
    std::string prefix;
};
Scaled ScaleToPrefix(double x);

// A circuit field: scaled "0.0" + prefix + unit, or "#0.0#E-##" + unit.
std::string prefixedText(double x, std::string_view unit);
// The capacitance text: scaled "#.0" + prefix + "F" (".5mF", "33.2uF"), or "##.##E-" + "F".
std::string capacitanceText(double farads);
// A typed capacitance: the leading number times the first unit letter found among "m", "u",
// "n", "p" in that order (case-sensitive), or farads without one.
double readCapacitance(std::string_view text);
// Phase angle in degrees from a power factor (1 exactly gives 0).
double angleFromPf(double pf);

// What Enter in one of the six boxes did.
struct EnterResult {
    enum class Kind {
        Ignored, // the box was empty: nothing happens
        Refused, // show message (exclamation icon); all six boxes are emptied
        Done     // show notice first when not empty (no icon); the boxes take their texts
    };
    Kind kind = Kind::Ignored;
    std::string message;
    std::string notice;
    std::array<std::string, kTargets> boxes; // the texts of the six boxes afterwards
};

class PfCalculator {
  public:
    // UpdateP: takes the present state from the main window's readout texts and computes the
    // circuit fields.
    void UpdateP(const ReadoutTexts& readouts);

    // Enter in box index (0..5) holding typed.
    EnterResult Enter(int index, std::string_view typed);

    const Present& present() const { return present_; }
    const Improved& improved() const { return improved_; }
    const Circuit& circuit() const { return circuit_; }
    const std::array<std::string, kCurrentFields>& currentRow() const { return currentRow_; }
    const std::array<std::string, kCircuitFields>& circuitFields() const { return fields_; }
    // The box in which Enter was last pressed, -1 before any.
    int lastIndex() const { return lastIndex_; }
    // A calculation has succeeded for the present reading and was not refused since:
    // improved() holds its result and the pictures show it.
    bool hasImproved() const { return hasImproved_; }

  private:
    // Fills next from the target value or returns the refusal message.
    std::string compute(int index, std::string_view typed, Improved& next,
                        std::string& notice) const;
    double cFactor() const; // V1 * V1 * Hz * 2 pi: VAR per farad

    Present present_;
    Improved improved_;
    Circuit circuit_;
    std::array<std::string, kCurrentFields> currentRow_;
    std::array<std::string, kCircuitFields> fields_;
    int lastIndex_ = -1;
    bool hasImproved_ = false;
    ReadoutTexts lastReadouts_{};
};

} // namespace pa::pfimprove
