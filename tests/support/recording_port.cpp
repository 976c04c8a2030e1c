// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "support/recording_port.h"

namespace pa::testing {

bool RecordingPort::setPortName(const std::string& name) {
    if (open_) {
        calls.push_back("refused name " + name);
        return false;
    }
    name_ = name;
    return true;
}

void RecordingPort::setSettings(const std::string& settings) {
    settings_ = settings;
    calls.push_back("settings " + settings);
}

bool RecordingPort::open() {
    calls.push_back("open " + name_);
    if (open_) {
        error_ = "already open";
        return false;
    }
    open_ = devices.count(name_) > 0;
    error_ = open_ ? "" : "no such device";
    return open_;
}

void RecordingPort::close() {
    calls.push_back("close");
    open_ = false;
}

void RecordingPort::write(const std::string& bytes) {
    if (!open_)
        return;
    calls.push_back("write " + bytes);
    written += bytes;
}

std::string RecordingPort::readAll() {
    std::string data;
    data.swap(incoming);
    return data;
}

} // namespace pa::testing
