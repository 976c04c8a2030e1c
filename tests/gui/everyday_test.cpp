// Everyday use of the windows offscreen, against the simulator on a pseudo-terminal: readings
// that pause only with the user's consent and say so, a port line that follows the port,
// busy waits that keep painting, a main window that uses its space, an adapter that comes
// back under another device name, and (with the real dialogs) dialogs that belong to the
// window that asked, save dialogs that add the extension and Qt's own texts in Chinese.
#include "ui/MeterRec.h"

#include "gui_support.h"
#include "logger/Logger.h"
#include "pfimprove/ImprovePF.h"
#include "pfimprove/PfPictures.h"
#include "plot/PlotFile.h"
#include "pty_host.h"
#include "qt/qt_clock.h"
#include "qt/qt_port.h"
#include "qt/qt_ui.h"
#include "support/scripted_ui.h"
#include "support/test_files.h"
#include "trend/TrendChart.h"
#include "ui/CHKSPEED.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QInputDialog>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QRegularExpression>
#include <QScreen>
#include <QTimer>
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <memory>

namespace {

namespace fs = std::filesystem;
using pa::testing::menuItem;
using pa::testing::screenshotPath;
using pa::testing::shown;
using pa::testing::waitFor;
using pa::ui::MeterRec;

// Runs act on the next modal dialog once it is up (the caller then opens the dialog and
// blocks in it); act must close it.
void whenModal(std::function<void(QWidget*)> act) {
    auto* poll = new QTimer;
    poll->setInterval(30);
    QObject::connect(poll, &QTimer::timeout, [poll, act] {
        QWidget* modal = QApplication::activeModalWidget();
        if (!modal || !modal->isVisible())
            return;
        poll->stop();
        poll->deleteLater();
        act(modal);
    });
    poll->start();
}

QStringList buttonTexts(QWidget* dialog) {
    QStringList texts;
    for (auto* b : dialog->findChildren<QAbstractButton*>())
        if (b->isVisible())
            texts << b->text();
    texts.sort();
    return texts;
}

// The main window on the simulator with a profile folder of its own.
struct Rig {
    explicit Rig(pa::app::Ui& dialogs) : ui(dialogs), window(state, port, clock, ui) {
        load.noise = 0;
        sim = std::make_unique<pa::sim::PtyHost>(load);
        EXPECT_TRUE(sim->start());
        savedHome = qgetenv("HOME");
        qputenv("HOME", profile.str().c_str());
        workDir = fs::current_path();
        fs::current_path(profile.path()); // commport.dat goes here
    }
    ~Rig() {
        fs::current_path(workDir);
        qputenv("HOME", savedHome);
    }
    void open() {
        window.openPort(sim->devicePath());
        ASSERT_TRUE(waitFor([&] { return !window.cycle().readouts().clockText.empty(); }));
    }
    fs::path dataFile(const std::string& name) const {
        return profile.path() / "Documents" / "KV2260" / name;
    }
    QAction* action(const char* name) { return window.findChild<QAction*>(name); }
    bool pausedShown() { return window.findChild<QLabel*>("Paused")->isVisibleTo(&window); }

