// The datalogger and self-test windows offscreen, opened from the main window, against the
// in-process simulator on virtual time.
#include "gui_support.h"
#include "inprocess_port.h"
#include "logger/Logger.h"
#include "logger/diag.h"
#include "qt/qt_ui.h"
#include "support/fake_clock.h"
#include "support/scripted_ui.h"
#include "ui/CHKSPEED.h"
#include "ui/MeterRec.h"

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <gtest/gtest.h>

namespace {

using pa::testing::shown;

struct LoggerWindow : ::testing::Test {
    pa::sim::Load load{230, 0.55, 0.92, 50, 0};
    pa::sim::Instrument meter{load};
    pa::sim::InProcessPort port{meter};
    pa::testing::FakeClock clock;
    pa::testing::ScriptedUi ui;
    pa::app::ProgramState state;
    pa::ui::MeterRec window{state, port, clock, ui};

    void SetUp() override {
        window.openPort("SIM");
        ASSERT_TRUE(port.isOpen());
        state.baudCode = 9;
    }
};

TEST_F(LoggerWindow, DataloggerMenuOpensTheWindowAndTheStatusButtonFillsIt) {
    QAction* item = window.findChild<QAction*>("datalogger");
    ASSERT_TRUE(item);
    EXPECT_TRUE(item->isEnabled());
    meter.logger().fillRecords(12, load);
    item->trigger();
    auto* logger = window.findChild<pa::logger::Logger*>("Logger");
    ASSERT_TRUE(logger);
    EXPECT_TRUE(logger->isVisible());

    logger->findChild<QPushButton*>("Read_Status")->click();
    EXPECT_EQ(shown(logger, "Label1_30"), "IDLE");
    EXPECT_EQ(shown(logger, "Label1_7"), "12");
    EXPECT_EQ(shown(logger, "Label1_5"), "8K");
    EXPECT_EQ(logger->findChild<QLineEdit*>("Text1_2")->text(), "16:58:00");
    EXPECT_EQ(logger->findChild<QComboBox*>("Combo2")->currentText(), "9600");
    EXPECT_TRUE(window.timer2().isActive()) << "the live cycle is handed back";

    // A user's choice of "One Shot" reaches the logger after its note.
    auto* output = logger->findChild<QComboBox*>("Combo3");
    output->setCurrentIndex(2);
    emit output->activated(2);
    EXPECT_EQ(meter.logger().at(59), 2);
    EXPECT_EQ(ui.messages.size(), 1u);

    // Enter in the sampling box writes the rounded count and shows it.
    auto* sampling = logger->findChild<QLineEdit*>("Text1_3");
    sampling->setText("3");
    emit sampling->returnPressed();
    EXPECT_EQ(meter.logger().word(18), 8);
    EXPECT_EQ(sampling->text(), "3.2   ");

    auto* console = logger->findChild<QLineEdit*>("Text2");
    console->setText("W 7 42");
    emit console->returnPressed();
    EXPECT_EQ(meter.logger().at(7), 42);
    EXPECT_EQ(shown(logger, "Label1_40"), "2A");

    QDir().mkpath(PA_TEST_OUTPUT_DIR);
    EXPECT_TRUE(logger->grab().save(PA_TEST_OUTPUT_DIR "/logger.png"));
}

TEST_F(LoggerWindow, DiagnosticReadsTheSelfTestResults) {
    meter.logger().setWord(41, 2);
    meter.logger().setWord(43, 300);
    auto* logger = window.openLogger();
    auto* item = logger->findChild<QAction*>("show_diag");
    ASSERT_TRUE(item);
    item->trigger();
    auto* d = logger->findChild<pa::logger::diag*>("diag");
    ASSERT_TRUE(d);
    d->findChild<QPushButton*>("diag_read")->click();
    EXPECT_EQ(shown(d, "Panel1_1"), "OK");
    EXPECT_EQ(shown(d, "Panel1_3"), "2");
    EXPECT_EQ(shown(d, "Panel1_5"), "300");
    EXPECT_EQ(shown(d, "Panel2_1"), "PASS");
    EXPECT_TRUE(d->grab().save(PA_TEST_OUTPUT_DIR "/diag.png"));
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

} // namespace
