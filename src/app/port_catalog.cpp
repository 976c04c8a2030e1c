// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "app/port_catalog.h"

#include <algorithm>

namespace pa::app {

std::vector<SystemPort> comMenuOrder(std::vector<SystemPort> ports) {
    auto hasCallOutTwin = [&](const SystemPort& p) {
        if (p.name.rfind("tty.", 0) != 0)
            return false;
        const std::string twin = "cu." + p.name.substr(4);
        return std::any_of(ports.begin(), ports.end(),
                           [&](const SystemPort& q) { return q.name == twin; });
    };
    std::vector<SystemPort> kept;
    for (const SystemPort& p : ports)
        if (!hasCallOutTwin(p))
            kept.push_back(p);
    std::stable_sort(kept.begin(), kept.end(), [](const SystemPort& a, const SystemPort& b) {
        if (a.usb != b.usb)
            return a.usb;
        return a.name < b.name;
    });
    return kept;
}

std::vector<std::string> comDevicePaths(const std::vector<SystemPort>& ordered, bool windows) {
    std::vector<std::string> paths(kComMenuItems);
    for (int n = 1; n <= kComMenuItems; ++n) {
        if (windows)
            paths[n - 1] = "COM" + std::to_string(n);
        else if (n <= static_cast<int>(ordered.size()))
            paths[n - 1] = ordered[n - 1].path;
    }
    return paths;
}

std::string stableIdOf(const std::vector<SystemPort>& ports, const std::string& path) {
    for (const SystemPort& p : ports)
        if (!path.empty() && p.path == path)
            return p.stableId;
    return {};
}

std::string pathOfStableId(const std::vector<SystemPort>& ports, const std::string& stableId) {
    for (const SystemPort& p : ports)
        if (!stableId.empty() && p.stableId == stableId)
            return p.path;
    return {};
}

} // namespace pa::app
