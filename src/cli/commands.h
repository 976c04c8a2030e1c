// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The subcommands of poweranalyzer-cli. Each takes the arguments after its name and returns
// the exit status; bad input gives a one-line error on standard error and a non-zero status.
#include <string>
#include <vector>

namespace pa::cli {

int monitorCommand(const std::vector<std::string>& args);
int pfCommand(const std::vector<std::string>& args);
int plotCommand(const std::vector<std::string>& args);
int recordCommand(const std::vector<std::string>& args);
int loggerCommand(const std::vector<std::string>& args);
int manualCommand(const std::vector<std::string>& args);
int exportCommand(const std::vector<std::string>& args);
int statsCommand(const std::vector<std::string>& args);
int reportCommand(const std::vector<std::string>& args);
int portsCommand(const std::vector<std::string>& args);

// Shared by the subcommands.
// Prints "poweranalyzer-cli: message" on standard error and returns 2.
int fail(const std::string& message);
// Flushes standard output; when it cannot be written (a reader that has gone, a full disk),
// says so once on standard error and returns false. The program's exit status is then
// non-zero whatever the command returned.
bool flushOutput();
// Makes Ctrl-C and kill end the running event loop between ticks.
void quitOnCtrlC();
bool stopRequested();

} // namespace pa::cli
