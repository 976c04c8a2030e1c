// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// A model of the power analyzer's side of the serial link.
//
// The program asks for a live frame with one blank " ". The answer is 21 bytes: STX (0x02)
// and four 5-byte display blocks in the order W, PF, V, A. Each block is the code byte of
// its function and range, the value word low byte then high byte (display_word.h), and two
// unused zero bytes. A frame showing 116.4 W, .920, 230 V and .550 A:
//
//   02  C0 A3 89 00 00  D0 25 C1 00 00  04 11 03 00 00  31 A9 C2 00 00
//
// The byte 0xF5 asks for the line frequency; the answer is five bytes: STX, the frequency
// block's code and value word (in kilohertz: 50 Hz reads .050 with the unit bit clear for
// kHz), ETX (0x03). The characters "9", "4", "2", "1" switch the instrument's line speed
// to 9600, 4800, 2400, 1200 baud; they have no answer. The letters of the data logger's
// commands and their argument bytes go to the logger (logger_model.h). Other bytes are
// ignored.
#include "display_word.h"
#include "logger_model.h"

#include <array>
#include <cstdint>
#include <optional>
#include <random>
#include <string>

namespace pa::sim {

// The load on the instrument's terminals. Power is volts x amps x power factor; a negative
// power factor gives negative power. Noise is relative: each reading is multiplied by a
// factor drawn evenly from [1 - noise, 1 + noise]. A swing varies the current as a sine
// wave of that relative amplitude and period (counted in live frames at the program's five a
// second), so that the readings change like a cycling compressor or a motor under load.
struct Load {
    double volts = 230.0, amps = 0.55, powerFactor = 0.92, hertz = 50.0, noise = 0.002;
    double swing = 0.0, swingPeriod = 60.0; // relative amplitude; period in seconds
};

// Live frames a second when the program polls every 200 ms: the clock of the swing.
inline constexpr double kFramesPerSecond = 5.0;

// What the displays show.
enum class Display {
    Normal,
    Hold,     // every block's code is 255; the words keep the reading held
    Overload, // every display shows overload on its range
    StartUp,  // every word has all segments lit (0xFFFF)
};

// How the instrument misbehaves on the line.
enum class Fault {
    None,
    Silent,    // answers nothing
    Garbage,   // answers random bytes of random length, sometimes runs of 0xFF
    Truncated, // answers only the first bytes of each reply
};

inline constexpr char kStx = 0x02;
inline constexpr char kEtx = 0x03;
inline constexpr char kFrameRequest = ' ';
inline constexpr char kFrequencyRequest = static_cast<char>(0xF5);
inline constexpr int kFrameSize = 21;
inline constexpr int kFrequencyReplySize = 5;
inline constexpr int kStartBaud = 9600;

class Instrument {
  public:
    explicit Instrument(Load load = {}, unsigned seed = 1);

    // Bytes from the PC at the given line speed; returns the instrument's answer bytes.
    // When lineBaud differs from the instrument's own speed the answer is what a receiver
    // at the wrong speed would see: garbled bytes (the instrument still obeys a baud
    // character).
    std::string receive(const std::string& fromPc, int lineBaud = kStartBaud);

    int baud() const { return baud_; }

    void setLoad(const Load& load) { load_ = load; }
    Load load() const { return load_; }

    // Entering Hold keeps the last reading sent (or takes one when none was sent yet).
    void setDisplay(Display display);
    Display display() const { return display_; }

    void setFault(Fault fault) { fault_ = fault; }
    Fault fault() const { return fault_; }
    // How many bytes of each reply a Truncated fault lets through (always fewer than the
    // reply has). Default 12.
    void setTruncatedLength(int bytes) { truncatedLength_ = bytes < 0 ? 0 : bytes; }

    std::string liveFrame();      // the next 21-byte frame (noise applied)
    std::string frequencyReply(); // the next 5-byte frequency answer (noise applied)

    // Counters: commands obeyed (frame and frequency requests, baud characters) and
    // complete live frames put on the line.
    int requestsServed() const { return requestsServed_; }
    int framesSent() const { return framesSent_; }

    // The data logger inside the instrument.
    LoggerModel& logger() { return logger_; }
    const LoggerModel& logger() const { return logger_; }

  private:
    // One measurement of every display: W, PF, V, A, then the frequency.
    struct Reading {
        std::array<BlockWord, 4> live;
        BlockWord frequency;
    };

    // Commands are looked up byte by byte in one table; each handler returns its reply.
    using Handler = std::string (Instrument::*)(char command);
    static Handler handlerFor(char command);
    std::string onFrameRequest(char command);
    std::string onFrequencyRequest(char command);
    std::string onBaudCharacter(char command);

    Reading measure();
    Reading shown(const Reading& measured) const;
    double noisy(double value);
    int draw(int low, int high); // evenly from low..high
    std::string applyFault(std::string reply);
    std::string applyLoggerFault(std::string reply);

    Load load_;
    Display display_ = Display::Normal;
    Fault fault_ = Fault::None;
    int truncatedLength_ = 12;
    int baud_ = kStartBaud;
    std::mt19937 random_;
    std::optional<Reading> last_; // the last reading measured
    std::optional<Reading> held_; // what Hold keeps showing
    int requestsServed_ = 0;
    int framesSent_ = 0;
    long long measurements_ = 0; // advances the swing
    LoggerModel logger_;
};

} // namespace pa::sim
