// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// Arbitrary bytes from the serial line through whole poll ticks of the live cycle: the input
// is cut into chunks (the first byte of each gives its length), each chunk arrives before one
// poll tick, and every third chunk is preceded by a sample tick.
#include "live/frame_decoder.h"
#include "live/live_cycle.h"
#include "support/fake_clock.h"
#include "support/recording_port.h"
#include "support/scripted_ui.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    pa::testing::RecordingPort port;
    port.devices = {"FUZZ"};
    port.setPortName("FUZZ");
    port.open();
    pa::testing::FakeClock clock(86399.5); // half a second before midnight
    pa::testing::ScriptedUi ui;
    pa::app::ProgramState state;
    pa::live::LiveCycle cycle(port, clock, ui, state);

    std::size_t i = 0;
    for (int chunk = 0; i < size; ++chunk) {
        const std::size_t length = data[i++] % 48;
        const std::size_t take = length < size - i ? length : size - i;
        const std::string bytes(reinterpret_cast<const char*>(data + i), take);
        i += take;
        if (chunk % 3 == 0)
            cycle.Timer1Tick();
        port.incoming = bytes;
        cycle.Timer2Tick();
        clock.advance(0.2);

        pa::live::BlockReading reading;
        pa::live::DecodeBlock(bytes, reading);
    }
    return 0;
}
