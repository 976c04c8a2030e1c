// The status block: the pure decoder on byte arrays, then the status read and the three
// drop-downs against the simulated logger.
#include "logger/status_block.h"
#include "logger_rig.h"

#include <gtest/gtest.h>

namespace {

using namespace pa;
using logger::decodeStatusBlock;

// A block of zeros with the given bytes set.
std::string block(std::initializer_list<std::pair<int, int>> set) {
    std::string b(96, '\0');
    for (auto [address, value] : set)
        b[address] = static_cast<char>(value);
    return b;
}

TEST(StatusBlock, RecordCountRoundsHalfToEven) {
    const struct {
        int pointer;
        std::string shown;
    } cases[] = {{96, "0"}, {100, "0"},     {104, "1"}, {108, "2"}, {95, "?"},
                 {0, "?"},  {8192, "1012"}, {116, "2"}, {124, "4"}};
    for (const auto& c : cases) {
        const auto s = decodeStatusBlock(block({{20, c.pointer & 0xFF}, {21, c.pointer >> 8}}));
        EXPECT_EQ(s.recordsText, c.shown) << c.pointer;
        EXPECT_EQ(s.pointer, c.pointer);
    }
}

TEST(StatusBlock, DropDownCodesAndTheirFallbacks) {
    const struct {
        int address, byte;
        int logger::LoggerStatus::*field;
        int index;
    } cases[] = {
        {48, 1, &logger::LoggerStatus::baudIndex, 3},
        {48, 2, &logger::LoggerStatus::baudIndex, 2},
        {48, 4, &logger::LoggerStatus::baudIndex, 1},
        {48, 9, &logger::LoggerStatus::baudIndex, 0},
        {48, 0, &logger::LoggerStatus::baudIndex, 0},
        {48, 3, &logger::LoggerStatus::baudIndex, 0},
        {5, 1, &logger::LoggerStatus::modeIndex, 1},
        {5, 2, &logger::LoggerStatus::modeIndex, 2},
        {5, 3, &logger::LoggerStatus::modeIndex, 0},
        {5, 255, &logger::LoggerStatus::modeIndex, 0},
        {59, 1, &logger::LoggerStatus::outputIndex, 1},
        {59, 2, &logger::LoggerStatus::outputIndex, 2},
        {59, 3, &logger::LoggerStatus::outputIndex, 0},
        {59, 0, &logger::LoggerStatus::outputIndex, 0},
    };
    for (const auto& c : cases)
        EXPECT_EQ(decodeStatusBlock(block({{c.address, c.byte}})).*c.field, c.index)
            << c.address << "=" << c.byte;
}

TEST(StatusBlock, EveryShownField) {
    std::string b = block({{0, 0xD4},
                           {1, 0x08},
                           {2, 0x39},
                           {3, 0x30},
                           {6, 0x20},
                           {18, 3},
                           {19, 0},
                           {41, 0},
                           {42, 0},
                           {60, 0x19}});
    const std::string clock = "0225200600";
    b.replace(8, 10, clock);
    // .050 kHz on the frequency display (unit bit clear): half digit off, digits 0 5 0, P 3.
    b[57] = static_cast<char>(0x80);
    b[58] = static_cast<char>(0xC2);
    const auto s = decodeStatusBlock(b);
    EXPECT_EQ(s.number, "2260");
    EXPECT_EQ(s.id, 0x3039);
    EXPECT_EQ(s.memorySize, "8K");
    EXPECT_EQ(s.date, "02-25");
    EXPECT_EQ(s.time, "20:06:00");
    EXPECT_EQ(s.samplingText, "1.2   ");
    EXPECT_DOUBLE_EQ(s.samplingSeconds, 1.2);
    EXPECT_EQ(s.outputText, "10.0   ");
    EXPECT_EQ(s.writeCounts, "OK");
    EXPECT_EQ(s.frequency, "50");

    b[41] = 3;
    b[42] = 1;
    EXPECT_EQ(decodeStatusBlock(b).writeCounts, "259");
    // A short block reads its missing bytes as zero.
    EXPECT_EQ(decodeStatusBlock(b.substr(0, 10)).recordsText, "?");
}

TEST(StatusRead, FreshLoggerFillsTheWindowAndResumesLiveSampling) {
    pa::testing::LoggerRig rig;
    rig.logger().fillRecords(2, pa::testing::quietLoad());
    const double t0 = rig.clock.secondsSinceMidnight();
    rig.session.Read_Status();
    const double took = rig.clock.secondsSinceMidnight() - t0;

    auto& s = rig.session;
    EXPECT_TRUE(rig.ui.messages.empty());
    EXPECT_EQ(s.lastState, logger::kIdle);
    EXPECT_EQ(s.Label1[30], "IDLE");
    EXPECT_EQ(s.Text1[0], "1");
    EXPECT_EQ(s.Text1[1], "11-15");
    EXPECT_EQ(s.Text1[2], "16:58:00");
    EXPECT_EQ(s.Text1[3], "2.0   ");
    EXPECT_EQ(s.Text1[4], "10.0   ");
    EXPECT_EQ(s.Label1[1], "2260");
    EXPECT_EQ(s.Label1[5], "8K");
    EXPECT_EQ(s.Label1[7], "2");
    EXPECT_EQ(s.Label1[8], "50");
    EXPECT_EQ(s.Label1[11], "OK");
    EXPECT_EQ(s.memoryPointer, 96 + 16);
    for (const auto& c : s.combos) {
        EXPECT_EQ(c.index, 0);
        EXPECT_EQ(c.lastAccepted, 0);
        EXPECT_TRUE(c.userChange);
    }
    EXPECT_EQ(rig.logger().reads(), 96);
    EXPECT_EQ(rig.logger().writes(), 0) << "showing the block sends nothing back";
    EXPECT_EQ(rig.live, (std::vector<int>{0, 1}));
    EXPECT_FALSE(rig.ui.statusVisible);
    // 0.7 s for the state, then 96 reads of 0.06 s each.
    EXPECT_NEAR(took, 0.7 + 96 * 0.06, 1e-6);
    // Progress counts down the bytes still to read.
    EXPECT_EQ(rig.ui.statusTexts.back(), "0");
    EXPECT_NE(std::find(rig.ui.statusTexts.begin(), rig.ui.statusTexts.end(), "95"),
              rig.ui.statusTexts.end());
}

TEST(StatusRead, OneFaultPerKindIsRetriedSilentlyTwoEndTheRead) {
    using sim::LoggerFault;
    const struct {
        LoggerFault fault;
        int replies;
        std::vector<std::string> messages;
        bool shown;
    } cases[] = {
        {LoggerFault::NoReply, 1, {}, true},
        {LoggerFault::BadFraming, 1, {}, true},
        {LoggerFault::NoReply, 2, {"No response, try again!"}, false},
        {LoggerFault::BadFraming, 2, {"Incorrect leading or ending byte"}, false},
    };
    for (const auto& c : cases) {
        pa::testing::LoggerRig rig;
        // The "X" reply and the first 40 bytes come through; the fault hits address 40.
        rig.logger().setFault(c.fault, c.replies, 41);
        rig.session.Read_Status();
        EXPECT_EQ(rig.messages(), c.messages);
        EXPECT_EQ(rig.session.Text1[1], c.shown ? "11-15" : "") << "a failed read shows nothing";
        EXPECT_EQ(rig.live, (std::vector<int>{0, 1}));
        EXPECT_FALSE(rig.ui.statusVisible);
    }
}

TEST(StatusRead, StatesOtherThanIdleReadNothing) {
    const struct {
        std::function<void(pa::testing::LoggerRig&)> setup;
        std::string label;
        std::vector<std::string> messages;
    } cases[] = {
        {[](auto& r) { r.logger().setRecording(true); },
         "RECORDING",
         {"Press record key to stop recording, then try again"}},
        {[](auto& r) { r.meter.setFault(sim::Fault::Silent); },
         "?",
         {"No response, check your cable or DMM"}},
        {[](auto& r) { r.logger().setFault(sim::LoggerFault::BadFraming); },
         "?",
         {"Incorrect leading or trailing byte"}},
    };
    for (const auto& c : cases) {
        pa::testing::LoggerRig rig;
        c.setup(rig);
        rig.session.Read_Status();
        EXPECT_EQ(rig.session.Label1[30], c.label);
        EXPECT_EQ(rig.messages(), c.messages);
        EXPECT_EQ(rig.logger().reads(), 0);
        EXPECT_EQ(rig.live, (std::vector<int>{0, 1}));
        EXPECT_FALSE(rig.ui.statusVisible);
    }
}

TEST(DropDowns, IdleLoggerTakesTheChoiceWithItsNote) {
    const struct {
        int combo, index, address, value;
        std::vector<std::string> messages;
    } cases[] = {
        {0,
         0,
         5,
         0,
         {"change to normal recording mode, in which data measured at the end of the "
          "sampling interval will be recorded."}},
        {0,
         1,
         5,
         1,
         {"change to max recording mode, in which maximum value measured during the "
          "sampling interval will be recorded."}},
        {0,
         2,
         5,
         2,
         {"change to min recording mode, in which minimum value measured during the "
          "sampling interval will be recorded."}},
        {1, 0, 48, 0, {}}, // 9600 is written as 0
        {1, 1, 48, 4, {}},
        {1, 2, 48, 2, {}},
        {1, 3, 48, 1, {}},
        {2, 0, 59, 0, {}},
        {2,
         1,
         59,
         1,
         {"Data will be outputed to RS-232 in ASCII format continuously.  User can specify "
          "the output interval.  This function will be disabled if power analyzer receives "
          "any data from RS-232 port or user presses the REC key for more than 2 sec. to "
          "enable datalogger."}},
        {2,
         2,
         59,
         2,
         {"Data will be outputed to RS-232 in ASCII format once, if the REC key is "
          "pressed.  This function will be disabled if power analyzer receives any "
          "data from RS-232 port, or user presses the REC key for more than 2 sec. "
          "to enable datalogger. "}},
    };
    for (const auto& c : cases) {
        pa::testing::LoggerRig rig;
        rig.logger().set(c.address, 77);
        rig.session.comboChosen(c.combo, c.index);
        EXPECT_EQ(rig.logger().at(c.address), c.value) << c.combo << "/" << c.index;
        EXPECT_EQ(rig.messages(), c.messages);
        EXPECT_EQ(rig.session.combos[c.combo].lastAccepted, c.index);
        EXPECT_EQ(rig.live, (std::vector<int>{0, 1}));
    }
}

TEST(DropDowns, RecordingOrSilentLoggerPutsTheListBack) {
    const struct {
        bool recording;
        std::vector<std::string> messages;
    } cases[] = {
        {true, {"Press record key to stop recording, then try again"}},
        {false, {"No response, check your cable or DMM"}},
    };
    for (const auto& c : cases) {
        pa::testing::LoggerRig rig;
        rig.session.Read_Status(); // mode Normal accepted
        if (c.recording)
            rig.logger().setRecording(true);
        else
            rig.meter.setFault(sim::Fault::Silent);
        rig.session.comboChosen(logger::kModeCombo, 1); // "Max"
        EXPECT_EQ(rig.messages(), c.messages);
        EXPECT_EQ(rig.session.combos[0].index, 0);
        EXPECT_EQ(rig.logger().at(5), 0);
        EXPECT_EQ(rig.logger().writes(), 0);
        EXPECT_EQ(rig.live, (std::vector<int>{0, 1, 0, 1}));
    }
}

} // namespace
