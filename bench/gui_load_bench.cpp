// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The desktop program under load, timed as a user would see it:
//   start-up to a shown main window (start-up sequence, speed check, first paint), and
//   CPU use of the user-interface thread while sampling the simulator every 0.5 s.
// Usage: gui_load_bench [seconds]   (default 60; QT_QPA_PLATFORM=offscreen without a display)
#include "gui_bench_support.h"
#include "pty_host.h"
#include "qt/qt_clock.h"
#include "qt/qt_port.h"
#include "ui/MeterRec.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTimer>
#include <cstdio>
#include <cstdlib>

using pa::bench::ClickingUi;
using pa::bench::threadCpuSeconds;

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && qEnvironmentVariableIsEmpty("DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const int seconds = argc > 1 ? std::atoi(argv[1]) : 60;
    QElapsedTimer startup;
    startup.start();
    QApplication app(argc, argv);

    pa::sim::PtyHost sim;
    if (!sim.start())
        return 1;
    pa::app::ProgramState state;
    pa::qt::QtPort port;
    pa::qt::QtClock clock;
    ClickingUi ui;
    pa::ui::MeterRec window(state, port, clock, ui);
    window.setPorts({{"simulated instrument", sim.devicePath(), false}}, false);
    window.startup();
    window.show();
    QApplication::processEvents(); // the first paint
    const double startupMs = startup.nsecsElapsed() / 1e6;

    window.openPort(sim.devicePath());
    window.cycle().applySamplingTime("0.5");
    const double cpu0 = threadCpuSeconds();
    QElapsedTimer wall;
    wall.start();
    QTimer::singleShot(seconds * 1000, &app, &QApplication::quit);
    app.exec();
    const double cpu = threadCpuSeconds() - cpu0;
    const double elapsed = wall.nsecsElapsed() / 1e9;

    std::printf("start-up to shown window: %.0f ms (speed check %s)\n", startupMs,
                state.slowPcFlag ? "slow" : "fast");
    std::printf("sampling every 0.5 s for %.0f s: UI thread CPU %.3f s = %.2f %% of one core\n",
                elapsed, cpu, 100.0 * cpu / elapsed);
    std::printf("frames served by the simulator: %d\n", sim.framesSent());
    return 0;
}
