// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The Logger window's actions against the simulated logger: what the user does, the
// messages, the bytes read and written, and the live exchange handed back every time.
#include "logger/console_parser.h"
#include "logger/self_test.h"
#include "logger/settings_encoding.h"
#include "logger/status_block.h"
#include "logger_rig.h"

#include <gtest/gtest.h>

namespace {

using namespace pa;
using logger::decodeStatusBlock;
using pa::testing::LoggerRig;
using pa::testing::RigStep;
using sim::LoggerFault;

RigStep sampling(std::string text) {
    return [text](LoggerRig& r) {
        r.session.Text1[3] = text;
        r.session.updateSetting(logger::kSamplingBox);
    };
}
RigStep combo(int combo, int index) {
    return [=](LoggerRig& r) { r.session.comboChosen(combo, index); };
}
RigStep fault(LoggerFault f, int replies = -1, int after = 0) {
    return [=](LoggerRig& r) { r.logger().setFault(f, replies, after); };
}
const RigStep kNothing = [](LoggerRig&) {};
const RigStep kRecording = [](LoggerRig& r) { r.logger().setRecording(true); };
const RigStep kSilent = [](LoggerRig& r) { r.meter.setFault(sim::Fault::Silent); };
const RigStep kSelfTesting = [](LoggerRig& r) { r.logger().setSelfTesting(true); };
const RigStep kReadStatus = [](LoggerRig& r) { r.session.Read_Status(); };
const RigStep kDownload = [](LoggerRig& r) { r.download(r.path); };
const RigStep kSelfTestRead = [](LoggerRig& r) {
    logger::SelfTest{r.exchange, [&r](int on) { r.live.push_back(on); }}.diag_read();
};

const std::string kStop = "Press record key to stop recording, then try again";
const std::string kLeading = "Incorrecot leading byte, try again";
const std::string kNoResponse = "No response, check your cable or DMM";
const std::string kBadFrame = "Incorrect leading or ending byte";
const std::string kNoReply = "No response, try again!";
const std::string kBadState = "Incorrect leading or trailing byte";
const std::string kBadSampling = "Bad sampling interval (range: 0.4 < t < 26214).";
const std::string kFormat = "Incorrect data format";
const std::string kNoEtx = "Inncorrect ending byte";
const std::string kTesting = "Self-Testing, no data will be sent out of DMM";

// An action ends with its messages, the progress window gone, no download file, and the
// live exchange resumed.
void expectEnded(const LoggerRig& rig, const std::vector<std::string>& messages) {
    EXPECT_EQ(std::tuple(rig.messages(), rig.live, rig.ui.statusVisible,
                         std::filesystem::exists(rig.path)),
              std::tuple(messages, std::vector<int>{0, 1}, false, false));
}

// Console lines: texts count by their leading number (letters give 0).
TEST(Console, EveryLineEndsWithItsMessageAndTheLiveCycleResumed) {
    const struct {
        std::string line;
        std::vector<std::string> messages;
        int reads, writes;
        int address = -1, value = 0; // the byte a write leaves
    } cases[] = {{"W 8191 5", {}, 0, 1, 255, 5},
                 {"W &H2D 9", {}, 0, 1, 45, 9},
                 {"W10 3", {}, 0, 1, 10, 3},
                 {"W 12abc 5", {}, 0, 1, 12, 5}, // the address is the text's leading number
                 {"W 13 x", {}, 0, 1, 13, 0},    // a value of letters is 0
                 {"   R   12", {kBadFrame}, 1, 0},
                 {"W 8192 5", {"Address > 8192 or Address < 0"}, 0, 0},
                 {"W 99999999999999999999 1", {"Address > 8192 or Address < 0"}, 0, 0},
                 {"R -1", {"Address > 8191 or address < 0"}, 0, 0},
                 {"R &HZZ", {kBadFrame}, 1, 0},
                 {"W 10  ", {}, 0, 1},
                 {"W -5abc 1", {"Address > 8192 or Address < 0"}, 0, 0},
                 {"R", {"No address"}, 0, 0},
                 {"W 10", {"No write value"}, 0, 0},
                 {"W 10 300", {"value too large", "Command not send"}, 0, 0},
                 {"W 10 99999999999", {"value too large", "Command not send"}, 0, 0},
                 {"", {"No command"}, 0, 0},
                 {"EEEE", {"Unknown command"}, 0, 0},
                 {"U", {"Please press the READ/SAVE button"}, 0, 0},
                 {"EEE", {}, 0, 0},
                 {"  G", {}, 0, 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.line);
        LoggerRig rig;
        rig.session.consoleEnter(c.line);
        expectEnded(rig, c.messages);
        EXPECT_EQ(std::tuple(rig.logger().reads(), rig.logger().writes(), rig.logger().downloads()),
                  std::tuple(c.reads, c.writes, 0));
        if (c.address >= 0) {
            EXPECT_EQ(rig.logger().at(c.address), c.value);
        }
    }
}

// Actions on a logger that is not idle, or on a faulty line, write nothing to it; only a
// status read that ends well fills the window.
TEST(LoggerActions, RefusedOrFailedActionsWriteNothing) {
    const struct {
        const char* name;
        RigStep setup, act;
        std::vector<std::string> messages;
        int downloads = -1;
    } cases[] = {
        {"sampling, recording", kRecording, sampling("7"), {kStop}},
        {"sampling, silent", kSilent, sampling("7"), {kNoResponse, "Unknown status"}},
        {"sampling 0.1", kNothing, sampling("0.1"), {kBadSampling}},
        {"status, recording", kRecording, kReadStatus, {kStop}},
        {"status, silent", kSilent, kReadStatus, {kNoResponse}},
        // One fault of a kind in the status read is retried silently, two end it (the fault
        // hits address 40, after the state query and 40 bytes).
        {"status, one lost reply", fault(LoggerFault::NoReply, 1, 41), kReadStatus, {}},
        {"status, one bad frame", fault(LoggerFault::BadFraming, 1, 41), kReadStatus, {}},
        {"status, two lost replies", fault(LoggerFault::NoReply, 2, 41), kReadStatus, {kNoReply}},
        {"status, two bad frames", fault(LoggerFault::BadFraming, 2, 41), kReadStatus, {kBadFrame}},
        {"status, bad frame", fault(LoggerFault::BadFraming), kReadStatus, {kBadState}},
        {"mode, recording", kRecording, combo(logger::kModeCombo, 1), {kStop}},
        {"mode, silent", kSilent, combo(logger::kModeCombo, 1), {kNoResponse}},
        {"self-test, testing", kSelfTesting, kSelfTestRead, {kTesting}},
        {"self-test, silent", kSilent, kSelfTestRead, {kNoResponse, kNoResponse, "No response"}},
        {"self-test, framing", fault(LoggerFault::BadFraming), kSelfTestRead, {kBadFrame, kFormat}},
        {"download, no ETX", fault(LoggerFault::NoEtx, 1), kDownload, {kNoEtx}, 1},
        {"download, bad frame", fault(LoggerFault::BadFraming, 1, 1), kDownload, {kLeading}, 1},
        {"download, recording", kRecording, kDownload, {kStop}, 0},
        {"download, silent", kSilent, kDownload, {kNoResponse}, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        LoggerRig rig;
        rig.logger().fillRecords(3, pa::testing::quietLoad());
        c.setup(rig);
        c.act(rig);
        expectEnded(rig, c.messages);
        EXPECT_EQ(rig.logger().writes(), 0);
        EXPECT_EQ(rig.session.Text1[1], c.messages.empty() ? "11-15" : "");
        // A refused drop-down choice is put back.
        EXPECT_EQ(rig.session.combos[0].index, rig.session.combos[0].lastAccepted);
        if (c.downloads >= 0) {
            EXPECT_EQ(rig.logger().downloads(), c.downloads);
        }
    }
}

// Each setting box gives its memory writes (address, byte) or its refusal; the date and
// time boxes are typed as "date time".
TEST(SettingsEncoding, EachBoxGivesItsWritesOrItsRefusal) {
    std::vector<logger::ByteWrite> clockWrites; // the digits MMDDHHMMSS at 8 to 17
    for (const char digit : std::string("0225200600"))
        clockWrites.push_back({8 + static_cast<int>(clockWrites.size()), digit});
    const std::string dateError =
        "Date and Time format error, they must be in the form of MM-DD HH:MM:SS, and zero must "
        "be entered(eg. 02-25 20:06:00).\r\nUpdate function canceled !";
    const struct {
        int box;
        std::string typed;
        std::vector<logger::ByteWrite> writes;
        std::string refusal;
    } cases[] = {{0, "32767", {{2, 255}, {3, 127}}, ""},
                 {0, "258.5", {{2, 2}, {3, 1}}, ""}, // 258.5 rounds to 258
                 {0, "32768", {}, "ID value too large (max. 32767).Update function canceled."},
                 {0, "-3e64", {}, "Out of range"},
                 {0, "", {}, "No input, update function canceled"},
                 {1, "02-25 20:06:00", clockWrites, ""},
                 {2, "2-25 20:06:00", {}, dateError},
                 {1, "13-25 20:06:00", {}, dateError},
                 {3, "1", {{18, 2}, {19, 0}}, ""}, // 2.5 units of 0.4 s to 2
                 {3, "26214", {{18, 255}, {19, 255}}, ""},
                 {3, "26215", {}, kBadSampling},
                 {3, "0.2", {}, kBadSampling},
                 {3, "0.3", {{18, 1}, {19, 0}}, ""},
                 {3, "3", {{18, 8}, {19, 0}}, ""}, // 7.5 to 8
                 {4, "102.4", {{60, 0}, {61, 1}}, ""},
                 {4, "-1", {}, "Bad output interval (range: 0.4 < t < 26214)."}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.typed);
        std::vector<std::string> texts(5);
        texts[c.box] = c.typed;
        if (c.box == 1 || c.box == 2) {
            const auto space = c.typed.find(' ');
            texts[1] = c.typed.substr(0, space);
            texts[2] = c.typed.substr(space + 1);
        }
        const auto u = logger::encodeSetting(c.box, texts);
        EXPECT_EQ(u.writes, c.writes);
        EXPECT_EQ(u.refusal, c.refusal);
    }
}

TEST(SettingsUpdate, EnterWritesTheLoggerAndShowsTheRoundedInterval) {
    LoggerRig rig;
    sampling("1")(rig);
    // " Updating" comes before the state query's texts; "#####.0" drops the leading zero.
    ASSERT_FALSE(rig.ui.statusTexts.empty());
    EXPECT_EQ(std::tuple(rig.ui.statusTexts.front(), rig.logger().word(18), rig.session.Text1[3]),
              std::tuple(" Updating", 2, ".8   "));
    rig.session.Text1[0] = "4660";
    rig.session.updateSetting(logger::kIdBox);
    EXPECT_EQ(std::tuple(rig.logger().word(2), rig.ui.messages.size()), std::tuple(4660, 0u));
}

// An idle logger takes the drop-down's choice (written at its address) with its note.
TEST(DropDowns, IdleLoggerTakesTheChoiceWithItsNote) {
    const struct {
        int combo, index, address, value;
        std::string note;
    } cases[] = {
        {0, 0, 5, 0,
         "change to normal recording mode, in which data measured at the end of the sampling "
         "interval will be recorded."},
        {0, 1, 5, 1,
         "change to max recording mode, in which maximum value measured during the sampling "
         "interval will be recorded."},
        {0, 2, 5, 2,
         "change to min recording mode, in which minimum value measured during the sampling "
         "interval will be recorded."},
        {1, 0, 48, 0, ""}, // 9600 is written as 0
        {1, 1, 48, 4, ""},
        {1, 2, 48, 2, ""},
        {1, 3, 48, 1, ""},
        {2, 1, 59, 1,
         "Data will be outputed to RS-232 in ASCII format continuously.  User can specify the "
         "output interval.  This function will be disabled if power analyzer receives any data "
         "from RS-232 port or user presses the REC key for more than 2 sec. to enable "
         "datalogger."},
        {2, 2, 59, 2,
         "Data will be outputed to RS-232 in ASCII format once, if the REC key is pressed.  This "
         "function will be disabled if power analyzer receives any data from RS-232 port, or "
         "user presses the REC key for more than 2 sec. to enable datalogger. "},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.combo) + "/" + std::to_string(c.index));
        LoggerRig rig;
        rig.logger().set(c.address, 77);
        combo(c.combo, c.index)(rig);
        EXPECT_EQ(std::tuple(rig.logger().at(c.address), rig.session.combos[c.combo].lastAccepted),
                  std::tuple(c.value, c.index));
        EXPECT_EQ(rig.messages(),
                  c.note.empty() ? std::vector<std::string>{} : std::vector<std::string>{c.note});
    }
}

