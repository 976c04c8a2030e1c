// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The command exchange: bytes on the line, pacing on the virtual clock, the status query.
#include "logger_rig.h"
#include "support/bytes.h"
#include "support/recording_port.h"

#include <gtest/gtest.h>

namespace {

using namespace pa;
using logger::CheckLoggerReply;

using pa::testing::bytes;
using pa::testing::timed;

// A port whose instrument answers each write through a function (nothing by default).
struct AnsweringPort : pa::testing::RecordingPort {
    std::function<std::string(const std::string&)> answer;
    void write(const std::string& b) override {
        RecordingPort::write(b);
        if (answer)
            incoming += answer(b);
    }
};

struct Rig {
    AnsweringPort port;
    pa::testing::FakeClock clock;
    pa::testing::ScriptedUi ui;
    app::ProgramState state;
    logger::LoggerExchange ex{port, clock, ui, state};
    Rig() {
        port.devices.insert("P");
        port.setPortName("P");
        port.open();
        state.baudCode = 9;
    }
    std::vector<std::string> texts() const { return pa::testing::messageTexts(ui); }
};

// Each command's bytes on the line, its result and messages, and its pacing (slow links
// below 4800 baud, or no baud chosen yet, wait 0.04 s more).
TEST(LoggerExchange, CommandsPutTheirBytesOnTheLineWithTheirPacing) {
    const std::vector<std::string> none, tooLarge{"value too large"};
    const struct {
        const char* command;
        int address, value, baudCode;
        std::string written;
        double seconds;
        int result;
        std::vector<std::string> messages;
    } cases[] = {
        // The address is folded onto one byte and followed by a zero byte.
        {"W", 300, 7, 9, "W" + bytes({0x2C, 0, 7}), 0.06, 0, none},
        {"W", 5, 255, 9, "W" + bytes({5, 0, 255}), 0.06, 0, none},
        {"R", 8191, 0, 9, "R" + bytes({0xFF, 0}), 0.06, 0, none},
        {"R", 5, 0, 2, "R" + bytes({5, 0}), 0.10, 0, none},
        {"R", 5, 0, 4, "R" + bytes({5, 0}), 0.06, 0, none},
        {"R", 5, 0, 0, "R" + bytes({5, 0}), 0.10, 0, none},
        {"S", 0, 0, 9, "S", 0, 0, none},
        {"T", 0, 0, 9, "T", 0, 0, none},
        {"G", 0, 0, 9, "G", 0, 0, none},
        {"N", 0, 0, 9, "N", 0, 0, none},
        {"EEE", 0, 0, 9, "EEE", 0, 0, none},
        {"EEE", 0, 0, 2, "EEE", 0.04, 0, none},
        {"w", 1, 1, 9, "", 0, 0, none}, // case matters
        {"EE", 0, 0, 9, "", 0, 0, none},
        {"U", 0, 0, 1, "", 0.04, 0, none}, // unknown here: nothing sent, the pause still taken
        // Values beyond one byte are refused before anything is sent.
        {"W", 5, 256, 9, "", 0, -1, tooLarge},
        {"W", 5, -1, 9, "", 0, -1, tooLarge},
        // "X" runs the whole state query but gives no state.
        {"X", 0, 0, 9, "X", 0.7, 0, {"No response, check your cable or DMM"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.command) + " " + std::to_string(c.value) + " at " +
                     std::to_string(c.baudCode));
        Rig rig;
        rig.state.baudCode = c.baudCode;
        rig.port.incoming = "stale";
        int result = 99;
        const double took = timed(
            rig.clock, [&] { result = rig.ex.SendLoggerCommand(c.command, c.address, c.value); });
        // The receive buffer is drained first.
        EXPECT_EQ(std::tuple(result, rig.port.written, rig.texts(), rig.port.incoming),
                  std::tuple(c.result, c.written, c.messages, ""));
        EXPECT_NEAR(took, c.seconds, 1e-9);
    }
}

TEST(LoggerExchange, StatusRepliesGiveTheStateAndTheirMessages) {
    const std::string stx(1, '\x02'), etx(1, '\x03');
    const struct {
        std::string reply;
        int state;
        std::vector<std::string> messages;
    } cases[] = {
        {stx + bytes({0}) + etx, 0, {}},
        {stx + bytes({1}) + etx, 1, {}},
        {stx + bytes({0x21}) + etx, 1, {"Self-Testing, no data will be sent out of DMM"}},
        {stx + bytes({0x20}) + etx, 0, {"Self-Testing, no data will be sent out of DMM"}},
        {stx + bytes({1}) + etx + "more", 1, {}}, // only positions 1 and 3 are looked at
        {"", -2, {"No response, check your cable or DMM"}},
        {stx + bytes({0}), -1, {"Incorrect leading or trailing byte"}},
        {bytes({0x15, 0}) + etx, -1, {"Incorrect leading or trailing byte"}},
        {stx + bytes({0, 0}) + etx, -1, {"Incorrect leading or trailing byte"}},
    };
    for (const auto& c : cases) {
        Rig rig;
        rig.port.incoming = "left over from a live frame";
        rig.port.answer = [&](const std::string& b) { return b == "X" ? c.reply : ""; };
        int state = 99;
        const double took = timed(rig.clock, [&] { state = rig.ex.QueryLoggerState(); });
        // "Receive" is shown before the letter goes out and "Send" after it.
        EXPECT_EQ(std::tuple(state, rig.texts(), rig.port.written, rig.ui.statusTexts),
                  std::tuple(c.state, c.messages, "X",
                             std::vector<std::string>{"  Status Receive", "  Status Send"}))
            << c.reply.size();
        EXPECT_NEAR(took, 0.7, 1e-9);
    }
}

// A reply's check by kind (1: a body of more than one byte, 0: of one byte): 1 good, 0 bad,
// -1 none, -2 an unknown kind; the reported check shows one message for each fault.
TEST(LoggerExchange, ReplyChecksByKind) {
    const std::string stx(1, '\x02'), etx(1, '\x03'), format = "Incorrect data format";
    const struct {
        int kind;
        std::string reply;
        int result;
        std::string message; // of the reported check
    } cases[] = {
        {1, stx + "abc" + etx, 1, ""}, {0, stx + "abc" + etx, 0, format},
        {0, stx + "a" + etx, 1, ""},   {1, stx + "a" + etx, 0, format},
        {0, "", -1, "No response"},    {2, stx + "a" + etx, -2, "Program error"},
        {-1, "", -2, "Program error"}, {0, "xa" + etx, 0, format},
        {0, stx + "ab", 0, format},    {0, stx + "a" + etx + "z", 0, format},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.kind) + " " + std::to_string(c.reply.size()));
        EXPECT_EQ(CheckLoggerReply(c.kind, c.reply), c.result);
        Rig rig;
        EXPECT_EQ(rig.ex.ReportReplyCheck(c.kind, c.reply), c.result == 1 ? 1 : 0);
        EXPECT_EQ(rig.texts(), c.message.empty() ? std::vector<std::string>{}
                                                 : std::vector<std::string>{c.message});
    }
}

} // namespace
