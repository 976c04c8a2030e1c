// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// Whole-file outputs: what the target is decides how it is written, a failure or a discarded
// write leaves the target as it was and no temporary file behind.
#include "datafile/output_file.h"
#include "support/test_files.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#ifndef _WIN32
#include <csignal>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace {

namespace fs = std::filesystem;
using pa::datafile::OutputFile;
using pa::datafile::writeWholeFile;
using pa::testing::readFile;
using pa::testing::TempFolder;

std::vector<std::string> names(const fs::path& folder) {
    std::vector<std::string> all;
    for (const auto& e : fs::directory_iterator(folder))
        all.push_back(e.path().filename().string());
    std::sort(all.begin(), all.end());
    return all;
}

TEST(OutputFile, ReplacesAFileOnlyWhenWhole) {
    TempFolder dir;
    const fs::path out = dir.path() / "o.csv";
    EXPECT_EQ(writeWholeFile(out.string(), "new\n"), "");
    EXPECT_EQ(readFile(out), "new\n");
    {
        OutputFile file(out.string());
        ASSERT_TRUE(file.write("half"));
        // Not committed (a cancel, a crash of the writer): the old file stays whole.
    }
    EXPECT_EQ(readFile(out), "new\n");
    OutputFile cancelled(out.string());
    cancelled.write("part");
    cancelled.abandon("export cancelled");
    EXPECT_EQ(cancelled.commit(), "export cancelled");
    EXPECT_EQ(readFile(out), "new\n");
    EXPECT_EQ(names(dir.path()), std::vector<std::string>{"o.csv"}) << "no temporary file left";
}

// What cannot be replaced is refused with the reason; no pipe without a reader blocks.
TEST(OutputFile, RefusesWhatCannotBeReplaced) {
    TempFolder dir;
#ifndef _WIN32 // Windows has no pipes in folders, nor a device that is always full
    const fs::path fifo = dir.path() / "pipe";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    fs::create_symlink(dir.path() / "nowhere", dir.path() / "dangling.csv");
#endif
    const std::pair<std::string, std::string> cases[] = {
        {dir.str(), ": it is a folder"},
        {(dir.path() / "missing" / "o.csv").string(), pa::datafile::systemReason(ENOENT)},
        {"", "not a file name"},
#ifndef _WIN32
        {(dir.path() / "dangling.csv").string(), "link to nothing"},
        {"/dev/full", ": No space left on device"},
        {fifo.string(), ": no program reads from the pipe"},
#endif
    };
    for (const auto& [path, reason] : cases) {
        const std::string error = writeWholeFile(path, "x");
        EXPECT_EQ(error.rfind("cannot write " + path, 0), 0u) << error;
        EXPECT_NE(error.find(reason), std::string::npos) << error;
    }
    EXPECT_TRUE(fs::is_directory(dir.path()));
}

#ifndef _WIN32
TEST(OutputFile, KeepsWhatTheTargetIs) {
    TempFolder dir;
    // Permissions of the old file stay.
    const fs::path secret = dir.path() / "secret.csv";
    ASSERT_EQ(writeWholeFile(secret.string(), "old"), "");
    ::chmod(secret.c_str(), 0600);
    ASSERT_EQ(writeWholeFile(secret.string(), "new"), "");
    struct stat st {};
    ::stat(secret.c_str(), &st);
    EXPECT_EQ(st.st_mode & 0777, 0600u);

    // A link to a file stays a link; its file takes the new content.
    const fs::path link = dir.path() / "link.csv";
    fs::create_symlink(secret, link);
    ASSERT_EQ(writeWholeFile(link.string(), "through"), "");
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(readFile(secret), "through");

    // A link planted where an older program put its temporary file is left alone.
    const fs::path victim = dir.path() / "victim";
    ASSERT_EQ(writeWholeFile(victim.string(), "keep"), "");
    fs::create_symlink(victim, dir.path() / "o.csv.part");
    ASSERT_EQ(writeWholeFile((dir.path() / "o.csv").string(), "csv"), "");
    EXPECT_EQ(readFile(victim), "keep");

    // Devices and pipes with a reader stay what they are and are written in place.
    EXPECT_EQ(writeWholeFile("/dev/null", "x"), "");
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
    const fs::path fifo = dir.path() / "pipe";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const int reader = ::open(fifo.c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_EQ(writeWholeFile(fifo.string(), "piped"), "");
    char got[8] = {};
    EXPECT_EQ(::read(reader, got, sizeof got), 5);
    ::close(reader);
    EXPECT_TRUE(fs::is_fifo(fifo));
}

TEST(OutputFile, CtrlCInTheMiddleLeavesNoTemporaryFile) {
    TempFolder dir;
    const fs::path out = dir.path() / "big.csv";
    ASSERT_EQ(writeWholeFile(out.string(), "old"), "");
    for (const int sig : {SIGINT, SIGTERM}) {
        const pid_t child = ::fork();
        if (child == 0) {
            OutputFile file(out.string());
            file.write(std::string(1 << 16, 'x'));
            std::raise(sig);
            ::_exit(0); // not reached: the signal ends the program
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == sig) << "ended by the signal";
        EXPECT_EQ(names(dir.path()), std::vector<std::string>{"big.csv"});
        EXPECT_EQ(readFile(out), "old");
    }
}
#endif

} // namespace