TEST(Console, WriteShowsTheTypedAddressAndValue) {
    LoggerRig rig;
    rig.session.consoleEnter("W 300 171");
    EXPECT_EQ(rig.session.Label1[38] + " " + rig.session.Label1[39] + " " + rig.session.Label1[40],
              "300 171 AB");
    rig.session.consoleEnter("EEE");
    rig.session.consoleEnter("X");
    EXPECT_EQ(
        std::tuple(rig.session.Label1[38], rig.session.Label1[30], rig.logger().serviceCommands()),
        std::tuple("STATUS", "IDLE", std::vector<std::string>{"EEE"}));
}

TEST(DataDump, ReadsARangeAndFormatsIt) {
    LoggerRig rig;
    const auto bytes = rig.session.dataDump(0, 17);
    ASSERT_TRUE(bytes);
    EXPECT_EQ(rig.ui.progress.back(), (std::pair{17, 18}));
    EXPECT_TRUE(std::is_sorted(rig.ui.progress.begin(), rig.ui.progress.end()));
    EXPECT_EQ(logger::hexDump(0, *bytes),
              "0000  D4 08 01 00 00 00 20 00 31 31 31 35 31 36 35 38  ...... .11151658\n"
              "0010  30 30                                            00\n");
    EXPECT_EQ(rig.session.dataDump(0, 256), std::nullopt);
    // Typed addresses: absurd numbers are refused, not converted.
    EXPECT_EQ(rig.session.dataDump("1e30", "5"), std::nullopt);
    EXPECT_EQ(rig.session.dataDump("0", "-1e30"), std::nullopt);
    EXPECT_EQ(rig.session.dataDump("3", "&HFFFFFFFFFFFF"), std::nullopt);
    EXPECT_EQ(rig.session.dataDump(" 16", "17.9"), bytes->substr(16, 2))
        << "leading numbers, fractions dropped";
    EXPECT_EQ(rig.messages(), std::vector<std::string>(4, "Out of range"));
}

