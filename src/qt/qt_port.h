// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The serial port through QSerialPort.
//
// A vanished device (an unplugged USB adapter, a closed pseudo-terminal) leaves QSerialPort
// open and reporting read errors thousands of times a second, so the port closes itself on
// any real error and reads as empty until the live cycle's reset opens it again. Nothing on
// that path shows a dialog.
#include "app/port.h"

#include <QSerialPort>

namespace pa::qt {

class QtPort : public app::Port {
  public:
    QtPort();
    ~QtPort() override;

    bool setPortName(const std::string& name) override;
    std::string portName() const override { return name_; }
    void setSettings(const std::string& settings) override;
    std::string settings() const override { return settings_; }
    bool open() override;
    void close() override;
    bool isOpen() const override { return port_.isOpen(); }
    std::string lastError() const override { return lastError_; }
    void write(const std::string& bytes) override;
    int bytesWaiting() override;
    std::string readAll() override;

  private:
    void applySettings();
    void onError(QSerialPort::SerialPortError error);

    QSerialPort port_;
    std::string name_;
    std::string settings_ = "9600,n,8,1";
    std::string lastError_;
};

} // namespace pa::qt
