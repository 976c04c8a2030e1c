// The download: time stamps, record conversion, and Read_All against the simulated logger.
#include "logger/record_converter.h"
#include "logger_rig.h"
#include "support/test_files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

namespace {

using namespace pa;
namespace fs = std::filesystem;

TEST(TimeStamps, AdvanceByTheIntervalWithTenthsAndWrapAtMidnight) {
    const struct {
        std::string start;
        long interval, steps;
        std::string text;
    } cases[] = {
        {"10:00:00", 4, 1, "10:00:00.4"},     {"10:00:00", 4, 150, "10:01:00.0"},
        {"10:59:59", 10, 1, "11:00:00.0"},    {"23:59:59", 4, 3, "00:00:00.2"},
        {"23:00:00", 36000, 2, "01:00:00.0"}, {"20:06:00", 0, 5, "20:06:00.0"},
    };
    for (const auto& c : cases) {
        auto t = logger::TimeStamp::fromBox(c.start);
        for (long i = 0; i < c.steps; ++i)
            t.advance(c.interval);
        EXPECT_EQ(t.text(), c.text) << c.start << " + " << c.steps << " x " << c.interval;
    }
}

TEST(RecordConversion, DisplayWordsBecomeValuesWithOneDecimal) {
    const struct {
        std::uint16_t word;
        std::string text;
    } cases[] = {
        {sim::encodeReading(116.38, 2), "116.4"},
        {sim::encodeReading(-230, 0), "-230.0"},
        {sim::encodeReading(0.55, 3), "0.6"},
        {sim::encodeReading(0.92, 3), "0.9"},
        {sim::encodeOverload(true, 2), "OL"},
        {sim::encodeOverload(false, 2), "-OL"},
        {sim::kStartUpWord, "Init"},
    };
    for (const auto& c : cases) {
        const std::string word{static_cast<char>(c.word & 0xFF), static_cast<char>(c.word >> 8)};
        EXPECT_EQ(logger::recordValueText(word), c.text) << c.word;
    }
}

struct Download : ::testing::Test {
    pa::testing::LoggerRig rig;
    std::string dir =
        pa::testing::scratchFolder(::testing::UnitTest::GetInstance()->current_test_info()->name());
    std::string path = dir + "/log.txt";

