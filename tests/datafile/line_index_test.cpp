// Lines of a file read by index, across block boundaries, after scans in small steps.
#include "datafile/line_index.h"

#include "support/test_files.h"

#include <gtest/gtest.h>

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

} // namespace
