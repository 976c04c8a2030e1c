// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// Arbitrary typed text into every entry box: the sampling time, the price and hours boxes,
// the data file name, the six boxes of the PF improvement window (and the capacitance
// reading behind them), the logger window's five settings boxes, and the number reading and
// formatting they all rely on. A data file name made from any typed text must stay in the
// data folder: one plain name, never a path, "." or "..".
#include "datafile/data_file.h"
#include "datafile/data_folder.h"
#include "live/live_cycle.h"
#include "logger/settings_encoding.h"
#include "pfimprove/pf_calculator.h"
#include "support/fake_clock.h"
#include "support/recording_port.h"
#include "support/scripted_ui.h"
#include "text/leading_number.h"
#include "text/mask_format.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const double value = pa::text::leadingNumber(text);
    for (const char* mask : {"###0.0", "######0.00", "######0.0###", "#0.0", "0.0##", "#.0",
                             "#00.00", "      #", "#0.0#E-##", "##.##E-"})
        pa::text::formatMask(value, mask);
    pa::text::formatGeneral(value);
    pa::text::roundHalfEven(value);

    pa::testing::RecordingPort port;
    pa::testing::FakeClock clock;
    pa::testing::ScriptedUi ui;
    pa::app::ProgramState state;
    pa::live::LiveCycle cycle(port, clock, ui, state);
    cycle.applySamplingTime(text);
    cycle.Timer1Tick();
    cycle.energy().priceEntered(text);
    cycle.energy().hoursEntered(text);

    const std::string name = pa::datafile::normaliseFileName(text);
    if (!name.empty()) {
        const std::string folder = "/data/folder";
        const std::filesystem::path joined =
            std::filesystem::path(pa::datafile::joinPath(folder, name)).lexically_normal();
        if (joined.parent_path() != folder || name == "." || name == ".." ||
            name.find_first_of("/\\") != std::string::npos)
            __builtin_trap();
    }

    // Each settings box with the typed text, the others holding what users type.
    for (int box = 0; box < 5; ++box) {
        std::vector<std::string> boxes = {"1", "11-23", "10:00:00", "0.4", "1"};
        boxes[static_cast<std::size_t>(box)] = text;
        pa::logger::encodeSetting(box, boxes);
    }
    pa::logger::intervalUnits(value);

    // The readouts are cut from the input too, so odd readings meet odd targets.
    pa::pfimprove::PfCalculator calculator;
    pa::pfimprove::ReadoutTexts readouts;
    for (std::size_t i = 0; i < readouts.size(); ++i)
        readouts[i] = i * 6 < text.size() ? text.substr(i * 6, 6) : std::string();
    calculator.UpdateP(readouts);
    calculator.Enter(static_cast<int>(size % 6), text);
    pa::pfimprove::readCapacitance(text);
    return 0;
}
