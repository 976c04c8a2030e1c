// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Small text helpers the survey's text, JSON and PDF forms share.
#include <cstddef>
#include <string>
#include <string_view>

namespace pa::report {

// The value with `decimals` digits after the point, whatever the locale ("-0.0" never).
std::string fixed(double value, int decimals);

inline constexpr std::string_view kVoltageNote =
    "indicative: the instrument's readings are not IEC 61000-4-30 class A or S";
inline constexpr std::string_view kCapacitorNote =
    "VAR here is sqrt(VA^2 - W^2), which includes distortion: a capacitor sized from it may be "
    "too large for a distorted current";

} // namespace pa::report
