// Settings boxes, the memory console and the self-test, against the simulated logger.
#include "logger/console_parser.h"
#include "logger/self_test.h"
#include "logger/settings_encoding.h"
#include "logger_rig.h"

#include <gtest/gtest.h>

namespace {

using namespace pa;
using logger::ByteWrite;

std::vector<std::string> boxes(std::string id, std::string date, std::string time,
                               std::string sampling, std::string output) {
    return {id, date, time, sampling, output};
}

TEST(SettingsEncoding, EachBoxGivesItsWritesOrItsRefusal) {
    const auto ok = boxes("1", "02-25", "20:06:00", "1", "1");
    std::vector<ByteWrite> clockWrites;
    for (const char digit : std::string("0225200600"))
        clockWrites.push_back({8 + static_cast<int>(clockWrites.size()), digit});
    const std::string dateError =
        "Date and Time format error, they must be in the form of MM-DD HH:MM:SS, and zero must "
        "be entered(eg. 02-25 20:06:00).\r\nUpdate function canceled !";
    const struct {
        int box;
        std::vector<std::string> texts;
        std::vector<ByteWrite> writes;
        std::string refusal;
    } cases[] = {
        {0, boxes("32767", "", "", "", ""), {{2, 255}, {3, 127}}, ""},
        {0, boxes("258.5", "", "", "", ""), {{2, 2}, {3, 1}}, ""}, // 258.5 rounds to 258
        {0,
         boxes("32768", "", "", "", ""),
         {},
         "ID value too large (max. 32767).Update function canceled."},
        {0, boxes("-3", "", "", "", ""), {}, "Out of range"},
        {0, boxes("-3e64", "", "", "", ""), {}, "Out of range"}, // no int: refused before
        {0, boxes("", "02-25", "", "", ""), {}, "No input, update function canceled"},
        {1, ok, clockWrites, ""}, // the ten digits MMDDHHMMSS at 8 to 17
        {2, boxes("", "2-25", "20:06:00", "", ""), {}, dateError},
        {1, boxes("", "02-25", "20:6:00", "", ""), {}, dateError},
        {1, boxes("", "13-25", "20:06:00", "", ""), {}, dateError},
        {2, boxes("", "02/25", "20:06:00", "", ""), {}, dateError},
        {3, boxes("", "", "", "1", ""), {{18, 2}, {19, 0}}, ""}, // 2.5 units to 2 (0.8 s)
        {3, boxes("", "", "", "26214", ""), {{18, 255}, {19, 255}}, ""},
        {3, boxes("", "", "", "26215", ""), {}, "Bad sampling interval (range: 0.4 < t < 26214)."},
        {3, boxes("", "", "", "0.2", ""), {}, "Bad sampling interval (range: 0.4 < t < 26214)."},
        {3, boxes("", "", "", "0.3", ""), {{18, 1}, {19, 0}}, ""},
        {3, boxes("", "", "", "3", ""), {{18, 8}, {19, 0}}, ""}, // 7.5 to 8
        {4, boxes("", "", "", "", "102.4"), {{60, 0}, {61, 1}}, ""},
        {4, boxes("", "", "", "", "-1"), {}, "Bad output interval (range: 0.4 < t < 26214)."},
    };
    for (const auto& c : cases) {
        const auto u = logger::encodeSetting(c.box, c.texts);
        EXPECT_EQ(u.writes, c.writes) << c.box << " " << c.texts[c.box];
        EXPECT_EQ(u.refusal, c.refusal) << c.box << " " << c.texts[c.box];
    }
}

TEST(SettingsUpdate, EnterWritesTheLoggerAndShowsTheRoundedInterval) {
    pa::testing::LoggerRig rig;
    rig.session.Text1[3] = "1";
    rig.session.updateSetting(logger::kSamplingBox);
    EXPECT_EQ(rig.ui.statusCaptionText, "Status");
    ASSERT_FALSE(rig.ui.statusTexts.empty());
    EXPECT_EQ(rig.ui.statusTexts.front(), " Updating") << "before the state query's texts";
    EXPECT_EQ(rig.logger().word(18), 2);
    EXPECT_EQ(rig.session.Text1[3], ".8   "); // "#####.0" drops the leading zero
    EXPECT_DOUBLE_EQ(rig.session.samplingInterval, 0.8);
    rig.session.Text1[0] = "4660";
    rig.session.updateSetting(logger::kIdBox);
    EXPECT_EQ(rig.logger().word(2), 4660);
    EXPECT_TRUE(rig.ui.messages.empty());
    EXPECT_EQ(rig.live, (std::vector<int>{0, 1, 0, 1}));
    EXPECT_FALSE(rig.ui.statusVisible);
}

TEST(SettingsUpdate, NothingIsWrittenUnlessTheLoggerIsIdle) {
    const struct {
        std::function<void(pa::testing::LoggerRig&)> setup;
        std::vector<std::string> messages;
    } cases[] = {
        {[](auto& r) { r.logger().setRecording(true); },
         {"Press record key to stop recording, then try again"}},
        {[](auto& r) { r.meter.setFault(sim::Fault::Silent); },
         {"No response, check your cable or DMM", "Unknown status"}},
        {[](auto& r) { r.session.Text1[3] = "0.1"; },
         {"Bad sampling interval (range: 0.4 < t < 26214)."}},
    };
    for (const auto& c : cases) {
        pa::testing::LoggerRig rig;
        rig.session.Text1[3] = "7";
        c.setup(rig);
        rig.session.updateSetting(logger::kSamplingBox);
        EXPECT_EQ(rig.messages(), c.messages);
        EXPECT_EQ(rig.logger().writes(), 0);
        EXPECT_EQ(rig.live, (std::vector<int>{0, 1}));
        EXPECT_FALSE(rig.ui.statusVisible);
    }
}

TEST(ConsoleParser, SplitsCommandAddressAndValue) {
    const struct {
        std::string line, command, address, value;
    } cases[] = {
        {"W 8191 5", "W", "8191", "5"},
        {"   R   12", "R", "12", ""},
        {"EEE", "EEE", "", ""},
        {"EEEE", "EEEE", "", ""},
        {"   ", "", "", ""},
        {"W10 3", "W", "10", "3"},
        {"X", "X", "", ""},
        {"R &H2C", "R", "&H2C", ""},
    };
    for (const auto& c : cases) {
        const auto p = logger::parseConsoleLine(c.line);
        EXPECT_EQ(p.command, c.command) << c.line;
        EXPECT_EQ(p.address, c.address) << c.line;
        EXPECT_EQ(p.value, c.value) << c.line;
    }
    EXPECT_EQ(logger::consoleNumber("&H2C"), 44);
    EXPECT_EQ(logger::consoleNumber("-1"), -1);
    EXPECT_EQ(logger::consoleNumber("&HZZ"), std::nullopt);
    EXPECT_EQ(logger::consoleNumber("12abc"), std::nullopt);
}

TEST(Console, EveryLineEndsWithItsMessageAndTheLiveCycleResumed) {
    const struct {
        std::string line;
        std::vector<std::string> messages;
        int reads, writes;
    } cases[] = {
        {"W 8191 5", {}, 0, 1},
        {"W &H2C 7", {}, 0, 1},
        {"W 8192 5", {"Address > 8192 or Address < 0"}, 0, 0},
        {"W 99999999999999999999 1", {"Address > 8192 or Address < 0"}, 0, 0},
        {"R -1", {"Address > 8191 or address < 0"}, 0, 0},
        {"R 5", {"Incorrect leading or ending byte"}, 1, 0},
        // Texts count by their leading number (letters give 0); only empty ones are missing.
        {"R &HZZ", {"Incorrect leading or ending byte"}, 1, 0},
        {"W abc 5", {}, 0, 1},
        {"W 12abc 5", {}, 0, 1},
        {"W 10 abc", {}, 0, 1},
        {"W 10  ", {}, 0, 1},
        {"W -5abc 1", {"Address > 8192 or Address < 0"}, 0, 0},
        {"R", {"No address"}, 0, 0},
        {"W 10", {"No write value"}, 0, 0},
        {"W 10 300", {"value too large", "Command not send"}, 0, 0},
        {"W 10 99999999999", {"value too large", "Command not send"}, 0, 0},
        {"   ", {"No command"}, 0, 0},
        {"", {"No command"}, 0, 0},
        {"EEEE", {"Unknown command"}, 0, 0},
        {"Z", {"Unknown command"}, 0, 0},
        {"U", {"Please press the READ/SAVE button"}, 0, 0},
        {"EEE", {}, 0, 0},
        {"  G", {}, 0, 0},
    };
    for (const auto& c : cases) {
        pa::testing::LoggerRig rig;
        rig.session.consoleEnter(c.line);
        EXPECT_EQ(rig.messages(), c.messages) << c.line;
        EXPECT_EQ(rig.logger().reads(), c.reads) << c.line;
        EXPECT_EQ(rig.logger().writes(), c.writes) << c.line;
        EXPECT_EQ(rig.logger().downloads(), 0);
        EXPECT_EQ(rig.live, (std::vector<int>{0, 1})) << c.line;
    }
}

TEST(Console, WriteShowsAddressAndValueAndFoldsTheAddress) {
    pa::testing::LoggerRig rig;
    rig.session.consoleEnter("W 300 171");
    EXPECT_EQ(rig.logger().at(44), 171) << "300 reaches the logger as 44";
    EXPECT_EQ(rig.session.Label1[38], "300");
    EXPECT_EQ(rig.session.Label1[39], "171");
    EXPECT_EQ(rig.session.Label1[40], "AB");
    rig.session.consoleEnter("W 12abc 5");
    EXPECT_EQ(rig.logger().at(12), 5) << "the address is the text's leading number";
    rig.session.consoleEnter("W 13 x");
    EXPECT_EQ(rig.logger().at(13), 0) << "a value of letters is 0";
    EXPECT_EQ(rig.session.Label1[38], "13");
    EXPECT_EQ(rig.session.Label1[39], "0");
    rig.session.consoleEnter("EEE");
    rig.session.consoleEnter("X");
    EXPECT_EQ(rig.session.Label1[38], "STATUS");
    EXPECT_EQ(rig.session.Label1[30], "IDLE");
    EXPECT_EQ(rig.logger().serviceCommands(), std::vector<std::string>{"EEE"});
}

TEST(DataDump, ReadsARangeAndFormatsIt) {
    pa::testing::LoggerRig rig;
    const auto bytes = rig.session.dataDump(0, 17);
    ASSERT_TRUE(bytes);
    EXPECT_EQ(logger::hexDump(0, *bytes),
              "0000  D4 08 01 00 00 00 20 00 31 31 31 35 31 36 35 38  ...... .11151658\n"
              "0010  30 30                                            00\n");
    EXPECT_EQ(rig.session.dataDump(0, 256), std::nullopt);
    // Typed addresses: absurd numbers are refused, not converted.
    EXPECT_EQ(rig.session.dataDump("1e30", "5"), std::nullopt);
    EXPECT_EQ(rig.session.dataDump("0", "-1e30"), std::nullopt);
    EXPECT_EQ(rig.session.dataDump("3", "&HFFFFFFFFFFFF"), std::nullopt);
    const auto typed = rig.session.dataDump(" 16", "17.9");
    ASSERT_TRUE(typed);
    EXPECT_EQ(*typed, bytes->substr(16, 2)) << "leading numbers, fractions dropped";
    EXPECT_EQ(rig.messages(), std::vector<std::string>(4, "Out of range"));
}

struct SelfTestRig : pa::testing::LoggerRig {
    logger::SelfTest test{exchange, [this](int on) { live.push_back(on); }};
};

TEST(SelfTest, StartWritesTheRequestUnlessTheAnswerIsNo) {
    for (auto answer : {app::Answer::Yes, app::Answer::No}) {
        SelfTestRig rig;
        rig.ui.answers.push_back(answer);
        rig.test.diag_start();
        EXPECT_EQ(rig.ui.messages[0].text, "Are sure you want to start self-testing");
        EXPECT_EQ(rig.ui.messages[0].buttons, app::Buttons::YesNo);
        EXPECT_EQ(rig.logger().at(45), answer == app::Answer::Yes ? 150 : 1);
        EXPECT_EQ(rig.ui.messages.size(), answer == app::Answer::Yes ? 2u : 1u);
        if (answer == app::Answer::Yes) {
            EXPECT_EQ(rig.ui.messages[1].text,
                      "Disconnect the cable, turn the power off, and turn it on again, then the "
                      "unit starts self-testing. It will takes about 15 minutes.  During "
                      "self-test, you will not be able to get data from the Power Analyzer");
            EXPECT_EQ(rig.ui.messages[1].icon, app::Icon::Exclamation);
        }
        EXPECT_EQ(rig.live, (std::vector<int>{0, 1}));
    }
}

TEST(SelfTest, ReadShowsCountStatusVerdictAndDetail) {
    const struct {
        int failures, memoryStatus, verdictByte, detail;
        std::string count, status, verdict, shownDetail;
        int reads;
    } cases[] = {
        {0, 0x1234, 1, 0, "0", "None", "PASS", "", 3},
        {3, 0x1234, 2, 7, "3", "4660", "FAIL", "7", 7},
        {0, 0, 150, 0, "0", "None", "?", "", 3},
        {0, 0, 0, 0, "0", "None", "?", "", 3},
    };
    for (const auto& c : cases) {
        SelfTestRig rig;
        rig.logger().setWord(41, c.failures);
        rig.logger().setWord(43, c.memoryStatus);
        rig.logger().set(45, c.verdictByte);
        rig.logger().setWord(46, c.detail);
        rig.test.diag_read();
        EXPECT_TRUE(rig.ui.messages.empty());
        EXPECT_EQ(rig.test.results[1], "OK");
        EXPECT_EQ(rig.test.results[3], c.count);
        EXPECT_EQ(rig.test.results[5], c.status);
        EXPECT_EQ(rig.test.verdict[1], c.verdict);
        EXPECT_EQ(rig.test.verdict[3], c.shownDetail);
        EXPECT_EQ(rig.logger().reads(), c.reads);
        EXPECT_EQ(rig.live, (std::vector<int>{0, 1}));
    }
}

TEST(SelfTest, RequestedTestRunsAtPowerOnAndReadsBackItsVerdict) {
    SelfTestRig rig;
    rig.test.diag_start();
    rig.logger().powerCycle(false, 513);
    rig.test.diag_read();
    EXPECT_EQ(rig.test.verdict[1], "FAIL");
    EXPECT_EQ(rig.test.verdict[3], "513");
}

TEST(SelfTest, LinkFaultsAndBadRepliesShowTheirMessages) {
    const struct {
        std::function<void(SelfTestRig&)> setup;
        std::vector<std::string> messages;
        std::string link;
    } cases[] = {
        {[](auto& r) { r.logger().setSelfTesting(true); },
         {"Self-Testing, no data will be sent out of DMM"},
         "OK"},
        {[](auto& r) { r.meter.setFault(sim::Fault::Silent); },
         {"No response, check your cable or DMM", "No response, check your cable or DMM",
          "No response"},
         "?"},
        {[](auto& r) { r.logger().setFault(sim::LoggerFault::BadFraming); },
         {"Incorrect leading or ending byte", "Incorrect data format"},
         "?"},
    };
    for (const auto& c : cases) {
        SelfTestRig rig;
        c.setup(rig);
        rig.test.diag_read();
        EXPECT_EQ(rig.messages(), c.messages);
        EXPECT_EQ(rig.test.results[1], c.link);
        EXPECT_EQ(rig.live, (std::vector<int>{0, 1}));
    }
}

} // namespace
