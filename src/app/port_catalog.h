// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Numbering of the COM menu. On Windows "COM n" is the port COMn. Elsewhere "COM n" is the
// n-th serial port the system lists, USB adapters first; a simulated instrument is listed
// after them.
#include <string>
#include <utility>
#include <vector>

namespace pa::app {

inline constexpr int kComMenuItems = 16;

struct SystemPort {
    SystemPort() = default;
    SystemPort(std::string name, std::string path, bool usb = false, std::string stableId = {},
               std::string byIdName = {})
        : name(std::move(name)), path(std::move(path)), usb(usb), stableId(std::move(stableId)),
          byIdName(std::move(byIdName)) {}

    std::string name; // "ttyUSB0", "cu.usbserial-1410", "COM3"
    std::string path; // what the port is opened by: "/dev/ttyUSB0", "COM3"
    bool usb = false;
    // What stays the same when a USB adapter is plugged in again, perhaps as another ttyUSBn:
    // its /dev/serial/by-id name, else its USB vendor, product and serial number. Empty for
    // ports without one (built-in UARTs, adapters without a serial number).
    std::string stableId;
    std::string byIdName; // the by-id link's name, shown beside "COM n"; may be empty
};

// USB adapters first, then the others, each group by name. Of a macOS pair cu.X / tty.X
// only the call-out device cu.X is kept: opening tty.X waits for a carrier.
std::vector<SystemPort> comMenuOrder(std::vector<SystemPort> ports);

// The device path of each COM menu item (index 0 is "COM 1"), at most kComMenuItems.
// An empty path means no device stands behind that number.
std::vector<std::string> comDevicePaths(const std::vector<SystemPort>& ordered, bool windows);

// The stable identity of the listed port opened by path; empty when it has none or is not
// listed.
std::string stableIdOf(const std::vector<SystemPort>& ports, const std::string& path);
// Where the port with this stable identity is now; empty when it is not listed (unplugged).
std::string pathOfStableId(const std::vector<SystemPort>& ports, const std::string& stableId);

} // namespace pa::app
