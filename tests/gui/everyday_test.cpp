// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// Everyday use of the windows offscreen, against the simulator: readings that pause only
// with the user's consent and say so, a port line that follows the port, busy waits that keep
// painting, and (with the real dialogs) dialogs that belong to the window that asked, save
// dialogs that add the extension and a status window that paints every update.
#include "ui/MeterRec.h"

#include "gui_support.h"
#include "logger/Logger.h"
#include "pfimprove/ImprovePF.h"
#include "plot/PlotFile.h"
#include "qt/qt_ui.h"
#include "trend/TrendChart.h"
#include "ui/CHKSPEED.h"

#include <QComboBox>
#include <QFileDialog>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QRegularExpression>
#include <QScreen>

#include <cmath>

namespace {

namespace fs = std::filesystem;
using namespace pa::testing;
using pa::ui::MeterRec;

class Everyday : public ::testing::Test {
  protected:
    void openAndCreate(const char* file) {
        window.startup(true);
        window.show();
        rig.open();
        ui.inputs.push_back(file);
        rig.action("FileCreate")->trigger();
    }
    // Whether the readings run, the pause line shows and what the recording box says.
    std::tuple<bool, bool, std::string> state() {
        return {window.timer2().isActive(),
                window.findChild<QLabel*>("Paused")->isVisibleTo(&window), ui.statusTextNow};
    }

