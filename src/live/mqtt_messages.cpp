// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "live/mqtt_messages.h"

#include "text/json_text.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace pa::live {
namespace {

using text::Json;

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && text.front() == ' ')
        text.remove_prefix(1);
    while (!text.empty() && text.back() == ' ')
        text.remove_suffix(1);
    return text;
}

// Home Assistant object ids allow letters, digits, '_' and '-'.
std::string nodeId(std::string_view prefix) {
    std::string id;
    for (const char c : prefix) {
        const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                           (c >= '0' && c <= '9') || c == '-' || c == '_';
        id += plain ? c : '_';
    }
    return id;
}

std::string lowered(std::string_view text) {
    std::string out(text);
    for (char& c : out)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return out;
}

// An entity id's part after "sensor.": lower-case letters, digits and '_'.
std::string entitySlug(std::string_view id) {
    std::string slug = lowered(id);
    for (char& c : slug)
        if (c == '-')
            c = '_';
    return slug;
}

} // namespace

const std::vector<PublishedQuantity>& publishedQuantities() {
    static const std::vector<PublishedQuantity> quantities = {
        {"W", "Power", "power", "W", "measurement", kW},
        {"PF", "Power factor", "power_factor", "", "measurement", kPF},
        {"V", "Voltage", "voltage", "V", "measurement", kV},
        {"A", "Current", "current", "A", "measurement", kA},
        {"angle", "Phase angle", "", "\xC2\xB0", "measurement", kAngle},
        {"VA", "Apparent power", "apparent_power", "VA", "measurement", kVA},
        {"VAR", "Reactive power", "reactive_power", "var", "measurement", kVAR},
        {"Hz", "Frequency", "frequency", "Hz", "measurement", kHz},
        // The count starts from zero with each run; Home Assistant takes a drop as a new
        // meter cycle, which is what total_increasing is for.
        {"kWh", "Energy", "energy", "kWh", "total_increasing", kKWH},
    };
    return quantities;
}

Topics topicsFor(std::string_view prefix) {
    const std::string p(prefix);
    return {p + "/state", p + "/availability"};
}

std::optional<double> panelNumber(std::string_view text) {
    text = trimmed(text);
    if (text.ends_with("Hz"))
        text = trimmed(text.substr(0, text.size() - 2));
    if (text.starts_with('+'))
        text.remove_prefix(1);
    if (text.empty())
        return std::nullopt;
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value))
        return std::nullopt; // "OL", "-OL", "Init", "?", "inf", "12abc"
    return value;
}

std::string isoTimestamp(std::chrono::system_clock::time_point time) {
    using namespace std::chrono;
    const auto ms = floor<milliseconds>(time);
    const auto day = floor<days>(ms);
    const year_month_day date{day};
    const hh_mm_ss<milliseconds> clock{ms - day};
    std::array<char, 40> buffer{};
    std::snprintf(buffer.data(), buffer.size(), "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ",
                  static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                  static_cast<unsigned>(date.day()), static_cast<int>(clock.hours().count()),
                  static_cast<int>(clock.minutes().count()),
                  static_cast<int>(clock.seconds().count()),
                  static_cast<int>(clock.subseconds().count()));
    return buffer.data();
}

std::string stateJson(const Readouts& readouts, std::string_view timestamp) {
    std::array<std::optional<double>, kPanels> value;
    for (int p = 0; p < kPanels; ++p)
        value[p] = panelNumber(readouts.Panel3D2[p]);
    // The cycle computes VA and VAR from an overloaded reading as if it were 0; such a
    // result is not a measurement.
    if (!value[kV] || !value[kA])
        value[kVA].reset();
    if (!value[kVA] || !value[kW])
        value[kVAR].reset();

    Json out;
    out["time"] = timestamp;
    for (const PublishedQuantity& q : publishedQuantities())
        out[q.key] = text::jsonNumber(value[q.panel]);
    return text::compactJson(out);
}

std::string discoveryConfigTopic(std::string_view discoveryPrefix, std::string_view prefix,
                                 std::string_view key) {
    return std::string(discoveryPrefix) + "/sensor/" + nodeId(prefix) + "/" + lowered(key) +
           "/config";
}

std::vector<RetainedMessage> discoveryConfigs(std::string_view prefix,
                                              const DiscoverySettings& settings) {
    const std::string node = nodeId(prefix);
    const Topics topics = topicsFor(prefix);
    const Json device = {
        {"identifiers", Json::array({settings.deviceId.empty() ? node : settings.deviceId})},
        {"name", "Power Analyzer " + std::string(prefix)},
        {"manufacturer", kManufacturer},
        {"model", "single-phase power analyzer"},
        {"sw_version", settings.swVersion},
    };
    const Json origin = {{"name", "poweranalyzer-cli"}, {"sw_version", settings.swVersion}};

    std::vector<RetainedMessage> configs;
    for (const PublishedQuantity& q : publishedQuantities()) {
        const std::string id = node + "_" + lowered(q.key);
        Json p;
        p["name"] = q.name;
        p["unique_id"] = id;
        // The entity id Home Assistant gives it at first: "sensor." and a lower-case slug.
        p["default_entity_id"] = "sensor." + entitySlug(id);
        p["state_topic"] = topics.state;
        // A null renders as "None", which Home Assistant shows as unknown.
        p["value_template"] = std::string("{{ value_json.") + q.key + " }}";
        p["availability_topic"] = topics.availability;
        if (*q.deviceClass)
            p["device_class"] = q.deviceClass;
        if (*q.unit)
            p["unit_of_measurement"] = q.unit;
        p["state_class"] = q.stateClass;
        if (settings.expireAfterSeconds > 0)
            p["expire_after"] = settings.expireAfterSeconds;
        p["device"] = device;
        p["origin"] = origin;
        configs.push_back(
            {discoveryConfigTopic(settings.discoveryPrefix, prefix, q.key), text::compactJson(p)});
    }
    return configs;
}

} // namespace pa::live
