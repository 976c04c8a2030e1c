#pragma once
// The Logger window's logic against the in-process simulated instrument, on virtual time.
#include "datafile/data_folder.h"
#include "inprocess_port.h"
#include "instrument.h"
#include "logger/logger_exchange.h"
#include "logger/logger_session.h"
#include "support/fake_clock.h"
#include "support/message_texts.h"
#include "support/scripted_ui.h"
#include "support/test_files.h"

#include <string>
#include <vector>

namespace pa::testing {

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
    std::string folder;
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
    // The live exchange was handed back after every suspension, ending resumed.
    bool liveBracketed() const {
        if (live.empty() || live.back() != 1)
            return false;
        for (std::size_t i = 0; i < live.size(); ++i)
            if (live[i] != (i % 2 == 0 ? 0 : 1))
                return false;
        return true;
    }
};

} // namespace pa::testing