    pa::testing::TempFolder profile;
    QByteArray savedHome;
    fs::path workDir;
    pa::sim::Load load;
    std::unique_ptr<pa::sim::PtyHost> sim;
    pa::app::ProgramState state;
    pa::qt::QtPort port;
    pa::qt::QtClock clock;
    pa::app::Ui& ui;
    MeterRec window;
};

class Everyday : public ::testing::Test {
  protected:
    pa::testing::ScriptedUi ui;
    Rig rig{ui};
    MeterRec& window = rig.window;
};

// Opening the viewer or the plot window holds the readings still: while recording only after
// a Yes, and the main window and the recording box say so until the window closes.
TEST_F(Everyday, PausingTheReadingsAsksWhileRecordingAndShowsThePause) {
    window.startup();
    window.show();
    rig.open();
    ui.inputs.push_back("pause");
    rig.action("FileCreate")->trigger();
    ASSERT_TRUE(fs::exists(rig.dataFile("pause.txt")));

    const struct {
        const char* name;
        std::function<void()> open;
        std::function<QWidget*()> opened;
    } windows[] = {
        {"View File",
         [&] {
             ui.files.push_back(rig.dataFile("pause.txt").string());
             window.viewFile();
         },
         [&]() -> QWidget* { return window.viewer(); }},
        {"Plot Data from File", [&] { rig.action("PlotData")->trigger(); },
         [&]() -> QWidget* { return window.findChild<pa::plot::PlotFile*>(); }},
    };
    for (const auto& w : windows) {
        SCOPED_TRACE(w.name);
        // Not recording: nothing to ask, but the pause shows.
        ui.messages.clear();
        w.open();
        ASSERT_TRUE(w.opened() && w.opened()->isVisible());
        EXPECT_TRUE(ui.messages.empty());
        EXPECT_FALSE(window.timer2().isActive());
        EXPECT_TRUE(rig.pausedShown());
        EXPECT_TRUE(shown(&window, "Paused").contains(w.name));
        w.opened()->close();
        EXPECT_TRUE(window.timer2().isActive());
        EXPECT_FALSE(rig.pausedShown());
    }

    emit window.findChild<QMenu*>("FileStart")->aboutToShow();
    menuItem(&window, "Now(Auto)")->trigger();
    ASSERT_EQ(ui.statusTextNow, "Recording !");
    for (const auto& w : windows) {
        SCOPED_TRACE(w.name);
        ui.messages.clear();
        ui.answers.push_back(pa::app::Answer::No);
        // "No" leaves everything running, and no file is asked for.
        if (std::string(w.name) == "View File")
            window.viewFile();
        else
            rig.action("PlotData")->trigger();
        ASSERT_EQ(ui.messages.size(), 1u);
        EXPECT_EQ(ui.messages[0].buttons, pa::app::Buttons::YesNo);
        EXPECT_NE(ui.messages[0].text.find(w.name), std::string::npos) << ui.messages[0].text;
        EXPECT_NE(ui.messages[0].text.find("pause"), std::string::npos);
        EXPECT_TRUE(window.timer2().isActive());
        EXPECT_FALSE(rig.pausedShown());
        EXPECT_FALSE(w.opened() && w.opened()->isVisible());

        // "Yes": paused, and shown as paused in the window and in the recording box.
        ui.answers.push_back(pa::app::Answer::Yes);
        w.open();
        ASSERT_TRUE(w.opened() && w.opened()->isVisible());
        EXPECT_FALSE(window.timer2().isActive());
        EXPECT_TRUE(rig.pausedShown());
        EXPECT_EQ(ui.statusTextNow, "Recording paused !");
        EXPECT_TRUE(window.recorder().recordingRunning());
        w.opened()->close();
        EXPECT_TRUE(window.timer2().isActive());
        EXPECT_FALSE(rig.pausedShown());
        EXPECT_EQ(ui.statusTextNow, "Recording !");
    }
}

TEST_F(Everyday, ThePauseIsAskedAndShownInTheChosenLanguage) {
    window.startup();
    window.show();
    rig.open();
    ui.inputs.push_back("pause");
    rig.action("FileCreate")->trigger();
    emit window.findChild<QMenu*>("FileStart")->aboutToShow();
    menuItem(&window, "Now(Auto)")->trigger();
    ASSERT_TRUE(window.recorder().recordingRunning());
    rig.state.language = 2;
    window.applyCaptions(2);

    // The window is named as its menu item, without the keyboard mark "(&D)".
    ASSERT_EQ(rig.action("PlotData")->text(), "從檔案作圖(&D)");
    const std::string plot = "從檔案作圖";
    ui.messages.clear();
    ui.answers.push_back(pa::app::Answer::Yes);
    rig.action("PlotData")->trigger();
    ASSERT_EQ(ui.messages.size(), 1u);
    EXPECT_EQ(ui.messages[0].title, "記錄");
    EXPECT_EQ(ui.messages[0].text.rfind("正在記錄中。" + plot + " 視窗開啟期間", 0), 0u)
        << ui.messages[0].text;
    EXPECT_EQ(shown(&window, "Paused"), QString::fromStdString(plot + " 開啟中，讀值暫停"));
    window.findChild<pa::plot::PlotFile*>()->close();
}

TEST_F(Everyday, ThePortLineFollowsThePortThroughTheCyclesReset) {
    window.startup();
    window.show();
    rig.open();
    auto* line = window.findChild<QLabel*>("PortState");
    EXPECT_TRUE(line->text().startsWith(QString::fromStdString(rig.sim->devicePath())));
    rig.port.close(); // as a vanished device closes itself
    ASSERT_TRUE(waitFor([&] { return line->text() == "no port open"; }));
    // The cycle opens it again after two silent seconds and the line says so at once.
    ASSERT_TRUE(waitFor([&] { return rig.port.isOpen(); }, 15000));
    QApplication::processEvents();
    EXPECT_TRUE(line->text().startsWith(QString::fromStdString(rig.sim->devicePath())))
        << line->text().toStdString();
}

TEST_F(Everyday, APortNamedOnTheCommandLineIsNotAskedFor) {
    window.startup(true);
    for (const auto& m : ui.messages)
        EXPECT_NE(m.text, "Select COM port from the OPTION menu");
    rig.open();
    EXPECT_TRUE(window.timer2().isActive());
}

// Every hold of the readings, whatever its cause, shows the banner and greyed readouts, keeps
// the window's width, and is a gap in the trend and its CSV; the windows opened open over
// the main window, on its screen.
TEST_F(Everyday, EveryPauseShowsTheBannerAndIsAGapInTheTrend) {
    window.startup();
    window.show();
    window.move(40, 30);
    rig.open();
    ui.inputs.push_back("gaps");
    rig.action("FileCreate")->trigger();
    pa::logger::Logger* logger = window.openLogger();
    QApplication::processEvents();
    const int width = window.width();
    const QRect screen = window.screen()->availableGeometry();
    const QPoint centre = window.frameGeometry().center();
    auto& store = window.trendChart()->store();
    const struct {
        const char* cause;
        std::function<QWidget*()> run; // returns the window it opened, if any
    } causes[] = {
        {"Get Hz",
         [&]() -> QWidget* {
             window.findChild<QPushButton*>("get_hz")->click();
             return nullptr;
         }},
        {"Datalogger",
         [&]() -> QWidget* {
             logger->findChild<QPushButton*>("Read_Status")->click();
             return logger;
         }},
        {"View File",
         [&]() -> QWidget* {
             ui.files.push_back(rig.dataFile("gaps.txt").string());
             window.viewFile();
             return window.viewer();
         }},
        {"Plot Data from File",
         [&]() -> QWidget* {
             rig.action("PlotData")->trigger();
             return window.findChild<pa::plot::PlotFile*>();
         }},
        {"Improve PF",
         [&]() -> QWidget* {
             window.showPF();
             return window.improvePF();
         }},
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
        QWidget* opened = c.run();
        QApplication::processEvents();
        look();
        watch.stop();
        if (opened) {
            const QRect frame = opened->frameGeometry();
            EXPECT_TRUE(screen.contains(frame)) << frame.x() << "," << frame.y();
            // Centred on the main window, unless the screen's edge holds it back.
            QRect ideal = frame;
            ideal.moveCenter(centre);
            EXPECT_TRUE((frame.center() - centre).manhattanLength() <= 2 || !screen.contains(ideal))
                << frame.x() << "," << frame.y();
            opened->close();
        }
        ASSERT_FALSE(rig.pausedShown());
        EXPECT_TRUE(bannerSeen);
        EXPECT_TRUE(greyed);
        ASSERT_TRUE(waitFor([&] { return store.size() > before + 2; }));
        // The pause's start and end are gaps marked paused, and a reading follows them.
        int pausedGaps = 0;
        for (std::size_t i = before; i < store.size(); ++i)
            pausedGaps += store.status(i) == pa::trend::Status::Paused &&
                          std::isnan(store.value(i, pa::trend::kW));
        EXPECT_EQ(pausedGaps, 2);
        const std::string csv = pa::trend::toCsv(store, store.time(before), store.newestTime());
        EXPECT_NE(csv.find(",,,,,,,,,,paused\r\n"), std::string::npos) << csv;
        EXPECT_EQ(window.width(), width) << "the banner never widens the window";
    }
    EXPECT_EQ(window.trendChart()->readingPauses().size(), std::size(causes));
}

// The readouts grow with the window; the last record never widens it and is shown whole in
// its tooltip; the Record button appearing moves no other button; a new file starts with no
// last record.
TEST_F(Everyday, TheMainWindowUsesItsSpace) {
    window.startup();
    window.show();
    rig.open();
    ui.inputs.push_back("space");
    rig.action("FileCreate")->trigger();
    emit window.findChild<QMenu*>("FileStart")->aboutToShow();
    menuItem(&window, "Manually")->trigger();
    QApplication::processEvents();
    const int defaultWidth = window.width();
    auto* getHz = window.findChild<QPushButton*>("get_hz");
    auto* print = window.findChild<QPushButton*>("Print");
    const QPoint getHzAt = getHz->mapTo(&window, QPoint());
    const QPoint printAt = print->mapTo(&window, QPoint());
    ASSERT_TRUE(window.findChild<QPushButton*>("Record")->isVisible());
    window.findChild<QPushButton*>("Record")->click();
    auto* last = window.findChild<pa::ui::ElidedLabel*>("Label2");
    ASSERT_TRUE(waitFor([&] { return !last->text().isEmpty(); }));
    QApplication::processEvents();
    EXPECT_EQ(window.width(), defaultWidth) << "a record line never widens the window";
    EXPECT_EQ(last->toolTip(), last->text());
    const QString seen = last->shownText();
    // Cut lines end in an ellipsis ("…", or "..." in fonts without it) after a part of the line.
    QString kept = seen;
    kept.remove(QRegularExpression("(\\x{2026}|\\.\\.\\.)$"));
    EXPECT_TRUE(seen == last->text() ||
                (kept.size() < seen.size() && last->text().startsWith(kept)))
        << seen.toStdString();
    EXPECT_LE(last->fontMetrics().horizontalAdvance(seen), last->contentsRect().width());

    window.findChild<QAction*>("FileEnd")->trigger();
    QApplication::processEvents();
    EXPECT_FALSE(window.findChild<QPushButton*>("Record")->isVisible());
    EXPECT_EQ(getHz->mapTo(&window, QPoint()), getHzAt);
    EXPECT_EQ(print->mapTo(&window, QPoint()), printAt);
    ui.inputs.push_back("space2");
    rig.action("FileCreate")->trigger();
    EXPECT_TRUE(last->text().isEmpty()) << "the old file's last record is not the new one's";

    int wattsPoints[3] = {};
    const QSize sizes[] = {{800, 500}, {1600, 1000}, {800, 500}};
    for (int i = 0; i < 3; ++i) {
        window.resize(sizes[i]);
        QApplication::processEvents();
        ASSERT_TRUE(waitFor([&] { return window.size() == sizes[i]; }, 2000))
            << window.width() << "x" << window.height() << " at least "
            << window.minimumSizeHint().width() << "x" << window.minimumSizeHint().height();
        wattsPoints[i] = window.panel(pa::live::kW)->font().pointSize();
        const QString name = QString("main_%1x%2.png").arg(sizes[i].width()).arg(sizes[i].height());
        ASSERT_TRUE(window.grab().save(screenshotPath(name.toUtf8().constData())));
    }
    EXPECT_GE(wattsPoints[1], wattsPoints[0] * 3 / 2) << wattsPoints[0] << " " << wattsPoints[1];
    EXPECT_EQ(wattsPoints[2], wattsPoints[0]) << "and shrink back";
}

// A USB adapter pulled out comes back as another device; the program finds it by its stable
// identity and reads on. The simulator's second terminal is the adapter after the replug.
TEST_F(Everyday, AnAdapterThatComesBackUnderAnotherNameIsReopened) {
    std::string current = rig.sim->devicePath();
    const std::string byId = "usb-FTDI_FT232R_USB_UART_A50285BI-if00-port0";
    auto catalogue = [&] {
        return std::vector<pa::app::SystemPort>{{"ttyUSB0", current, true, "by-id:" + byId, byId}};
    };
    window.setPorts(catalogue(), false);
    window.setPortCatalogue(catalogue);
    window.startup();
    window.show();
    QAction* com1 = menuItem(&window, QString("COM 1   (ttyUSB0, %1)").arg(byId.c_str()));
    ASSERT_TRUE(com1) << "the by-id name beside COM 1";
    com1->trigger();
    ASSERT_TRUE(waitFor([&] { return window.panel(pa::live::kW)->text() == " 116.4"; }));

    auto replugged = std::make_unique<pa::sim::PtyHost>(rig.load);
    ASSERT_TRUE(replugged->start());
    ASSERT_NE(replugged->devicePath(), current);
    rig.sim->stop(); // pulled out
    current = replugged->devicePath();
    window.panel(pa::live::kW)->clear();
    ASSERT_TRUE(waitFor([&] { return window.cycle().noDataTicks() > 0; }));
    ASSERT_TRUE(
        waitFor([&] { return rig.port.portName() == current && rig.port.isOpen(); }, 20000));
    const int framesBefore = replugged->framesSent();
    ASSERT_TRUE(waitFor([&] { return replugged->framesSent() > framesBefore + 2; }, 10000));
    ASSERT_TRUE(
        waitFor([&] { return !window.findChild<QLabel*>("Warning")->isVisibleTo(&window); }, 5000));
    EXPECT_TRUE(shown(&window, "PortState").startsWith(QString::fromStdString(current)));
    EXPECT_EQ(window.panel(pa::live::kW)->text(), " 116.4");
}

std::array<std::string, 8> readouts(const char* w, const char* pf, const char* va, const char* var,
                                    const char* angle) {
    return {w, pf, "  230", "  .550", angle, va, var, "50Hz"};
}

// After Update with another reading, and after a refused target, the pictures show no
// improved state; a nearly flat triangle keeps its labels apart, the improved angle on its
// arc.
TEST_F(Everyday, ImprovePFShowsNoStaleResultAndReadableLabels) {
    auto texts = readouts(" 121.4", "  .960", "126.50", "35.54", "16.3");
    pa::pfimprove::ImprovePF pf(ui, [&] { return texts; });
    pf.resize(900, 640);
    pf.show();
    QApplication::processEvents();
    auto* diagram = pf.findChild<pa::pfimprove::PhaseDiagram*>("PhaseDiagram");
    ASSERT_TRUE(diagram);

    pf.box(0)->setText("0.99");
    pf.Text1_KeyPress(0, pa::pfimprove::kEnterKey);
    ASSERT_TRUE(pf.calculator().hasImproved());
    diagram->repaint();
    const QString png = screenshotPath("improvepf_flat.png");
    ASSERT_TRUE(pf.grab().save(png));
    const auto& labels = diagram->labels();
    for (std::size_t i = 0; i < labels.size(); ++i)
        for (std::size_t j = i + 1; j < labels.size(); ++j)
            EXPECT_FALSE(labels[i].second.intersects(labels[j].second))
                << labels[i].first.toStdString() << " / " << labels[j].first.toStdString();
    const auto improvedAngle = std::find_if(
        labels.begin(), labels.end(), [](const auto& l) { return l.first == QString("φ 8.1°"); });
    ASSERT_NE(improvedAngle, labels.end()) << "the improved angle labelled on its arc";

    // Update with the same reading keeps the result; with another reading it goes.
    pf.UpdateP();
    EXPECT_TRUE(pf.calculator().hasImproved());
    texts = readouts(" 100.0", "  .800", "125.00", "75.00", "36.9");
    pf.findChild<QPushButton*>("UpdateP")->click();
    EXPECT_FALSE(pf.calculator().hasImproved());
    diagram->repaint();
    for (const auto& l : diagram->labels())
        EXPECT_NE(l.first, QString("φ 8.1°")) << "an improved angle of another reading";

    // A refused target leaves no improved state on the pictures either.
    pf.box(0)->setText("0.95");
    pf.Text1_KeyPress(0, pa::pfimprove::kEnterKey);
    ASSERT_TRUE(pf.calculator().hasImproved());
    pf.box(0)->setText("0.5");
    pf.Text1_KeyPress(0, pa::pfimprove::kEnterKey);
    ASSERT_EQ(ui.messages.back().text, "PF2 < PF1, can only improve PF");
    EXPECT_FALSE(pf.calculator().hasImproved());
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
            if (!box)
                return;
            if (box != lastSeen) {
                lastSeen = box;
                return;
            }
            unexpected << box->text();
            box->done(QMessageBox::Cancel);
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
    Rig rig{ui};
    MeterRec& window = rig.window;
};

// Counts the paints of a widget while it lives.
struct PaintCounter : QObject {
    int n = 0;
    explicit PaintCounter(QWidget* w) { w->installEventFilter(this); }
    bool eventFilter(QObject*, QEvent* e) override {
        n += e->type() == QEvent::Paint;
        return false;
    }
};

// The main window's Get Hz waits 5.5 s refusing input: no wait box, but the banner is painted,
// names Get Hz and counts down, and the window keeps its width.
TEST_F(RealDialogs, GetHzShowsTheCountingBannerAndNoBox) {
    window.startup(true);
    window.show();
    rig.open();
    QApplication::processEvents();
    const int width = window.width();
    QLabel* banner = window.pauseBanner();
    PaintCounter paints(banner);
    QString text;
    bool boxShown = true;
    QTimer::singleShot(2500, [&] {
        text = banner->text();
        boxShown = ui.statusWindow()->isVisible();
        window.grab().save(screenshotPath("gethz_banner.png"));
    });
    window.findChild<QPushButton*>("get_hz")->click();
    EXPECT_TRUE(QRegularExpression("Get Hz.* [1-5] s$").match(text).hasMatch())
        << text.toStdString();
    EXPECT_FALSE(boxShown);
    EXPECT_GT(paints.n, 0);
    EXPECT_FALSE(banner->isVisible());
    EXPECT_EQ(window.panel(pa::live::kHz)->text(), "50Hz");
    QApplication::processEvents();
    EXPECT_EQ(window.width(), width);
}

// With the port named on the command line (or the simulator) there is no prompt before the
// computer-speed check, yet the check's box is painted while it counts.
TEST_F(RealDialogs, TheSpeedCheckPaintsWithoutThePortPrompt) {
    PaintCounter paints(ui.statusWindow());
    window.startup(true);
    EXPECT_GT(paints.n, 0);
    EXPECT_FALSE(ui.statusWindow()->isVisible());
}

// The datalogger's dialogs and its progress box belong to its window: centred over it, the
// title whole, and a bar under the count during a status read.
TEST_F(RealDialogs, TheLoggerOwnsItsDialogsAndItsProgressBox) {
    window.startup(true);
    window.show();
    rig.open();
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
    QPoint boxCentre, loggerCentre = logger->frameGeometry().center();
    int titleRoom = 0, barValue = -1;
    QString count;
    auto look = std::make_shared<QTimer>();
    look->setInterval(50);
    QObject::connect(look.get(), &QTimer::timeout, [&] {
        if (!box->isVisible() || !box->progressBar()->isVisible() ||
            box->progressBar()->value() < 20)
            return;
        look->stop();
        boxCentre = box->frameGeometry().center();
        titleRoom = box->width() - box->fontMetrics().horizontalAdvance(box->windowTitle());
        barValue = box->progressBar()->value();
        count = box->text();
        box->grab().save(screenshotPath("status_read_progress.png"));
        QApplication::primaryScreen()->grabWindow(0).save(
            screenshotPath("status_read_desktop.png"));
    });
    look->start();
    logger->findChild<QPushButton*>("Read_Status")->click();
    look->stop();
    ASSERT_GE(barValue, 20) << "the bar was seen during the read";
    EXPECT_EQ(count.toInt(), 95 - barValue) << "text and bar show the same progress";
    EXPECT_LE((boxCentre - loggerCentre).manhattanLength(), 40);
    EXPECT_GT(titleRoom, 100);
}

TEST_F(RealDialogs, SaveDialogsAddTheChosenFiltersExtension) {
    window.show();
    const std::string folder = rig.profile.str();
    const struct {
        const char* typed;
        const char* filter; // chosen in the dialog; none for the first
        const char* saved;
    } cases[] = {
        {"logger1", nullptr, "logger1.txt"},
        {"logger2", "CSV Files (*.csv)", "logger2.csv"},
        {"keep.dat", nullptr, "keep.dat"},
    };
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
            auto* name = dialog->findChild<QLineEdit*>("fileNameEdit");
            ASSERT_TRUE(name);
            name->setText(c.typed);                  // typed by the user
            static_cast<QDialog*>(dialog)->accept(); // as the Save button does
        });
        const auto path = ui.saveFileAt("Save logger data", "Data Files (*.txt);;CSV Files (*.csv)",
                                        folder + "/.txt");
        ASSERT_TRUE(path) << c.typed;
        EXPECT_EQ(fs::path(*path).filename().string(), c.saved);
    }
}

