// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The one serial port between the program and the instrument.
//
// Received data is a byte string: one char per received byte, values 0..255 kept as they
// arrive. Lengths of received data are counted in these bytes.
#include <string>

namespace pa::app {

class Port {
  public:
    virtual ~Port() = default;

    // The device to open: "COM3" on Windows, a device path such as "/dev/ttyUSB0" or
    // "/dev/pts/4" elsewhere. Refused (returns false) while the port is open.
    virtual bool setPortName(const std::string& name) = 0;
    virtual std::string portName() const = 0;

    // Line settings such as "9600,n,8,1" (baud, parity, data bits, stop bits). Applied at
    // the next open, or at once when the port is open.
    virtual void setSettings(const std::string& settings) = 0;
    virtual std::string settings() const = 0;

    // Opens the named device; false when it is absent, busy or not permitted, and then
    // lastError() says which in words a user can act on.
    virtual bool open() = 0;
    virtual void close() = 0;
    virtual bool isOpen() const = 0;
    virtual std::string lastError() const = 0;

    // Sends the bytes as they stand (text and raw command bytes alike); nothing is added.
    // Writing to a closed port does nothing.
    virtual void write(const std::string& bytes) = 0;

    // Number of received bytes not yet read.
    virtual int bytesWaiting() = 0;

    // Every waiting byte; empties the receive buffer.
    virtual std::string readAll() = 0;
};

} // namespace pa::app
