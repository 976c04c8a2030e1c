// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "qt/qt_clock.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QElapsedTimer>
#include <QThread>

namespace pa::qt {

double QtClock::secondsSinceMidnight() {
    return QTime::currentTime().msecsSinceStartOfDay() / 1000.0;
}

app::DateTime QtClock::now() {
    const QDateTime t = QDateTime::currentDateTime();
    return {t.date().year(), t.date().month(),  t.date().day(),
            t.time().hour(), t.time().minute(), t.time().second() + t.time().msec() / 1000.0};
}

void QtClock::pause(double seconds) {
    QElapsedTimer timer;
    timer.start();
    const qint64 ms = static_cast<qint64>(seconds * 1000.0 + 0.5);
    const bool serveEvents = QCoreApplication::instance() != nullptr &&
                             QThread::currentThread() == QCoreApplication::instance()->thread();
    while (timer.elapsed() < ms) {
        if (serveEvents)
            QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
        QThread::msleep(1);
    }
}

} // namespace pa::qt
