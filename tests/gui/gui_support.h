#pragma once
// Helpers of the offscreen window tests.
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QString>
#include <QThread>
#include <functional>

namespace pa::testing {

// Serves events until the condition holds or the cap runs out.
inline bool waitFor(const std::function<bool()>& condition, int capMs = 8000) {
    QElapsedTimer timer;
    timer.start();
    while (!condition() && timer.elapsed() < capMs) {
        QApplication::processEvents(QEventLoop::AllEvents, 20);
        QThread::msleep(5);
    }
    return condition();
}

// Where screenshots and printed files of the tests go.
inline QString screenshotPath(const char* name) {
    QDir().mkpath(PA_TEST_OUTPUT_DIR);
    return QString(PA_TEST_OUTPUT_DIR) + "/" + name;
}

} // namespace pa::testing
