// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Names Windows cannot give a file. A data file is made on one machine and read on another,
// often a Windows PC, so a typed data-file name is held to Windows' rules on every system:
// no device name (CON, PRN, AUX, NUL, COM0-COM9, LPT0-LPT9, with or without an ending) and
// none of the characters < > " | ? * (the separators / \ : are dropped earlier, with the
// folder part of a typed name).
#include <string>
#include <string_view>

namespace pa::datafile {

// Why Windows refuses a file name, as one sentence for the user; empty when it does not.
// `name` is the file name alone, ending included ("con.txt").
std::string windowsNameProblem(std::string_view name);

} // namespace pa::datafile
