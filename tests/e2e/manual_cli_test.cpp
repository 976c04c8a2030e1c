// poweranalyzer-cli manual, run from a copy of the program in a folder of its own, as an
// installation lays it out: the manuals are looked for in "help" beside the program itself,
// also when it is started through a link from another folder.
#include "e2e/program_run.h"
#include "support/test_files.h"

#include <QFile>
#include <QProcess>
#include <filesystem>
#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;

pa::testing::ProgramRun run(const fs::path& program, const QStringList& args) {
    return pa::testing::runProgram(QString::fromStdString(program.string()), args);
}

void touch(const fs::path& path) {
    fs::create_directories(path.parent_path());
    std::ofstream(path) << "%PDF-1.4\n";
}

TEST(ManualCli, ListsTheSixItemsWithTheManualBesideTheProgram) {
    pa::testing::TempFolder root;
    const fs::path folder = root.path() / "lib" / "poweranalyzer";
    fs::create_directories(folder);
    fs::copy_file(PA_CLI_PROGRAM, folder / "poweranalyzer-cli");
    fs::create_directories(root.path() / "bin");
    fs::create_symlink("../lib/poweranalyzer/poweranalyzer-cli",
                       root.path() / "bin" / "poweranalyzer-cli");
    const QString help = QString::fromStdString((folder / "help").string());
    const QString english = help + "/KV2260-SW-HELP-EN_V6.7.pdf";
    const QString spanish = help + "/KV2260-SW-AYUDA-ES_V6.7.pdf";

    struct Case {
        std::vector<const char*> present; // manuals in help/
        int status;
        QString out;
    };
    const Case cases[] = {
        {{},
         1,
         "English: " + english + " (missing)\nFrench:\nGerman:\nSpanish: " + spanish +
             " (missing)\nItalian:\nPortuguese:\n"},
        {{"KV2260-SW-HELP-EN_V6.7.pdf"},
         1,
         "English: " + english + "\nFrench:\nGerman:\nSpanish: " + spanish +
             " (missing)\nItalian:\nPortuguese:\n"},
        {{"KV2260-SW-AYUDA-ES_V6.7.pdf"},
         0,
         "English: " + english + "\nFrench:\nGerman:\nSpanish: " + spanish +
             "\nItalian:\nPortuguese:\n"},
    };
    for (const Case& c : cases) {
        for (const char* name : c.present)
            touch(folder / "help" / name);
        // Started through the link in bin/: the program's own folder counts, not the link's.
        const pa::testing::ProgramRun r =
            run(root.path() / "bin" / "poweranalyzer-cli", {"manual"});
        EXPECT_EQ(r.status, c.status) << r.err.toStdString();
        EXPECT_EQ(r.out, c.out);
        EXPECT_TRUE(r.err.isEmpty()) << r.err.toStdString();
    }

    const pa::testing::ProgramRun bad = run(folder / "poweranalyzer-cli", {"manual", "--english"});
    EXPECT_EQ(bad.status, 2);
    EXPECT_EQ(bad.err, "poweranalyzer-cli: manual takes no options (got --english)\n");
    EXPECT_TRUE(bad.out.isEmpty());
}

} // namespace
