// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// poweranalyzer-cli ports: the serial ports the system lists, in the COM menu's order, each by
// the name that stays the same when its USB adapter is plugged in again.
#include "cli/commands.h"
#include "cmdline/command_options.h"
#include "cmdline/port_listing.h"
#include "qt/system_ports.h"

#include <QSerialPortInfo>
#include <cstdio>

namespace pa::cli {

int portsCommand(const std::vector<std::string>& args) {
    if (const std::string error = cmdline::parseNoOptions("ports", args); !error.empty())
        return fail(error);
    const QList<QSerialPortInfo> infos = QSerialPortInfo::availablePorts();
    std::vector<cmdline::ListedPort> ports;
    for (const app::SystemPort& port : qt::listSystemPorts()) {
        cmdline::ListedPort listed{port.path, {}, {}, {}, {}};
        if (!port.byIdName.empty())
            listed.stable = "/dev/serial/by-id/" + port.byIdName;
        for (const QSerialPortInfo& info : infos) {
            if (info.systemLocation().toStdString() != port.path)
                continue;
            listed.description = info.description().toStdString();
            listed.manufacturer = info.manufacturer().toStdString();
            listed.serialNumber = info.serialNumber().toStdString();
        }
        ports.push_back(std::move(listed));
    }
    const std::string text = cmdline::portListing(ports);
    std::fwrite(text.data(), 1, text.size(), stdout);
    return 0;
}

} // namespace pa::cli
