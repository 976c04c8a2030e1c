// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// A small file named by the user is read whole, or refused at once with the reason: too
// large, a folder, a pipe or a device (which must not block nor fill the memory).
#include "datafile/small_file.h"
#include "support/test_files.h"

#include <gtest/gtest.h>

#ifndef _WIN32
#include <sys/stat.h>
#endif

namespace {

using pa::datafile::readSmallFile;

TEST(SmallFile, ReadsRegularFilesWithinTheLimitAndRefusesTheRest) {
    pa::testing::TempFolder folder;
    const auto make = [&](const char* name, std::string bytes) {
        std::ofstream(folder.path() / name, std::ios::binary) << bytes;
        return pa::datafile::joinPath(folder.str(), name);
    };
    const struct {
        std::string path;
        const char* bytes; // what is read, or nullptr when refused
        const char* error;
    } cases[] = {
        {make("exact", std::string(16, 'x')), "xxxxxxxxxxxxxxxx", ""},
        {make("empty", ""), "", ""},
        {make("over", std::string(17, 'x')), nullptr, "it is larger than 16 bytes"},
        {folder.str(), nullptr, "it is a folder, not a file"},
        {pa::datafile::joinPath(folder.str(), "missing"), nullptr, "No such file or directory"},
#ifndef _WIN32
        {"/dev/zero", nullptr, "it is not a regular file"},
        {[&] {
             const auto fifo = folder.path() / "fifo";
             ::mkfifo(fifo.c_str(), 0600);
             return fifo.string();
         }(),
         nullptr, "it is not a regular file"}, // opened without waiting for a writer
#endif
    };
    for (const auto& c : cases) {
        const auto file = readSmallFile(c.path, 16);
        EXPECT_EQ(file.bytes, c.bytes ? c.bytes : "") << c.path;
        EXPECT_EQ(file.error.find(c.error), 0u) << c.path << ": " << file.error;
        EXPECT_EQ(file.error.empty(), c.bytes != nullptr) << c.path;
    }
}

} // namespace
