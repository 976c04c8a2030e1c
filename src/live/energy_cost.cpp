#include "live/energy_cost.h"

#include "text/leading_number.h"
#include "text/mask_format.h"

namespace pa::live {

std::optional<EnergyCost::Refusal> EnergyCost::priceEntered(const std::string& boxText) {
    const double p = text::leadingNumber(boxText);
    if (p < 0)
        return Refusal{boxText + "is less than 0", text::formatGeneral(price_)};
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
