// poweranalyzer: the desktop program.
//   --simulate    serve a simulated instrument on a pseudo-terminal, list it in the COM menu
//                 and open it after start-up
//   --port PATH   open this port after start-up
#include "app/program_state.h"
#include "pty_host.h"
#include "qt/qt_clock.h"
#include "qt/qt_port.h"
#include "qt/qt_ui.h"
#include "qt/system_ports.h"
#include "ui/MeterRec.h"

#include <QApplication>
#include <QCommandLineParser>
#include <cstdio>
#include <memory>

int main(int argc, char** argv) {
    // The names come first: help and version are answered before a display is needed.
    QApplication::setApplicationName("poweranalyzer");
    QApplication::setApplicationDisplayName("Power Analyzer");
    QApplication::setApplicationVersion(PA_VERSION);

    QCommandLineParser parser;
    parser.setApplicationDescription("Desktop companion of the single-phase power analyzer.");
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption version = parser.addVersionOption();
    QCommandLineOption simulate("simulate", "Start a simulated instrument and open it.");
    QCommandLineOption port("port", "Open this serial port (device path or COMn) at start.",
                            "PATH");
    parser.addOption(simulate);
    parser.addOption(port);
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    // Mistakes (and Qt's own options such as -platform) are dealt with once the application
    // exists, below.
    parser.parse(arguments);
    if (parser.isSet(help)) {
        std::fputs(qPrintable(parser.helpText()), stdout);
        return 0;
    }
    if (parser.isSet(version)) {
        std::printf("poweranalyzer %s\n", PA_VERSION);
        return 0;
    }

    QApplication app(argc, argv);
    parser.process(app);
    pa::app::ProgramState state;
    pa::qt::QtPort serial;
    pa::qt::QtClock clock;
    pa::qt::QtUi ui;
    pa::ui::MeterRec window(state, serial, clock, ui);
    ui.setOwner(&window);

    auto ports = pa::qt::listSystemPorts();
    std::unique_ptr<pa::sim::PtyHost> simulator;
    if (parser.isSet(simulate)) {
        simulator = std::make_unique<pa::sim::PtyHost>();
        // A datalogger with something in it, so that Read/Save has records to save.
        simulator->withInstrument(
            [](pa::sim::Instrument& m) { m.logger().fillRecords(10, m.load()); });
        if (!simulator->start()) {
            std::fprintf(stderr, "poweranalyzer: could not start the simulated instrument\n");
            return 1;
        }
        ports.push_back(
            {"simulated instrument " + simulator->devicePath(), simulator->devicePath(), false});
    }
    window.setPorts(ports, pa::qt::isWindows() && !simulator);

    window.startup();
    window.show();
    if (simulator)
        window.openPort(simulator->devicePath());
    else if (parser.isSet(port))
        window.openPort(parser.value(port).toStdString());
    return app.exec();
}
