// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// Arbitrary text as an alarm file. The parser either refuses it with FILE:LINE: cause or
// gives a set that, written out, reads back to the same set; the set then runs through the
// evaluator on samples made from the same bytes, and every event names an alarm of the set.
#include "alarms/alarm_evaluator.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    pa::alarms::ParseResult parsed = pa::alarms::parseAlarms(text, "f");
    if (!parsed.error.empty()) {
        if (parsed.error.rfind("f:", 0) != 0 || !parsed.set.alarms.empty())
            std::abort();
        return 0;
    }
    const std::string written = pa::alarms::formatAlarms(parsed.set);
    const pa::alarms::ParseResult again = pa::alarms::parseAlarms(written, "f");
    if (!again.error.empty() || pa::alarms::formatAlarms(again.set) != written)
        std::abort();

    pa::alarms::Evaluator evaluator(std::move(parsed.set));
    std::vector<pa::alarms::Event> events;
    double t = 0;
    for (std::size_t i = 0; i + 2 <= size && i < 512; i += 2) {
        pa::alarms::Sample s;
        t += data[i] / 16.0;
        s.time = t;
        s.answered = data[i + 1] & 1;
        for (int q = 0; q < pa::alarms::kQuantities && s.answered; ++q) {
            if (data[i + 1] & 2)
                s.value[q] = (static_cast<int>(data[i + 1]) - 128) * 20.0;
            s.overload[q] = data[i + 1] & 4;
        }
        evaluator.step(s, events);
        if (data[i] == 0)
            evaluator.acknowledgeAll(t, events);
        for (const auto& e : events)
            if (e.alarm < 0 || e.alarm >= static_cast<int>(evaluator.set().alarms.size()))
                std::abort();
    }
    return 0;
}