// A block of zeros with the given bytes set.
std::string block(std::initializer_list<std::pair<int, int>> set) {
    std::string b(96, '\0');
    for (auto [address, value] : set)
        b[address] = static_cast<char>(value);
    return b;
}

// Decoded block fields as "records baud mode output writes": the record count rounds half to
// even ("?" below address 96), the drop-downs' codes (baud at 48, mode at 5, output at 59)
// give their list entries with entry 0 for unknown codes, memory write failures (41-42) show
// as a count; a short block reads its missing bytes as 0.
TEST(StatusBlock, DecodedFields) {
    const std::pair<std::string, const char*> cases[] = {
        {block({{20, 100}}), "0 0 0 0 OK"},
        {block({{20, 108}}), "2 0 0 0 OK"},
        {block({{20, 116}}), "2 0 0 0 OK"},
        {block({{20, 95}}), "? 0 0 0 OK"},
        {block({{20, 0}, {21, 0x20}}), "1012 0 0 0 OK"},
        {block({{48, 1}, {5, 1}, {59, 1}}), "? 3 1 1 OK"},
        {block({{48, 2}, {5, 2}, {59, 2}}), "? 2 2 2 OK"},
        {block({{48, 4}, {5, 3}, {59, 3}}), "? 1 0 0 OK"},
        {block({{48, 9}, {5, 255}}), "? 0 0 0 OK"},
        {block({{41, 3}, {42, 1}}), "? 0 0 0 259"},
        {block({{20, 100}}).substr(0, 10), "? 0 0 0 OK"}};
    for (const auto& [block, fields] : cases) {
        const auto s = decodeStatusBlock(block);
        EXPECT_EQ(s.recordsText + " " + std::to_string(s.baudIndex) + " " +
                      std::to_string(s.modeIndex) + " " + std::to_string(s.outputIndex) + " " +
                      s.writeCounts,
                  fields);
    }
}

