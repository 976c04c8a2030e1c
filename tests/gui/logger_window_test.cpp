// The datalogger and self-test windows offscreen, opened from the main window against the
// in-process simulator on virtual time, and the status window that shows the speed check and
// the progress of a download.
#include "app/meter_link.h"
#include "gui_support.h"
#include "logger/Logger.h"
#include "qt/qt_ui.h"
#include "support/recording_port.h"
#include "ui/CHKSPEED.h"

#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPushButton>
#include <gtest/gtest.h>

namespace {

using pa::testing::shown;

struct LoggerWindow : ::testing::Test {
    void SetUp() override {
        rig.window.openPort("SIM");
        ASSERT_TRUE(rig.port.isOpen());
        rig.state.baudCode = 9;
    }
    pa::testing::SimRig rig;
    pa::sim::LoggerModel& logger = rig.meter.logger();
};

// The menu item opens the window; Read Status fills it and hands the live cycle back; a
// choice in a list, Enter in the sampling box and a console command reach the logger.
TEST_F(LoggerWindow, DataloggerMenuOpensTheWindowAndTheStatusButtonFillsIt) {
    logger.fillRecords(12, rig.load);
    rig.window.findChild<QAction*>("datalogger")->trigger();
    auto* window = rig.window.findChild<pa::logger::Logger*>("Logger");
    ASSERT_TRUE(window && window->isVisible());
    window->findChild<QPushButton*>("Read_Status")->click();
    EXPECT_EQ(shown(window, "Label1_30"), "IDLE");
    EXPECT_EQ(shown(window, "Label1_7"), "12");
    EXPECT_EQ(shown(window, "Label1_5"), "8K");
    EXPECT_EQ(window->findChild<QLineEdit*>("Text1_2")->text(), "16:58:00");
    EXPECT_EQ(window->findChild<QComboBox*>("Combo2")->currentText(), "9600");
    EXPECT_TRUE(rig.window.timer2().isActive()) << "the live cycle is handed back";

    auto* output = window->findChild<QComboBox*>("Combo3");
    output->setCurrentIndex(2); // "One Shot", after its note
    emit output->activated(2);
    EXPECT_EQ(logger.at(59), 2);
    EXPECT_EQ(rig.ui.messages.size(), 1u);
    auto* sampling = window->findChild<QLineEdit*>("Text1_3");
    sampling->setText("3");
    emit sampling->returnPressed();
    EXPECT_EQ(logger.word(18), 8);
    EXPECT_EQ(sampling->text(), "3.2   ") << "the rounded count is written and shown";
    auto* console = window->findChild<QLineEdit*>("Text2");
    console->setText("W 7 42");
    emit console->returnPressed();
    EXPECT_EQ(logger.at(7), 42);
    EXPECT_EQ(shown(window, "Label1_40"), "2A");
}

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
