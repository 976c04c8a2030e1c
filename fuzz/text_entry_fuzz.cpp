// Arbitrary typed text into every entry that reads a number: the sampling time, the price
// and hours boxes, and the number reading and formatting they rely on.
#include "live/live_cycle.h"
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
    return 0;
}