TEST(StatusRead, FreshLoggerFillsTheWindow) {
    LoggerRig rig;
    rig.logger().fillRecords(2, pa::testing::quietLoad());
    // 0.7 s for the state, then 96 reads of 0.06 s each.
    EXPECT_NEAR(rig.timed([&] { rig.session.Read_Status(); }), 0.7 + 96 * 0.06, 1e-6);
    const auto& s = rig.session;
    EXPECT_EQ(std::tuple(s.lastState, s.Label1[30], rig.ui.messages.size()),
              std::tuple(logger::kIdle, "IDLE", 0u));
    EXPECT_EQ(s.Text1, (std::array<std::string, 5>{"1", "11-15", "16:58:00", "2.0   ", "10.0   "}));
    EXPECT_EQ(s.Label1[1] + " " + s.Label1[5] + " " + s.Label1[7] + " " + s.Label1[8] + " " +
                  s.Label1[11],
              "2260 8K 2 50 OK");
    // Showing the block sends nothing back.
    EXPECT_EQ(std::tuple(s.memoryPointer, rig.logger().reads(), rig.logger().writes()),
              std::tuple(96 + 16, 96, 0));
    // Progress counts down the bytes still to read; the bar rises to the end.
    EXPECT_EQ(std::tuple(rig.ui.statusTexts.back(), rig.ui.progress.back()),
              std::tuple(std::string("0"), std::pair{95, 96}));
    EXPECT_TRUE(std::is_sorted(rig.ui.progress.begin(), rig.ui.progress.end()));
}

