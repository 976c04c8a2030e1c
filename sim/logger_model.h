// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The instrument's data logger: 8 KB of memory whose first 96 bytes are the status block,
// followed by the stored records, and the single-letter commands that reach it.
//
// Commands (every reply is framed by STX 0x02 and ETX 0x03):
//   "X"              status: STX, status byte, ETX. Bit 0 recording, bit 5 self-testing.
//   "R" a 0          read one byte: STX, memory[a], ETX. Only one address byte travels, so
//                    only addresses 0..255 can be read.
//   "W" a 0 v        write v at address a; no reply. Refused (ignored) while recording or
//                    self-testing.
//   "U"              the whole memory in one stream: STX, 8192 bytes, ETX.
//   "S" "T" "G" "N" "EEE"
//                    service commands; the model logs them and changes nothing.
//
// Status block layout (two-byte numbers little-endian):
//   0-1 model number   2-3 ID             5 recording mode     6 memory size (KB << 2)
//   8-17 clock digits MMDDHHMMSS          18-19 sampling interval in 0.4 s units
//   20-21 pointer to the next free byte   41-42 memory write failures
//   43-44 memory status                   45 self-test verdict (1 pass, 2 fail; 150 asks)
//   46-47 failure detail                  48 baud code         57-58 frequency word (kHz)
//   59 RS-232 output mode                 60-61 output interval in 0.4 s units
//
// A record is 8 bytes from address 96 on: the value words of W, A, V and PF, low byte first.
// Raw example, the start of a fresh logger's status block:
//   D4 08 01 00 00 20 00 00 31 31 31 35 31 36 35 38 30 30 05 00 60 00 ...
#include "display_word.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace pa::sim {

struct Load;

inline constexpr int kLoggerMemoryBytes = 8192;
inline constexpr int kStatusBlockBytes = 96;
inline constexpr int kRecordBytes = 8;
inline constexpr int kLoggerCapacity = (kLoggerMemoryBytes - kStatusBlockBytes) / kRecordBytes;
inline constexpr int kSelfTestRequest = 150;

// How the logger misbehaves, for a number of replies or for ever.
enum class LoggerFault {
    None,
    NoReply,     // replies are swallowed
    BadFraming,  // replies start with NAK (0x15) instead of STX
    ShortStream, // the "U" stream stops half way through the records, then ETX
    NoEtx,       // the "U" stream ends without its ETX
};

class LoggerModel {
  public:
    LoggerModel();

    // True when the byte belongs to the logger: a command letter, or an argument of a
    // command under way.
    bool takes(char byte) const;
    // One byte of a logger command; returns the reply (often empty).
    std::string receive(char byte);

    // The memory as the instrument holds it.
    std::uint8_t at(int address) const { return memory_.at(address); }
    void set(int address, std::uint8_t value) { memory_.at(address) = value; }
    void setWord(int address, std::uint16_t value);
    std::uint16_t word(int address) const;
    const std::array<std::uint8_t, kLoggerMemoryBytes>& memory() const { return memory_; }

    // Convenience setters of the status block.
    void setClock(const std::string& mmddhhmmss); // ten digits
    void setSamplingUnits(std::uint16_t units) { setWord(18, units); }
    int pointer() const { return word(20); }
    int records() const { return (pointer() - kStatusBlockBytes) / kRecordBytes; }

    // Stores one record of four displays (the words of W, A, V, PF on the instrument's
    // ranges); false when the memory is full.
    bool appendRecord(double watts, double amps, double volts, double powerFactor);
    bool appendRecordWords(std::uint16_t w, std::uint16_t a, std::uint16_t v, std::uint16_t pf);
    // Fills n records from the load (no noise); returns how many fitted.
    int fillRecords(int n, const Load& load);
    void eraseRecords() { setWord(20, kStatusBlockBytes); }

    // The REC key: while recording the logger refuses writes.
    void setRecording(bool on) { recording_ = on; }
    bool recording() const { return recording_; }
    void setSelfTesting(bool on) { selfTesting_ = on; }
    // Power off and on: a requested self-test runs and leaves its verdict (and, on failure,
    // the detail) behind.
    void powerCycle(bool pass = true, std::uint16_t failureDetail = 0);

    // The fault hits `replies` replies (-1: until changed) after `after` good ones.
    void setFault(LoggerFault fault, int replies = -1, int after = 0);
    LoggerFault fault() const { return fault_; }

    // The service commands seen, in order ("S", "G", "EEE", ...), and the commands obeyed.
    const std::vector<std::string>& serviceCommands() const { return serviceCommands_; }
    int reads() const { return reads_; }
    int writes() const { return writes_; }
    int downloads() const { return downloads_; }

  private:
    std::string reply(std::string body);
    bool faultDue(bool stream); // counts one reply against the fault
    static std::string framed(std::string body, LoggerFault fault);
    std::string download();
    std::string finish(char command);

    std::array<std::uint8_t, kLoggerMemoryBytes> memory_{};
    char pending_ = 0; // 'R' or 'W' while their argument bytes arrive
    std::string args_; // the argument bytes so far
    int eRun_ = 0;     // consecutive "E" letters
    bool recording_ = false;
    bool selfTesting_ = false;
    LoggerFault fault_ = LoggerFault::None;
    int faultReplies_ = -1;
    int faultAfter_ = 0;
    std::vector<std::string> serviceCommands_;
    int reads_ = 0, writes_ = 0, downloads_ = 0;
};

} // namespace pa::sim
