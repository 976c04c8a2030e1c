// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The link to the instrument as the main window drives it: start-up, the PC speed check,
// port and baud selection, and suspending/resuming the live exchange for other windows.
#include "app/clock.h"
#include "app/port.h"
#include "app/port_catalog.h"
#include "app/program_state.h"
#include "app/ui.h"

#include <functional>
#include <string>
#include <vector>

namespace pa::app {

// One row of the baud menu: the character that tells the instrument its new speed, the
// settings the port then takes, and what the menu shows.
struct BaudChoice {
    const char* command;
    const char* settings;
    const char* caption;
    int baudCode;
};
inline constexpr BaudChoice kBaudChoices[] = {
    {"9", "9600,n,8,1", "Baud rate (9600)", 9},
    {"4", "4800,n,8,1", "Baud rate (4800)", 4},
    {"2", "2400,n,8,1", "Baud rate (2400)", 2},
    {"1", "1200,n,8,1", "Baud rate (1200)", 1},
};

// The speed check counts 1010 status-window updates; this long or longer means a slow PC.
inline constexpr double kSlowPcSeconds = 1.5;

class MeterLink {
  public:
    MeterLink(Port& port, Clock& clock, Ui& ui, ProgramState& state);

    // Switches the main window's two live timers on or off.
    void setTimerSwitch(std::function<void(bool)> timers) { timers_ = std::move(timers); }
    // Device path behind each COM menu number (index 0 is COM 1); see port_catalog.h.
    void setComDevices(std::vector<std::string> paths) { comDevices_ = std::move(paths); }
    // Lists the system's ports as they are now, so that an adapter that comes back under
    // another device name is found again by its stable identity.
    void setPortCatalogue(std::function<std::vector<SystemPort>()> list) {
        catalogue_ = std::move(list);
    }
    // Folder in which commport.dat is written; the current folder when empty.
    void setWorkingFolder(std::string folder) { workingFolder_ = std::move(folder); }

    // Start-up: status window, start values, live exchange off, the port prompt, captions
    // (through applyCaptions), speed check. The caller then shows the main window. When the
    // port was named on the command line (askForPort false) there is no prompt: the caller
    // opens that port after start-up.
    void Startup(const std::function<void()>& applyCaptions, bool askForPort = true);
    void CheckPcSpeed();

    // on == 1: timers on and a blank sent to ask for the next frame. Any other value: timers
    // off, nothing sent.
    void SetLiveSampling(int on);

    // Opens COM n. Returns true when the port was opened and sampling started.
    bool SelectPort(int n);
    // Opens a port by device name or path (the COM menu's "Other port..." item).
    bool SelectPortByName(const std::string& device);
    // The live cycle's port reset: close and open again. A USB adapter with a stable identity
    // is opened wherever it is listed now; one that is not listed (unplugged) stays closed.
    // Returns true when the port is open afterwards.
    bool ReopenPort();
    // Index 0..3 of kBaudChoices; other indexes do nothing.
    void SelectBaud(int index);

    int portNumber() const { return portNumber_; }
    const std::string& portCaption() const { return portCaption_; }
    const std::string& baudCaption() const { return baudCaption_; }
    bool sampling() const { return sampling_; }
    // Why the last port selection failed (empty after a success): the device is missing,
    // busy, or not allowed.
    const std::string& lastFailure() const { return lastFailure_; }

  private:
    bool openPort(const std::string& device, const std::string& label);

    Port& port_;
    Clock& clock_;
    Ui& ui_;
    ProgramState& state_;
    std::function<void(bool)> timers_;
    std::vector<std::string> comDevices_;
    std::function<std::vector<SystemPort>()> catalogue_;
    std::string stableId_; // of the port in use; empty when it has none
    std::string workingFolder_;
    int portNumber_ = 0;
    std::string portCaption_ = "COM";
    std::string baudCaption_ = "Baud Rate (9600)";
    bool sampling_ = false;
    std::string lastFailure_;
};

} // namespace pa::app
