// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The lines of the recording file, built from hand-written expectations, and the writer
// against real files, a full disk (/dev/full) and a folder that cannot exist.
#include "datafile/data_file.h"

#include "support/test_files.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#ifndef _WIN32
#include <sys/stat.h>
#endif

namespace {

namespace fs = std::filesystem;
using namespace pa::datafile;
using pa::testing::readFile;
using pa::testing::TempFolder;

// The worked example of a record: 123.4 W, PF 0.98, 230.1 V, 0.547 A.
const RecordTexts kExample{"11-15-2026", "16:58:09.4", "123.4", "0.98", "230.1", "0.547", "11.5",
                           "125.9",      "25.1",       "0.012", "8.60", "month", "8",     "$0.34"};

// Fields are padded and cut in characters, not bytes (the lines below pin the rest).
TEST(DataFileLine, FieldKeepsTheRightmostCharacters) {
    EXPECT_EQ(fixedField("", ",", 11), "          ,"); // ten blanks are all there is to pad with
    EXPECT_EQ(fixedField("每月每月每月每月", "", 5), "月每月每月");
}

// The header, record and lost-communication lines, written out in full or from the column
// where they differ.
TEST(DataFileLine, LinesOfTheFile) {
    RecordTexts cut = kExample;
    cut.watts = "12345.67";
    cut.powerFactor = "-OL";
    cut.hoursPerDay = "24";
    cut.cost = "$1234567.00";
    cut.energyPerPeriod = "1234567890.00";
    const std::string longClock(200, '9');
    const std::pair<std::string, std::string> cases[] = {
        {headerLine("month"),
         "      No.s,       Date,      Time, Wattage,      PF, Voltage, Current,"
         "Phase angle,         VA,          VAR,          KWH,     KWH/month Cost"},
        {headerLine("day").substr(122), "       KWH/day Cost"},
        {headerLine("每年").substr(122), "        KWH/每年 Cost"},
        {recordLine(3, kExample),
         "         3, 11-15-2026,16:58:09.4,  123.4W, 0.98 PF,  230.1V,  0.547A,"
         "       11.5,    125.9VA,      25.1VAR,     0.012KWH,    8.60/month 8$0.34"},
        {recordLine(1234567890, cut).substr(0, 52), "1234567890, 11-15-2026,16:58:09.4,"
                                                    "2345.67W,  -OL PF,"},
        {recordLine(1, cut).substr(122), "67890.00/month 24$1234567.00"},
        {recordLine(12345678901, cut).substr(0, 11), "2345678901,"},
        {recordLine(0, cut).substr(0, 11), "         0,"},
        {recordLine(2.5, cut).substr(0, 11), "       2.5,"},
        {lostCommunicationLine("11-15-2026", "16:58:09.4"),
         " 11-15-2026,16:58:09.4, NO COM, DATA LOST, !, !,!,!,!,!,!,!" + std::string(84, ' ')},
        {lostCommunicationLine("11-15-2026", longClock), " 11-15-2026," + longClock.substr(0, 131)},
        {lostCommunicationLine("11-15-2026", ""),
         " 11-15-2026,, NO COM, DATA LOST, !, !,!,!,!,!,!,!" + std::string(94, ' ')},
        {dateText(2026, 3, 7), "03-07-2026"},
        {dropCharacters("         3, 11-15-2026,", 11), " 11-15-2026,"},
        {dropCharacters("每月ab", 1), "月ab"},
        {dropCharacters("ab", 5), ""},
    };
    for (const auto& [line, expected] : cases)
        EXPECT_EQ(line, expected);
}

// The name typed: its folders and extension go, ".txt" comes; names that leave nothing give "".
TEST(DataFileName, StaysInTheDataFolderAndEndsInTxt) {
    const std::pair<const char*, const char*> cases[] = {
        {"test.csv", "test.txt"},         {"a.b.c", "a.txt"},
        {"my data", "my data.txt"},       {"記錄.csv", "記錄.txt"},
        {"dir/sub/name.csv", "name.txt"}, {"..\\..\\evil", "evil.txt"},
        {"C:\\temp\\x.dat", "x.txt"},     {"C:x", "x.txt"},
    };
    for (const auto& [typed, name] : cases)
        EXPECT_EQ(normaliseFileName(typed), name) << typed;
    for (const char* typed : {"", "...", "   .csv", ".hidden", "///", "data/"})
        EXPECT_EQ(normaliseFileName(typed), "") << typed;
}

// Lines are appended whole: a line cut short (a power cut mid-write) is ended before the
// next, and one cut short by a full disk is taken back.
TEST(DataFileWriter, CreatesWithHeaderAndAppendsWholeLines) {
    TempFolder folder;
    const std::string path = (folder.path() / "test.txt").string();
    EXPECT_NE(appendLine(path, "lost"), "") << "a line is only appended to an existing file";
    EXPECT_FALSE(fs::exists(path));
    ASSERT_EQ(appendLines(path, {"old content"}), "") << "a block creates its file";
    ASSERT_EQ(createWithHeader(path, "day"), "");
    EXPECT_EQ(readFile(path), headerLine("day") + "\r\n") << "an existing file is replaced";
    ASSERT_EQ(appendLine(path, "one"), "");
    std::ofstream(fs::path(path), std::ios::binary | std::ios::app) << "cut sh";
    ASSERT_EQ(appendLine(path, "two"), "");
    const std::string before = headerLine("day") + "\r\none\r\ncut sh\r\ntwo\r\n";
    EXPECT_EQ(readFile(path), before);
#ifdef PA_TEST_FILE_SIZE_LIMIT // Windows has no per-process file size limit
    // A file size limit a few bytes past the end: a line or a block gets only part way; a
    // block is all or nothing.
    const std::vector<std::string> blocks[] = {{std::string(100, 'x')},
                                               {"one", "two", std::string(40, 'y')}};
    for (const auto& block : blocks) {
        std::string error;
        {
            pa::testing::FileSizeLimit full(before.size() + 30);
            error = block.size() == 1 ? appendLine(path, block[0]) : appendLines(path, block);
        }
        for (const std::string& part : {path, std::string("File too large")})
            EXPECT_NE(error.find(part), std::string::npos) << error;
        EXPECT_EQ(readFile(path), before);
    }
    EXPECT_EQ(appendLine(path, "after"), "");
    EXPECT_EQ(readFile(path), before + "after\r\n");
    // A new file that cannot take its header is not left behind empty.
    const std::string fresh = (folder.path() / "fresh.txt").string();
    {
        pa::testing::FileSizeLimit full(0);
        EXPECT_NE(createWithHeader(fresh, "month"), "");
    }
    EXPECT_FALSE(fs::exists(fresh));
#endif
}

// Writing or creating fails with the file and the reason, without blocking on what is not a
// file and without following links.
TEST(DataFileWriter, FailuresNameTheFileAndTheReason) {
    TempFolder folder;
    const fs::path outside = folder.path() / "outside.txt";
    std::ofstream(outside, std::ios::binary) << "precious\n";
    const std::string dir = folder.str(), plain = (folder.path() / "outside.txt/x.txt").string();
#ifdef _WIN32 // A file taken for a folder: Windows says there is no such path
    const std::string notAFolder = systemReason(ENOENT);
    const std::size_t made = 1;
#else // Windows has no pipes in folders, no device that is always full, and links need rights
    const std::string notAFolder = "Not a directory";
    const fs::path link = folder.path() / "link.txt", fifo = folder.path() / "pipe.txt";
    fs::create_symlink(outside, link);
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const std::size_t made = 3;
#endif
    const struct {
        std::string path;
        std::string reason;
        std::string shownAs; // how the message writes the name
    } cases[] = {
        {plain, notAFolder, plain},
        {dir + "/missing/x.txt", systemReason(ENOENT), dir + "/missing/x.txt"},
        {dir + "/a\nFAKE.txt", "control character", "a\\x0AFAKE.txt"},
        {dir + "/del\x7f.txt", "control character", "del\\x7F.txt"},
        {dir + "/short" + std::string(1, '\0') + "er.txt", "control character", "short\\x00er.txt"},
#ifndef _WIN32
        {"/dev/full", "No space left on device", "/dev/full"},
        {link.string(), "symbolic link, which is not followed", "link.txt"},
        {fifo.string(), ": it is not a regular file (a pipe, socket or folder).", "pipe.txt"},
        {dir, "Is a directory", dir},
#endif
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.shownAs);
        for (const bool create : {true, false}) {
            const std::string error =
                create ? createWithHeader(c.path, "month") : appendLine(c.path, "line");
            EXPECT_NE(error.find(c.reason), std::string::npos) << error;
            EXPECT_NE(error.find(c.shownAs), std::string::npos) << error;
        }
    }
    EXPECT_EQ(readFile(outside.string()), "precious\n") << "the link's target is untouched";
    EXPECT_FALSE(fs::exists(dir + "/short")) << "no file under the name cut at the NUL";
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), fs::directory_iterator()),
              static_cast<std::ptrdiff_t>(made))
        << "only the files the test made";
}

} // namespace
