// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The one layer that talks to the instrument's data logger.
//
// Commands are single letters; "R" and "W" carry raw bytes after a short pause:
//   "R" | 0.01 s | address mod 256, 0x00           | 0.05 s      reply: STX byte ETX
//   "W" | 0.01 s | address mod 256, 0x00, value    | 0.05 s      no reply
//   "X" (status)                                                 reply: STX status ETX
//   "S" "T" "G" "N" "EEE" are sent bare.
// Example: writing 7 at address 300 puts 57 | 2C 00 07 on the line (the high part of an
// address never travels, so 300 reaches the logger as 44).
//
// Every reply is framed by STX (0x02) and ETX (0x03). The status byte's bit 0 means
// recording, bit 5 self-testing. Callers suspend the live exchange around their commands;
// this layer keeps no state between calls and empties the receive buffer before each one.
#include "app/clock.h"
#include "app/port.h"
#include "app/program_state.h"
#include "app/ui.h"

#include <string>

namespace pa::logger {

inline constexpr char kStx = 0x02;
inline constexpr char kEtx = 0x03;

// Pacing of the exchange, in seconds.
inline constexpr double kLetterPause = 0.01;      // between a command letter and its bytes
inline constexpr double kAfterBytesPause = 0.05;  // after the bytes of "R" and "W"
inline constexpr double kSlowLinkPause = 0.04;    // after every command below 3 (2400 baud)
inline constexpr double kBeforeStatusPause = 0.5; // before the "X" exchange
inline constexpr double kStatusReplyPause = 0.2;  // for the reply to "X"
inline constexpr int kSlowLinkBelow = 3;          // BaudCode values below this are slow

// The result of the status exchange.
enum LoggerState : int {
    kRecording = 1,
    kIdle = 0,
    kBadFraming = -1,
    kNoReply = -2,
    kSelfTesting = -3, // kept for the window's state label; the exchange never yields it
};

// Reply kinds for CheckLoggerReply: STX, one data byte, ETX / STX, three, ETX.
inline constexpr int kOneByteReply = 0;
inline constexpr int kThreeByteReply = 1;

// 1 when the reply has the kind's length, STX first and ETX last; -1 when it is empty; 0
// otherwise; -2 for an unknown kind.
int CheckLoggerReply(int kind, const std::string& reply);

class LoggerExchange {
  public:
    // The state is read for BaudCode only.
    LoggerExchange(app::Port& port, app::Clock& clock, app::Ui& ui, const app::ProgramState& state);

    // Sends one command as the table above says. Returns -1 (after "value too large") when
    // the value is outside -255..255 or either number is negative, and writes nothing;
    // otherwise 0. "X" runs QueryLoggerState and drops its result. Unknown commands send
    // nothing but still take the slow-link pause.
    int SendLoggerCommand(const std::string& command, int address, int value);

    // The "X" exchange: LoggerState, with the messages of each failure.
    int QueryLoggerState();

    // CheckLoggerReply, then the matching message; 1 for a good reply, else 0.
    int ReportReplyCheck(int kind, const std::string& reply);

    // Throws away whatever is waiting in the receive buffer.
    void drain();
    // Everything waiting now (possibly nothing).
    std::string readReply() { return port_.readAll(); }
    // The protocol's busy wait.
    void pause(double seconds) { clock_.pause(seconds); }

    app::Port& port() { return port_; }
    app::Clock& clock() { return clock_; }
    app::Ui& ui() { return ui_; }
    const app::ProgramState& programState() const { return state_; }
    // A refusal or a failure, with the exclamation icon and the default title.
    void warn(const std::string& text) { ui_.message(text, "", app::Icon::Exclamation); }

  private:
    app::Port& port_;
    app::Clock& clock_;
    app::Ui& ui_;
    const app::ProgramState& state_;
};

} // namespace pa::logger
