// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// A Port that records every call as one line ("write 4", "close", "settings 4800,n,8,1",
// "open COM3", ...) and can be told which devices exist and what arrives.
#include "app/port.h"

#include <set>
#include <string>
#include <vector>

namespace pa::testing {

class RecordingPort : public app::Port {
  public:
    bool setPortName(const std::string& name) override;
    std::string portName() const override { return name_; }
    void setSettings(const std::string& settings) override;
    std::string settings() const override { return settings_; }
    bool open() override;
    void close() override;
    bool isOpen() const override { return open_; }
    std::string lastError() const override { return error_; }
    void write(const std::string& bytes) override;
    int bytesWaiting() override { return static_cast<int>(incoming.size()); }
    std::string readAll() override;

    std::set<std::string> devices;  // names that open successfully
    std::string incoming;           // bytes waiting to be read
    std::vector<std::string> calls; // the call log
    std::string written;            // every byte written, in order

  private:
    std::string name_;
    std::string settings_ = "9600,n,8,1";
    std::string error_;
    bool open_ = false;
};

} // namespace pa::testing
