// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The trend chart holding a full day of readings, timed as a user would meet it:
//   appending one sample and redrawing the chart (1 min, 1 h and all 24 h shown),
//   the memory the day of samples takes, and the CPU of the user-interface thread while the
//   main window samples the simulator every 0.5 s with the chart shown on a full day.
// Usage: gui_trend_bench [seconds]   (default 60; QT_QPA_PLATFORM=offscreen without a display)
#include "gui_bench_support.h"
#include "pty_host.h"
#include "qt/qt_clock.h"
#include "qt/qt_port.h"
#include "trend/TrendChart.h"
#include "ui/MeterRec.h"

#include <QApplication>
#include <QComboBox>
#include <QElapsedTimer>
#include <QMouseEvent>
#include <QTimer>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

namespace {

using namespace pa::trend;

// Resident memory of the process in bytes.
double residentBytes() {
    std::ifstream statm("/proc/self/statm");
    long pages = 0, resident = 0;
    statm >> pages >> resident;
    return static_cast<double>(resident) * 4096.0;
}

// A day of readings of a cycling load ending at `end`, one every 0.5 s.
void fillDay(TrendStore& store, double end) {
    for (std::size_t i = 0; i < kDayOfSamples; ++i) {
        const double t = end - static_cast<double>(kDayOfSamples - i) * 0.5;
        const float w = static_cast<float>(116 + 40 * std::sin(t / 300.0) + (i % 7));
        // A pause of the readings (Get Hz, the datalogger) once an hour: two gaps.
        if (i % 7200 == 0 || i % 7200 == 12) {
            store.appendGap(t, Status::Paused);
            continue;
        }
        store.append(t, Values{w, 0.92f, 230, w / 211.6f, w / 0.92f, w * 0.42f, 50, 23.1f,
                               static_cast<float>(i) * 1e-5f});
    }
}

// The clock text of a time, as the live cycle shows it.
pa::live::Readouts readoutsAt(double t, int i) {
    pa::live::Readouts r;
    r.clockText = clockTextOf(t);
    r.Panel3D2[pa::live::kW] = " " + std::to_string(100 + i % 50) + ".4";
    r.Panel3D2[pa::live::kPF] = "  .920";
    r.Panel3D2[pa::live::kV] = "  230";
    r.Panel3D2[pa::live::kA] = "  .550";
    return r;
}

void timeAppendAndRedraw(pa::bench::ClickingUi& ui) {
    const double before = residentBytes();
    TrendChart chart(ui);
    const double day = dayStart(2026, 11, 23);
    fillDay(chart.store(), day + 86400);
    const double after = residentBytes();
    std::printf("24 h of all 9 quantities (%zu samples): %.1f MB resident (%.1f MB by layout)\n",
                chart.store().size(), (after - before) / 1e6, chart.store().fullBytes() / 1e6);

    chart.resize(1000, 480);
    chart.show();
    QApplication::processEvents();
    auto* canvas = chart.findChild<QWidget*>("trend_canvas");
    // The read-out under the mouse is drawn with every redraw.
    QMouseEvent move(QEvent::MouseMove, QPointF(500, 200), canvas->mapToGlobal(QPointF(500, 200)),
                     Qt::NoButton, Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(canvas, &move);
    const char* names[] = {"1 min", "10 min", "1 h", "all 24 h"};
    for (int span = 0; span < 4; ++span) {
        chart.findChild<QComboBox*>("trend_span")->setCurrentIndex(span);
        chart.findChild<QComboBox*>("trend_second")->setCurrentIndex(1 + kPF);
        constexpr int kRounds = 200;
        double worst = 0, total = 0;
        const double cpu0 = pa::bench::threadCpuSeconds();
        for (int i = 0; i < kRounds; ++i) {
            const double t = day + 86400 + span * 1000 + i * 0.5;
            QElapsedTimer timer;
            timer.start();
            chart.afterPoll({readoutsAt(t, i), false, true, {2026, 11, 24, 0, 0, 0}});
            canvas->repaint(); // draws now, as the next event loop pass would
            const double ms = timer.nsecsElapsed() / 1e6;
            worst = std::max(worst, ms);
            total += ms;
        }
        const double cpuMs = (pa::bench::threadCpuSeconds() - cpu0) * 1000 / kRounds;
        std::printf(
            "append one sample + redraw with read-out, two quantities, %s shown: CPU %.2f ms; "
            "wall mean %.2f ms, worst %.2f ms (%d rounds)\n",
            names[span], cpuMs, total / kRounds, worst, kRounds);
    }
}

} // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && qEnvironmentVariableIsEmpty("DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const int seconds = argc > 1 ? std::atoi(argv[1]) : 60;
    QApplication app(argc, argv);
    pa::bench::ClickingUi ui;
    timeAppendAndRedraw(ui);

    pa::sim::Load load;
    load.swing = 0.3;
    pa::sim::PtyHost sim(load);
    if (!sim.start())
        return 1;
    pa::app::ProgramState state;
    pa::qt::QtPort port;
    pa::qt::QtClock clock;
    pa::ui::MeterRec window(state, port, clock, ui);
    window.show();
    window.openPort(sim.devicePath());
    window.cycle().applySamplingTime("0.5");
    // A full day already held, ending now, and shown whole: the heaviest chart to keep up.
    TrendChart* chart = window.trendChart();
    const pa::app::DateTime now = clock.now();
    fillDay(chart->store(), dayStart(now.year, now.month, now.day) + now.hour * 3600.0 +
                                now.minute * 60.0 + now.second - 1);
    chart->findChild<QComboBox*>("trend_span")->setCurrentIndex(3);
    chart->findChild<QComboBox*>("trend_second")->setCurrentIndex(1 + kA);
    chart->show();
    QApplication::processEvents();

    const double cpu0 = pa::bench::threadCpuSeconds();
    QElapsedTimer wall;
    wall.start();
    QTimer::singleShot(seconds * 1000, &app, &QApplication::quit);
    app.exec();
    const double cpu = pa::bench::threadCpuSeconds() - cpu0;
    const double elapsed = wall.nsecsElapsed() / 1e9;
    std::printf("sampling every 0.5 s for %.0f s with the chart shown (24 h, two quantities): "
                "UI thread CPU %.3f s = %.2f %% of one core; %zu samples held\n",
                elapsed, cpu, 100.0 * cpu / elapsed, chart->store().size());
    return 0;
}
