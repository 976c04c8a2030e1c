// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// poweranalyzer: the desktop program.
//   --simulate    serve a simulated instrument (on a pseudo-terminal where the system has
//                 them, in this process on Windows), list it in the COM menu and open it
//                 after start-up
//   --port PATH   open this port after start-up
#include "app/file_size_signal.h"
#include "app/program_state.h"
#include "qt/qt_clock.h"
#include "qt/qt_port.h"
#include "qt/qt_ui.h"
#include "qt/system_ports.h"
#include "simulated_device.h"
#include "ui/MeterRec.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDirIterator>
#include <QIcon>
#include <cstdio>
#include <memory>

int main(int argc, char** argv) {
    pa::app::ignoreFileSizeSignal();
    // The names come first: help and version are answered before a display is needed.
    QApplication::setApplicationName("poweranalyzer");
    QApplication::setApplicationDisplayName("Power Analyzer");
    QApplication::setApplicationVersion(PA_VERSION);

    QCommandLineParser parser;
    parser.setApplicationDescription("Desktop companion of the single-phase power analyzer.");
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption version = parser.addVersionOption();
    QCommandLineOption simulate("simulate", "Start a simulated instrument and open it.");
    QCommandLineOption portOption("port", "Open this serial port (device path or COMn) at start.",
                                  "PATH");
    parser.addOption(simulate);
    parser.addOption(portOption);
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    // Mistakes (and Qt's own options such as -platform) are dealt with once the application
    // exists, below.
    parser.parse(arguments);
    if (parser.isSet(help)) {
        // Without an application object Qt cannot know the program's name and writes a
        // placeholder in its place.
        std::fputs(qPrintable(parser.helpText().replace("<executable_name>", "poweranalyzer")),
                   stdout);
        return 0;
    }
    if (parser.isSet(version)) {
        std::printf("poweranalyzer %s\n", PA_VERSION);
        return 0;
    }

    QApplication app(argc, argv);
    parser.process(app);
    // Every window's icon, at each size built in (PNGs where they were made, else the SVG).
    QIcon icon;
    for (QDirIterator it(":/icons"); it.hasNext();)
        icon.addFile(it.next());
    QApplication::setWindowIcon(icon);
    pa::app::ProgramState state;
    pa::qt::QtPort serial;
    pa::sim::PortRouter port(serial); // the system's ports, and a simulated one if asked for
    pa::qt::QtClock clock;
    pa::qt::QtUi ui;
    pa::ui::MeterRec window(state, port, clock, ui);
    ui.setOwner(&window);

    auto ports = pa::qt::listSystemPorts();
    std::unique_ptr<pa::sim::SimulatedDevice> simulator;
    // Looked up again when the port has vanished: an adapter may come back elsewhere.
    window.setPortCatalogue(pa::qt::listSystemPorts);
    if (parser.isSet(simulate)) {
        simulator = std::make_unique<pa::sim::SimulatedDevice>();
        // A datalogger with something in it, so that Read/Save has records to save.
        simulator->withInstrument(
            [](pa::sim::Instrument& m) { m.logger().fillRecords(10, m.load()); });
        if (!simulator->start(port)) {
            std::fprintf(stderr, "poweranalyzer: could not start the simulated instrument: %s\n",
                         simulator->lastError().c_str());
            return 1;
        }
        ports.push_back(
            {"simulated instrument " + simulator->devicePath(), simulator->devicePath(), false});
    }
    window.setPorts(ports, pa::qt::isWindows() && !simulator);

    // A port named on the command line is the user's choice already: no prompt to pick one.
    window.startup(simulator || parser.isSet(portOption));
    window.show();
    if (simulator)
        window.openPort(simulator->devicePath());
    else if (parser.isSet(portOption))
        window.openPort(parser.value(portOption).toStdString());
    return app.exec();
}
