// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "alarms/alarm_mqtt.h"

#include "live/mqtt_messages.h"
#include "text/json_text.h"

#include <algorithm>

namespace pa::alarms {
namespace {

// Letters, digits, '_' and '-' pass; anything else becomes '_' (Home Assistant's object ids).
std::string plain(std::string_view text, bool lower) {
    std::string out;
    for (char c : text) {
        if (lower && c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
        const bool keep = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                          (c >= '0' && c <= '9') || c == '-' || c == '_';
        out += keep ? c : '_';
    }
    return out;
}

} // namespace

std::vector<AlarmTopics> alarmTopics(const AlarmSet& set, std::string_view prefix,
                                     std::string_view discoveryPrefix) {
    const std::string node = plain(prefix, false);
    std::vector<AlarmTopics> topics(set.alarms.size());
    std::vector<std::string> used;
    for (std::size_t i = 0; i < set.alarms.size(); ++i) {
        if (!(set.alarms[i].actions & kMqtt))
            continue;
        const std::string base = "alarm_" + plain(set.alarms[i].name, true);
        std::string slug = base;
        for (int n = 2; std::find(used.begin(), used.end(), slug) != used.end(); ++n)
            slug = base + "_" + std::to_string(n);
        used.push_back(slug);
        const std::string own = std::string(prefix) + "/" + slug;
        topics[i] = {
            slug, std::string(discoveryPrefix) + "/binary_sensor/" + node + "/" + slug + "/config",
            own + "/state", own + "/attributes"};
    }
    return topics;
}

std::string binarySensorConfig(const Alarm& alarm, const AlarmTopics& topics,
                               std::string_view prefix) {
    const std::string node = plain(prefix, false);
    const std::string id = node + "_" + topics.slug;
    text::Json p;
    p["name"] = "Alarm " + alarm.name;
    p["unique_id"] = id;
    p["default_entity_id"] = "binary_sensor." + id;
    p["device_class"] = "problem";
    p["payload_on"] = "ON";
    p["payload_off"] = "OFF";
    p["state_topic"] = topics.state;
    p["json_attributes_topic"] = topics.attributes;
    p["availability_topic"] = live::topicsFor(prefix).availability;
    p["device"] = {{"identifiers", text::Json::array({node})},
                   {"name", "Power Analyzer " + std::string(prefix)},
                   {"model", "single-phase power analyzer"}};
    return text::compactJson(p);
}

std::string attributesJson(double value, std::string_view unit, std::string_view time) {
    text::Json p;
    p["value"] = text::jsonNumber(value, 10);
    p["unit"] = unit;
    p["time"] = time;
    return text::compactJson(p);
}

} // namespace pa::alarms
