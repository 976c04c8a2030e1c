// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The trend chart offscreen, fed tick by tick on the virtual clock by the live cycle from the
// simulated instrument. (From the main window: the pause tests.)
#include "trend/TrendChart.h"

#include "gui_support.h"

#include <QComboBox>
#include <QImage>
#include <QKeyEvent>
#include <QPushButton>
#include <QRegularExpression>

namespace {

using namespace pa::trend;
using pa::sim::Display;
using pa::sim::Fault;

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
    // One sample period: the sample clock ticks, the poll reads the frame, the chart (and a
    // second one, if given) follows.
    Added tick(TrendChart* also = nullptr) {
        cycle.Timer1Tick();
        cycle.Timer2Tick();
        const PollState poll{cycle.readouts(), state.noData, cycle.noDataTicks() == 0, clock.now()};
        if (also)
            also->afterPoll(poll);
        clock.advance(0.5);
        return chart.afterPoll(poll);
    }
    // n sample periods with the instrument showing `display` and answering as `fault` says.
    void ticks(int n, TrendChart* also = nullptr, Display display = Display::Normal,
               Fault fault = Fault::None) {
        instrument.setDisplay(display);
        instrument.setFault(fault);
        for (int i = 0; i < n; ++i)
            tick(also);
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

// The statistics of the shown span, at the resolution of the readings (117.7, not 117.66),
// for the quantity chosen and a second one on the right axis. Each load shows from the next
// sample: the first frame was asked for at the start.
TEST_F(TrendChartTest, SamplesAppearWithTheStatisticsOfTheShownSpan) {
    const double amps[] = {0.55, 0.56, 0.56, 0.56, 0.56}; // 116.4, 116.4, 118.5, 118.5, 118.5 W
    for (double a : amps) {
        instrument.setLoad({230, a, 0.92, 50, 0});
        EXPECT_EQ(tick(), Added::Sample);
    }
    EXPECT_TRUE(stats().contains("Minimum <b>116.4</b>") &&
                stats().contains("Average <b>117.7</b>"))
        << stats().toStdString();
    instrument.setLoad({240, 0.55, 0.92, 50, 0});
    ticks(2); // a last 0.56 A sample, then one of 240 V
    child<QComboBox>("trend_quantity")->setCurrentIndex(kV);
    child<QComboBox>("trend_second")->setCurrentIndex(1 + kA);
    EXPECT_TRUE(stats().contains("Maximum <b>240</b>") && stats().contains("Maximum <b>0.56</b>"))
        << stats().toStdString();
}

// Overloads, the start-up display and silence are gaps (which are which: the feed's unit
// test), drawn as such along the time axis, never zeros; readings come back after the reset.
TEST_F(TrendChartTest, OverloadsAndSilenceAreGapsNeverZeros) {
    ticks(2);
    EXPECT_EQ(gapPixels(), 0);
    ticks(3, nullptr, Display::Overload);
    ticks(12, nullptr, Display::Normal, Fault::Silent);
    ticks(12);
    // Readings came back; no gap counted as a zero.
    const TrendStore& store = chart.store();
    EXPECT_EQ(std::tuple(store.value(store.size() - 1, kW),
                         static_cast<float>(store.stats(kW, 0, store.newestTime()).min),
                         gapPixels() > 0),
              std::tuple(116.4f, 116.4f, true));
}

// The shown span as CSV (all that the ring holds when it is shorter; its lines are the CSV
// unit test's) and as a picture under a title line; a folder that cannot be written is named
// in the message. Reset clears only the trend.
TEST_F(TrendChartTest, SavesTheShownSpanAsPngAndCsvAndResets) {
    ticks(200); // 100 s, more than the 1 min shown
    const std::string dir = ::testing::TempDir();
    ASSERT_TRUE(chart.saveCsv(dir + "trend_test.csv"));
    EXPECT_EQ(pa::testing::readLines(dir + "trend_test.csv").size(), 41u) << "the 40 samples held";
    ui.files.push_back(dir + "trend_test.png");
    child<QPushButton>("trend_png")->click();
    const QImage png(QString::fromStdString(dir + "trend_test.png"));
    const QSize chartSize = child<QWidget>("trend_chart")->size();
    EXPECT_TRUE(png.width() == chartSize.width() && png.height() > chartSize.height());
    EXPECT_FALSE(chart.saveCsv("/nonexistent-folder/trend.csv"));
    EXPECT_TRUE(!ui.messages.empty() && ui.messages.back().text.starts_with(
                                            "Could not save /nonexistent-folder/trend.csv: "));

    // Reset asks first; No keeps the trend, Yes clears it and collecting goes on.
    ui.messages.clear();
    ui.answers = {pa::app::Answer::No, pa::app::Answer::Yes};
    child<QPushButton>("trend_reset")->click();
    EXPECT_EQ(std::make_pair(chart.store().size(), pa::testing::messageTexts(ui)),
              std::make_pair(std::size_t{40},
                             std::vector<std::string>{"Clear every reading of the trend?"}));
    child<QPushButton>("trend_reset")->click();
    EXPECT_TRUE(chart.store().empty() && stats().isEmpty());
    EXPECT_EQ(tick(), Added::Sample) << "collecting goes on";
}

// The read-out names a pause's cause, the time and both quantities at the nearest sample; the
// view's zoom, span, keys, axis ranges and Pause/Live button behave as the user sees them.
TEST_F(TrendChartTest, ReadOutZoomKeysAndAxisRanges) {
    chart.setMinimumSize(0, 0);
    ticks(20);
    chart.pauseBegan("Get Hz", clock.now());
    clock.advance(6); // nothing is read while paused
    chart.pauseEnded(clock.now());
    EXPECT_TRUE(chart.readoutAt(chart.store().newestTime() - 3).contains("Get Hz"));
    ticks(4);
    const TrendStore& store = chart.store();
    child<QComboBox>("trend_second")->setCurrentIndex(1 + kAngle);
    const QString readout = chart.readoutAt(store.newestTime());
    EXPECT_TRUE(readout.startsWith(QString::fromStdString(clockTextOf(store.newestTime()))) &&
                readout.contains("W 116.4") &&
                readout.contains(QRegularExpression("Phase Angle \\d")))
        << readout.toStdString();

    // All shows what is held; the wheel zooms about the mouse and the button says how to get
    // back to live.
    auto* pause = child<QPushButton>("trend_pause");
    child<QComboBox>("trend_span")->setCurrentIndex(3);
    const auto [from, to] = chart.shownSpan();
    EXPECT_EQ(chart.shownSpan(), std::make_pair(store.oldestTime(), store.newestTime()));
    chart.zoomAbout(from + (to - from) / 2, 0.5);
    EXPECT_NEAR(chart.shownSpan().second - chart.shownSpan().first, (to - from) / 2, 0.01);
    const QString before = pause->text();
    pause->click();
    EXPECT_EQ(std::make_tuple(before, pause->text(), chart.shownSpan().second),
              std::make_tuple(QString("&Live"), QString("&Pause"), store.newestTime()));

    // Pause holds the view while samples keep coming; Home goes to the oldest, End back to live.
    child<QComboBox>("trend_span")->setCurrentIndex(0); // 1 min
    pause->click();
    const auto frozen = chart.shownSpan();
    ticks(10);
    EXPECT_EQ(chart.shownSpan(), frozen) << "the view stays while readings arrive";
    chart.zoomAbout(store.newestTime(), 0.2); // 12 s of the 23 s held
    auto* canvas = child<QWidget>("trend_canvas");
    press(canvas, Qt::Key_Home);
    press(canvas, Qt::Key_Left);
    EXPECT_DOUBLE_EQ(chart.shownSpan().first, store.oldestTime()) << "nothing before it";
    press(canvas, Qt::Key_End);
    EXPECT_EQ(std::tuple(chart.paused(), pause->isChecked(), chart.shownSpan().second),
              std::tuple(false, false, store.newestTime()));

    // A fixed range is asked for, kept, and given up for an empty answer.
    ui.inputs = {"0 500", "", ""};
    for (int axis : {0, 1, 0})
        chart.askAxisRange(axis);
    EXPECT_EQ(ui.asked.end()[-2].defaultText + "|" + ui.asked.back().defaultText, "|0 500");
}

// The picture of a changing load: a swinging current, an overload, a silent spell and a
// pause; it is the manual's picture of the trend window (`./dev.sh shots`).
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
    ticks(500, &day);
    ticks(20, &day, Display::Overload);
    ticks(200, &day);
    ticks(60, &day, Display::Normal, Fault::Silent);
    ticks(150, &day);
    day.pauseBegan("Get Hz", clock.now());
    clock.advance(20);
    day.pauseEnded(clock.now());
    ticks(150, &day);
    chart.hide();
    day.resize(1000, 460);
    day.show();
    day.findChild<QComboBox*>("trend_span")->setCurrentIndex(1); // 10 min
    day.findChild<QComboBox*>("trend_second")->setCurrentIndex(1 + kPF);
    pa::testing::saveShot(day, "trend.png");
    const Stats w = day.store().stats(kW, day.shownSpan().first, day.shownSpan().second);
    EXPECT_TRUE(w.min < 0.7 * 230 * 2 * 0.85 && w.max > 1.3 * 230 * 2 * 0.85)
        << "the swing reaches down and up: " << w.min << " " << w.max;
}

} // namespace
