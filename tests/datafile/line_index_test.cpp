// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// Lines of a file read by index, across block boundaries, after scans in small steps.
#include "datafile/line_index.h"

#include "support/test_files.h"

#include <gtest/gtest.h>

#ifndef _WIN32
#include <sys/stat.h>
#endif

namespace {

using pa::datafile::LineIndex;
using pa::testing::TempFolder;
using Lines = std::vector<std::string>;

struct Slice {
    std::uint64_t first;
    std::size_t count;
    Lines lines;
};

// Opens and indexes the file in steps of `step` bytes, counting the steps.
int indexAll(LineIndex& index, const std::filesystem::path& path, std::size_t step) {
    EXPECT_EQ(index.open(path.string()), "");
    int steps = 0;
    while (!index.indexMore(step))
        ++steps;
    EXPECT_EQ(index.indexedBytes(), index.fileSize());
    return steps;
}

// Lines are there before the scan ends, across block starts and either line end; lines
// longer than 4096 characters (not bytes) are given cut, with their length.
TEST(LineIndex, ReadsAnyLinesAfterScanningInSteps) {
    TempFolder folder;
    const auto path = folder.path() / "many.txt";
    {
        std::ofstream out(path, std::ios::binary);
        for (int i = 0; i < 5000; ++i) {
            if (i == 300)
                out << std::string(20'000'000, 'x'); // 20 MB in one line
            else
                out << (i % 1000 == 100 ? std::string(4097, 'y') : "line " + std::to_string(i));
            out << (i % 2 ? "\n" : "\r\n");
        }
        for (int i = 0; i < 4106; ++i) // the last line, without a line end
            out << "每";
    }
    LineIndex index;
    ASSERT_EQ(index.open(path.string()), "");
    EXPECT_FALSE(index.indexMore(4096));
    EXPECT_GT(index.lineCount(), 50u);
    EXPECT_EQ(index.lines(50, 1), Lines{"line 50"}) << "lines are there before the scan ends";
    EXPECT_GT(indexAll(index, path, 1 << 16), 5);
    EXPECT_EQ(index.lineCount(), 5001u);
    EXPECT_EQ(index.widestLine(), 4096u + 26u) << "characters, not bytes";
    std::string z;
    for (int i = 0; i < 4096; ++i)
        z += "每";
    const std::string y = std::string(4096, 'y') + " ... (4097 characters)";
    const Slice cases[] = {
        {0, 2, {"line 0", "line 1"}},
        {99, 3, {"line 99", y, "line 101"}},
        {255, 2, {"line 255", "line 256"}}, // across a block start
        {299, 3, {"line 299", std::string(4096, 'x') + " ... (20000000 characters)", "line 301"}},
        {4999, 5, {"line 4999", z + " ... (4106 characters)"}},
        {5001, 3, {}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(index.lines(c.first, c.count), c.lines) << c.first;
}

// An empty file has no lines; what is not a file is refused at once with the reason.
TEST(LineIndex, EmptyFilesAndWhatIsNotAFile) {
    TempFolder folder;
    const auto empty = folder.path() / "empty.txt";
    std::ofstream(empty).flush();
    LineIndex index;
    indexAll(index, empty, 100);
    EXPECT_EQ(index.lineCount(), 0u);
    EXPECT_TRUE(index.lines(0, 10).empty());
#ifndef _WIN32 // Windows has no pipes in folders, nor /dev/zero
    const auto fifo = folder.path() / "pipe";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
#endif
    const std::pair<std::string, const char*> cases[] = {
        {(folder.path() / "missing.txt").string(), "No such file or directory"},
#ifndef _WIN32
        {fifo.string(), "not a regular file"},
        {"/dev/zero", "not a regular file"},
#endif
    };
    for (const auto& [path, reason] : cases) {
        const std::string error = LineIndex().open(path);
        EXPECT_NE(error.find(path + ": "), std::string::npos) << error;
        EXPECT_NE(error.find(reason), std::string::npos) << error;
    }
}

} // namespace
