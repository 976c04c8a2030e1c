// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "app/commport_file.h"

#include "datafile/data_folder.h"
#include "datafile/output_file.h"

namespace pa::app {

std::string commPortLine(int portNumber) {
    const std::string sign = portNumber < 0 ? "-" : " ";
    return sign + std::to_string(portNumber < 0 ? -portNumber : portNumber) + " \r\n";
}

void writeCommPortFile(const std::string& folder, int portNumber) {
    // Written whole or not at all; a failure costs only the remembered port, so it is not told.
    (void)datafile::writeWholeFile(folder.empty() ? "commport.dat"
                                                  : datafile::joinPath(folder, "commport.dat"),
                                   commPortLine(portNumber));
}

} // namespace pa::app
