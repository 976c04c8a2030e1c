// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The trend's ring holding a full day: appending a sample, and the per-column envelope and
// statistics a redraw asks for, over a minute, an hour and the whole day.
#include "trend/trend_store.h"

#include <benchmark/benchmark.h>
#include <cmath>
#include <utility>

namespace {

using namespace pa::trend;

const TrendStore& fullDay() {
    static const TrendStore store = [] {
        TrendStore s;
        for (std::size_t i = 0; i < kDayOfSamples; ++i) {
            const float w = static_cast<float>(116 + 40 * std::sin(static_cast<double>(i) / 600));
            s.append(static_cast<double>(i) * 0.5, Values{w, 0.92f, 230, 0.55f, 126, 49, 50});
        }
        return s;
    }();
    return store;
}

void BM_AppendToFullRing(benchmark::State& state) {
    TrendStore store(kDayOfSamples);
    double t = 0;
    for (std::size_t i = 0; i < kDayOfSamples; ++i)
        store.append(t += 0.5, Values{});
    for (auto _ : state)
        store.append(t += 0.5, Values{1, 2, 3, 4, 5, 6, 7});
    benchmark::DoNotOptimize(store.size());
}
BENCHMARK(BM_AppendToFullRing);

// The span of state.range(0) seconds ending at the newest sample (0: the whole day).
std::pair<double, double> spanOf(const TrendStore& store, const benchmark::State& state) {
    const double to = store.newestTime();
    const auto seconds = static_cast<double>(state.range(0));
    return {seconds ? to - seconds : store.oldestTime(), to};
}

// Cut into 1000 columns.
void BM_EnvelopeOfSpan(benchmark::State& state) {
    const TrendStore& store = fullDay();
    const auto [from, to] = spanOf(store, state);
    for (auto _ : state)
        benchmark::DoNotOptimize(store.envelope(kW, from, to, 1000));
}
BENCHMARK(BM_EnvelopeOfSpan)->Arg(60)->Arg(3600)->Arg(0)->Unit(benchmark::kMicrosecond);

void BM_StatsOfSpan(benchmark::State& state) {
    const TrendStore& store = fullDay();
    const auto [from, to] = spanOf(store, state);
    for (auto _ : state)
        benchmark::DoNotOptimize(store.stats(kW, from, to));
}
BENCHMARK(BM_StatsOfSpan)->Arg(60)->Arg(3600)->Arg(0)->Unit(benchmark::kMicrosecond);

} // namespace
