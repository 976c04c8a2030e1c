// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "live/energy_cost.h"

#include "text/leading_number.h"
#include "text/mask_format.h"

#include <charconv>

namespace pa::live {

namespace {

// A single prints in general format with at most 7 significant digits, so the price 0.12
// (held as 0.119999997...) shows as "0.12".
std::string singleGeneral(float value) {
    char buf[32];
    const auto end = std::to_chars(buf, buf + sizeof buf, static_cast<double>(value),
                                   std::chars_format::general, 7)
                         .ptr;
    double rounded = 0;
    std::from_chars(buf, end, rounded);
    return text::formatGeneral(rounded);
}

} // namespace

std::optional<EnergyCost::Refusal> EnergyCost::priceEntered(const std::string& boxText) {
    const double p = text::leadingNumber(boxText);
    if (p < 0)
        return Refusal{boxText + "is less than 0", singleGeneral(price_)};
    price_ = static_cast<float>(p);
    return std::nullopt;
}

std::optional<EnergyCost::Refusal> EnergyCost::hoursEntered(const std::string& boxText) {
    const double h = text::leadingNumber(boxText);
    // 0 and 24 pass although the message says 0 < input < 24.
    if (h < 0 || h > 24)
        return Refusal{boxText + "is out of range (0 < input < 24)", std::nullopt};
    hoursPerDay_ = static_cast<float>(h);
    return std::nullopt;
}

void EnergyCost::choosePeriod(int index) {
    if (index >= 0 && index < static_cast<int>(std::size(kPeriodHours)))
        periodHours_ = kPeriodHours[index];
}

double EnergyCost::energyPerPeriod(double watts) const {
    return watts * periodHours_ / 1000.0 * hoursPerDay_ / 24.0;
}

void EnergyCost::integrate(double watts, double samplingSeconds) {
    if (watts >= 0)
        kwh_ += watts * samplingSeconds / 3600.0 / 1000.0;
}

} // namespace pa::live
