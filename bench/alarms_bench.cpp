// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// Evaluating an alarm set once per sample: 50 alarms of every kind over a varying reading,
// with the sample taken from the live cycle's panels as the window and monitor take it.
#include "alarms/alarm_evaluator.h"

#include <benchmark/benchmark.h>

#include <string>

namespace {

std::string fiftyAlarms() {
    const char* kinds[] = {"quantity = W\nabove = 150\nhysteresis = 5\nfor = 2\n",
                           "quantity = PF\nbelow = 0.9\nhysteresis = 0.01\n",
                           "quantity = V\noutside = 210..250\nhysteresis = 2\n",
                           "quantity = A\ninside = 0.5..0.6\n",
                           "quantity = VAR\noverload = yes\n",
                           "quantity = reading\nsilent_for = 5\n",
                           "quantity = cost_per_day\nabove = 2\n",
                           "quantity = kWh\nabove = 10\n",
                           "quantity = Hz\noutside = 49.5..50.5\n",
                           "quantity = angle\nabove = 30\n"};
    std::string file;
    for (int i = 0; i < 50; ++i)
        file +=
            "[alarm " + std::to_string(i) + "]\n" + kinds[i % 10] + "actions = banner, log, mqtt\n";
    return file;
}

void BM_Evaluate50Alarms(benchmark::State& state) {
    pa::alarms::Evaluator evaluator(pa::alarms::parseAlarms(fiftyAlarms(), "bench").set);
    pa::live::Readouts r;
    r.Panel3D2 = {"116.4", ".920", "230.1", ".550", "23.1", "126.50", "49.53", "50Hz", "0.0100"};
    pa::live::EnergyCost energy;
    energy.priceEntered("0.25");
    const char* watts[] = {"116.4", "171.6", "OL", "148.0", "155.2"};
    std::vector<pa::alarms::Event> events;
    double t = 0;
    long raised = 0;
    for (auto _ : state) {
        t += 0.2;
        r.Panel3D2[pa::live::kW] = watts[static_cast<long>(t * 5) % 5];
        evaluator.step(pa::alarms::sampleFrom(r, energy, t, true), events);
        raised += static_cast<long>(events.size());
    }
    benchmark::DoNotOptimize(raised);
    state.counters["alarms"] = 50;
}
BENCHMARK(BM_Evaluate50Alarms);

} // namespace
