// Arbitrary typed text into every entry box: the sampling time, the price and hours boxes,
// the data file name, the six boxes of the PF improvement window (and the capacitance
// reading behind them), and the number reading and formatting they all rely on.
#include "datafile/data_file.h"
#include "live/live_cycle.h"
#include "pfimprove/pf_calculator.h"
#include "support/fake_clock.h"
#include "support/recording_port.h"
#include "support/scripted_ui.h"
#include "text/leading_number.h"
#include "text/mask_format.h"

#include <cstddef>
#include <cstdint>
#include <string>

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

    pa::datafile::normaliseFileName(text);

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
