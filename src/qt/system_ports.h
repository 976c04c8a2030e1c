#pragma once
// The serial ports the system lists, in COM menu order.
#include "app/port_catalog.h"

#include <vector>

namespace pa::qt {

std::vector<app::SystemPort> listSystemPorts();
bool isWindows();

} // namespace pa::qt
