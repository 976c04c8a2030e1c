// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The serial ports the system lists, in COM menu order.
#include "app/port_catalog.h"

#include <vector>

namespace pa::qt {

std::vector<app::SystemPort> listSystemPorts();
bool isWindows();

} // namespace pa::qt
