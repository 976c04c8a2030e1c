// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// commport.dat: the last chosen COM port, written on every successful selection and never
// read back. The number is written as BASIC prints a number: a blank for the sign, the
// digits, a trailing blank, then CR LF (port 3 gives " 3 \r\n").
#include <string>

namespace pa::app {

std::string commPortLine(int portNumber);
// Replaces folder/commport.dat (the current folder when folder is empty). Errors are ignored:
// the file is a convenience record, not something the user is told about.
void writeCommPortFile(const std::string& folder, int portNumber);

} // namespace pa::app
