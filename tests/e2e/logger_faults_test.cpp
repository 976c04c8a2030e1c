// Datalogger replies gone wrong, through the real serial port on the simulator's pseudo-
// terminal: no reply, bad framing, a stream cut short or without its end byte, a slow
// instrument. Each shows its message and nothing else, leaves no file behind where the
// transfer failed, hands the port back to the live readings, and the next exchange works
// once the fault is gone.
#include "e2e/logger_pty_rig.h"
#include "gui/gui_support.h"
#include "support/test_files.h"

#include <gtest/gtest.h>

#include <functional>
#include <ostream>

namespace {

using pa::sim::LoggerFault;
using pa::testing::LoggerRigOverPty;

struct LoggerFaultCase {
    const char* name;
    std::function<void(LoggerRigOverPty&)> inject;
    std::function<void(LoggerRigOverPty&)> run;
    std::vector<std::string> messages;
    std::function<void(LoggerRigOverPty&)> check = {}; // what else must hold afterwards
};

void PrintTo(const LoggerFaultCase& c, std::ostream* os) {
    *os << c.name;
}

void noFile(LoggerRigOverPty& r) {
    EXPECT_FALSE(std::filesystem::exists(r.file())) << "a failed transfer writes nothing";
}

const LoggerFaultCase kCases[] = {
    {"StatusNoReply",
     [](auto& r) { r.setFault(LoggerFault::NoReply); },
     [](auto& r) { r.session.Read_Status(); },
     {"No response, check your cable or DMM"},
     [](auto& r) { EXPECT_EQ(r.session.Label1[30], "?"); }},
    {"StatusBadFraming",
     [](auto& r) { r.setFault(LoggerFault::BadFraming); },
     [](auto& r) { r.session.Read_Status(); },
     {"Incorrect leading or trailing byte"},
     [](auto& r) { EXPECT_EQ(r.session.Label1[30], "?"); }},
    // The state answer comes, then two byte reads in a row are lost: one retry, then the
    // read is abandoned and the window keeps what it showed.
    {"StatusBlockNoReplyTwice",
     [](auto& r) { r.setFault(LoggerFault::NoReply, 2, 1); },
     [](auto& r) { r.session.Read_Status(); },
     {"No response, try again!"},
     [](auto& r) { EXPECT_EQ(r.session.Label1[7], ""); }},
    {"StatusBlockBadFramingTwice",
     [](auto& r) { r.setFault(LoggerFault::BadFraming, 2, 10); },
     [](auto& r) { r.session.Read_Status(); },
     {"Incorrect leading or ending byte"}},
    // One lost reply is made good by the retry: the whole block is read.
    {"StatusBlockNoReplyOnce",
     [](auto& r) { r.setFault(LoggerFault::NoReply, 1, 30); },
     [](auto& r) { r.session.Read_Status(); },
     {},
     [](auto& r) { EXPECT_EQ(r.session.Label1[7], "40"); }},
    {"DownloadNoReply",
     [](auto& r) { r.setFault(LoggerFault::NoReply); },
     [](auto& r) { r.download(); },
     {"No response, check your cable or DMM"},
     noFile},
    {"DownloadWithoutEndByte",
     [](auto& r) { r.setFault(LoggerFault::NoEtx, 1); },
     [](auto& r) { r.download(); },
     {"Inncorrect ending byte"},
     noFile},
    // A stream that stops half way but ends properly passes the checks: the records it
    // holds are written and the report gives the count the status block promised.
    {"DownloadCutShort",
     [](auto& r) { r.setFault(LoggerFault::ShortStream, 1); },
     [](auto& r) { r.download(); },
     {"40 records received and stored in FILE "},
     [](auto& r) {
         EXPECT_EQ(pa::testing::readLines(r.file()).size(), 21u) << "header and 20 records";
     }},
    {"SelfTestReadBadFraming",
     [](auto& r) { r.setFault(LoggerFault::BadFraming, -1, 1); },
     [](auto& r) { r.selfTest.diag_read(); },
     {"Incorrect data format"}},
    // Answers that come later than the exchange waits for count as no answer; the late
    // bytes are drained before the next command, so they never pass as its reply.
    {"SlowInstrument",
     [](auto& r) { r.sim.setReplyDelay(400); },
     [](auto& r) { r.session.Read_Status(); },
     {"No response, check your cable or DMM"}},
};

class LoggerFaults : public ::testing::TestWithParam<LoggerFaultCase> {};

TEST_P(LoggerFaults, SayWhatWentWrongAndGiveThePortBack) {
    const LoggerFaultCase& c = GetParam();
    LoggerRigOverPty r;
    r.onLogger([](auto& l) { return l.fillRecords(40, {}); });
    ASSERT_TRUE(pa::testing::waitFor([&] { return r.sim.framesSent() == 1; }, 3000))
        << "opening the port asks for the first frame";
    c.inject(r);
    c.run(r);

    auto shown = r.messages();
    if (!c.messages.empty() && c.messages.back().ends_with("FILE ")) { // the path follows
        for (auto& m : shown)
            m = m.substr(0, c.messages.back().size());
    }
    EXPECT_EQ(shown, c.messages);
    for (const auto& m : r.ui.messages) {
        if (!m.text.ends_with(r.file())) {
            EXPECT_EQ(m.icon, pa::app::Icon::Exclamation) << m.text;
        }
    }
    if (c.check)
        c.check(r);
    EXPECT_FALSE(r.ui.statusVisible) << "the progress window is hidden";

    // The live readings have the port again: the resume asks for a frame at once.
    EXPECT_TRUE(r.link.sampling());
    EXPECT_TRUE(pa::testing::waitFor([&] { return r.sim.framesSent() == 2; }, 3000));

    // With the fault gone the logger answers again, whatever came late before.
    r.setFault(LoggerFault::None);
    r.sim.setReplyDelay(0);
    r.ui.messages.clear();
    r.link.SetLiveSampling(0);
    EXPECT_EQ(r.exchange.QueryLoggerState(), pa::logger::kIdle);
    EXPECT_TRUE(r.ui.messages.empty());
}

INSTANTIATE_TEST_SUITE_P(Injected, LoggerFaults, ::testing::ValuesIn(kCases),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace
