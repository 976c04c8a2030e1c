// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The simulated instrument as the programs' --simulate offers it. Where the system has
// pseudo-terminals it is served on one, so that the program reaches it through its real
// serial port code; elsewhere (Windows) the same instrument answers in this process, behind
// the Port interface, under the device name kInProcessDevice.
#include "instrument.h"
#include "port_router.h"

#ifdef PA_HAVE_PTY
#include "pty_host.h"
#else
#include "inprocess_port.h"
#endif

#include <functional>
#include <string>

namespace pa::sim {

class SimulatedDevice {
  public:
    static constexpr const char* kInProcessDevice = "SIMULATED";

    // Changes the instrument before start, e.g. to put records into its logger.
    void withInstrument(const std::function<void(Instrument&)>& fn);
    // Starts serving and makes the device reachable through `router`; false on failure,
    // and then lastError() says why.
    bool start(PortRouter& router);
    std::string devicePath() const;
    std::string lastError() const;

  private:
#ifdef PA_HAVE_PTY
    PtyHost host_;
#else
    Instrument instrument_;
    InProcessPort port_{instrument_, kInProcessDevice};
#endif
};

} // namespace pa::sim
