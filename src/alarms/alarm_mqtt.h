// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Alarms as Home Assistant binary sensors: one retained discovery config per alarm with the
// mqtt action, a retained state "ON"/"OFF" and retained attributes (the value that raised or
// cleared it, its unit and the time), under the monitor's topic prefix and on the same device
// as its sensors.
#include "alarms/alarm_set.h"

#include <string>
#include <string_view>
#include <vector>

namespace pa::alarms {

struct AlarmTopics {
    std::string slug; // "alarm_motor_overload"
    std::string config, state, attributes;
};

// The topics of each alarm of the set (empty topics for alarms without the mqtt action);
// alarms whose names differ only in punctuation get distinct topics.
std::vector<AlarmTopics> alarmTopics(const AlarmSet& set, std::string_view prefix,
                                     std::string_view discoveryPrefix = "homeassistant");

std::string binarySensorConfig(const Alarm& alarm, const AlarmTopics& topics,
                               std::string_view prefix);
std::string attributesJson(double value, std::string_view unit, std::string_view time);

} // namespace pa::alarms
