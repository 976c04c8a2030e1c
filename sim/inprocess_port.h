// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The simulated instrument behind the program's Port interface, in the same process:
// every write reaches the instrument at once and its answer is waiting straight after.
#include "app/port.h"
#include "instrument.h"

#include <string>

namespace pa::sim {

class InProcessPort : public pa::app::Port {
  public:
    // The instrument is borrowed, not owned; it answers only under deviceName.
    explicit InProcessPort(Instrument& instrument, std::string deviceName = "SIM");

    bool setPortName(const std::string& name) override;
    std::string portName() const override { return name_; }
    void setSettings(const std::string& settings) override;
    std::string settings() const override { return settings_; }
    bool open() override;
    void close() override;
    bool isOpen() const override { return open_; }
    std::string lastError() const override { return error_; }
    // Feeds the instrument at the baud of the current settings and queues its answer.
    void write(const std::string& bytes) override;
    int bytesWaiting() override { return static_cast<int>(received_.size()); }
    std::string readAll() override;

    // Test switches. An absent device cannot be opened and, when it vanishes while open,
    // closes the port as the program's real port does on a device error. A busy device
    // (open in another program) cannot be opened.
    void setPresent(bool present);
    void setBusy(bool busy) { busy_ = busy; }

    // The line speed of the current settings; 0 when they name none.
    int lineBaud() const { return lineBaud_; }

  private:
    Instrument& instrument_;
    std::string deviceName_;
    std::string name_;
    std::string settings_ = "9600,n,8,1";
    int lineBaud_ = 9600;
    bool open_ = false;
    bool present_ = true;
    bool busy_ = false;
    std::string error_;
    std::string received_;
};

} // namespace pa::sim
