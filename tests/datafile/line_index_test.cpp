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

std::string numbered(int from, int to) {
    std::string all;
    for (int i = from; i <= to; ++i)
        all += "line " + std::to_string(i) + "\r\n";
    return all;
}

TEST(LineIndex, ReadsAnyLinesAfterScanningInSteps) {
    TempFolder folder;
    const auto path = folder.path() / "many.txt";
    std::ofstream(path, std::ios::binary) << numbered(0, 999) << "last, no line end 每";
    LineIndex index;
    ASSERT_EQ(index.open(path.string()), "");
    int steps = 0;
    while (!index.indexMore(1000))
        ++steps;
    EXPECT_GT(steps, 5);
    EXPECT_EQ(index.lineCount(), 1001u);
    EXPECT_EQ(index.widestLine(), 19u) << "characters, not bytes";

    const struct {
        std::uint64_t first;
        std::size_t count;
        std::vector<std::string> lines;
    } cases[] = {
        {0, 2, {"line 0", "line 1"}},
        {255, 2, {"line 255", "line 256"}}, // across a block start
        {512, 1, {"line 512"}},
        {999, 5, {"line 999", "last, no line end 每"}},
        {1001, 3, {}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(index.lines(c.first, c.count), c.lines) << c.first;
}

TEST(LineIndex, LinesAreThereBeforeTheScanEnds) {
    TempFolder folder;
    const auto path = folder.path() / "long.txt";
    std::ofstream(path, std::ios::binary) << numbered(0, 5000);
    LineIndex index;
    ASSERT_EQ(index.open(path.string()), "");
    EXPECT_FALSE(index.indexMore(4096));
    EXPECT_GT(index.lineCount(), 100u);
    EXPECT_EQ(index.lines(100, 1), std::vector<std::string>{"line 100"});
    while (!index.indexMore(1 << 20)) {
    }
    EXPECT_EQ(index.lineCount(), 5001u);
    EXPECT_EQ(index.indexedBytes(), index.fileSize());
}

TEST(LineIndex, EmptyAndMissingFiles) {
    TempFolder folder;
    const auto empty = folder.path() / "empty.txt";
    std::ofstream(empty).flush();
    LineIndex index;
    ASSERT_EQ(index.open(empty.string()), "");
    EXPECT_TRUE(index.indexMore(100));
    EXPECT_EQ(index.lineCount(), 0u);
    EXPECT_TRUE(index.lines(0, 10).empty());

    const std::string missing = (folder.path() / "missing.txt").string();
    const std::string error = index.open(missing);
    EXPECT_NE(error.find(missing), std::string::npos);
    EXPECT_NE(error.find("No such file or directory"), std::string::npos) << error;
}

TEST(LineIndex, LongLinesAreGivenCutWithTheirLength) {
    TempFolder folder;
    const auto path = folder.path() / "long.txt";
    const std::size_t cut = LineIndex::kLongestShownLine;
    {
        std::ofstream out(path, std::ios::binary);
        out << "short\r\n" << std::string(20'000'000, 'x') << "\r\n"; // 20 MB in one line
        for (int i = 0; i < 300; ++i) // past a block start, with more long lines among them
            out << (i % 100 == 0 ? std::string(cut + 1, 'y') : "n" + std::to_string(i)) << "\n";
        out << std::string(cut + 10, 'z'); // the last line, without a line end
    }
    LineIndex index;
    ASSERT_EQ(index.open(path.string()), "");
    while (!index.indexMore(1 << 20)) {
    }
    ASSERT_EQ(index.lineCount(), 303u);
    const std::string ys = std::string(cut, 'y') + LineIndex::cutNote(cut + 1);
    const struct {
        std::uint64_t first;
        std::size_t count;
        std::vector<std::string> lines;
    } cases[] = {
        {0, 3, {"short", std::string(cut, 'x') + " ... (20000000 characters)", ys}},
        {3, 2, {"n1", "n2"}},
        {102, 2, {ys, "n101"}},
        {255, 3, {"n253", "n254", "n255"}}, // across a block start
        {301, 5, {"n299", std::string(cut, 'z') + LineIndex::cutNote(cut + 10)}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(index.lines(c.first, c.count), c.lines) << c.first;
    EXPECT_EQ(index.widestLine(), cut + LineIndex::cutNote(20'000'000).size());
}

TEST(LineIndex, RefusesWhatIsNotAFileWithoutWaiting) {
    TempFolder folder;
#ifndef _WIN32 // Windows has no pipes in folders, nor /dev/zero
    const auto fifo = folder.path() / "pipe";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
#endif
    const struct {
        std::string path, reason;
    } cases[] = {
#ifndef _WIN32
        {fifo.string(), "not a regular file"},
        {"/dev/zero", "not a regular file"},
#endif
        {folder.str(), "it is a folder, not a file"},
    };
    for (const auto& c : cases) {
        LineIndex index;
        const std::string error = index.open(c.path);
        EXPECT_NE(error.find(c.path + ": "), std::string::npos) << error;
        EXPECT_NE(error.find(c.reason), std::string::npos) << error;
    }
}

} // namespace
