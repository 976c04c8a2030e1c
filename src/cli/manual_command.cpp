// poweranalyzer-cli manual: where Help > User Manual looks for each of its six manuals,
// beside this program, so that an installation can be checked from a script.
//
//   poweranalyzer-cli manual
//   English: /usr/lib/poweranalyzer/help/KV2260-SW-HELP-EN_V6.7.pdf
//   French:
//   ...
//
// Items without a manual show nothing after the colon; a manual that should be there and
// is not is marked "(missing)" and makes the exit status 1.
#include "cli/commands.h"
#include "ui/help_about.h"

#include <QCoreApplication>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

namespace pa::cli {

int manualCommand(const std::vector<std::string>& args) {
    if (!args.empty())
        return fail("manual takes no arguments");
    const std::string folder = QCoreApplication::applicationDirPath().toStdString();
    int status = 0;
    for (int item = 0; item < static_cast<int>(std::size(ui::kManualLanguages)); ++item) {
        const std::string path = ui::manualPath(folder, item);
        const bool missing = !path.empty() && !std::filesystem::is_regular_file(path);
        std::printf("%s:%s%s%s\n", ui::kManualLanguages[item], path.empty() ? "" : " ",
                    path.c_str(), missing ? " (missing)" : "");
        if (missing)
            status = 1;
    }
    return status;
}

} // namespace pa::cli