    ScriptedUi ui;
    PtyRig rig{ui};
    MeterRec& window = rig.window;
};

// While recording, opening the plot window (or the viewer) asks first, in the chosen language:
// No leaves the readings running; Yes holds them, and the main window and the recording box
// say so until the window closes.
TEST_F(Everyday, WhileRecordingAPauseIsAskedForAndShown) {
    openAndCreate("pause");
    emit window.findChild<QMenu*>("FileStart")->aboutToShow();
    menuItem(&window, "Now(Auto)")->trigger();
    const auto running = std::make_tuple(true, false, std::string("Recording !"));
    ASSERT_EQ(state(), running);
    menuItem(&window, "Chinese")->trigger();
    const auto plot = [&] { return window.findChild<pa::plot::PlotFile*>(); };
    ui.answers = {pa::app::Answer::No, pa::app::Answer::Yes};
    rig.action("PlotData")->trigger();
    ASSERT_EQ(ui.messages.size(), 1u);
    EXPECT_TRUE(ui.messages[0].buttons == pa::app::Buttons::YesNo &&
                ui.messages[0].text.starts_with("正在記錄中。從檔案作圖 視窗開啟期間"));
    EXPECT_EQ(state(), running);
    EXPECT_FALSE(plot() && plot()->isVisible());

    rig.action("PlotData")->trigger();
    ASSERT_TRUE(plot() && plot()->isVisible());
    EXPECT_EQ(state(), std::make_tuple(false, true, std::string("Recording paused !")));
    EXPECT_EQ(shown(&window, "Paused"), "從檔案作圖 開啟中，讀值暫停");
    plot()->close();
    EXPECT_EQ(std::tuple(state(), window.recorder().recordingRunning()), std::tuple(running, true));
}

// A vanished device closes the port and the line says so; the cycle's reset after its silent
// ticks opens it again and the line follows at once. Driven tick by tick on the virtual clock,
// so it does not depend on the machine's load.
TEST(PortLine, FollowsThePortThroughTheCyclesReset) {
    SimRig rig;
    rig.window.openPort("SIM");
    rig.window.timer1().stop();
    rig.window.timer2().stop();
    const auto poll = [&] { QMetaObject::invokeMethod(&rig.window.timer2(), "timeout"); };
    auto* line = rig.window.findChild<QLabel*>("PortState");
    poll();
    EXPECT_TRUE(line->text().startsWith("SIM")) << line->text().toStdString();
    rig.port.close(); // as a vanished device closes itself
    poll();
    EXPECT_EQ(line->text(), "no port open");
    for (int i = 0; i < 30 && !rig.port.isOpen(); ++i)
        poll();
    ASSERT_TRUE(rig.port.isOpen());
    EXPECT_TRUE(line->text().startsWith("SIM")) << line->text().toStdString();
}

// Every hold of the readings, whatever its cause, shows the banner and greyed readouts, keeps
// the window's width, and is a gap in the trend and its CSV; the windows opened open over
// the main window, on its screen. Not recording, nothing is asked.
TEST_F(Everyday, EveryPauseShowsTheBannerAndIsAGapInTheTrend) {
    window.move(40, 30);
    openAndCreate("gaps");
    pa::logger::Logger* logger = window.openLogger();
    window.findChild<QPushButton*>("trend")->click(); // the chart collects while it shows
    ASSERT_TRUE(window.trendChart()->isVisible());
    QApplication::processEvents();
    const int width = window.width();
    const QRect screen = window.screen()->availableGeometry();
    const QPoint centre = window.frameGeometry().center();
    auto& store = window.trendChart()->store();
    const auto plot = [&] { return window.findChild<pa::plot::PlotFile*>(); };
    ui.files.push_back(rig.dataFile("gaps.txt").string()); // for View File
    const struct {
        const char* cause;
        std::function<void()> run;
        std::function<QWidget*()> opened; // the window it opened, if any
    } causes[] = {
        {"Get Hz", [&] { window.findChild<QPushButton*>("get_hz")->click(); },
         [] { return nullptr; }},
        {"Datalogger", [&] { logger->findChild<QPushButton*>("Read_Status")->click(); },
         [&] { return logger; }},
        {"View File", [&] { window.viewFile(); }, [&] { return window.viewer(); }},
        {"Plot Data from File", [&] { rig.action("PlotData")->trigger(); }, plot},
        {"Improve PF", [&] { window.showPF(); }, [&] { return window.improvePF(); }},
    };
    for (const auto& c : causes) {
        SCOPED_TRACE(c.cause);
        ASSERT_TRUE(waitFor([&] { return window.timer2().isActive() && store.size() > 2; }));
        const std::size_t before = store.size();
        bool bannerSeen = false, greyed = false;
        // Looked at during the blocking work, and once after it while a window is open.
        auto look = [&] {
            bannerSeen |=
                window.pauseBanner()->isVisible() && window.pauseBanner()->text().contains(c.cause);
            greyed |= window.panel(pa::live::kW)->styleSheet().contains("dashed");
        };
        QTimer watch;
        QObject::connect(&watch, &QTimer::timeout, look);
        watch.start(50);
        c.run();
        QApplication::processEvents();
        look();
        watch.stop();
        if (QWidget* opened = c.opened()) {
            // On the screen, centred on the main window unless the screen's edge holds it back.
            const QRect frame = opened->frameGeometry();
            QRect ideal = frame;
            ideal.moveCenter(centre);
            EXPECT_TRUE(
                screen.contains(frame) &&
                ((frame.center() - centre).manhattanLength() <= 2 || !screen.contains(ideal)))
                << frame.x() << "," << frame.y();
            opened->close();
        }
        ASSERT_FALSE(window.findChild<QLabel*>("Paused")->isVisibleTo(&window));
        EXPECT_TRUE(bannerSeen && greyed) << bannerSeen << greyed;
        ASSERT_TRUE(waitFor([&] { return store.size() > before + 2; }));
        // The pause's start and end are gaps marked paused, and a reading follows them.
        int pausedGaps = 0;
        for (std::size_t i = before; i < store.size(); ++i)
            pausedGaps += store.status(i) == pa::trend::Status::Paused &&
                          std::isnan(store.value(i, pa::trend::kW));
        EXPECT_EQ(pausedGaps, 2);
        EXPECT_EQ(window.width(), width) << "the banner never widens the window";
    }
    EXPECT_EQ(window.trendChart()->readingPauses().size(), std::size(causes));
    for (const auto& m : ui.messages) // not recording: nothing is asked
        EXPECT_NE(m.buttons, pa::app::Buttons::YesNo) << m.text;
}

// The same main window with the real dialogs and status window.
class RealDialogs : public ::testing::Test {
  protected:
    // A message box nobody in the test expects is noted and closed after a while, so that a
    // fault fails the test instead of leaving it waiting.
    void SetUp() override {
        ui.setOwner(&window);
        watchdog.setInterval(3000);
        QObject::connect(&watchdog, &QTimer::timeout, [this] {
            auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            if (box && box == lastSeen) {
                unexpected << box->text();
                box->done(QMessageBox::Cancel);
            }
            lastSeen = box;
        });
        watchdog.start();
    }
    void TearDown() override {
        EXPECT_TRUE(unexpected.isEmpty()) << unexpected.join(" | ").toStdString();
    }
    QTimer watchdog;
    QMessageBox* lastSeen = nullptr;
    QStringList unexpected;
    pa::qt::QtUi ui;
    PtyRig rig{ui};
    MeterRec& window = rig.window;
};

// Get Hz waits 5.5 s: no wait box, but the banner is painted, names Get Hz and counts down.
// The datalogger's dialogs and its progress box belong to its window: centred over it, the
// title whole, and a bar under the count during a status read. What is seen during each
// blocking wait is looked at on a timer, the last look kept.
TEST_F(RealDialogs, BusyWaitsPaintAndTheLoggerOwnsItsDialogs) {
    window.startup(true);
    window.show();
    rig.open();
    QLabel* banner = window.pauseBanner();
    PaintCounter paints(banner);
    QString text;
    bool boxShown = false;
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, [&] {
        if (banner->isVisible())
            text = banner->text();
        boxShown |= ui.statusWindow()->isVisible();
    });
    look.start(50);
    window.findChild<QPushButton*>("get_hz")->click();
    look.stop();
    EXPECT_TRUE(QRegularExpression("Get Hz.* [1-5] s$").match(text).hasMatch())
        << text.toStdString();
    EXPECT_EQ(std::make_tuple(boxShown, paints.n > 0, banner->isVisible(),
                              window.panel(pa::live::kHz)->text()),
              std::make_tuple(false, true, false, QString("50Hz")));

