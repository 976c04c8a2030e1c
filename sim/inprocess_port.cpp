// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "inprocess_port.h"

#include <cctype>
#include <utility>

namespace pa::sim {

namespace {

// The baud of a settings string such as "4800,n,8,1": its leading number, 0 without one.
int baudOf(const std::string& settings) {
    long baud = 0;
    for (char c : settings) {
        if (!std::isdigit(static_cast<unsigned char>(c)))
            break;
        baud = baud * 10 + (c - '0');
        if (baud > 100'000'000)
            return 0;
    }
    return static_cast<int>(baud);
}

} // namespace

InProcessPort::InProcessPort(Instrument& instrument, std::string deviceName)
    : instrument_(instrument), deviceName_(std::move(deviceName)) {}

bool InProcessPort::setPortName(const std::string& name) {
    if (open_)
        return false;
    name_ = name;
    return true;
}

void InProcessPort::setSettings(const std::string& settings) {
    settings_ = settings;
    lineBaud_ = baudOf(settings);
}

bool InProcessPort::open() {
    if (open_) {
        error_ = "The port is already open.";
        return false;
    }
    if (name_ != deviceName_ || !present_) {
        error_ = "The device " + name_ + " does not exist.";
        return false;
    }
    if (busy_) {
        error_ = "The port is busy (another program has it open).";
        return false;
    }
    error_.clear();
    received_.clear();
    open_ = true;
    return true;
}

void InProcessPort::close() {
    open_ = false;
    received_.clear();
}

void InProcessPort::write(const std::string& bytes) {
    if (!open_)
        return;
    received_ += instrument_.receive(bytes, lineBaud_);
}

std::string InProcessPort::readAll() {
    return std::exchange(received_, std::string());
}

void InProcessPort::setPresent(bool present) {
    present_ = present;
    if (!present && open_) {
        close();
        error_ = "The device " + name_ + " was removed.";
    }
}

} // namespace pa::sim
