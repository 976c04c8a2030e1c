// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// GoogleTest main for the tests that need Qt: a QApplication on the offscreen platform
// unless the caller chose another (test discovery runs this binary during the build).
#include <QApplication>
#include <gtest/gtest.h>

#include <ctime>

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    // Time stamps carry the UTC offset of the machine's zone: the tests, and the programs they
    // start, expect UTC.
    qputenv("TZ", "UTC0");
    tzset();
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