    pa::logger::Logger* logger = window.openLogger();
    logger->move(400, 300);
    ASSERT_TRUE(waitFor([&] { return QApplication::activeWindow() == logger; }));
    QWidget* parent = nullptr;
    whenModal([&](QWidget* dialog) {
        parent = dialog->parentWidget();
        dialog->close();
    });
    logger->findChild<QAction*>("DataDump")->trigger();
    EXPECT_EQ(parent, logger);

    pa::ui::CHKSPEED* box = ui.statusWindow();
    QPoint offCentre;
    int titleRoom = 0, barValue = -1, count = -1;
    QObject::disconnect(&look, nullptr, nullptr, nullptr);
    QObject::connect(&look, &QTimer::timeout, [&] {
        bool counting = false; // the bytes still to read, not a text before or after
        const int left = box->text().toInt(&counting);
        if (!counting || !box->isVisible() || !box->progressBar()->isVisible())
            return;
        offCentre = box->frameGeometry().center() - logger->frameGeometry().center();
        titleRoom = box->width() - box->fontMetrics().horizontalAdvance(box->windowTitle());
        barValue = box->progressBar()->value();
        count = left;
    });
    look.start(50);
    logger->findChild<QPushButton*>("Read_Status")->click();
    ASSERT_GE(barValue, 0) << "the bar was seen during the read";
    EXPECT_EQ(count, 95 - barValue) << "text and bar show the same progress";
    EXPECT_TRUE(offCentre.manhattanLength() <= 40 && titleRoom > 100)
        << offCentre.manhattanLength() << " " << titleRoom;
}

// The speed check times 1010 screen updates: each one must be painted then and there, not
// merged into one paint when the event loop next runs, or a slow PC is never found. The same
// window shows a download's progress and offers Cancel (pressed by click or Escape) only while
// a transfer runs; a press belongs to the transfer it ended.
TEST_F(RealDialogs, EverySpeedCheckUpdateIsPaintedAndCancelIsOfferedDuringATransfer) {
    pa::ui::CHKSPEED* status = ui.statusWindow();
    ui.statusShow(); // at start-up the port prompt runs the event loop before the check
    ASSERT_TRUE(waitFor([&] { return status->testAttribute(Qt::WA_Mapped); }));
    PaintCounter paints(status->findChild<QLabel*>("Text1"));
    window.link().CheckPcSpeed();
    // One paint per update, before the check ends; the check hides the window at its end.
    EXPECT_EQ(std::pair(paints.n, status->isVisible()), std::pair(1010, false));

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

TEST_F(RealDialogs, SaveDialogsAddTheChosenFiltersExtension) {
    window.show();
    const struct {
        const char* typed;
        const char* filter; // chosen in the dialog; none for the first
        const char* saved;
    } cases[] = {{"logger1", nullptr, "logger1.txt"},
                 {"logger2", "CSV Files (*.csv)", "logger2.csv"}};
    for (const auto& c : cases) {
        whenModal([&](QWidget* w) {
            auto* dialog = qobject_cast<QFileDialog*>(w);
            ASSERT_TRUE(dialog);
            if (c.filter) { // chosen in the file type list, as a user does
                auto* types = dialog->findChild<QComboBox*>("fileTypeCombo");
                ASSERT_TRUE(types);
                const int index = types->findText(c.filter);
                types->setCurrentIndex(index);
                emit types->activated(index);
            }
            dialog->findChild<QLineEdit*>("fileNameEdit")->setText(c.typed); // typed
            static_cast<QDialog*>(dialog)->accept(); // as the Save button does
        });
        const auto path = ui.saveFileAt("Save logger data", "Data Files (*.txt);;CSV Files (*.csv)",
                                        rig.profile.str() + "/.txt");
        EXPECT_EQ(fs::path(path.value_or("")).filename().string(), c.saved);
    }
}

} // namespace
