// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "app/meter_link.h"

#include "app/commport_file.h"
#include "text/mask_format.h"

namespace pa::app {

MeterLink::MeterLink(Port& port, Clock& clock, Ui& ui, ProgramState& state)
    : port_(port), clock_(clock), ui_(ui), state_(state) {}

void MeterLink::Startup(const std::function<void()>& applyCaptions, bool askForPort) {
    ui_.statusShow();
    ui_.statusText("");
    state_.reset();
    SetLiveSampling(0);
    if (askForPort)
        ui_.message("Select COM port from the OPTION menu");
    if (applyCaptions)
        applyCaptions();
    CheckPcSpeed();
}

void MeterLink::CheckPcSpeed() {
    ui_.statusShow();
    state_.slowPcFlag = 0;
    const double t0 = clock_.secondsSinceMidnight();
    for (int outer = 9; outer >= 0; --outer)
        for (int inner = 100; inner >= 0; --inner)
            ui_.statusText(text::formatMask(inner, "      #"));
    double elapsed = clock_.secondsSinceMidnight() - t0;
    if (elapsed < 0)
        elapsed += 86400; // the check ran across midnight
    if (elapsed >= kSlowPcSeconds)
        state_.slowPcFlag = 1;
    ui_.statusHide();
}

void MeterLink::SetLiveSampling(int on) {
    sampling_ = on == 1;
    if (timers_)
        timers_(sampling_);
    if (sampling_)
        port_.write(" ");
}

bool MeterLink::SelectPort(int n) {
    const std::string device =
        n >= 1 && n <= static_cast<int>(comDevices_.size()) ? comDevices_[n - 1] : "";
    const std::string label = "COM " + std::to_string(n);
    if (!openPort(device, label))
        return false;
    portNumber_ = n;
    portCaption_ = label;
    writeCommPortFile(workingFolder_, n);
    SetLiveSampling(1);
    return true;
}

bool MeterLink::SelectPortByName(const std::string& device) {
    for (std::size_t i = 0; i < comDevices_.size(); ++i)
        if (!device.empty() && comDevices_[i] == device)
            return SelectPort(static_cast<int>(i) + 1);
    if (!openPort(device, device))
        return false;
    portNumber_ = 0;
    portCaption_ = device;
    SetLiveSampling(1);
    return true;
}

bool MeterLink::openPort(const std::string& device, const std::string& label) {
    // The close-before-switch step is guarded by a flag that nothing sets, so a second
    // selection while a port is open is refused by the port itself and the first port stays
    // in use. Only a port that has closed (an unplugged adapter) can be replaced.
    std::string previous;
    bool closedPrevious = false;
    if (state_.portOpenFlag == 1) {
        previous = port_.portName();
        port_.close();
        closedPrevious = true;
    }
    std::string& reason = lastFailure_;
    reason.clear();
    if (device.empty())
        reason = "No serial port has this number on this computer.";
    else if (!port_.setPortName(device))
        reason = "Another port is in use: the program keeps its first port until it is closed.";
    else if (!port_.open())
        reason = port_.lastError();
    if (reason.empty()) {
        stableId_ = catalogue_ ? stableIdOf(catalogue_(), device) : std::string();
        return true;
    }

    // The box names the port only; the reason is kept for the main window's port-state line
    // and the command-line program's error line.
    ui_.message(label + " not available");
    if (closedPrevious && port_.setPortName(previous))
        port_.open();
    return false;
}

bool MeterLink::ReopenPort() {
    port_.close();
    if (!stableId_.empty() && catalogue_) {
        // Never the old device name: another adapter may have been given it meanwhile.
        const std::string path = pathOfStableId(catalogue_(), stableId_);
        if (path.empty())
            return false;
        if (path != port_.portName() && !port_.setPortName(path))
            return false;
    }
    return port_.open();
}

void MeterLink::SelectBaud(int index) {
    if (index < 0 || index >= static_cast<int>(std::size(kBaudChoices)))
        return;
    const BaudChoice& choice = kBaudChoices[index];
    state_.baudCode = choice.baudCode;
    port_.write(choice.command); // at the old speed: the instrument changes its own
    port_.close();
    port_.setSettings(choice.settings);
    port_.open();
    port_.write(" ");
    baudCaption_ = choice.caption;
}

} // namespace pa::app