    void SetUp() override { rig.folder = dir; }
    void download(std::optional<std::string> file) {
        rig.ui.files.push_back(std::move(file));
        rig.session.Read_All();
    }
    std::string report(int records) const {
        return std::to_string(records) + " records received and stored in FILE " + path;
    }
};

TEST_F(Download, RecordsBecomeLinesStampedByTheSamplingInterval) {
    rig.logger().setClock("0225235959");
    rig.logger().setSamplingUnits(1); // 0.4 s
    rig.logger().appendRecord(116.38, 0.55, 230, 0.92);
    rig.logger().appendRecord(-230, 1, 230, -1);
    rig.logger().appendRecordWords(sim::encodeOverload(true, 2), sim::encodeReading(1, 3),
                                   sim::encodeReading(230, 0), sim::encodeReading(0.5, 3));
    rig.logger().appendRecord(1, 1, 1, 1);
    download(path);

    EXPECT_EQ(pa::testing::readFile(path), "No.,Date,Time,Watts,PF,Volts,Amps\r\n"
                                           "1,02-25,23:59:59,116.4,0.9,230.0,0.6\r\n"
                                           "2,02-25,23:59:59.4,-230.0,-1.0,230.0,1.0\r\n"
                                           "3,02-25,23:59:59.8,OL,0.5,230.0,1.0\r\n"
                                           "4,02-25,00:00:00.2,1.0,1.0,1.0,1.0\r\n");
    EXPECT_EQ(rig.messages(), std::vector<std::string>{report(4)});
    EXPECT_EQ(rig.ui.messages.back().icon, app::Icon::None);
    EXPECT_EQ(rig.ui.saveStartPaths, std::vector<std::string>{dir + "/.txt"});
    EXPECT_EQ(rig.session.Label1[7], "4");
    EXPECT_EQ(rig.live, (std::vector<int>{0, 1}));
    EXPECT_FALSE(rig.ui.statusVisible);
}

TEST_F(Download, AppendingAddsASecondHeaderAndAnsweringNoSendsNothing) {
    rig.logger().fillRecords(1, pa::testing::quietLoad());
    download(path);
    rig.ui.answers.push_back(app::Answer::Yes);
    download(path);
    const std::string twice = pa::testing::readFile(path);
    const std::string header = "No.,Date,Time,Watts,PF,Volts,Amps\r\n";
    const std::string line = "1,11-15,16:58:00,116.4,0.9,230.0,0.6\r\n";
    EXPECT_EQ(twice, header + line + header + line);
    EXPECT_EQ(rig.ui.messages[1].text, "File  " + path + "  exists, add data to it");
    EXPECT_EQ(rig.ui.messages[1].icon, app::Icon::Question);

    rig.ui.answers.push_back(app::Answer::No);
    download(path);
    EXPECT_EQ(rig.logger().downloads(), 2);
    EXPECT_EQ(pa::testing::readFile(path), twice);
    EXPECT_EQ(rig.live, (std::vector<int>{0, 1, 0, 1, 0, 1}));
}

TEST_F(Download, EmptyLoggerWritesNoFileAndReportsZero) {
    download(path);
    EXPECT_FALSE(fs::exists(path));
    EXPECT_EQ(rig.messages(), std::vector<std::string>{report(0)});
}

TEST_F(Download, ShortStreamWritesFewerLinesThanTheReportCounts) {
    rig.logger().fillRecords(10, pa::testing::quietLoad());
    rig.logger().setFault(sim::LoggerFault::ShortStream, 1);
    download(path);
    const std::string text = pa::testing::readFile(path);
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1 + 5);
    EXPECT_EQ(rig.messages(), std::vector<std::string>{report(10)});
}

TEST_F(Download, FailedTransfersLeaveTheFileUntouched) {
    const struct {
        std::function<void(pa::testing::LoggerRig&)> fault;
        std::vector<std::string> messages;
        int downloads;
    } cases[] = {
        {[](auto& r) { r.logger().setFault(sim::LoggerFault::NoEtx, 1); },
         {"Inncorrect ending byte"},
         1},
        {[](auto& r) { r.logger().setFault(sim::LoggerFault::BadFraming, 1, 1); },
         {"Incorrecot leading byte, try again"},
         1},
        {[](auto& r) { r.logger().setFault(sim::LoggerFault::NoReply, 1, 1); },
         {"Incorrecot leading byte, try again"},
         1},
        {[](auto& r) { r.logger().setRecording(true); },
         {"Press record key to stop recording, then try again"},
         0},
        {[](auto& r) { r.meter.setFault(sim::Fault::Silent); },
         {"No response, check your cable or DMM"},
         0},
    };
    for (const auto& c : cases) {
        pa::testing::LoggerRig fresh;
        fresh.folder = dir;
        fresh.logger().fillRecords(3, pa::testing::quietLoad());
        c.fault(fresh);
        fresh.ui.files.push_back(path);
        fresh.session.Read_All();
        EXPECT_EQ(fresh.messages(), c.messages);
        EXPECT_EQ(fresh.logger().downloads(), c.downloads);
        EXPECT_FALSE(fs::exists(path));
        EXPECT_EQ(fresh.live, (std::vector<int>{0, 1}));
        EXPECT_FALSE(fresh.ui.statusVisible);
    }
}

