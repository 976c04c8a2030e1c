// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The download: time stamps, record conversion, and Read/Save against the simulated logger
// and against hostile lines.
#include "logger/record_converter.h"
#include "logger_rig.h"
#include "support/recording_port.h"

#include <gtest/gtest.h>

namespace {

using namespace pa;
using pa::testing::LoggerRig;
using pa::testing::quietLoad;
using pa::testing::readFile;
namespace fs = std::filesystem;

const std::string kHeader = "No.,Date,Time,Watts,PF,Volts,Amps\r\n";

std::string report(const LoggerRig& rig, int records) {
    return std::to_string(records) + " records received and stored in FILE " + rig.path;
}

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

// Records become lines stamped by the sampling interval from the logger's clock, their
// display words values with one decimal (overloads and the start-up word as words).
TEST(Download, RecordsBecomeLinesStampedByTheSamplingInterval) {
    LoggerRig rig;
    rig.logger().setClock("0225235959");
    rig.logger().setSamplingUnits(1); // 0.4 s
    rig.logger().appendRecord(116.38, 0.55, 230, 0.92);
    rig.logger().appendRecord(-230, 1, 230, -1);
    rig.logger().appendRecordWords(sim::encodeOverload(true, 2), sim::encodeReading(1, 3),
                                   sim::encodeReading(230, 0), sim::encodeReading(0.5, 3));
    rig.logger().appendRecordWords(sim::encodeOverload(false, 2), sim::kStartUpWord,
                                   sim::encodeReading(1, 0), sim::encodeReading(1, 3));
    rig.download(rig.path);
    EXPECT_EQ(readFile(rig.path), kHeader + "1,02-25,23:59:59,116.4,0.9,230.0,0.6\r\n"
                                            "2,02-25,23:59:59.4,-230.0,-1.0,230.0,1.0\r\n"
                                            "3,02-25,23:59:59.8,OL,0.5,230.0,1.0\r\n"
                                            "4,02-25,00:00:00.2,-OL,1.0,1.0,Init\r\n");
    EXPECT_EQ(std::tuple(rig.messages(), rig.ui.messages.back().icon, rig.ui.saveStartPaths,
                         rig.session.Label1[7], rig.live, rig.ui.statusVisible),
              std::tuple(std::vector<std::string>{report(rig, 4)}, app::Icon::None,
                         std::vector<std::string>{rig.folder + "/.txt"}, "4",
                         std::vector<int>{0, 1}, false));
}

// The download's record count against what reaches the file; a full 8K memory holds 1012
// records and ends with 2 s of silence after the 0.7 s state query.
TEST(Download, RecordsStoredAndReported) {
    const struct {
        const char* name;
        int fill;
        pa::testing::RigStep fault;
        long lines, reported;
        double seconds; // < 0: not looked at
    } cases[] = {
        {"empty logger", 0, nullptr, -1, 0, -1}, // no file at all
        {"short stream", 10,
         [](LoggerRig& r) { r.logger().setFault(sim::LoggerFault::ShortStream, 1); }, 5, 10, -1},
        {"full memory", 5000, nullptr, 1012, 1012, 0.7 + 2.0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        LoggerRig rig;
        rig.logger().fillRecords(c.fill, quietLoad());
        if (c.fault)
            c.fault(rig);
        const double took = rig.timed([&] { rig.download(rig.path); });
        EXPECT_EQ(rig.messages(), std::vector<std::string>{report(rig, c.reported)});
        const std::string text = fs::exists(rig.path) ? readFile(rig.path) : "";
        EXPECT_EQ(std::count(text.begin(), text.end(), '\n') - 1, c.lines); // header excluded
        if (c.seconds >= 0) {
            EXPECT_NEAR(took, c.seconds, 0.02);
        }
    }
}

TEST(Download, AppendingAddsASecondHeaderAndAnsweringNoSendsNothing) {
    LoggerRig rig;
    // A name outside ASCII: the file is found again, so the question comes.
    rig.path = rig.folder + "/medición 記錄.txt";
    rig.logger().fillRecords(1, quietLoad());
    rig.download(std::nullopt); // cancelled: nothing sent
    rig.download(rig.path);
    rig.ui.answers.push_back(app::Answer::Yes);
    rig.download(rig.path);
    const std::string twice = readFile(datafile::pathFromUtf8(rig.path));
    const std::string line = "1,11-15,16:58:00,116.4,0.9,230.0,0.6\r\n";
    EXPECT_EQ(twice, kHeader + line + kHeader + line);
    EXPECT_EQ(std::tuple(rig.ui.messages[1].text, rig.ui.messages[1].icon),
              std::tuple("File  " + rig.path + "  exists, add data to it", app::Icon::Question));
    rig.ui.answers.push_back(app::Answer::No);
    rig.download(rig.path);
    EXPECT_EQ(std::tuple(rig.logger().downloads(), readFile(datafile::pathFromUtf8(rig.path))),
              std::tuple(2, twice));
    EXPECT_EQ(rig.live, (std::vector<int>{0, 1, 0, 1, 0, 1, 0, 1}));
}

TEST(Download, AFileThatCannotBeWrittenIsSaidSoWithoutAReport) {
    LoggerRig rig;
    rig.logger().fillRecords(2, quietLoad());
    const std::string path = rig.folder + "/no such folder/log.txt";
    rig.download(path);
    EXPECT_EQ(std::tuple(rig.messages(), fs::exists(path), rig.ui.statusVisible),
              std::tuple(std::vector<std::string>{"Cannot open the data file " + path +
                                                  ": No such file or directory."},
                         false, false));
}

TEST(Download, ADiskThatFillsMidwayLeavesTheEarlierDownloadWhole) {
#ifndef PA_TEST_FILE_SIZE_LIMIT
    GTEST_SKIP() << "Windows has no per-process file size limit to fill the disk with";
#else
    LoggerRig rig;
    rig.logger().fillRecords(300, quietLoad());
    rig.download(rig.path);
    const std::string first = readFile(rig.path);
    // Room for a few more lines only: the second download gets part way and is taken back.
    rig.ui.answers.push_back(pa::app::Answer::Yes); // add data to the existing file
    {
        pa::testing::FileSizeLimit full(first.size() + 200);
        rig.download(rig.path);
    }
    ASSERT_EQ(rig.messages().size(), 3u);
    EXPECT_NE(rig.messages()[2].find(rig.path + ": File too large"), std::string::npos)
        << rig.messages()[2];
    EXPECT_EQ(readFile(rig.path), first) << "the earlier download is untouched";
#endif
}

// A line that answers the state query as an idle logger and, after "U", sends `stream` at
// `bytesPerSecond` of virtual time, at most `chunk` bytes a read, over and over when `endless`.
struct ScriptedLine : pa::testing::RecordingPort {
    ScriptedLine(app::Clock& clock, std::string stream, double bytesPerSecond, bool endless,
                 std::size_t chunk = 65536)
        : clock(clock), stream(std::move(stream)), rate(bytesPerSecond), endless(endless),
          chunk(chunk) {
        devices.insert("LINE");
        setPortName("LINE");
        open();
    }
    void write(const std::string& bytes) override {
        if (bytes == "X")
            incoming = std::string{logger::kStx, 0, logger::kEtx};
        if (bytes == "U")
            start = clock.secondsSinceMidnight();
    }
    int bytesWaiting() override { return static_cast<int>(incoming.size()); }
    std::string readAll() override {
        std::string out = std::exchange(incoming, {});
        if (start < 0)
            return out;
        auto due = static_cast<std::size_t>((clock.secondsSinceMidnight() - start) * rate) + 1;
        if (!endless)
            due = std::min(due, stream.size());
        for (; sent < due && out.size() < chunk; ++sent)
            out.push_back(stream[sent % stream.size()]);
        return out;
    }
    app::Clock& clock;
    std::string stream;
    double rate;
    bool endless;
    std::size_t chunk;
    double start = -1;
    std::size_t sent = 0;
};

// Read/Save over `line`, saving to the rig's path; the live exchange is handed to rig.live.
void readAllOver(LoggerRig& rig, ScriptedLine& line) {
    logger::LoggerExchange exchange(line, rig.clock, rig.ui, rig.state);
    logger::LoggerSession session(
        exchange, [&](int on) { rig.live.push_back(on); }, [&] { return rig.folder; });
    rig.ui.files.push_back(rig.path);
    session.Read_All();
}

// The progress window: "  Waiting", a rough count followed by four spaces while the stream
// arrives, then "Converting" blinking every 50 words while the records are converted.
TEST(DownloadProgress, WindowTexts) {
    LoggerRig sim;
    sim.logger().fillRecords(30, quietLoad()); // 120 words
    sim.port.write("U");
    LoggerRig rig;
    ScriptedLine line(rig.clock, sim.port.readAll(), 1e9, false, 64);
    readAllOver(rig, line);
    ASSERT_EQ(rig.messages(), std::vector<std::string>{report(rig, 30)});
    const std::vector<std::string>& texts = rig.ui.statusTexts;
    const auto waiting = std::find(texts.begin(), texts.end(), "  Waiting");
    const auto converting = std::find(waiting, texts.end(), "Converting");
    ASSERT_NE(converting, texts.end());
    // 64 bytes a read: L (two per byte) grows by 128, and each count shows ((L - 97) / 2) / 4.
    ASSERT_GE(converting - waiting, 4);
    EXPECT_EQ(std::vector<std::string>(waiting + 1, waiting + 4),
              (std::vector<std::string>{"3    ", "19    ", "35    "}));
    std::vector<std::string> blink;
    for (int k = 1; k <= 120; ++k)
        blink.push_back(k % 100 > 50 ? "" : "Converting");
    EXPECT_EQ(std::vector<std::string>(converting + 1, texts.end()), blink);
    EXPECT_EQ(std::tuple(rig.ui.statusCaptionText, rig.ui.statusVisible),
              std::tuple("Status", false));
}

// Hostile lines end the download within bounds of time and memory, with a message and
// nothing written.
TEST(DownloadFaults, NoisyLinesEndWithAMessageAndWriteNothing) {
    const std::string noise = std::string(1, logger::kStx) + "noise on the line";
    const struct {
        const char* name;
        std::string stream;
        double bytesPerSecond;
        bool endless;
        int cancelAfterEvents;
        const char* message;
        double maxSeconds; // of virtual time
    } cases[] = {
        {"flooding line", noise, 1e6, true, -1, "more than its memory can hold", 3},
        {"trickle that never falls silent", noise, 1, true, -1, "did not end within 26 s", 27},
        {"user cancels", noise, 1, true, 20, "Download cancelled. Nothing was written.", 3},
        {"junk frame", noise + std::string(1, logger::kEtx), 1e6, false, -1,
         "holds no whole status block (19 bytes came)", 3},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        LoggerRig rig;
        rig.ui.cancelAfterEvents = c.cancelAfterEvents;
        ScriptedLine line(rig.clock, c.stream, c.bytesPerSecond, c.endless);
        EXPECT_LT(rig.timed([&] { readAllOver(rig, line); }), c.maxSeconds);
        EXPECT_LE(line.sent, 1u << 20) << "reading stops, it does not keep collecting";
        ASSERT_EQ(rig.ui.messages.size(), 1u);
        EXPECT_NE(rig.ui.messages[0].text.find(c.message), std::string::npos)
            << rig.ui.messages[0].text;
        // Cancel is withdrawn with the progress window; live sampling comes back.
        EXPECT_EQ(std::tuple(rig.ui.messages[0].icon, fs::exists(rig.path), rig.ui.statusVisible,
                             rig.ui.cancelOffered, rig.live),
                  std::tuple(app::Icon::Exclamation, false, false, false, std::vector<int>{0, 1}));
    }
}

} // namespace
