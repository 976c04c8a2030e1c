// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The Logger window's logic against the in-process simulated instrument, on virtual time,
// with a temporary data folder.
#include "datafile/data_folder.h"
#include "inprocess_port.h"
#include "instrument.h"
#include "logger/logger_exchange.h"
#include "logger/logger_session.h"
#include "support/fake_clock.h"
#include "support/message_texts.h"
#include "support/scripted_ui.h"
#include "support/test_files.h"

#include <algorithm>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace pa::testing {

// The virtual seconds that `f` takes.
inline double timed(FakeClock& clock, const std::function<void()>& f) {
    const double t0 = clock.secondsSinceMidnight();
    f();
    return clock.secondsSinceMidnight() - t0;
}

inline sim::Load quietLoad() {
    sim::Load load;
    load.noise = 0;
    return load;
}

struct LoggerRig {
    sim::Instrument meter{quietLoad()};
    sim::InProcessPort port{meter};
    FakeClock clock;
    ScriptedUi ui;
    app::ProgramState state;
    logger::LoggerExchange exchange{port, clock, ui, state};
    std::vector<int> live; // SetLiveSampling calls, in order
    TempFolder temp;
    std::string folder = temp.str();
    std::string path = folder + "/log.txt";
    logger::LoggerSession session{exchange, [this](int on) { live.push_back(on); },
                                  [this] { return folder; }};

    LoggerRig() {
        port.setPortName("SIM");
        port.open();
        state.baudCode = 9;
        session.load();
    }

    sim::LoggerModel& logger() { return meter.logger(); }
    std::vector<std::string> messages() const { return messageTexts(ui); }
    double timed(const std::function<void()>& f) { return testing::timed(clock, f); }
    // Read/Save with the file dialog answered by `file` (nullopt: cancelled).
    void download(std::optional<std::string> file) {
        ui.files.push_back(std::move(file));
        session.Read_All();
    }
};

using RigStep = std::function<void(LoggerRig&)>;

} // namespace pa::testing
