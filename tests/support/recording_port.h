// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// A Port that records every call as one line ("write 4", "close", "settings 4800,n,8,1",
// "open COM3", ...) and can be told which devices exist and what arrives.
#include "app/port.h"

#include <set>
#include <string>
#include <utility>
#include <vector>

namespace pa::testing {

class RecordingPort : public app::Port {
  public:
    bool setPortName(const std::string& name) override {
        if (open_)
            calls.push_back("refused name " + name);
        else
            name_ = name;
        return !open_;
    }
    std::string portName() const override { return name_; }
    void setSettings(const std::string& settings) override {
        settings_ = settings;
        calls.push_back("settings " + settings);
    }
    std::string settings() const override { return settings_; }
    bool open() override {
        calls.push_back("open " + name_);
        if (open_) {
            error_ = "already open";
            return false;
        }
        open_ = devices.count(name_) > 0;
        error_ = open_ ? "" : "no such device";
        return open_;
    }
    void close() override {
        calls.push_back("close");
        open_ = false;
    }
    bool isOpen() const override { return open_; }
    std::string lastError() const override { return error_; }
    void write(const std::string& bytes) override {
        if (!open_)
            return;
        calls.push_back("write " + bytes);
        written += bytes;
    }
    int bytesWaiting() override { return static_cast<int>(incoming.size()); }
    std::string readAll() override { return std::exchange(incoming, {}); }

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
