// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// A Port that is the system's serial port for every device but one: under the simulated
// instrument's name it is that instrument, served in this process. Where the system has no
// pseudo-terminals (Windows), the programs offer the simulated instrument this way, and the
// rest of the program cannot tell it from a port.
#include "app/port.h"

#include <string>

namespace pa::sim {

class PortRouter : public pa::app::Port {
  public:
    explicit PortRouter(pa::app::Port& system) : system_(system), active_(&system) {}

    // From now on the device `name` is `simulated` (borrowed, must outlive the router).
    void addSimulated(const std::string& name, pa::app::Port& simulated);

    bool setPortName(const std::string& name) override;
    std::string portName() const override { return active_->portName(); }
    void setSettings(const std::string& settings) override;
    std::string settings() const override { return active_->settings(); }
    bool open() override { return active_->open(); }
    void close() override { active_->close(); }
    bool isOpen() const override { return active_->isOpen(); }
    std::string lastError() const override { return active_->lastError(); }
    void write(const std::string& bytes) override { active_->write(bytes); }
    int bytesWaiting() override { return active_->bytesWaiting(); }
    std::string readAll() override { return active_->readAll(); }

  private:
    pa::app::Port& system_;
    pa::app::Port* simulated_ = nullptr;
    std::string simulatedName_;
    pa::app::Port* active_;
};

} // namespace pa::sim
