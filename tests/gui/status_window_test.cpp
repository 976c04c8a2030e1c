// The small status window as the speed check drives it through the Qt dialogs.
#include "app/meter_link.h"
#include "gui_support.h"
#include "qt/qt_ui.h"
#include "support/fake_clock.h"
#include "support/recording_port.h"
#include "ui/CHKSPEED.h"

#include <QEvent>
#include <QLabel>
#include <gtest/gtest.h>

namespace {

// Counts the paints of one widget and the texts it showed when painted.
struct PaintCounter : QObject {
    explicit PaintCounter(QLabel* label) : label(label) { label->installEventFilter(this); }
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
    auto* text = ui.statusWindow()->findChild<QLabel*>("Text1");
    ASSERT_TRUE(text);
    ui.statusShow(); // at start-up the port prompt runs the event loop before the check
    ASSERT_TRUE(
        pa::testing::waitFor([&] { return ui.statusWindow()->testAttribute(Qt::WA_Mapped); }));
    PaintCounter counter(text);

    link.CheckPcSpeed();
    ASSERT_EQ(counter.painted.size(), 1010) << "one paint per update, before the check ends";
    EXPECT_EQ(counter.painted.front(), "      100");
    EXPECT_EQ(counter.painted[99], "      1");
    EXPECT_EQ(counter.painted[100], "      ") << "the mask's # shows nothing for 0";
    EXPECT_EQ(counter.painted[101], "      100");
    EXPECT_EQ(counter.painted.back(), "      ");
    EXPECT_FALSE(ui.statusWindow()->isVisible()) << "the check hides the window at its end";
}

} // namespace
