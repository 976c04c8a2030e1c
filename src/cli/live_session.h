// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The live cycle without a window, as the sampling subcommands run it: the port (a device
// or the simulated instrument), the link, the cycle and its two timers.
#include "app/meter_link.h"
#include "cli/console_ui.h"
#include "live/live_cycle.h"
#include "qt/qt_clock.h"
#include "qt/qt_port.h"
#include "simulated_device.h"

#include <QTimer>
#include <functional>
#include <memory>
#include <string>

namespace pa::cli {

class LiveSession {
  public:
    LiveSession();
    // Starts the simulated instrument when simulate is set; "" or the reason it failed.
    std::string prepare(const std::string& port, bool simulate);
    // Opens the port and starts sampling; false after the console has said that the port is
    // not available and why.
    bool open();
    // Runs the event loop until quit or Ctrl-C; afterTick runs after every poll tick.
    int run(const std::function<void()>& afterTick, const std::function<void()>& onStop);

    app::ProgramState state;
    qt::QtPort serial;
    sim::PortRouter port{serial};
    qt::QtClock clock;
    ConsoleUi ui;
    app::MeterLink link{port, clock, ui, state};
    live::LiveCycle cycle{port, clock, ui, state};

  private:
    std::unique_ptr<sim::SimulatedDevice> simulator_;
    std::string device_;
    QTimer timer1_, timer2_, stopCheck_;
};

} // namespace pa::cli
