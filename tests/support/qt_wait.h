#pragma once
// Waiting on a condition while Qt serves its events, with a cap instead of a fixed sleep.
#include <QApplication>
#include <QElapsedTimer>
#include <QThread>
#include <functional>

namespace pa::testing {

inline bool waitUntil(const std::function<bool()>& condition, int capMs = 8000) {
    QElapsedTimer timer;
    timer.start();
    while (!condition() && timer.elapsed() < capMs) {
        QApplication::processEvents(QEventLoop::AllEvents, 20);
        QThread::msleep(5);
    }
    return condition();
}

} // namespace pa::testing
