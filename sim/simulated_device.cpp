// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "simulated_device.h"

namespace pa::sim {

#ifdef PA_HAVE_PTY

void SimulatedDevice::withInstrument(const std::function<void(Instrument&)>& fn) {
    host_.withInstrument(fn);
}

bool SimulatedDevice::start(PortRouter&) {
    return host_.start(); // reached by its device path, through the system's port
}

std::string SimulatedDevice::devicePath() const {
    return host_.devicePath();
}

std::string SimulatedDevice::lastError() const {
    return host_.lastError();
}

#else

void SimulatedDevice::withInstrument(const std::function<void(Instrument&)>& fn) {
    fn(instrument_);
}

bool SimulatedDevice::start(PortRouter& router) {
    router.addSimulated(kInProcessDevice, port_);
    return true;
}

std::string SimulatedDevice::devicePath() const {
    return kInProcessDevice;
}

std::string SimulatedDevice::lastError() const {
    return "";
}

#endif

} // namespace pa::sim
