// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The recorder fed odd readings: whatever bytes arrive at each poll (cut from the input: a
// length byte, then that many bytes; a zero length is a silent poll) go through the live
// cycle into automatic recording, manual records and lost-communication lines, with a
// sampling time, price and hours typed from the input's first line. What must hold: the file
// holds the header and exactly the lines the recorder says it wrote, each ended once (no
// reading can break a line or add one), and each lost-communication line is 143 characters.
#include "datafile/recorder.h"
#include "live/live_cycle.h"
#include "support/fake_clock.h"
#include "support/recording_port.h"
#include "support/scripted_ui.h"

#include "scratch_file.h"
#include <algorithm>

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string path = pa::fuzzing::scratchPath("record");
    const std::string text(reinterpret_cast<const char*>(data), size);
    // The one-line boxes of the window hold no line ends.
    std::string typed = text.substr(0, std::min<std::size_t>(text.find_first_of("\r\n"), 24));

    pa::testing::RecordingPort port;
    port.setPortName("FUZZ");
    port.open();
    pa::testing::FakeClock clock;
    pa::testing::ScriptedUi ui;
    pa::app::ProgramState state;
    pa::live::LiveCycle cycle(port, clock, ui, state);
    pa::datafile::Recorder recorder(cycle, clock, ui, state);
    recorder.setEntryTexts([&] { return pa::datafile::EntryTexts{"month", typed}; });
    cycle.setRecordingHook(&recorder);
    cycle.applySamplingTime(typed);
    cycle.energy().priceEntered(typed);
    cycle.energy().hoursEntered(typed);
    if (!recorder.createFileAt(path))
        return 0;
    recorder.StartRecording();
    recorder.recordNumberTyped(typed);
    const bool manual = size > 0 && data[0] & 1;
    manual ? recorder.Manually() : recorder.NowAuto();

    for (std::size_t at = std::min(typed.size() + 1, size); at < size;) {
        const std::size_t n = std::min<std::size_t>(data[at], size - at - 1);
        port.incoming = text.substr(at + 1, n);
        at += n + 1;
        cycle.Timer1Tick();
        if (manual && n % 3 == 0)
            recorder.Record();
        for (int poll = 0; poll < (n == 0 ? 7 : 1); ++poll)
            cycle.Timer2Tick();
        clock.advance(n % 2 ? 0.4 : 1.0);
    }
    recorder.EndRecording();

    std::ifstream in(path, std::ios::binary);
    std::stringstream whole;
    whole << in.rdbuf();
    const std::string file = whole.str();
    const auto ends = std::count(file.begin(), file.end(), '\n');
    if (ends != 1 + recorder.linesWritten() || (!file.empty() && file.back() != '\n'))
        __builtin_trap();
    std::istringstream lines(file);
    // A lost-communication line is told by its third field: a record line may hold the same
    // words in its typed hours text.
    const auto lostLine = [](const std::string& line) {
        const auto second = line.find(',', line.find(',') + 1);
        return line.find(',') != std::string::npos && second != std::string::npos &&
               line.compare(second + 1, 18, " NO COM, DATA LOST") == 0;
    };
    for (std::string line; std::getline(lines, line);)
        if (lostLine(line) &&
            std::count_if(line.begin(), line.end(), [](char c) {
                return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
            }) != pa::datafile::kLostCommunicationLength + 1) // and the CR of the line end
            __builtin_trap();
    return 0;
}
