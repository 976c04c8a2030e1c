#include "live/mqtt_messages.h"

#include "text/escaped_text.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace pa::live {
namespace {

using text::appendJsonString;

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && text.front() == ' ')
        text.remove_prefix(1);
    while (!text.empty() && text.back() == ' ')
        text.remove_suffix(1);
    return text;
}

void appendJsonNumber(std::string& out, std::optional<double> value) {
    if (!value || !std::isfinite(*value)) {
        out += "null";
        return;
    }
    // Plain decimals ("0.0001", not "1e-04"): the shortest text that reads back the same.
    std::array<char, 400> buffer;
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), *value,
                                   std::chars_format::fixed)
                         .ptr;
    out.append(buffer.data(), end);
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

    std::string out = "{\"time\":";
    appendJsonString(out, timestamp);
    for (const PublishedQuantity& q : publishedQuantities()) {
        out += ',';
        appendJsonString(out, q.key);
        out += ':';
        appendJsonNumber(out, value[q.panel]);
    }
    out += '}';
    return out;
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
    std::string device = ",\"device\":{\"identifiers\":[";
    appendJsonString(device, settings.deviceId.empty() ? node : settings.deviceId);
    device += "],\"name\":";
    appendJsonString(device, "Power Analyzer " + std::string(prefix));
    device += ",\"manufacturer\":";
    appendJsonString(device, kManufacturer);
    device += ",\"model\":\"single-phase power analyzer\",\"sw_version\":";
    appendJsonString(device, settings.swVersion);
    device += "},\"origin\":{\"name\":\"poweranalyzer-cli\",\"sw_version\":";
    appendJsonString(device, settings.swVersion);
    device += "}";

    std::vector<RetainedMessage> configs;
    for (const PublishedQuantity& q : publishedQuantities()) {
        const std::string id = node + "_" + lowered(q.key);
        std::string p = "{\"name\":";
        appendJsonString(p, q.name);
        p += ",\"unique_id\":";
        appendJsonString(p, id);
        // The entity id Home Assistant gives it at first: "sensor." and a lower-case slug.
        p += ",\"default_entity_id\":";
        appendJsonString(p, "sensor." + entitySlug(id));
        p += ",\"state_topic\":";
        appendJsonString(p, topics.state);
        // A null renders as "None", which Home Assistant shows as unknown.
        p += ",\"value_template\":";
        appendJsonString(p, std::string("{{ value_json.") + q.key + " }}");
        p += ",\"availability_topic\":";
        appendJsonString(p, topics.availability);
        if (*q.deviceClass) {
            p += ",\"device_class\":";
            appendJsonString(p, q.deviceClass);
        }
        if (*q.unit) {
            p += ",\"unit_of_measurement\":";
            appendJsonString(p, q.unit);
        }
        p += ",\"state_class\":";
        appendJsonString(p, q.stateClass);
        if (settings.expireAfterSeconds > 0)
            p += ",\"expire_after\":" + std::to_string(settings.expireAfterSeconds);
        p += device + "}";
        configs.push_back(
            {discoveryConfigTopic(settings.discoveryPrefix, prefix, q.key), std::move(p)});
    }
    return configs;
}

} // namespace pa::live
