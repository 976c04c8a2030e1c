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

RecordTexts workedExample() {
    RecordTexts t;
    t.date = "11-15-2026";
    t.clock = "16:58:09.4";
    t.watts = "123.4";
    t.powerFactor = "0.98";
    t.volts = "230.1";
    t.amps = "0.547";
    t.angle = "11.5";
    t.voltAmps = "125.9";
    t.vars = "25.1";
    t.kwh = "0.012";
    t.energyPerPeriod = "8.60";
    t.period = "month";
    t.hoursPerDay = "8";
    t.cost = "$0.34";
    return t;
}

TEST(DataFileLine, FieldKeepsTheRightmostCharacters) {
    const struct {
        const char *text, *suffix;
        int width;
        const char* field;
    } cases[] = {
        {"3", ",", 11, "         3,"},
        {"12345.67", "W,", 9, "2345.67W,"},       // cut from the left, digits too
        {"123456789012", ",", 11, "3456789012,"}, // longer than the ten blanks
        {"", ",", 11, "          ,"},             // ten blanks are all there is to pad with
        {"OL", "W,", 9, "     OLW,"},
        {"KWH/每月", "", 14, "        KWH/每月"}, // widths in characters, not bytes
        {"每月每月每月每月", "", 5, "月每月每月"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(fixedField(c.text, c.suffix, c.width), c.field) << c.text;
}

TEST(DataFileLine, Header) {
    EXPECT_EQ(headerLine("month"),
              "      No.s,       Date,      Time, Wattage,      PF, Voltage, Current,"
              "Phase angle,         VA,          VAR,          KWH,     KWH/month Cost");
    EXPECT_EQ(headerLine("day").substr(122), "       KWH/day Cost");
    EXPECT_EQ(headerLine("每年").substr(122), "        KWH/每年 Cost");
}

TEST(DataFileLine, WorkedExampleRecord) {
    EXPECT_EQ(recordLine(3, workedExample()),
              "         3, 11-15-2026,16:58:09.4,  123.4W, 0.98 PF,  230.1V,  0.547A,"
              "       11.5,    125.9VA,      25.1VAR,     0.012KWH,    8.60/month 8$0.34");
}

TEST(DataFileLine, RecordFieldsCutAndGlued) {
    RecordTexts t = workedExample();
    t.watts = "12345.67";
    t.powerFactor = "-OL";
    t.hoursPerDay = "24";
    t.cost = "$1234567.00";
    t.energyPerPeriod = "1234567890.00";
    const std::string line = recordLine(1234567890, t);
    EXPECT_EQ(line.substr(0, 11), "1234567890,") << "ten digits just fit";
    EXPECT_EQ(line.substr(34, 18), "2345.67W,  -OL PF,");
    EXPECT_EQ(line.substr(122), "67890.00/month 24$1234567.00");

    EXPECT_EQ(recordLine(12345678901, t).substr(0, 11), "2345678901,");
    EXPECT_EQ(recordLine(0, t).substr(0, 11), "         0,");
    EXPECT_EQ(recordLine(2.5, t).substr(0, 11), "       2.5,");
}

TEST(DataFileLine, LostCommunicationIs143Characters) {
    const std::string line = lostCommunicationLine("11-15-2026", "16:58:09.4");
    EXPECT_EQ(line,
              " 11-15-2026,16:58:09.4, NO COM, DATA LOST, !, !,!,!,!,!,!,!" + std::string(84, ' '));
    EXPECT_EQ(line.size(), 143u);
    const std::string longClock(200, '9');
    EXPECT_EQ(lostCommunicationLine("11-15-2026", longClock),
              " 11-15-2026," + longClock.substr(0, 131));
    EXPECT_EQ(lostCommunicationLine("11-15-2026", "").size(), 143u);
}

TEST(DataFileLine, DateAndDroppedNumberField) {
    EXPECT_EQ(dateText(2026, 3, 7), "03-07-2026");
    EXPECT_EQ(dropCharacters("         3, 11-15-2026,", kNumberFieldWidth), " 11-15-2026,");
    EXPECT_EQ(dropCharacters("每月ab", 1), "月ab");
    EXPECT_EQ(dropCharacters("ab", 5), "");
}

TEST(DataFileName, StaysInTheDataFolderAndEndsInTxt) {
    const struct {
        const char *typed, *name;
    } cases[] = {
        {"test", "test.txt"},
        {"test.csv", "test.txt"},
        {"a.b.c", "a.txt"},
        {"my data", "my data.txt"},
        {"記錄.csv", "記錄.txt"},
        {"dir/sub/name.csv", "name.txt"},
        {"..\\..\\evil", "evil.txt"},
        {"C:\\temp\\x.dat", "x.txt"},
        {"C:x", "x.txt"},
        {"", ""},
        {"...", ""},
        {"   .csv", ""},
        {".hidden", ""},
        {"///", ""},
        {"data/", ""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(normaliseFileName(c.typed), c.name) << c.typed;
}

TEST(DataFileWriter, CreatesWithHeaderAndAppendsWholeLines) {
    TempFolder folder;
    const std::string path = (folder.path() / "test.txt").string();
    EXPECT_NE(appendLine(path, "lost"), "") << "a line is only appended to an existing file";
    EXPECT_FALSE(fs::exists(path));
    ASSERT_EQ(appendLines(path, {"old content"}), "") << "a block creates its file";
    ASSERT_EQ(createWithHeader(path, "day"), "");
    EXPECT_EQ(readFile(path), headerLine("day") + "\r\n") << "an existing file is replaced";
    ASSERT_EQ(appendLine(path, "one"), "");
    ASSERT_EQ(appendLine(path, "two"), "");
    EXPECT_EQ(readFile(path), headerLine("day") + "\r\none\r\ntwo\r\n");
    // A last line cut short (a power cut mid-write) is ended before the next line.
    std::ofstream(fs::path(path), std::ios::binary | std::ios::app) << "cut sh";
    ASSERT_EQ(appendLine(path, "three"), "");
    EXPECT_EQ(readFile(path), headerLine("day") + "\r\none\r\ntwo\r\ncut sh\r\nthree\r\n");
}

TEST(DataFileWriter, FailuresNameTheFileAndTheReason) {
    TempFolder folder;
    const std::string regular = (folder.path() / "plain").string();
    ASSERT_EQ(createWithHeader(regular, "month"), "");
    // A file taken for a folder: POSIX says "Not a directory", Windows that there is no such
    // path; either way the system's own reason is shown.
#ifdef _WIN32
    const std::string notAFolder = systemReason(ENOENT);
#else
    const std::string notAFolder = "Not a directory";
#endif
    const struct {
        std::string path;
        bool create;
        std::string reason;
    } cases[] = {
#ifndef _WIN32 // Windows has no device that is always full
        {"/dev/full", true, "No space left on device"},
        {"/dev/full", false, "No space left on device"},
#endif
        {regular + "/x.txt", true, notAFolder},
        {regular + "/x.txt", false, notAFolder},
        {(folder.path() / "missing" / "x.txt").string(), false, systemReason(ENOENT)},
    };
    for (const auto& c : cases) {
        const std::string error =
            c.create ? createWithHeader(c.path, "month") : appendLine(c.path, "line");
        EXPECT_NE(error.find(c.path), std::string::npos) << error;
        EXPECT_NE(error.find(c.reason), std::string::npos) << error;
    }
}

TEST(DataFileWriter, ALineCutShortByAFullDiskIsTakenBack) {
#ifndef PA_TEST_FILE_SIZE_LIMIT
    GTEST_SKIP() << "Windows has no per-process file size limit to fill the disk with";
#else
    TempFolder folder;
    const std::string path = (folder.path() / "test.txt").string();
    ASSERT_EQ(createWithHeader(path, "month"), "");
    ASSERT_EQ(appendLine(path, "first"), "");
    const std::string before = readFile(path);

    // A file size limit a few bytes past the end: the next line gets only part way.
    std::string error;
    {
        pa::testing::FileSizeLimit full(before.size() + 5);
        error = appendLine(path, std::string(100, 'x'));
    }

    EXPECT_NE(error.find(path), std::string::npos) << error;
    EXPECT_EQ(readFile(path), before);
    EXPECT_EQ(appendLine(path, "after"), "");
    EXPECT_EQ(readFile(path), before + "after\r\n");

    // A block of lines is all or nothing: the lines that fitted are taken back too.
    const std::string whole = readFile(path);
    std::string blockError;
    {
        pa::testing::FileSizeLimit full(whole.size() + 30);
        blockError = appendLines(path, {"one", "two", std::string(40, 'y')});
    }
    EXPECT_NE(blockError.find("File too large"), std::string::npos) << blockError;
    EXPECT_EQ(readFile(path), whole);

    // A new file that cannot take its header is not left behind empty.
    const std::string fresh = (folder.path() / "fresh.txt").string();
    {
        pa::testing::FileSizeLimit full(0);
        EXPECT_NE(createWithHeader(fresh, "month"), "");
    }
    EXPECT_FALSE(fs::exists(fresh));
#endif
}

} // namespace

namespace {

TEST(DataFileWriter, RefusesHostileNamesAndWhatIsNotAFileWithoutBlocking) {
    TempFolder folder;
    const fs::path outside = folder.path() / "outside.txt";
    std::ofstream(outside, std::ios::binary) << "precious\n";
#ifndef _WIN32 // Windows has no pipes in folders, and links there need privileges
    const fs::path link = folder.path() / "link.txt";
    fs::create_symlink(outside, link);
    const fs::path fifo = folder.path() / "pipe.txt";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const std::size_t made = 3;
#else
    const std::size_t made = 1;
#endif
    const std::string dir = folder.str();
    const struct {
        std::string path;
        const char* reason;
        const char* shownAs; // how the message writes the name
    } cases[] = {
        {dir + "/a\nFAKE.txt", "control character", "a\\x0AFAKE.txt"},
        {dir + "/tab\there.txt", "control character", "tab\\x09here.txt"},
        {dir + "/cr\r.txt", "control character", "cr\\x0D.txt"},
        {dir + "/del\x7f.txt", "control character", "del\\x7F.txt"},
        {dir + "/short" + std::string(1, '\0') + "er.txt", "control character", "short\\x00er.txt"},
#ifndef _WIN32
        {link.string(), "symbolic link, which is not followed", "link.txt"},
        {fifo.string(), ": it is not a regular file (a pipe, socket or folder).", "pipe.txt"},
        {dir, "Is a directory", ""},
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
    std::size_t files = 0;
    for ([[maybe_unused]] const auto& entry : fs::directory_iterator(folder.path()))
        ++files;
    EXPECT_EQ(files, made) << "only the files the test made";
}

} // namespace
