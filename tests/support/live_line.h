// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The instrument's live line for the logic tests: display blocks as they travel, and a clock
// whose pauses bring a reply, as the instrument answers during a measuring pause.
#include "support/fake_clock.h"
#include "support/recording_port.h"

#include <cstdint>
#include <string>

namespace pa::testing {

// One display block: the function code, the value word low byte first, two unused bytes.
inline std::string blockBytes(int code, std::uint16_t word) {
    return {static_cast<char>(code), static_cast<char>(word & 0xFF), static_cast<char>(word >> 8),
            0, 0};
}

// Once a second of pauses has passed, `reply` arrives on `port`.
struct ReplyClock : FakeClock {
    RecordingPort* port = nullptr;
    std::string reply;
    double paused = 0;
    void pause(double s) override {
        FakeClock::pause(s);
        if (paused < 1 && (paused += s) >= 1)
            port->incoming += reply;
    }
};

} // namespace pa::testing
