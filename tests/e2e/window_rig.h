// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The main window (offscreen) on the real serial port, against the simulator (a steady
// 230 V, 0.55 A, PF 0.92 load) on a pseudo-terminal reached through a stable link name, in
// a fresh profile folder; and the menu steps of a recording.
#include "ui/MeterRec.h"

#include "gui/gui_support.h"
#include "pty_host.h"
#include "qt/qt_clock.h"
#include "qt/qt_port.h"
#include "support/scripted_ui.h"
#include "support/test_files.h"

#include <QDate>
#include <QMenu>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

namespace pa::testing {

struct WindowRig {
    WindowRig() {
        load.noise = 0;
        startInstrument();
        window.startup();
        window.openPort(link.string());
    }
    // The link follows the device, as a by-id name follows an adapter plugged in again.
    void startInstrument() {
        sim = std::make_unique<pa::sim::PtyHost>(load);
        EXPECT_TRUE(sim->start());
        std::filesystem::remove(link);
        std::filesystem::create_symlink(sim->devicePath(), link);
    }
    void setFault(pa::sim::Fault fault) {
        sim->withInstrument([fault](pa::sim::Instrument& i) { i.setFault(fault); });
    }
    std::filesystem::path dataFile(const std::string& name) const {
        return profile.path() / "Documents" / "KV2260" / name;
    }
    void create(const std::string& typed) {
        ui.inputs.push_back(typed);
        window.findChild<QAction*>("FileCreate")->trigger();
    }
    void startRecording(const char* how) {
        emit window.findChild<QMenu*>("FileStart")->aboutToShow();
        menuItem(&window, how)->trigger();
    }
    void endRecording() { window.findChild<QAction*>("FileEnd")->trigger(); }
    bool enabled(const char* name) {
        if (auto* menu = window.findChild<QMenu*>(name))
            return menu->isEnabled();
        return window.findChild<QAction*>(name)->isEnabled();
    }
    bool noComShown() {
        auto* warning = window.findChild<QLabel*>("Warning");
        return warning->isVisibleTo(&window) && warning->text() == "NO COM";
    }
    pa::datafile::Recorder& recorder() { return window.recorder(); }

    TempFolder profile;
    InFolder inProfile{profile.path()};
    std::filesystem::path link = profile.path() / "ttyUSB-link";
    pa::sim::Load load;
    std::unique_ptr<pa::sim::PtyHost> sim;
    pa::app::ProgramState state;
    pa::qt::QtPort port;
    pa::qt::QtClock clock;
    ScriptedUi ui;
    pa::ui::MeterRec window{state, port, clock, ui};
};

inline std::string today() {
    return QDate::currentDate().toString("MM-dd-yyyy").toStdString();
}

// The line written for a clock text at which nothing came, written out by hand.
inline std::string noComLine(const std::string& clock) {
    std::string line = " " + today() + "," + clock + ", NO COM, DATA LOST, !, !,!,!,!,!,!,!";
    return line + std::string(143 - line.size(), ' ');
}

} // namespace pa::testing
