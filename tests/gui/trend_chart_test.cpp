// The trend chart offscreen, fed by the live cycle from the simulated instrument: tick by
// tick on the virtual clock for the chart itself, and over a pseudo-terminal from the main
// window's Trend button.
#include "trend/TrendChart.h"
#include "ui/MeterRec.h"

#include "gui_support.h"
#include "inprocess_port.h"
#include "instrument.h"
#include "pty_host.h"
#include "qt/qt_clock.h"
#include "qt/qt_port.h"
#include "support/fake_clock.h"
#include "support/scripted_ui.h"

#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QRegularExpression>
#include <cmath>
#include <filesystem>
#include <gtest/gtest.h>

namespace {

using namespace pa::trend;
using pa::testing::screenshotPath;
using pa::testing::waitFor;

// A key pressed on a widget; unhandled, it goes on to the parents as a typed key does.
void press(QWidget* widget, int key) {
    QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
    QApplication::sendEvent(widget, &event);
}

// A chart of small capacity fed by a live cycle on the in-process simulator, at 0.5 s.
class TrendChartTest : public ::testing::Test {
  protected:
    void SetUp() override {
        port.setPortName("SIM");
        port.open();
        cycle.applySamplingTime("0.5");
        port.write(" ");
        chart.resize(900, 420);
        chart.show();
    }
    // One sample period: the sample clock ticks, the poll reads the frame, the chart follows.
    Added tick() {
        cycle.Timer1Tick();
        cycle.Timer2Tick();
        const Added added = chart.afterPoll(
            {cycle.readouts(), state.noData, cycle.noDataTicks() == 0, clock.now()});
        clock.advance(0.5);
        return added;
    }
    void ticks(int n) {
        for (int i = 0; i < n; ++i)
            tick();
    }
    QString stats() const { return chart.findChild<QLabel*>("trend_stats")->text(); }
    template <class T> T* child(const char* name) { return chart.findChild<T*>(name); }
    // Pixels of the colour that marks missing readings.
    int gapPixels() {
        const QImage image = child<QWidget>("trend_canvas")->grab().toImage();
        int n = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                n += image.pixelColor(x, y) == QColor(0xe5, 0x73, 0x73);
        return n;
    }

