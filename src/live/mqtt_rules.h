// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// What an MQTT broker takes from the monitor, checked before connecting so that a bad
// setting is refused with its reason instead of producing topics or configs no consumer can
// use: topic names and the client id are UTF-8 strings of at most 65,535 bytes without NUL,
// control characters or non-characters; the topics published to hold no wildcard. The
// password and the CA certificate are read from small regular files only.
#include "live/mqtt_messages.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace pa::live {

inline constexpr std::size_t kMaxMqttString = 65535;
inline constexpr std::size_t kMaxPasswordFile = 64 * 1024;
inline constexpr std::size_t kMaxCertificateFile = 1024 * 1024; // a system CA bundle fits

// "" when text can be sent as an MQTT string, otherwise why not, as a phrase that follows
// the thing's name ("holds a control character (U+000A) at byte 5", "is not valid UTF-8
// (byte 0xFF at byte 3)", "is 70000 bytes long, more than the 65535 MQTT allows").
std::string mqttStringProblem(std::string_view text);

// "" when the prefix can be published under (with the discovery configs under
// discoveryPrefix), otherwise the whole reason: empty, not an MQTT string, a wildcard, a
// leading '$' (the broker's own topics), a leading or trailing '/', or so long that a topic
// made from it passes the limit.
std::string checkTopicPrefix(std::string_view prefix,
                             std::string_view discoveryPrefix = kDiscoveryPrefix);
// The same for the discovery prefix itself.
std::string checkDiscoveryPrefix(std::string_view prefix);
// "" or why the broker cannot be given this client id or user name.
std::string checkClientId(std::string_view id);
std::string checkUserName(std::string_view name);

struct Secret {
    std::string value;
    std::string error; // "" or the whole message, naming the option and the file
};
// The password: the first line of the file (without its line end), which must not be
// empty; the file a regular one of at most kMaxPasswordFile bytes.
Secret readPasswordFile(const std::string& path);
// "" when path is a regular file of at most kMaxCertificateFile bytes that the TLS library
// can be given, otherwise the whole message naming the option (--tls-ca) and the file.
std::string checkCertificateFile(const std::string& option, const std::string& path);

// How long Home Assistant keeps a reading before it shows it as unavailable: three sample
// intervals, and never less than 30 s.
int expireAfterSeconds(double samplingSeconds);

} // namespace pa::live
