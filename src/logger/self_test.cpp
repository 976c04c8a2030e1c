// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "logger/self_test.h"

#include <optional>

namespace pa::logger {

SelfTest::SelfTest(LoggerExchange& exchange, std::function<void(int)> setLiveSampling)
    : ex_(exchange), live_(std::move(setLiveSampling)) {}

void SelfTest::diag_start() {
    live_(0);
    if (ex_.ui().message("Are sure you want to start self-testing", "", app::Icon::Question,
                         app::Buttons::YesNo) != app::Answer::No) {
        ex_.SendLoggerCommand("W", kVerdictAddress, kSelfTestRequestCode);
        ex_.warn("Disconnect the cable, turn the power off, and turn it on again, then the unit "
                 "starts self-testing. It will takes about 15 minutes.  During self-test, you "
                 "will not be able to get data from the Power Analyzer");
    }
    live_(1);
}

std::optional<int> SelfTest::readByte(int address) {
    ex_.SendLoggerCommand("R", address, 0);
    const std::string reply = ex_.readReply();
    if (!ex_.ReportReplyCheck(kOneByteReply, reply))
        return std::nullopt;
    return static_cast<unsigned char>(reply[1]);
}

std::optional<int> SelfTest::readWord(int address) {
    const auto low = readByte(address);
    if (!low)
        return std::nullopt;
    const auto high = readByte(address + 1);
    if (!high)
        return std::nullopt;
    return *high * 256 + *low;
}

void SelfTest::diag_read() {
    live_(0);
    ex_.pause(kDiagPause);
    ex_.drain();
    ex_.port().write("X");
    ex_.pause(kDiagPause);
    results[1] = "?";
    const std::string reply = ex_.readReply();
    if (reply.empty()) {
        ex_.warn("No response, check your cable or DMM");
        ex_.QueryLoggerState();
    } else if (reply.size() >= 3 && reply[0] == kStx && reply[2] == kEtx) {
        if (static_cast<unsigned char>(reply[1]) & 0x20)
            ex_.warn("Self-Testing, no data will be sent out of DMM");
        results[1] = "OK";
    } else {
        ex_.warn("Incorrect leading or ending byte");
    }

    // Any bad reply ends the reads; the results not reached keep what they showed.
    [&] {
        const auto failures = readWord(41);
        if (!failures)
            return;
        results[3] = std::to_string(*failures);
        if (*failures != 0) {
            const auto memoryStatus = readWord(43);
            if (!memoryStatus)
                return;
            results[5] = std::to_string(*memoryStatus);
        } else {
            results[5] = "None";
        }
        const auto v = readByte(kVerdictAddress);
        if (!v)
            return;
        if (*v == 1) {
            verdict[1] = "PASS";
        } else if (*v == 2) {
            verdict[1] = "FAIL";
            if (const auto detail = readWord(46))
                verdict[3] = std::to_string(*detail);
        } else {
            verdict[1] = "?";
        }
    }();
    live_(1);
}

} // namespace pa::logger
