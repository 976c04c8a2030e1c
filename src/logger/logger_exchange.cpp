// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "logger/logger_exchange.h"

namespace pa::logger {

namespace {

std::string byteText(std::initializer_list<int> values) {
    std::string s;
    for (int v : values)
        s.push_back(static_cast<char>(static_cast<unsigned char>(v)));
    return s;
}

} // namespace

int CheckLoggerReply(int kind, const std::string& reply) {
    std::size_t length = 0;
    if (kind == kOneByteReply)
        length = 3;
    else if (kind == kThreeByteReply)
        length = 5;
    else
        return -2;
    if (reply.size() == length && reply.front() == kStx && reply[length - 1] == kEtx)
        return 1;
    return reply.empty() ? -1 : 0;
}

LoggerExchange::LoggerExchange(app::Port& port, app::Clock& clock, app::Ui& ui,
                               const app::ProgramState& state)
    : port_(port), clock_(clock), ui_(ui), state_(state) {}

void LoggerExchange::drain() {
    while (port_.bytesWaiting() > 0)
        port_.readAll();
}

int LoggerExchange::SendLoggerCommand(const std::string& command, int address, int value) {
    drain();
    // The instrument's program keeps these in 16-bit integers and converts them to single
    // bytes: anything that does not fit one byte is refused before a byte goes out.
    if (value / 256 != 0 || value < 0 || address < 0) {
        warn("value too large");
        return -1;
    }
    const int addressByte = address % 256; // the high part is never sent: 300 reaches 44
    if (command == "W") {
        port_.write("W");
        pause(kLetterPause);
        port_.write(byteText({addressByte, 0, value}));
        pause(kAfterBytesPause);
    } else if (command == "R") {
        port_.write("R");
        pause(kLetterPause);
        port_.write(byteText({addressByte, 0}));
        pause(kAfterBytesPause);
    } else if (command == "X") {
        QueryLoggerState();
    } else if (command == "S" || command == "T" || command == "G" || command == "N" ||
               command == "EEE") {
        port_.write(command);
    }
    // BaudCode is 0 until the user picks a speed, so this applies at start-up too.
    if (state_.baudCode < kSlowLinkBelow)
        pause(kSlowLinkPause);
    return 0;
}

int LoggerExchange::QueryLoggerState() {
    pause(kBeforeStatusPause);
    // "Receive" before sending and "Send" after it: the order the user has always seen.
    ui_.statusText("  Status Receive");
    drain();
    port_.write("X");
    ui_.statusText("  Status Send");
    pause(kStatusReplyPause);
    const std::string reply = port_.readAll();
    if (reply.empty()) {
        warn("No response, check your cable or DMM");
        return kNoReply;
    }
    // Only the framing positions count; characters after the third are ignored.
    if (reply.size() >= 3 && reply[0] == kStx && reply[2] == kEtx) {
        const int status = static_cast<unsigned char>(reply[1]);
        if (status & 0x20)
            warn("Self-Testing, no data will be sent out of DMM");
        return (status & 0x01) ? kRecording : kIdle;
    }
    warn("Incorrect leading or trailing byte");
    return kBadFraming;
}

int LoggerExchange::ReportReplyCheck(int kind, const std::string& reply) {
    switch (CheckLoggerReply(kind, reply)) {
    case 1:
        return 1;
    case 0:
        warn("Incorrect data format");
        break;
    case -1:
        warn("No response");
        break;
    default:
        warn("Program error");
        break;
    }
    return 0;
}

} // namespace pa::logger
