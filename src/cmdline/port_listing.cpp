// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "cmdline/port_listing.h"

namespace pa::cmdline {

std::string portListing(const std::vector<ListedPort>& ports) {
    if (ports.empty())
        return "no serial ports found: plug in the instrument's USB adapter, or give "
               "--simulate to use a simulated instrument\n";
    std::string out;
    for (const ListedPort& p : ports) {
        out += p.stable.empty() ? p.device : p.stable;
        if (!p.stable.empty() && p.stable != p.device)
            out += "  (" + p.device + ")";
        std::string about;
        for (const std::string* part : {&p.description, &p.manufacturer})
            if (!part->empty())
                about += (about.empty() ? "" : ", ") + *part;
        if (!p.serialNumber.empty())
            about += (about.empty() ? "serial number " : ", serial number ") + p.serialNumber;
        out += (about.empty() ? "" : "  " + about) + "\n";
    }
    return out;
}

} // namespace pa::cmdline
