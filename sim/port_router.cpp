// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "port_router.h"

namespace pa::sim {

void PortRouter::addSimulated(const std::string& name, pa::app::Port& simulated) {
    simulated_ = &simulated;
    simulatedName_ = name;
    simulated.setSettings(system_.settings());
}

bool PortRouter::setPortName(const std::string& name) {
    if (active_->isOpen())
        return false; // as every port: no new name while open
    pa::app::Port* target = simulated_ && name == simulatedName_ ? simulated_ : &system_;
    if (!target->setPortName(name))
        return false;
    active_ = target;
    return true;
}

void PortRouter::setSettings(const std::string& settings) {
    // Both ports keep the settings, so that whichever is named next opens with them.
    system_.setSettings(settings);
    if (simulated_)
        simulated_->setSettings(settings);
}

} // namespace pa::sim
