// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// What the monitor publishes to an MQTT broker, as plain text: one JSON state object per
// sample on PREFIX/state, a retained online/offline on PREFIX/availability, and one retained
// Home Assistant discovery config per quantity, so that the readings appear in Home
// Assistant (and its energy dashboard) without any hand configuration.
//
// A value the instrument does not give as a number (overload "OL"/"-OL", start-up "Init",
// an unknown angle "?", a panel not yet filled) is null in the state, never 0: a consumer
// must not mistake an overload for zero power. Values derived from one that is not known
// (VA from V and A, VAR from VA and W) are null as well.
#include "live/live_cycle.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace pa::live {

inline constexpr const char* kOnline = "online";
inline constexpr const char* kOffline = "offline";
inline constexpr const char* kDiscoveryPrefix = "homeassistant";

// One published quantity: its key in the state object and how Home Assistant shows it.
struct PublishedQuantity {
    const char* key;         // in the state object: "W", "PF", ...
    const char* name;        // the entity's name
    const char* deviceClass; // "" when Home Assistant has none for it
    const char* unit;        // "" for a plain number (power factor)
    const char* stateClass;  // "measurement" or "total_increasing"
    int panel;               // Panel3D2 index it comes from
};
const std::vector<PublishedQuantity>& publishedQuantities();

struct Topics {
    std::string state, availability;
};
// The topics under a prefix ("site/meter1" -> "site/meter1/state", ...).
Topics topicsFor(std::string_view prefix);

// The number a panel shows ("230.1", " -12.5", "50Hz", "1.2E-03"), or nothing when it
// shows none (overload, start-up, "?", empty, any other text).
std::optional<double> panelNumber(std::string_view text);

// UTC time stamp with milliseconds: "2026-11-23T17:52:16.400Z".
std::string isoTimestamp(std::chrono::system_clock::time_point time);

// The state object of one sample: {"time":"...","W":12.5,"PF":0.95,...,"kWh":0.0012}.
std::string stateJson(const Readouts& readouts, std::string_view timestamp);

struct RetainedMessage {
    std::string topic, payload;
};
inline constexpr const char* kManufacturer = "Power Analyzer project";

struct DiscoverySettings {
    std::string deviceId;       // the device's stable identity; "" for the prefix's
    std::string swVersion;      // the program's, in the device and origin blocks
    int expireAfterSeconds = 0; // a reading older than this is unavailable; 0 for never
    std::string discoveryPrefix = kDiscoveryPrefix;
};
// One discovery config per published quantity for the instrument publishing under prefix.
std::vector<RetainedMessage> discoveryConfigs(std::string_view prefix,
                                              const DiscoverySettings& settings);
// Where the config of the quantity with this state key goes.
std::string discoveryConfigTopic(std::string_view discoveryPrefix, std::string_view prefix,
                                 std::string_view key);

} // namespace pa::live
