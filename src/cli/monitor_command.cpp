// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// poweranalyzer-cli monitor: the live cycle without a window, one line per sample.
//
//   poweranalyzer-cli monitor (--port PATH | --simulate) [--interval SECONDS] [--count N]
//                             [--baud 9600|4800|2400|1200] [--format tsv|csv]
//                             [--mqtt HOST[:PORT] [--topic PREFIX] [--client-id ID]
//                              [--username U --password-file F] [--tls-ca FILE]
//                              [--discovery-prefix PREFIX]]
//                             [--alarms FILE [--alarm-log FILE]]
//
// A header line names each column with its unit; then each line holds the clock text, W,
// PF, V, A, phase angle, VA, VAR, Hz and KWH as the main window shows them, separated by
// tabs (or commas with --format csv); while the instrument is silent, the clock text and the
// window's warning ("NO COM"). With --mqtt each sample is also published to the broker, and
// the availability there is "offline" while the instrument is silent (see mqtt_publisher.h);
// the summary of what was sent ends the run.
#include "cli/alarm_session.h"
#include "cli/commands.h"
#include "cli/live_session.h"
#include "cli/mqtt_publisher.h"
#include "cmdline/command_options.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QSerialPortInfo>
#include <QSysInfo>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace pa::cli {

using namespace pa::cmdline;

namespace {

// The USB serial number of the adapter at port (a device path, a by-id link or a name), or
// "" when it has none or is not a USB adapter.
std::string adapterSerial(const std::string& port) {
    if (port.empty())
        return "";
    const QString wanted = QFileInfo(QString::fromStdString(port)).canonicalFilePath();
    for (const QSerialPortInfo& info : QSerialPortInfo::availablePorts())
        if (info.portName() == QString::fromStdString(port) ||
            QFileInfo(info.systemLocation()).canonicalFilePath() == wanted)
            return info.serialNumber().toStdString();
    return "";
}

// The columns of a monitor line, named with their units.
constexpr const char* kColumns[] = {"time",      "W",  "PF",  "V",  "A",
                                    "angle_deg", "VA", "VAR", "Hz", "kWh"};

// A display text as a field: quoted only where it holds the separator or a quote.
std::string field(const std::string& text, char separator) {
    if (text.find_first_of(std::string{separator, '"'}) == std::string::npos)
        return text;
    std::string quoted = "\"";
    for (char c : text)
        quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
    return quoted + "\"";
}

int monitor(const MonitorOptions& o) {
    LiveSession session;
    if (const std::string error = session.prepare(o.port, o.simulate); !error.empty())
        return fail(error);
    if (!o.interval.empty())
        session.cycle.applySamplingTime(o.interval);
    std::unique_ptr<MqttPublisher> publisher;
    if (!o.mqtt.host.empty()) {
        MqttOptions mqtt = o.mqtt;
        // Home Assistant keeps the device by the adapter's serial number when there is one.
        if (const std::string serial = adapterSerial(o.port); !serial.empty())
            mqtt.deviceId = "serial-" + serial;
        publisher = std::make_unique<MqttPublisher>(mqtt, session.cycle.samplingTime(), PA_VERSION);
        if (const std::string error = publisher->start(); !error.empty())
            return fail(error);
    }
    AlarmSession alarms;
    if (const std::string error = alarms.read(o.alarms); !error.empty())
        return fail(error);
    if (const std::string error = alarms.start(o.alarms.file); !error.empty())
        return fail(error);
    alarms.setPublisher(publisher.get(), o.mqtt.topic);
    long printed = 0;
    std::string header;
    for (const char* column : kColumns)
        header += (header.empty() ? "" : std::string(1, o.separator)) + column;
    std::printf("%s\n", header.c_str());
    std::fflush(stdout);
    const auto print = [&](const std::string& line) {
        std::printf("%s\n", line.c_str());
        // Output that cannot be written ends a monitor that only prints.
        if ((!flushOutput() && !publisher) || (o.count > 0 && ++printed >= o.count))
            QCoreApplication::quit();
    };
    session.cycle.setSampleListener([&] {
        const auto& r = session.cycle.readouts();
        std::string line = field(r.clockText, o.separator);
        for (int p : {pa::live::kW, pa::live::kPF, pa::live::kV, pa::live::kA, pa::live::kAngle,
                      pa::live::kVA, pa::live::kVAR, pa::live::kHz, pa::live::kKWH})
            line += o.separator + field(r.Panel3D2[p], o.separator);
        if (publisher)
            publisher->publish(r);
        print(line);
    });
    // A silent or vanished instrument gives no samples: one line per clock text says so, as
    // the window's warning does, and counts towards --count.
    std::string lastSilent;
    const auto afterTick = [&] {
        alarms.afterTick(session.cycle);
        const auto& r = session.cycle.readouts();
        if (publisher)
            publisher->setInstrumentAnswering(!r.warningVisible);
        if (!r.warningVisible || r.clockText.empty() || r.clockText == lastSilent)
            return;
        lastSilent = r.clockText;
        print(field(r.clockText, o.separator) + o.separator + field(r.warning, o.separator));
    };

    if (!session.open())
        return 1; // the console seam has said why
    if (o.baudIndex >= 0)
        session.link.SelectBaud(o.baudIndex);
    const int status = session.run(afterTick, {});
    if (publisher)
        std::fprintf(stderr, "mqtt: %s\n", publisher->finish().c_str());
    return status;
}

} // namespace

int monitorCommand(const std::vector<std::string>& args) {
    MonitorOptions options;
    if (const std::string error =
            parseMonitor(args, options, QSysInfo::machineHostName().toStdString(),
                         QCoreApplication::applicationPid());
        !error.empty())
        return fail(error);
    quitOnCtrlC();
    return monitor(options);
}

} // namespace pa::cli
