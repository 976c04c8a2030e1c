// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The status window that shows the computer-speed check and the progress of a download. (The
// datalogger window itself: the manual's screenshots and the pause tests.)
#include "app/meter_link.h"
#include "gui_support.h"
#include "qt/qt_ui.h"
#include "support/recording_port.h"
#include "ui/CHKSPEED.h"

#include <QKeyEvent>
#include <gtest/gtest.h>

namespace {

// The progress window of a download offers Cancel (and Escape) only while a transfer runs.
TEST(ProgressWindow, CancelIsOfferedDuringATransferAndEscapePressesIt) {
    pa::qt::QtUi ui;
    pa::ui::CHKSPEED* status = ui.statusWindow();
    ui.statusShow();
    EXPECT_FALSE(status->cancelButton()->isVisible());
    for (const bool byKey : {false, true}) {
        ui.statusCancellable(true);
        EXPECT_TRUE(status->cancelButton()->isVisible());
        EXPECT_FALSE(ui.statusCancelled());
        if (byKey) {
            QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
            QApplication::sendEvent(status, &escape);
        } else {
            status->cancelButton()->click();
        }
        EXPECT_TRUE(ui.statusCancelled());
        ui.statusCancellable(false);
        EXPECT_FALSE(status->cancelButton()->isVisible());
        EXPECT_FALSE(ui.statusCancelled()) << "a press belongs to the transfer it ended";
    }
    ui.statusHide();
}

// Counts the paints of one label and the texts it showed when painted.
struct TextPaints : QObject {
    explicit TextPaints(QLabel* label) : label(label) { label->installEventFilter(this); }
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (watched == label && event->type() == QEvent::Paint)
            painted << label->text();
        return false;
    }
    QLabel* label;
    QStringList painted;
};

// The speed check times 1010 screen updates: each one must be painted then and there, not
// merged into one paint when the event loop next runs, or a slow PC is never found.
TEST(StatusWindow, EverySpeedCheckUpdateReachesTheScreen) {
    pa::qt::QtUi ui;
    pa::testing::RecordingPort port;
    pa::testing::FakeClock clock;
    pa::app::ProgramState state;
    pa::app::MeterLink link(port, clock, ui, state);
    ui.statusShow(); // at start-up the port prompt runs the event loop before the check
    ASSERT_TRUE(
        pa::testing::waitFor([&] { return ui.statusWindow()->testAttribute(Qt::WA_Mapped); }));
    TextPaints counter(ui.statusWindow()->findChild<QLabel*>("Text1"));
    link.CheckPcSpeed();
    ASSERT_EQ(counter.painted.size(), 1010) << "one paint per update, before the check ends";
    const struct {
        int index;
        const char* text;
    } seen[] = {
        {0, "      100"}, {99, "      1"}, {100, "      "}, {101, "      100"}, {1009, "      "}};
    for (const auto& s : seen) // the mask's # shows nothing for 0
        EXPECT_EQ(counter.painted[s.index], s.text) << s.index;
    EXPECT_FALSE(ui.statusWindow()->isVisible()) << "the check hides the window at its end";
}

} // namespace
