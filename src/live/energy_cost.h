// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Energy count and the cost estimate: the user's price per kWh, hours of use per day and
// period (month of 30 days, day, year of 360 days), and the running kWh sum.
#include <optional>
#include <string>

namespace pa::live {

// Hours of each period list entry: month (30 days), day, year (360 days), on purpose.
inline constexpr double kPeriodHours[] = {720.0, 24.0, 8640.0};

class EnergyCost {
  public:
    // Enter in the price box. A refusal returns the message to show and the text the box
    // must show instead (the price kept, in general format).
    struct Refusal {
        std::string message;
        std::optional<std::string> boxText;
    };
    std::optional<Refusal> priceEntered(const std::string& boxText);
    // Enter in the hours-per-day box; a refused text stays in the box.
    std::optional<Refusal> hoursEntered(const std::string& boxText);
    // Period list selection; indexes other than 0..2 leave the hours unchanged.
    void choosePeriod(int index);
    void resetKwh() { kwh_ = 0; }

    // Energy used in one period at the present power and daily use, and what it costs.
    double energyPerPeriod(double watts) const;
    double cost(double watts) const { return price_ * energyPerPeriod(watts); }
    // Adds one sample of power; negative power is not counted.
    void integrate(double watts, double samplingSeconds);

    float price() const { return price_; }
    float hoursPerDay() const { return hoursPerDay_; }
    double periodHours() const { return periodHours_; }
    double kwh() const { return kwh_; }

  private:
    float price_ = 0;       // single precision, as entered
    float hoursPerDay_ = 0; // single precision, as entered
    double periodHours_ = 0;
    double kwh_ = 0;
};

} // namespace pa::live
