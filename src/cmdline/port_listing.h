// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The lines of `poweranalyzer-cli ports`: one serial port a line, the name to give --port
// first.
#include <string>
#include <vector>

namespace pa::cmdline {

struct ListedPort {
    std::string device; // "/dev/ttyUSB0", "COM3"
    std::string stable; // "/dev/serial/by-id/usb-FTDI_...", or "" when there is none
    std::string description, manufacturer, serialNumber; // as the system tells them, or ""
};

// One line per port: the stable name (else the device), the device in parentheses when it
// differs, then what is known of the adapter; a line saying so when there are none.
std::string portListing(const std::vector<ListedPort>& ports);

} // namespace pa::cmdline
