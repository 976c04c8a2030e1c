// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// What the monitor may hand a broker: topic prefixes, client ids and user names by the MQTT
// string rules, the password from its file, the CA file, and the discovery's expiry.
#include "live/mqtt_rules.h"
#include "support/test_files.h"

#include <gtest/gtest.h>

namespace {

using namespace pa::live;

TEST(MqttRules, TopicsAndIdentitiesAreValidMqttStrings) {
    enum Kind { Topic, ClientId, User };
    const struct {
        Kind kind;
        std::string text;
        const char* error; // a part of the message, "" when accepted
    } cases[] = {
        {Topic, "site/meter 1", ""},
        {Topic, "站/電表", ""},
        {Topic, "", "the topic prefix is empty"},
        {Topic, "site/+/meter", "holds a wildcard (+)"},
        {Topic, "site/#", "holds a wildcard (#)"},
        {Topic, "/site", "begins or ends with /"},
        {Topic, "site/", "begins or ends with /"},
        {Topic, "$SYS/meter", "begins with $"},
        {Topic, std::string("a\0b", 3), "holds a NUL character at byte 2"},
        {Topic, "site\nmeter", "holds a control character (U+000A) at byte 5"},
        {Topic, "a\x7F", "control character (U+007F)"},
        {Topic, "a\xC2\x85", "control character (U+0085)"},
        {Topic, "a\xFF", "is not valid UTF-8 (byte 0xFF at byte 2)"},
        {Topic, "a\xC3", "is not valid UTF-8 (byte 0xC3 at byte 2)"},
        {Topic, "\xC0\xAF", "is not valid UTF-8"},         // overlong '/'
        {Topic, "\xED\xA0\x80", "is not valid UTF-8"},     // a UTF-16 surrogate
        {Topic, "\xF4\x90\x80\x80", "is not valid UTF-8"}, // beyond U+10FFFF
        {Topic, "a\xEF\xBF\xBE", "holds U+FFFE, which is not a character"},
        {Topic, std::string(70000, 'a'), "is 70000 bytes long, more than the 65535"},
        // The discovery topics add "homeassistant/sensor/" and "/angle/config" to it.
        {Topic, std::string(65535 - 34, 'a'), ""},
        {Topic, std::string(65535 - 33, 'a'), "which leaves 65501 for the prefix"},
        {ClientId, std::string(65535, 'c'), ""},
        {ClientId, std::string(65536, 'c'), "the client id is 65536 bytes long"},
        {ClientId, "id\r", "the client id holds a control character (U+000D)"},
        {User, "", ""},
        {User, "Jürgen", ""},
        {User, "u\xFE", "the user name is not valid UTF-8"},
    };
    for (const auto& c : cases) {
        const std::string error = c.kind == Topic      ? checkTopicPrefix(c.text)
                                  : c.kind == ClientId ? checkClientId(c.text)
                                                       : checkUserName(c.text);
        EXPECT_TRUE(*c.error ? error.find(c.error) != std::string::npos : error.empty())
            << c.text.substr(0, 40) << ": " << error;
    }
}

TEST(MqttRules, PasswordIsTheFirstLineOfASmallRegularFile) {
    pa::testing::TempFolder folder;
    const struct {
        std::string bytes;
        const char* password; // nullptr when refused
        const char* error;
    } cases[] = {
        {"s3cret", "s3cret", ""},
        {"s3cret\r\nsecond line\r\n", "s3cret", ""},
        {"pass word \n", "pass word ", ""},
        {"", nullptr, "the file is empty"},
        {"\n", nullptr, "the first line is empty"},
        {"\r\nsecret", nullptr, "the first line is empty"},
        {std::string(kMaxPasswordFile, 'p'), nullptr, "longer than the 65535 bytes"},
        {std::string(kMaxPasswordFile + 1, 'p'), nullptr, "larger than 64 KiB"},
    };
    const std::string path = pa::datafile::joinPath(folder.str(), "pw");
    for (const auto& c : cases) {
        std::ofstream(pa::datafile::pathFromUtf8(path), std::ios::binary) << c.bytes;
        const Secret s = readPasswordFile(path);
        EXPECT_EQ(s.value, c.password ? c.password : "") << c.bytes.substr(0, 20);
        EXPECT_TRUE(c.password ? s.error.empty()
                               : s.error.starts_with("--password-file " + path + ": ") &&
                                     s.error.find(c.error) != std::string::npos)
            << s.error;
    }

    // The certificate file is only looked at; the TLS library reads it.
    EXPECT_EQ(checkCertificateFile("--tls-ca", path), "");
    std::ofstream(pa::datafile::pathFromUtf8(path), std::ios::binary).flush();
    EXPECT_EQ(checkCertificateFile("--tls-ca", path),
              "--tls-ca " + path + ": the file is empty; it should hold certificates (PEM)");
}

TEST(MqttRules, ReadingsExpireAfterThreeSamplesAndNeverSoonerThanHalfAMinute) {
    EXPECT_EQ((std::vector{expireAfterSeconds(0.5), expireAfterSeconds(10), expireAfterSeconds(11),
                           expireAfterSeconds(3600)}),
              (std::vector{30, 30, 33, 10800}));
}

} // namespace
