// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The diag window's logic: asking the instrument for its memory self-test and reading the
// results it keeps in the logger's status block.
//
//   41-42  memory write failure count     43-44  memory status (read when failures > 0)
//   45     verdict: 1 pass, 2 fail; 150 requests a test at the next power-on
//   46-47  failure detail (read when the verdict is 2)
#include "logger/logger_exchange.h"

#include <array>
#include <functional>
#include <string>

namespace pa::logger {

inline constexpr int kVerdictAddress = 45;
inline constexpr int kSelfTestRequestCode = 150;
// diag_read's own pauses around its "X".
inline constexpr double kDiagPause = 0.1;

class SelfTest {
  public:
    SelfTest(LoggerExchange& exchange, std::function<void(int)> setLiveSampling);

    // Asks, then writes the request code into the verdict byte.
    void diag_start();
    // The link check, then the failure count, memory status, verdict and detail.
    void diag_read();

    // Panel arrays of the window: the first holds the link result (1), the failure count
    // (3) and the memory status (5); the second the verdict (1) and the failure detail (3).
    std::array<std::string, 6> results{};
    std::array<std::string, 4> verdict{};

  private:
    std::optional<int> readByte(int address);
    std::optional<int> readWord(int address);

    LoggerExchange& ex_;
    std::function<void(int)> live_;
};

} // namespace pa::logger
