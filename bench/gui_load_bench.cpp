// The desktop program under load, timed as a user would see it:
//   start-up to a shown main window (start-up sequence, speed check, first paint), and
//   CPU use of the user-interface thread while sampling the simulator every 0.5 s.
// Usage: gui_load_bench [seconds]   (default 60; QT_QPA_PLATFORM=offscreen without a display)
#include "pty_host.h"
#include "qt/qt_clock.h"
#include "qt/qt_port.h"
#include "ui/MeterRec.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTimer>
#include <cstdio>
#include <cstdlib>
#include <sys/resource.h>

namespace {

// Answers every dialog at once, so that start-up is timed without a person.
class ClickingUi : public pa::app::Ui {
  public:
    pa::app::Answer message(const std::string&, const std::string&, pa::app::Icon,
                            pa::app::Buttons) override {
        return pa::app::Answer::Ok;
    }
    std::optional<std::string> input(const std::string&, const std::string&,
                                     const std::string& d) override {
        return d;
    }
    std::optional<std::string> openFile(const std::string&, const std::string&) override {
        return std::nullopt;
    }
    std::optional<std::string> saveFile(const std::string&, const std::string&) override {
        return std::nullopt;
    }
    void statusShow() override {}
    void statusHide() override {}
    void statusCaption(const std::string&) override {}
    void statusText(const std::string&) override {}
    void processEvents() override { QApplication::processEvents(); }
    void beep() override {}
    void openDocument(const std::string&) override {}
};

double threadCpuSeconds() {
    rusage u{};
    getrusage(RUSAGE_THREAD, &u);
    return u.ru_utime.tv_sec + u.ru_stime.tv_sec + (u.ru_utime.tv_usec + u.ru_stime.tv_usec) / 1e6;
}

} // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && qEnvironmentVariableIsEmpty("DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const int seconds = argc > 1 ? std::atoi(argv[1]) : 60;
    QElapsedTimer startup;
    startup.start();
    QApplication app(argc, argv);

    pa::sim::PtyHost sim;
    if (!sim.start())
        return 1;
    pa::app::ProgramState state;
    pa::qt::QtPort port;
    pa::qt::QtClock clock;
    ClickingUi ui;
    pa::ui::MeterRec window(state, port, clock, ui);
    window.setPorts({{"simulated instrument", sim.devicePath(), false}}, false);
    window.startup();
    window.show();
    QApplication::processEvents(); // the first paint
    const double startupMs = startup.nsecsElapsed() / 1e6;

    window.openPort(sim.devicePath());
    window.cycle().applySamplingTime("0.5");
    const double cpu0 = threadCpuSeconds();
    QElapsedTimer wall;
    wall.start();
    QTimer::singleShot(seconds * 1000, &app, &QApplication::quit);
    app.exec();
    const double cpu = threadCpuSeconds() - cpu0;
    const double elapsed = wall.nsecsElapsed() / 1e9;

    std::printf("start-up to shown window: %.0f ms (speed check %s)\n", startupMs,
                state.slowPcFlag ? "slow" : "fast");
    std::printf("sampling every 0.5 s for %.0f s: UI thread CPU %.3f s = %.2f %% of one core\n",
                elapsed, cpu, 100.0 * cpu / elapsed);
    std::printf("frames served by the simulator: %d\n", sim.framesSent());
    return 0;
}
