// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "live/mqtt_rules.h"

#include "datafile/small_file.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace pa::live {
namespace {

std::string codePointText(char32_t c) {
    std::array<char, 16> buffer{};
    std::snprintf(buffer.data(), buffer.size(), "U+%04X", static_cast<unsigned>(c));
    return buffer.data();
}

std::string byteText(unsigned char b) {
    std::array<char, 8> buffer{};
    std::snprintf(buffer.data(), buffer.size(), "0x%02X", b);
    return buffer.data();
}

// The longest topic made from a prefix: a discovery config's.
std::size_t longestTopic(std::size_t prefixBytes, std::string_view discoveryPrefix) {
    std::size_t longest = std::string_view("/availability").size();
    for (const PublishedQuantity& q : publishedQuantities())
        longest = std::max(longest, discoveryConfigTopic(discoveryPrefix, "", q.key).size());
    return prefixBytes + longest; // the node id has as many bytes as the prefix
}

// The prefix in a message, when it is short enough to be read there.
std::string quoted(std::string_view text) {
    return text.size() <= 80 ? " " + std::string(text) : "";
}

std::string checkPrefix(const char* what, std::string_view prefix) {
    const std::string name = std::string("the ") + what;
    if (prefix.empty())
        return name + " is empty";
    if (const std::string problem = mqttStringProblem(prefix); !problem.empty())
        return name + " " + problem;
    if (const auto wildcard = prefix.find_first_of("+#"); wildcard != std::string_view::npos)
        return name + quoted(prefix) + " holds a wildcard (" + prefix[wildcard] +
               "), which cannot be published to";
    if (prefix.front() == '$')
        return name + quoted(prefix) + " begins with $, which brokers keep for their own topics";
    if (prefix.front() == '/' || prefix.back() == '/')
        return name + quoted(prefix) + " begins or ends with /";
    return "";
}

} // namespace

std::string mqttStringProblem(std::string_view text) {
    if (text.size() > kMaxMqttString)
        return "is " + std::to_string(text.size()) + " bytes long, more than the " +
               std::to_string(kMaxMqttString) + " MQTT allows";
    const auto* s = reinterpret_cast<const unsigned char*>(text.data());
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t at = i + 1; // counted from 1 in the messages
        const unsigned char b = s[i];
        const int length = b < 0x80             ? 1
                           : (b & 0xE0) == 0xC0 ? 2
                           : (b & 0xF0) == 0xE0 ? 3
                           : (b & 0xF8) == 0xF0 ? 4
                                                : 0;
        const auto invalid = [&] {
            return "is not valid UTF-8 (byte " + byteText(s[i]) + " at byte " + std::to_string(at) +
                   ")";
        };
        if (length == 0 || i + length > text.size())
            return invalid();
        char32_t c = length == 1 ? b : b & (0x7F >> length);
        for (int k = 1; k < length; ++k) {
            if ((s[i + k] & 0xC0) != 0x80)
                return invalid();
            c = (c << 6) | (s[i + k] & 0x3F);
        }
        static constexpr char32_t kShortest[] = {0, 0, 0x80, 0x800, 0x10000};
        if (c < kShortest[length] || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF))
            return invalid(); // an overlong form, beyond Unicode, or a UTF-16 surrogate
        if (c == 0)
            return "holds a NUL character at byte " + std::to_string(at);
        if (c < 0x20 || (c >= 0x7F && c <= 0x9F))
            return "holds a control character (" + codePointText(c) + ") at byte " +
                   std::to_string(at);
        if ((c >= 0xFDD0 && c <= 0xFDEF) || (c & 0xFFFE) == 0xFFFE)
            return "holds " + codePointText(c) + ", which is not a character, at byte " +
                   std::to_string(at);
        i += static_cast<std::size_t>(length);
    }
    return "";
}

std::string checkTopicPrefix(std::string_view prefix, std::string_view discoveryPrefix) {
    if (std::string problem = checkPrefix("topic prefix", prefix); !problem.empty())
        return problem;
    const std::size_t longest = longestTopic(prefix.size(), discoveryPrefix);
    if (longest > kMaxMqttString)
        return "the topic prefix is " + std::to_string(prefix.size()) +
               " bytes long; the topics made from it may be at most " +
               std::to_string(kMaxMqttString) + " bytes, which leaves " +
               std::to_string(prefix.size() - (longest - kMaxMqttString)) + " for the prefix";
    return "";
}

std::string checkDiscoveryPrefix(std::string_view prefix) {
    return checkPrefix("discovery prefix", prefix);
}

std::string checkClientId(std::string_view id) {
    if (id.empty())
        return "the client id is empty";
    if (const std::string problem = mqttStringProblem(id); !problem.empty())
        return "the client id " + problem;
    return "";
}

std::string checkUserName(std::string_view name) {
    if (const std::string problem = mqttStringProblem(name); !problem.empty())
        return "the user name " + problem;
    return "";
}

Secret readPasswordFile(const std::string& path) {
    const std::string where = "--password-file " + path + ": ";
    const datafile::SmallFile file = datafile::readSmallFile(path, kMaxPasswordFile);
    if (!file.error.empty())
        return {"", where + file.error};
    if (file.bytes.empty())
        return {"", where + "the file is empty; it should hold the password on its first line"};
    std::string password = file.bytes.substr(0, file.bytes.find('\n'));
    if (password.ends_with('\r'))
        password.pop_back();
    if (password.empty())
        return {"", where + "the first line is empty; it should hold the password"};
    if (password.size() > kMaxMqttString)
        return {"", where + "the password is longer than the " + std::to_string(kMaxMqttString) +
                        " bytes MQTT allows"};
    return {std::move(password), ""};
}

std::string checkCertificateFile(const std::string& option, const std::string& path) {
    const datafile::SmallFile file = datafile::readSmallFile(path, kMaxCertificateFile);
    if (!file.error.empty())
        return option + " " + path + ": " + file.error;
    if (file.bytes.empty())
        return option + " " + path + ": the file is empty; it should hold certificates (PEM)";
    return "";
}

int expireAfterSeconds(double samplingSeconds) {
    return std::max(30, static_cast<int>(std::ceil(3 * samplingSeconds)));
}

} // namespace pa::live
