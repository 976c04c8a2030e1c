// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "logger/status_block.h"

#include "live/frame_decoder.h"
#include "text/leading_number.h"
#include "text/mask_format.h"

namespace pa::logger {

namespace {

int byteAt(std::string_view b, int address) {
    return address < static_cast<int>(b.size()) ? static_cast<unsigned char>(b[address]) : 0;
}

int wordAt(std::string_view b, int address) {
    return byteAt(b, address) + 256 * byteAt(b, address + 1);
}

std::string charsAt(std::string_view b, int address, int count) {
    std::string s;
    for (int i = 0; i < count; ++i)
        s.push_back(static_cast<char>(byteAt(b, address + i)));
    return s;
}

} // namespace

std::optional<int> recordCount(int pointer) {
    if (pointer < kStatusBytes)
        return std::nullopt;
    return static_cast<int>(
        text::roundHalfEven(static_cast<double>(pointer - kStatusBytes) / kRecordBytes));
}

std::string intervalText(double seconds) {
    return text::formatMask(seconds, "#####.0") + "   ";
}

LoggerStatus decodeStatusBlock(std::string_view b) {
    LoggerStatus s;
    s.number = std::to_string(wordAt(b, 0));
    s.id = wordAt(b, kIdAddress);

    const int mode = byteAt(b, kModeAddress);
    s.modeIndex = mode <= 2 ? mode : 0;
    s.memorySize = std::to_string(byteAt(b, 6) >> 2) + "K";

    const std::string clock = charsAt(b, kClockAddress, 10);
    s.date = clock.substr(0, 2) + "-" + clock.substr(2, 2);
    s.time = clock.substr(4, 2) + ":" + clock.substr(6, 2) + ":" + clock.substr(8, 2);

    s.samplingUnits = wordAt(b, kSamplingAddress);
    s.samplingSeconds = s.samplingUnits * kIntervalUnitSeconds;
    s.samplingText = intervalText(s.samplingSeconds);

    s.pointer = wordAt(b, 20);
    s.records = recordCount(s.pointer);
    s.recordsText = s.records ? std::to_string(*s.records) : "?";

    const int failures = wordAt(b, 41);
    s.writeCounts = failures == 0 ? "OK" : std::to_string(failures);

    // 9600 is written as 0 but every unknown code also reads as 9600.
    switch (byteAt(b, kBaudAddress)) {
    case 4:
        s.baudIndex = 1;
        break;
    case 2:
        s.baudIndex = 2;
        break;
    case 1:
        s.baudIndex = 3;
        break;
    default:
        s.baudIndex = 0;
    }

    live::BlockReading reading;
    reading.function = "FREQ";
    live::DecodeBlockValue(b.size() > 57 ? b.substr(57, 2) : std::string_view{}, reading);
    s.frequency = text::formatGeneral(text::leadingNumber(reading.value) * 1000);

    const int output = byteAt(b, kOutputModeAddress);
    s.outputIndex = output == 1 || output == 2 ? output : 0;
    s.outputUnits = wordAt(b, kOutputIntervalAddress);
    s.outputText = intervalText(s.outputUnits * kIntervalUnitSeconds);
    return s;
}

std::vector<std::pair<std::string, std::string>> describe(const LoggerStatus& s) {
    return {
        {"number", s.number},
        {"id", std::to_string(s.id)},
        {"mode", kModeItems[s.modeIndex]},
        {"memory size", s.memorySize},
        {"date", s.date},
        {"time", s.time},
        {"sampling interval", text::formatGeneral(s.samplingSeconds)},
        {"memory pointer", std::to_string(s.pointer)},
        {"records", s.recordsText},
        {"write counts", s.writeCounts},
        {"baud rate", kBaudItems[s.baudIndex]},
        {"frequency", s.frequency},
        {"rs-232 output", kOutputItems[s.outputIndex]},
        {"output interval", text::formatGeneral(s.outputUnits * kIntervalUnitSeconds)},
    };
}

} // namespace pa::logger