    pa::sim::Instrument instrument{pa::sim::Load{230, 0.55, 0.92, 50, 0}};
    pa::sim::InProcessPort port{instrument};
    pa::testing::FakeClock clock{10 * 3600.0};
    pa::testing::ScriptedUi ui;
    pa::app::ProgramState state;
    pa::live::LiveCycle cycle{port, clock, ui, state};
    TrendChart chart{ui, 40};
};

TEST_F(TrendChartTest, TheAverageHasTheResolutionOfTheReadings) {
    child<QComboBox>("trend_quantity")->setCurrentIndex(kW);
    // 230 V x A x .92: samples of 116.4, 116.4, 118.5, 118.5, 118.5 W (each load shows from
    // the next sample).
    for (double amps : {0.55, 0.56, 0.56, 0.56, 0.56}) {
        instrument.setLoad({230, amps, 0.92, 50, 0});
        EXPECT_EQ(tick(), Added::Sample);
    }
    const QString s = stats();
    EXPECT_TRUE(s.contains("Minimum <b>116.4</b>")) << s.toStdString();
    EXPECT_TRUE(s.contains("Average <b>117.7</b>")) << s.toStdString(); // not 117.66
}

TEST_F(TrendChartTest, SamplesAppearWithTheStatisticsOfTheShownSpan) {
    EXPECT_TRUE(chart.store().empty());
    child<QComboBox>("trend_quantity")->setCurrentIndex(kV);
    // Each poll asks for the next frame, so a load set now shows at the next sample: four
    // samples of 230 V (the first frame was asked for at the start), then four of 240 V.
    for (double volts : {230, 230, 230, 240, 240, 240, 240, 250}) {
        instrument.setLoad({volts, 0.55, 0.92, 50, 0});
        EXPECT_EQ(tick(), Added::Sample);
    }
    ASSERT_EQ(chart.store().size(), 8u);
    EXPECT_FLOAT_EQ(chart.store().value(7, kW), 121.4f); // 240 V x .55 A x .92
    const QString s = stats();
    EXPECT_TRUE(s.contains("Minimum <b>230</b>")) << s.toStdString();
    EXPECT_TRUE(s.contains("Maximum <b>240</b>")) << s.toStdString();
    EXPECT_TRUE(s.contains("Average <b>235</b>")) << s.toStdString();

    // A second quantity on the right axis has its own line of statistics.
    child<QComboBox>("trend_second")->setCurrentIndex(1 + kA);
    EXPECT_TRUE(stats().contains("Average <b>0.55</b>")) << stats().toStdString();
    const auto [from, to] = chart.shownSpan();
    EXPECT_DOUBLE_EQ(to, chart.store().newestTime());
    EXPECT_DOUBLE_EQ(to - from, 60);
}

TEST_F(TrendChartTest, OverloadsAndSilenceAreGapsNeverZeros) {
    ticks(2);
    EXPECT_EQ(gapPixels(), 0);
    instrument.setDisplay(pa::sim::Display::Overload);
    ticks(3);
    instrument.setDisplay(pa::sim::Display::StartUp);
    ticks(2);
    instrument.setDisplay(pa::sim::Display::Normal);
    instrument.setFault(pa::sim::Fault::Silent);
    int gaps = 0;
    for (int i = 0; i < 12; ++i)
        gaps += tick() == Added::Gap;
    EXPECT_GE(gaps, 5) << "every sample time after NO COM shows is a gap";
    instrument.setFault(pa::sim::Fault::None);
    ASSERT_TRUE([&] {
        for (int i = 0; i < 12; ++i) {
            const Added added = tick();
            if (added == Added::Sample)
                return true;
            gaps += added == Added::Gap; // still NO COM until the port reset asks again
        }
        return false;
    }()) << "readings come back after the port reset";

    const TrendStore& store = chart.store();
    int missing = 0;
    for (std::size_t i = 0; i < store.size(); ++i) {
        const float w = store.value(i, kW);
        EXPECT_NE(w, 0.0f) << "sample " << i;
        missing += std::isnan(w);
    }
    EXPECT_EQ(missing, 5 + gaps);
    const Stats s = store.stats(kW, store.oldestTime(), store.newestTime());
    EXPECT_FLOAT_EQ(static_cast<float>(s.min), 116.4f);
    EXPECT_EQ(s.count, store.size() - static_cast<std::size_t>(missing));
    EXPECT_GT(gapPixels(), 0) << "missing readings are marked along the time axis";
}

TEST_F(TrendChartTest, RingWrapsWithoutGrowingAndAllShowsWhatIsHeld) {
    ticks(100);
    const TrendStore& store = chart.store();
    EXPECT_EQ(store.size(), 40u);
    EXPECT_EQ(store.capacity(), 40u);
    EXPECT_DOUBLE_EQ(store.newestTime() - store.oldestTime(), 39 * 0.5);
    child<QComboBox>("trend_span")->setCurrentIndex(3); // All
    const auto [from, to] = chart.shownSpan();
    EXPECT_DOUBLE_EQ(from, store.oldestTime());
    EXPECT_DOUBLE_EQ(to, store.newestTime());
}

TEST_F(TrendChartTest, PauseHoldsTheViewWhileSamplesKeepComing) {
    TrendChart day(ui); // a full day's ring, fed from the same cycle
    for (int i = 0; i < 300; ++i) {
        tick();
        day.afterPoll({cycle.readouts(), false, true, clock.now()});
    }
    chart.hide();
    day.show();
    auto* span = day.findChild<QComboBox*>("trend_span");
    span->setCurrentIndex(0); // 1 min of the 150 s held
    auto* pause = day.findChild<QPushButton*>("trend_pause");
    pause->click();
    EXPECT_TRUE(day.paused());
    const auto frozen = day.shownSpan();
    for (int i = 0; i < 10; ++i) {
        tick();
        day.afterPoll({cycle.readouts(), false, true, clock.now()});
    }
    EXPECT_EQ(day.shownSpan(), frozen) << "the view stays while readings arrive";
    EXPECT_EQ(day.store().size(), 310u);

    press(day.findChild<QWidget*>("trend_canvas"), Qt::Key_Home);
    EXPECT_DOUBLE_EQ(day.shownSpan().first, day.store().oldestTime()) << "Home: the oldest";
    press(day.findChild<QWidget*>("trend_canvas"), Qt::Key_Left);
    EXPECT_DOUBLE_EQ(day.shownSpan().first, day.store().oldestTime()) << "nothing before it";
    press(day.findChild<QWidget*>("trend_canvas"), Qt::Key_End);
    EXPECT_FALSE(day.paused());
    EXPECT_FALSE(pause->isChecked());
    EXPECT_DOUBLE_EQ(day.shownSpan().second, day.store().newestTime());
}

TEST_F(TrendChartTest, ResetAsksAndClearsOnlyTheTrend) {
    ticks(5);
    ui.answers.push_back(pa::app::Answer::No);
    child<QPushButton>("trend_reset")->click();
    EXPECT_EQ(chart.store().size(), 5u);
    ASSERT_EQ(ui.messages.size(), 1u);
    EXPECT_EQ(ui.messages[0].text, "Clear every reading of the trend?");
    ui.answers.push_back(pa::app::Answer::Yes);
    child<QPushButton>("trend_reset")->click();
    EXPECT_TRUE(chart.store().empty());
    EXPECT_TRUE(stats().isEmpty());
    EXPECT_EQ(tick(), Added::Sample) << "collecting goes on";
}

TEST_F(TrendChartTest, SavesTheShownSpanAsPngAndCsv) {
    ticks(200); // 100 s, more than the 1 min shown
    const std::string dir = ::testing::TempDir();
    ASSERT_TRUE(chart.saveCsv(dir + "trend_test.csv"));
    QFile csv(QString::fromStdString(dir + "trend_test.csv"));
    ASSERT_TRUE(csv.open(QIODevice::ReadOnly));
    const QList<QByteArray> lines = csv.readAll().split('\n');
    ASSERT_GE(lines.size(), 3);
    EXPECT_EQ(lines[0], "date,time,W,PF,V,A,VA,VAR,Hz,Angle,kWh,status\r");
    EXPECT_EQ(lines.size() - 2, 40) << "the 40 samples held (the ring is smaller than 1 min)";
    EXPECT_TRUE(lines[1].startsWith("2026-11-22,10:")) << lines[1].toStdString();
    EXPECT_TRUE(lines[1].contains(",116.4,0.92,230,0.55,126.5,49.53,,")) << lines[1].toStdString();
    EXPECT_TRUE(lines[1].endsWith(",ok\r")) << lines[1].toStdString();

    ui.files.push_back(dir + "trend_test.png");
    child<QPushButton>("trend_png")->click();
    const QImage png(QString::fromStdString(dir + "trend_test.png"));
    // The chart under a title line.
    EXPECT_EQ(png.width(), child<QWidget>("trend_chart")->width());
    EXPECT_GT(png.height(), child<QWidget>("trend_chart")->height());

    EXPECT_FALSE(chart.saveCsv("/nonexistent-folder/trend.csv"));
    ASSERT_FALSE(ui.messages.empty());
    EXPECT_EQ(ui.messages.back().text.rfind("Could not save /nonexistent-folder/trend.csv: ", 0),
              0u)
        << ui.messages.back().text;
}

TEST_F(TrendChartTest, CaptionsInBothLanguages) {
    ticks(3);
    struct {
        int language;
        const char *title, *pause, *first, *minimum;
    } cases[] = {{2, "趨勢圖", "暫停(&P)", "瓦特(W)", "最小值"},
                 {1, "Trend", "&Pause", "W", "Minimum"}};
    for (const auto& c : cases) {
        chart.applyCaptions(c.language);
        EXPECT_EQ(chart.windowTitle(), QString::fromUtf8(c.title));
        EXPECT_EQ(child<QPushButton>("trend_pause")->text(), QString::fromUtf8(c.pause));
        EXPECT_EQ(child<QComboBox>("trend_quantity")->itemText(0), QString::fromUtf8(c.first));
        EXPECT_TRUE(stats().contains(QString::fromUtf8(c.minimum))) << stats().toStdString();
        EXPECT_EQ(child<QComboBox>("trend_span")->count(), 4);
    }
}

// A pause of the readings is a gap marked paused, never a line from its start to its end;
// the view's zoom, read-out, axis ranges and Pause/Live button behave as the user sees them.
TEST_F(TrendChartTest, PausesZoomReadOutAndAxisRanges) {
    chart.setMinimumSize(0, 0);
    ticks(20);
    chart.pauseBegan("Get Hz", clock.now());
    clock.advance(6); // nothing is read while paused
    chart.pauseEnded(clock.now());
    ticks(4);
    const TrendStore& store = chart.store();
    std::vector<std::size_t> paused;
    for (std::size_t i = 0; i < store.size(); ++i)
        if (store.status(i) == Status::Paused)
            paused.push_back(i);
    ASSERT_EQ(paused.size(), 2u);
    EXPECT_NEAR(store.time(paused[1]) - store.time(paused[0]), 6, 0.01);
    for (std::size_t i : paused)
        EXPECT_TRUE(std::isnan(store.value(i, kW)));
    const double inPause = store.time(paused[0]) + 3;
    EXPECT_TRUE(chart.readoutAt(inPause).contains("Get Hz"))
        << chart.readoutAt(inPause).toStdString();

    // The read-out names the time and both quantities' values at the nearest sample.
    child<QComboBox>("trend_second")->setCurrentIndex(1 + kAngle);
    const double last = store.newestTime();
    const QString readout = chart.readoutAt(last);
    EXPECT_TRUE(readout.startsWith(QString::fromStdString(clockTextOf(last))))
        << readout.toStdString();
    EXPECT_TRUE(readout.contains("W 116.4") &&
                readout.contains(QRegularExpression("Phase Angle \\d")))
        << readout.toStdString();

    // The wheel zooms about the mouse and the button says how to get back to live.
    auto* pause = child<QPushButton>("trend_pause");
    EXPECT_EQ(pause->text(), "&Pause");
    child<QComboBox>("trend_span")->setCurrentIndex(3); // all that is held
    const auto [from, to] = chart.shownSpan();
    chart.zoomAbout(from + (to - from) / 2, 0.5);
    EXPECT_NEAR(chart.shownSpan().second - chart.shownSpan().first, (to - from) / 2, 0.01);
    EXPECT_TRUE(chart.paused());
    EXPECT_EQ(pause->text(), "&Live");
    pause->click();
    EXPECT_FALSE(chart.paused());
    EXPECT_EQ(pause->text(), "&Pause");
    EXPECT_DOUBLE_EQ(chart.shownSpan().second, store.newestTime());

    // A fixed range is asked for, kept, and given up for an empty answer.
    ui.inputs.push_back("0 500");
    chart.askAxisRange(0);
    ui.inputs.push_back("");
    chart.askAxisRange(1);
    EXPECT_EQ(ui.asked.back().defaultText, "");
    ui.inputs.push_back("");
    chart.askAxisRange(0);
    EXPECT_EQ(ui.asked.back().defaultText, "0 500");
}

// The picture of a changing load: a swinging current, an overload and a silent spell. It is
// also the manual's picture of the trend window (`./dev.sh shots`).
using ManualScreenshotsTrend = TrendChartTest;
TEST_F(ManualScreenshotsTrend, PictureOfAChangingLoad) {
    TrendChart day(ui);
    pa::sim::Load load{230, 2.0, 0.85, 50, 0.004};
    load.swing = 0.4;
    // 40 s at the program's five frames a second; one frame per 0.5-s sample here, so each
    // swing takes 100 s of the chart.
    load.swingPeriod = 40;
    instrument.setLoad(load);
    tick(); // the frame asked for before the load changed
    auto feed = [&](int n) {
        for (int i = 0; i < n; ++i) {
            tick();
            day.afterPoll({cycle.readouts(), state.noData, cycle.noDataTicks() == 0, clock.now()});
        }
    };
    feed(500);
    instrument.setDisplay(pa::sim::Display::Overload);
    feed(20);
    instrument.setDisplay(pa::sim::Display::Normal);
    feed(200);
    instrument.setFault(pa::sim::Fault::Silent);
    feed(60);
    instrument.setFault(pa::sim::Fault::None);
    feed(150);
    day.pauseBegan("Get Hz", clock.now());
    clock.advance(20);
    day.pauseEnded(clock.now());
    feed(150);
    chart.hide();
    day.resize(1000, 460);
    day.show();
    day.findChild<QComboBox*>("trend_span")->setCurrentIndex(1); // 10 min
    day.findChild<QComboBox*>("trend_second")->setCurrentIndex(1 + kPF);
    QApplication::processEvents();
    ASSERT_TRUE(QDir().mkpath(PA_TEST_OUTPUT_DIR "/manual"));
    EXPECT_TRUE(day.grab().save(PA_TEST_OUTPUT_DIR "/manual/trend.png", "PNG", 0));
    day.applyCaptions(2);
    QApplication::processEvents();
    EXPECT_TRUE(day.grab().save(screenshotPath("trend_zh.png")));
    const Stats w = day.store().stats(kW, day.shownSpan().first, day.shownSpan().second);
    EXPECT_LT(w.min, 0.7 * 230 * 2 * 0.85) << "the swing reaches down";
    EXPECT_GT(w.max, 1.3 * 230 * 2 * 0.85) << "and up";
}

// The main window's Trend button over the real serial path.
TEST(TrendFromMainWindow, TheTrendButtonShowsLiveSamples) {
    pa::sim::Load load;
    load.noise = 0;
    pa::sim::PtyHost sim(load);
    ASSERT_TRUE(sim.start());
    pa::app::ProgramState state;
    pa::qt::QtPort port;
    pa::qt::QtClock clock;
    pa::testing::ScriptedUi ui;
    const auto workDir = std::filesystem::current_path();
    std::filesystem::current_path(::testing::TempDir()); // commport.dat goes here
    {
        pa::ui::MeterRec window(state, port, clock, ui);
        window.show();
        auto* button = window.findChild<QPushButton*>("trend");
        ASSERT_NE(button, nullptr);
        EXPECT_EQ(button->text(), "Trend");
        EXPECT_EQ(window.findChild<QPushButton*>("Print")->text(), "Print");
        window.openPort(sim.devicePath());
        window.cycle().applySamplingTime("0.5");
        button->click();
        TrendChart* chart = window.trendChart();
        EXPECT_TRUE(chart->isVisible());
        ASSERT_TRUE(waitFor([&] { return chart->store().size() >= 3; }, 20000))
            << chart->store().size();
        EXPECT_FLOAT_EQ(chart->store().value(chart->store().size() - 1, kW), 116.4f);
        EXPECT_TRUE(window.timer2().isActive()) << "the live cycle never pauses for the chart";
        pa::testing::menuItem(&window, "Chinese")->trigger();
        EXPECT_EQ(button->text(), QString::fromUtf8("趨勢圖"));
        EXPECT_EQ(chart->windowTitle(), QString::fromUtf8("趨勢圖"));
    }
    std::filesystem::current_path(workDir);
}

} // namespace