TEST_F(Download, AFileThatCannotBeWrittenIsSaidSoWithoutAReport) {
    rig.logger().fillRecords(2, pa::testing::quietLoad());
    const std::string readOnly = dir + "/read-only";
    fs::create_directories(readOnly);
    fs::permissions(readOnly, fs::perms::owner_read | fs::perms::owner_exec);
    const struct {
        std::string path;
        const char* reason;
    } cases[] = {
        {dir + "/no such folder/log.txt", "No such file or directory"},
        {readOnly + "/log.txt", "Permission denied"},
    };
    for (const auto& c : cases) {
        rig.ui.messages.clear();
        rig.live.clear();
        {
            pa::testing::WithoutPrivileges user; // root meets the folder's permissions too
            download(c.path);
        }
        EXPECT_EQ(rig.messages(), std::vector<std::string>{"Cannot open the data file " + c.path +
                                                           ": " + c.reason + "."});
        EXPECT_EQ(rig.live, (std::vector<int>{0, 1}));
        EXPECT_FALSE(rig.ui.statusVisible);
        EXPECT_FALSE(fs::exists(c.path));
    }
}

TEST_F(Download, ADiskThatFillsMidwayLeavesTheEarlierDownloadWhole) {
    rig.logger().fillRecords(300, pa::testing::quietLoad());
    download(path);
    const std::string first = pa::testing::readFile(path);
    ASSERT_EQ(std::count(first.begin(), first.end(), '\n'), 301);

    // Room for a few more lines only: the second download gets part way and is taken back.
    rig.ui.answers.push_back(pa::app::Answer::Yes); // add data to the existing file
    {
        pa::testing::FileSizeLimit full(first.size() + 200);
        download(path);
    }

    ASSERT_EQ(rig.messages().size(), 3u);
    const std::string error = rig.messages()[2];
    EXPECT_NE(error.find(path), std::string::npos) << error;
    EXPECT_NE(error.find("File too large"), std::string::npos) << error;
    EXPECT_EQ(pa::testing::readFile(path), first) << "the earlier download is untouched";
}

TEST_F(Download, CancellingTheDialogSendsNothing) {
    rig.logger().fillRecords(3, pa::testing::quietLoad());
    download(std::nullopt);
    EXPECT_EQ(rig.logger().downloads(), 0);
    EXPECT_TRUE(rig.ui.messages.empty());
    EXPECT_EQ(rig.live, (std::vector<int>{0, 1}));
}

TEST_F(Download, FullMemoryTakesItsSilenceWindowOnVirtualTime) {
    EXPECT_EQ(rig.logger().fillRecords(5000, pa::testing::quietLoad()), sim::kLoggerCapacity);
    const double t0 = rig.clock.secondsSinceMidnight();
    download(path);
    const double took = rig.clock.secondsSinceMidnight() - t0;
    const std::string text = pa::testing::readFile(path);
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1 + sim::kLoggerCapacity);
    EXPECT_EQ(rig.messages(), std::vector<std::string>{report(sim::kLoggerCapacity)});
    EXPECT_NEAR(took, 0.7 + 2.0, 0.02); // the state query, then 2 s of silence
}

} // namespace

// Every count the progress box shows as text is shown as a bar too: the same progress, rising
// to the end, with one total throughout.
TEST(ProgressBar, FollowsTheCountOfEachLongOperation) {
    const struct {
        const char* name;
        std::function<void(pa::testing::LoggerRig&)> run;
        std::pair<int, int> last;
    } cases[] = {
        {"status read", [](pa::testing::LoggerRig& r) { r.session.Read_Status(); }, {95, 96}},
        {"data dump", [](pa::testing::LoggerRig& r) { r.session.dataDump(10, 27); }, {17, 18}},
    };
    for (const auto& c : cases) {
        pa::testing::LoggerRig rig;
        rig.logger().fillRecords(40, rig.meter.load());
        c.run(rig);
        const auto& steps = rig.ui.progress;
        ASSERT_FALSE(steps.empty()) << c.name;
        EXPECT_EQ(steps.back(), c.last) << c.name;
        for (std::size_t i = 1; i < steps.size(); ++i) {
            EXPECT_GE(steps[i].first, steps[i - 1].first) << c.name;
            EXPECT_EQ(steps[i].second, steps[0].second) << c.name;
        }
    }
}
