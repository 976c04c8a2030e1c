// poweranalyzer-cli monitor: the live cycle without a window, one line per sample.
//
//   poweranalyzer-cli monitor (--port PATH | --simulate) [--interval SECONDS] [--count N]
//                             [--baud 9600|4800|2400|1200]
//
// Each line holds the clock text, then W, PF, V, A, phase angle, VA, VAR, Hz and KWH as the
// main window shows them, separated by tabs.
#include "app/meter_link.h"
#include "cli/commands.h"
#include "cli/console_ui.h"
#include "live/live_cycle.h"
#include "pty_host.h"
#include "qt/qt_clock.h"
#include "qt/qt_port.h"

#include <QCoreApplication>
#include <QTimer>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace pa::cli {

namespace {

struct MonitorOptions {
    std::string port;
    bool simulate = false;
    std::string interval;
    long count = -1; // until interrupted
    int baudIndex = -1;
};

// Parses the options after the subcommand; returns an error text or "".
std::string parseMonitor(const std::vector<std::string>& args, MonitorOptions& o) {
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        auto value = [&]() -> const std::string* {
            return i + 1 < args.size() ? &args[++i] : nullptr;
        };
        if (a == "--simulate") {
            o.simulate = true;
        } else if (a == "--port" || a == "--interval" || a == "--count" || a == "--baud") {
            const std::string* v = value();
            if (!v)
                return a + " needs a value";
            if (a == "--port") {
                o.port = *v;
            } else if (a == "--interval") {
                o.interval = *v;
            } else if (a == "--count") {
                char* end = nullptr;
                o.count = std::strtol(v->c_str(), &end, 10);
                if (v->empty() || *end || o.count < 1)
                    return "--count takes a whole number of at least 1";
            } else {
                const char* rates[] = {"9600", "4800", "2400", "1200"};
                for (int r = 0; r < 4; ++r)
                    if (*v == rates[r])
                        o.baudIndex = r;
                if (o.baudIndex < 0)
                    return "--baud takes 9600, 4800, 2400 or 1200";
            }
        } else {
            return "unknown option " + a;
        }
    }
    if (o.simulate == !o.port.empty())
        return "give either --port PATH or --simulate";
    return "";
}

int monitor(const MonitorOptions& o) {
    std::unique_ptr<pa::sim::PtyHost> simulator;
    std::string device = o.port;
    if (o.simulate) {
        simulator = std::make_unique<pa::sim::PtyHost>();
        if (!simulator->start())
            return fail("could not start the simulated instrument");
        device = simulator->devicePath();
    }

    pa::app::ProgramState state;
    pa::qt::QtPort port;
    pa::qt::QtClock clock;
    pa::cli::ConsoleUi ui;
    pa::app::MeterLink link(port, clock, ui, state);
    pa::live::LiveCycle cycle(port, clock, ui, state);
    QTimer timer1, timer2;
    timer1.setInterval(pa::live::kFirstSampleMs);
    timer1.setTimerType(Qt::PreciseTimer);
    timer2.setInterval(pa::live::kPollMs);
    link.setTimerSwitch([&](bool on) {
        if (on) {
            timer1.start();
            timer2.start();
        } else {
            timer1.stop();
            timer2.stop();
        }
    });
    cycle.setLiveSampling([&](int on) { link.SetLiveSampling(on); });
    QObject::connect(&timer1, &QTimer::timeout, [&] { timer1.setInterval(cycle.Timer1Tick()); });
    QObject::connect(&timer2, &QTimer::timeout, [&] { cycle.Timer2Tick(); });

    long printed = 0;
    cycle.setSampleListener([&] {
        const auto& r = cycle.readouts();
        std::string line = r.clockText;
        for (int p : {pa::live::kW, pa::live::kPF, pa::live::kV, pa::live::kA, pa::live::kAngle,
                      pa::live::kVA, pa::live::kVAR, pa::live::kHz, pa::live::kKWH})
            line += "\t" + r.Panel3D2[p];
        std::printf("%s\n", line.c_str());
        std::fflush(stdout);
        if (o.count > 0 && ++printed >= o.count)
            QCoreApplication::quit();
    });

    if (!o.interval.empty())
        cycle.applySamplingTime(o.interval);
    if (!link.SelectPortByName(device))
        return 1; // the console seam has said why
    if (o.baudIndex >= 0)
        link.SelectBaud(o.baudIndex);
    QTimer stopCheck;
    QObject::connect(&stopCheck, &QTimer::timeout, [] {
        if (stopRequested())
            QCoreApplication::quit();
    });
    stopCheck.start(100);
    return QCoreApplication::exec();
}

} // namespace

int monitorCommand(const std::vector<std::string>& args) {
    MonitorOptions options;
    if (const std::string error = parseMonitor(args, options); !error.empty())
        return fail(error);
    quitOnCtrlC();
    return monitor(options);
}

} // namespace pa::cli
