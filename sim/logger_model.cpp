// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "logger_model.h"

#include "instrument.h"

#include <string_view>
#include <utility>

namespace pa::sim {

namespace {

constexpr char kNak = 0x15;
constexpr std::uint16_t kModelNumber = 2260;
constexpr int kMemorySizeByte = (kLoggerMemoryBytes / 1024) << 2;
constexpr std::uint16_t kStartSamplingUnits = 5; // 2 s
constexpr std::uint16_t kStartOutputUnits = 25;  // 10 s

// Argument bytes after each letter: address and zero for "R", plus the value for "W".
int argumentsOf(char command) {
    return command == 'R' ? 2 : command == 'W' ? 3 : 0;
}

} // namespace

LoggerModel::LoggerModel() {
    setWord(0, kModelNumber);
    setWord(2, 1); // ID
    set(6, kMemorySizeByte);
    setClock("1115165800");
    setSamplingUnits(kStartSamplingUnits);
    setWord(20, kStatusBlockBytes);
    set(45, 1); // last self-test passed
    // 50 Hz on the frequency display, in kHz (.050) with the unit bit clear.
    setWord(57, static_cast<std::uint16_t>(encodeReading(0.050, 3) & ~1u));
    setWord(60, kStartOutputUnits);
}

void LoggerModel::setWord(int address, std::uint16_t value) {
    set(address, static_cast<std::uint8_t>(value & 0xFF));
    set(address + 1, static_cast<std::uint8_t>(value >> 8));
}

std::uint16_t LoggerModel::word(int address) const {
    return static_cast<std::uint16_t>(at(address) | at(address + 1) << 8);
}

void LoggerModel::setClock(const std::string& mmddhhmmss) {
    for (int i = 0; i < 10 && i < static_cast<int>(mmddhhmmss.size()); ++i)
        set(8 + i, static_cast<std::uint8_t>(mmddhhmmss[i]));
}

bool LoggerModel::appendRecordWords(std::uint16_t w, std::uint16_t a, std::uint16_t v,
                                    std::uint16_t pf) {
    const int p = pointer();
    if (p + kRecordBytes > kLoggerMemoryBytes)
        return false;
    setWord(p, w);
    setWord(p + 2, a);
    setWord(p + 4, v);
    setWord(p + 6, pf);
    setWord(20, static_cast<std::uint16_t>(p + kRecordBytes));
    return true;
}

bool LoggerModel::appendRecord(double watts, double amps, double volts, double powerFactor) {
    return appendRecordWords(
        showOnRange(watts, kWattRanges).word, showOnRange(amps, kAmpRanges).word,
        showOnRange(volts, kVoltRanges).word, showOnRange(powerFactor, kPowerFactorRanges).word);
}

int LoggerModel::fillRecords(int n, const Load& load) {
    int stored = 0;
    while (stored < n && appendRecord(load.volts * load.amps * load.powerFactor, load.amps,
                                      load.volts, load.powerFactor))
        ++stored;
    return stored;
}

void LoggerModel::powerCycle(bool pass, std::uint16_t failureDetail) {
    selfTesting_ = false;
    if (at(45) != kSelfTestRequest)
        return;
    set(45, pass ? 1 : 2);
    setWord(46, pass ? 0 : failureDetail);
}

void LoggerModel::setFault(LoggerFault fault, int replies, int after) {
    fault_ = fault;
    faultReplies_ = replies;
    faultAfter_ = after;
}

bool LoggerModel::faultDue(bool stream) {
    const bool streamFault = fault_ == LoggerFault::ShortStream || fault_ == LoggerFault::NoEtx;
    if (fault_ == LoggerFault::None || faultReplies_ == 0 || (streamFault && !stream))
        return false;
    if (faultAfter_ > 0) {
        --faultAfter_;
        return false;
    }
    if (faultReplies_ > 0)
        --faultReplies_;
    return true;
}

bool LoggerModel::takes(char byte) const {
    return pending_ != 0 || std::string_view("XRWUSTGNE").find(byte) != std::string_view::npos;
}

std::string LoggerModel::receive(char byte) {
    if (pending_) {
        args_.push_back(byte);
        if (static_cast<int>(args_.size()) < argumentsOf(pending_))
            return {};
        return finish(std::exchange(pending_, 0));
    }
    if (byte == 'E') {
        if (++eRun_ == 3) {
            eRun_ = 0;
            serviceCommands_.push_back("EEE");
        }
        return {};
    }
    eRun_ = 0;
    switch (byte) {
    case 'X':
        return reply(
            std::string(1, static_cast<char>((recording_ ? 0x01 : 0) | (selfTesting_ ? 0x20 : 0))));
    case 'R':
    case 'W':
        pending_ = byte;
        args_.clear();
        return {};
    case 'U':
        ++downloads_;
        return download();
    default:
        serviceCommands_.emplace_back(1, byte);
        return {};
    }
}

std::string LoggerModel::finish(char command) {
    const int address = static_cast<unsigned char>(args_[0]); // the second byte is always 0
    if (command == 'R') {
        ++reads_;
        return reply(std::string(1, static_cast<char>(at(address))));
    }
    if (!recording_ && !selfTesting_) {
        ++writes_;
        set(address, static_cast<std::uint8_t>(args_[2]));
    }
    return {};
}

std::string LoggerModel::download() {
    std::string body(memory_.begin(), memory_.end());
    const LoggerFault fault = faultDue(true) ? fault_ : LoggerFault::None;
    if (fault == LoggerFault::ShortStream)
        body.resize(kStatusBlockBytes + (pointer() - kStatusBlockBytes) / 2);
    std::string stream = framed(body, fault);
    if (fault == LoggerFault::NoEtx && !stream.empty())
        stream.pop_back();
    return stream;
}

std::string LoggerModel::reply(std::string body) {
    return framed(std::move(body), faultDue(false) ? fault_ : LoggerFault::None);
}

std::string LoggerModel::framed(std::string body, LoggerFault fault) {
    std::string out = std::string(1, kStx) + body + kEtx;
    if (fault == LoggerFault::NoReply)
        out.clear();
    else if (fault == LoggerFault::BadFraming)
        out[0] = kNak;
    return out;
}

} // namespace pa::sim
