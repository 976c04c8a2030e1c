// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// What publishing a sample costs the live cycle: building the state object, and handing it
// to the MQTT client connected to a private broker on loopback. The CPU time is the calling
// thread's (the live cycle's); the client's network thread does the writing.
#include "cli/mqtt_publisher.h"
#include "e2e/mosquitto_broker.h"
#include "live/mqtt_messages.h"

#include <QCoreApplication>
#include <benchmark/benchmark.h>

namespace {

pa::live::Readouts sample() {
    pa::live::Readouts r;
    const char* panels[] = {"116.4",  ".920",  "230",  ".550",  "23.1",
                            "126.50", "49.53", "50Hz", "0.0012"};
    for (int p = 0; p < 9; ++p)
        r.Panel3D2[p] = panels[p];
    return r;
}

void BM_StateJson(benchmark::State& state) {
    const auto r = sample();
    for (auto _ : state)
        benchmark::DoNotOptimize(
            pa::live::stateJson(r, pa::live::isoTimestamp(std::chrono::system_clock::now())));
}
BENCHMARK(BM_StateJson);

void BM_PublishSample(benchmark::State& state) {
    pa::testing::MosquittoBroker broker;
    if (!broker.start()) {
        state.SkipWithError("mosquitto could not be started");
        return;
    }
    pa::cmdline::MqttOptions options{
        "127.0.0.1", broker.port(), "bench/pa", "bench", "", "", "", "", ""};
    pa::cli::MqttPublisher publisher(options, 0.5);
    if (!publisher.start().empty()) {
        state.SkipWithError("the MQTT client could not start");
        return;
    }
    const auto waitUntil = [](auto done) {
        for (int i = 0; i < 20000 && !done(); ++i)
            QThread::usleep(50);
    };
    waitUntil([&] { return publisher.connected(); });
    const auto r = sample();
    for (auto _ : state) {
        publisher.publish(r);
        // Each sample is written before the next, as at the live cycle's pace.
        state.PauseTiming();
        waitUntil([&] { return publisher.sent() == publisher.samples(); });
        state.ResumeTiming();
    }
    state.counters["lost"] = static_cast<double>(publisher.samples() - publisher.sent());
}
BENCHMARK(BM_PublishSample)->Iterations(2000);

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
