// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Waiting on a condition while Qt's events are served: what the window, program and broker
// tests wait with. Needs only Qt Core, so the MQTT benchmark can use the broker helper too.
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>
#include <functional>

namespace pa::testing {

// Serves events until the condition holds or the cap runs out.
inline bool waitFor(const std::function<bool()>& condition, int capMs = 8000) {
    QElapsedTimer timer;
    timer.start();
    while (!condition() && timer.elapsed() < capMs) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        QThread::msleep(5);
    }
    return condition();
}

} // namespace pa::testing