// Starting asks first; Yes writes the request (150 at 45) and says what to do next.
TEST(SelfTest, StartWritesTheRequestUnlessTheAnswerIsNo) {
    const std::string ask = "Are sure you want to start self-testing";
    const std::string next =
        "Disconnect the cable, turn the power off, and turn it on again, then the unit starts "
        "self-testing. It will takes about 15 minutes.  During self-test, you will not be able "
        "to get data from the Power Analyzer";
    const struct {
        app::Answer answer;
        int written;
        std::vector<std::string> messages;
    } cases[] = {{app::Answer::Yes, 150, {ask, next}}, {app::Answer::No, 1, {ask}}};
    for (const auto& c : cases) {
        LoggerRig rig;
        rig.ui.answers.push_back(c.answer);
        logger::SelfTest{rig.exchange, [&](int on) { rig.live.push_back(on); }}.diag_start();
        EXPECT_EQ(
            std::tuple(rig.ui.messages[0].buttons, rig.logger().at(45), rig.messages(), rig.live),
            std::tuple(app::Buttons::YesNo, c.written, c.messages, std::vector<int>{0, 1}));
    }
}

// The read shows the failure count, memory status, verdict and detail from bytes 41 to 47;
// the detail and the memory status are read only when they mean something.
TEST(SelfTest, ReadShowsCountStatusVerdictAndDetail) {
    const struct {
        int failures, memoryStatus, verdictByte, detail;
        const char* shown;
        int reads;
    } cases[] = {{0, 0x1234, 1, 0, "OK 0 None PASS ", 3},
                 {3, 0x1234, 2, 7, "OK 3 4660 FAIL 7", 7},
                 {0, 0, 0, 0, "OK 0 None ? ", 3}};
    for (const auto& c : cases) {
        LoggerRig rig;
        rig.logger().setWord(41, c.failures);
        rig.logger().setWord(43, c.memoryStatus);
        rig.logger().set(45, c.verdictByte);
        rig.logger().setWord(46, c.detail);
        logger::SelfTest test{rig.exchange, [](int) {}};
        test.diag_read();
        EXPECT_EQ(std::tuple(test.results[1] + " " + test.results[3] + " " + test.results[5] + " " +
                                 test.verdict[1] + " " + test.verdict[3],
                             rig.logger().reads(), rig.ui.messages.size()),
                  std::tuple(c.shown, c.reads, 0u));
    }
}

TEST(SelfTest, RequestedTestRunsAtPowerOnAndReadsBackItsVerdict) {
    LoggerRig rig;
    logger::SelfTest test{rig.exchange, [](int) {}};
    test.diag_start();
    rig.logger().powerCycle(false, 513);
    test.diag_read();
    EXPECT_EQ(test.verdict[1] + " " + test.verdict[3], "FAIL 513");
}

} // namespace
