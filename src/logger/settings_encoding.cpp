// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "logger/settings_encoding.h"

#include "logger/status_block.h"
#include "text/leading_number.h"

#include <cctype>

namespace pa::logger {

namespace {

constexpr int kMaxId = 32767;
constexpr int kMaxUnits = 65535;

const char* const kDateTimeError = "Date and Time format error, they must be in the "
                                   "form of MM-DD HH:MM:SS, "
                                   "and zero must be entered(eg. 02-25 20:06:00)."
                                   "\r\nUpdate function canceled !";

void writeWord(SettingsUpdate& u, int address, int value) {
    u.writes.push_back({address, value % 256});
    u.writes.push_back({address + 1, value / 256});
}

bool digitAt(const std::string& s, std::size_t i) {
    return std::isdigit(static_cast<unsigned char>(s[i])) != 0;
}

// "NN" + separator + "NN" ... with two digits in every place and each pair within its limit.
bool fullForm(const std::string& s, char separator, std::initializer_list<int> limits) {
    if (s.size() != limits.size() * 3 - 1)
        return false;
    std::size_t at = 0;
    for (int limit : limits) {
        if (at > 0 && s[at - 1] != separator)
            return false;
        if (!digitAt(s, at) || !digitAt(s, at + 1))
            return false;
        const int v = (s[at] - '0') * 10 + (s[at + 1] - '0');
        if (v < limit / 100 || v > limit % 100)
            return false;
        at += 3;
    }
    return true;
}

SettingsUpdate encodeId(const std::string& text) {
    SettingsUpdate u;
    const double value = text::leadingNumber(text);
    if (value > kMaxId) {
        u.refusal = "ID value too large (max. 32767).Update function canceled.";
        return u;
    }
    // Looked at before the conversion: a hugely negative typed ID is no int.
    const double rounded = text::roundHalfEven(value);
    if (rounded < 0) {
        u.refusal = "Out of range";
        return u;
    }
    const int id = static_cast<int>(rounded);
    writeWord(u, kIdAddress, id);
    return u;
}

SettingsUpdate encodeClock(const std::string& date, const std::string& time) {
    SettingsUpdate u;
    // Limits as low * 100 + high: month 1..12, day 1..31, hour 0..23, minute and second 0..59.
    if (!fullForm(date, '-', {112, 131}) || !fullForm(time, ':', {23, 59, 59})) {
        u.refusal = kDateTimeError;
        return u;
    }
    const std::string digits = date.substr(0, 2) + date.substr(3, 2) + time.substr(0, 2) +
                               time.substr(3, 2) + time.substr(6, 2);
    for (std::size_t i = 0; i < digits.size(); ++i)
        u.writes.push_back({kClockAddress + static_cast<int>(i), digits[i]});
    return u;
}

SettingsUpdate encodeInterval(const std::string& text, int address, const char* refusal) {
    SettingsUpdate u;
    const double units = intervalUnits(text::leadingNumber(text));
    if (units < 1 || units > kMaxUnits) {
        u.refusal = refusal;
        return u;
    }
    u.units = static_cast<int>(units);
    writeWord(u, address, u.units);
    return u;
}

} // namespace

double intervalUnits(double seconds) {
    // seconds * 10 / 4 rather than seconds / 0.4: 0.4 has no exact binary form, and a half
    // that lands a hair low would round the wrong way.
    return text::roundHalfEven(seconds * 10.0 / 4.0);
}

SettingsUpdate encodeSetting(int box, const std::vector<std::string>& boxes) {
    const std::string text = box >= 0 && box < static_cast<int>(boxes.size()) ? boxes[box] : "";
    if (text.empty())
        return {{}, "No input, update function canceled"};
    switch (box) {
    case kIdBox:
        return encodeId(text);
    case kDateBox:
    case kTimeBox:
        return encodeClock(boxes.size() > 1 ? boxes[kDateBox] : "",
                           boxes.size() > 2 ? boxes[kTimeBox] : "");
    case kSamplingBox:
        return encodeInterval(text, kSamplingAddress,
                              "Bad sampling interval (range: 0.4 < t < 26214).");
    case kOutputBox:
        return encodeInterval(text, kOutputIntervalAddress,
                              "Bad output interval (range: 0.4 < t < 26214).");
    default:
        return {{}, "Out of range"};
    }
}

} // namespace pa::logger
