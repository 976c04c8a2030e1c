// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "cli/console_ui.h"

#include "cli/commands.h"

#include <QCoreApplication>
#include <cstdio>

namespace pa::cli {

app::Answer ConsoleUi::message(const std::string& text, const std::string&, app::Icon,
                               app::Buttons buttons) {
    std::string line = text;
    for (char& c : line)
        if (c == '\n' || c == '\r')
            c = ' ';
    // A window's title says nothing on a terminal; the program's name says who speaks.
    std::fprintf(stderr, "poweranalyzer-cli: %s\n", line.c_str());
    return buttons == app::Buttons::YesNo ? app::Answer::No : app::Answer::Ok;
}

bool ConsoleUi::statusCancelled() {
    return stopRequested();
}

void ConsoleUi::processEvents() {
    QCoreApplication::processEvents();
}

} // namespace pa::cli