// In Chinese the standard buttons are Chinese too, and the file-name box shows its whole
// title; back in English they are English again.
TEST_F(RealDialogs, ChineseReachesTheStandardButtons) {
    window.startup(true);
    window.show();
    auto buttonsOf = [&](const char* png) {
        QStringList texts;
        whenModal([&](QWidget* box) {
            texts = buttonTexts(box);
            box->grab().save(screenshotPath(png));
            box->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::No)->click();
        });
        ui.message("測試", "", pa::app::Icon::Question, pa::app::Buttons::YesNo);
        return texts;
    };
    EXPECT_EQ(buttonsOf("message_en.png"), (QStringList{"&No", "&Yes"}));

    menuItem(&window, "Chinese")->trigger();
    const QStringList chinese = buttonsOf("message_zh.png");
    ASSERT_EQ(chinese.size(), 2);
    for (const QString& t : chinese)
        EXPECT_TRUE(t.contains(QRegularExpression("[\\x{4e00}-\\x{9fff}]"))) << t.toStdString();

    int width = 0, titleWidth = 0;
    whenModal([&](QWidget* dialog) {
        width = dialog->width();
        QFont bold = dialog->font();
        bold.setBold(true);
        titleWidth = QFontMetrics(bold).horizontalAdvance(dialog->windowTitle());
        dialog->grab().save(screenshotPath("filename_zh.png"));
        qobject_cast<QDialog*>(dialog)->reject();
    });
    rig.action("FileCreate")->trigger();
    EXPECT_GE(width, titleWidth + 100);

    menuItem(&window, "英文")->trigger();
    EXPECT_EQ(buttonsOf("message_en_again.png"), (QStringList{"&No", "&Yes"}));
}

} // namespace
