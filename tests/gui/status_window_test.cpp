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

namespace {

using namespace pa::testing;

// The speed check times 1010 screen updates: each one must be painted then and there, not
// merged into one paint when the event loop next runs, or a slow PC is never found. The same
// window shows a download's progress and offers Cancel (pressed by click or Escape) only while
// a transfer runs; a press belongs to the transfer it ended.
TEST(StatusWindow, EverySpeedCheckUpdateIsPaintedAndCancelIsOfferedDuringATransfer) {
    pa::qt::QtUi ui;
    pa::ui::CHKSPEED* status = ui.statusWindow();
    RecordingPort port;
    FakeClock clock;
    pa::app::ProgramState state;
    pa::app::MeterLink link(port, clock, ui, state);
    ui.statusShow(); // at start-up the port prompt runs the event loop before the check
    ASSERT_TRUE(waitFor([&] { return status->testAttribute(Qt::WA_Mapped); }));
    PaintCounter paints(status->findChild<QLabel*>("Text1"));
    link.CheckPcSpeed();
    EXPECT_EQ(paints.n, 1010) << "one paint per update, before the check ends";
    EXPECT_FALSE(status->isVisible()) << "the check hides the window at its end";

    ui.statusShow();
    EXPECT_FALSE(status->cancelButton()->isVisible());
    QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    const std::function<void()> presses[] = {[&] { status->cancelButton()->click(); },
                                             [&] { QApplication::sendEvent(status, &escape); }};
    for (const auto& press : presses) {
        ui.statusCancellable(true);
        const bool offered = status->cancelButton()->isVisible() && !ui.statusCancelled();
        press();
        const bool pressed = ui.statusCancelled();
        ui.statusCancellable(false);
        EXPECT_EQ(std::make_tuple(offered, pressed, status->cancelButton()->isVisible(),
                                  ui.statusCancelled()),
                  std::make_tuple(true, true, false, false));
    }
}

} // namespace
