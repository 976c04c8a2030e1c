// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// One poll tick of the live cycle: read a 21-byte frame, request the next, decode the four
// blocks, derive VA, VAR, angle, cost and energy, and format every panel.
#include "app/clock.h"
#include "app/port.h"
#include "app/ui.h"
#include "instrument.h"
#include "live/frame_decoder.h"
#include "live/live_cycle.h"

#include <benchmark/benchmark.h>

namespace {

// A port that always has the next frame waiting.
class FramePort : public pa::app::Port {
  public:
    explicit FramePort(std::string frame) : frame_(std::move(frame)) {}
    bool setPortName(const std::string&) override { return true; }
    std::string portName() const override { return "bench"; }
    void setSettings(const std::string&) override {}
    std::string settings() const override { return "9600,n,8,1"; }
    bool open() override { return true; }
    void close() override {}
    bool isOpen() const override { return true; }
    std::string lastError() const override { return {}; }
    void write(const std::string&) override {}
    int bytesWaiting() override { return static_cast<int>(frame_.size()); }
    std::string readAll() override { return frame_; }

  private:
    std::string frame_;
};

class StillClock : public pa::app::Clock {
  public:
    double secondsSinceMidnight() override { return t += 1.0; }
    pa::app::DateTime now() override { return {}; }
    void pause(double) override {}
    double t = 36000;
};

class SilentUi : public pa::app::Ui {
  public:
    pa::app::Answer message(const std::string&, const std::string&, pa::app::Icon,
                            pa::app::Buttons) override {
        return pa::app::Answer::Ok;
    }
    std::optional<std::string> input(const std::string&, const std::string&,
                                     const std::string&) override {
        return std::nullopt;
    }
    std::optional<std::string> openFile(const std::string&, const std::string&) override {
        return std::nullopt;
    }
    std::optional<std::string> saveFile(const std::string&, const std::string&) override {
        return std::nullopt;
    }
    void statusShow() override {}
    void statusHide() override {}
    void statusCaption(const std::string&) override {}
    void statusText(const std::string&) override {}
    void processEvents() override {}
    void beep() override {}
    void openDocument(const std::string&) override {}
};

void BM_PollTick(benchmark::State& s) {
    pa::sim::Instrument instrument;
    FramePort port(instrument.liveFrame());
    StillClock clock;
    SilentUi ui;
    pa::app::ProgramState state;
    pa::live::LiveCycle cycle(port, clock, ui, state);
    cycle.energy().choosePeriod(0);
    for (auto _ : s) {
        cycle.Timer1Tick(); // a new clock text each time: energy integrates every tick
        cycle.Timer2Tick();
        benchmark::DoNotOptimize(cycle.readouts());
    }
}
BENCHMARK(BM_PollTick);

void BM_DecodeBlock(benchmark::State& s) {
    const std::string block{'\xC0', '\xA3', '\x89'};
    pa::live::BlockReading r;
    for (auto _ : s) {
        pa::live::DecodeBlock(block, r);
        benchmark::DoNotOptimize(r);
    }
}
BENCHMARK(BM_DecodeBlock);

} // namespace
