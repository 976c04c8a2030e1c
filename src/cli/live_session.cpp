// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "cli/live_session.h"

#include "cli/commands.h"

#include "qt/live_timers.h"

#include <QCoreApplication>

namespace pa::cli {

LiveSession::LiveSession() {
    qt::wireLiveTimers(timer1_, timer2_, link, cycle);
    QObject::connect(&timer1_, &QTimer::timeout,
                     [this] { timer1_.setInterval(cycle.Timer1Tick()); });
}

std::string LiveSession::prepare(const std::string& port, bool simulate) {
    device_ = port;
    if (!simulate)
        return "";
    simulator_ = std::make_unique<sim::SimulatedDevice>();
    if (!simulator_->start(this->port))
        return "could not start the simulated instrument: " + simulator_->lastError();
    device_ = simulator_->devicePath();
    return "";
}

bool LiveSession::open() {
    if (link.SelectPortByName(device_))
        return true;
    fail(link.lastFailure()); // after the console's "... not available" line, the reason
    return false;
}

int LiveSession::run(const std::function<void()>& afterTick, const std::function<void()>& onStop) {
    QObject::connect(&timer2_, &QTimer::timeout, [this, afterTick] {
        cycle.Timer2Tick();
        if (afterTick)
            afterTick();
    });
    QObject::connect(&stopCheck_, &QTimer::timeout, [onStop] {
        if (!stopRequested())
            return;
        if (onStop)
            onStop();
        QCoreApplication::quit();
    });
    stopCheck_.start(100);
    return QCoreApplication::exec();
}

} // namespace pa::cli
