// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// poweranalyzer-cli manual: the six items of Help > User Manual, each with the manual it opens
// from this program's folder, so that an installation can be checked from a script.
//
//   poweranalyzer-cli manual
//
// One line per item in menu order, "Language: PATH"; PATH is empty for the items without a
// manual and is followed by " (missing)" when no file is there. Exit status 1 when a manual
// is missing.
#include "cli/commands.h"
#include "cmdline/command_options.h"
#include "ui/help_about.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <cstdio>
#include <string>
#include <vector>

namespace pa::cli {

int manualCommand(const std::vector<std::string>& args) {
    if (const std::string error = cmdline::parseNoOptions("manual", args); !error.empty())
        return fail(error);
    // The folder of the program itself (links followed), where the window looks too.
    const std::string folder = QCoreApplication::applicationDirPath().toStdString();
    int missing = 0;
    for (int item = 0; item < 6; ++item) {
        const std::string path = ui::manualPath(folder, item);
        const bool there = path.empty() || QFileInfo(QString::fromStdString(path)).isFile();
        missing += !there;
        std::printf("%s:%s%s%s\n", ui::kManualLanguages[item], path.empty() ? "" : " ",
                    path.c_str(), there ? "" : " (missing)");
    }
    return missing ? 1 : 0;
}

} // namespace pa::cli
