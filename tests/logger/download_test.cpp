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
    pa::testing::TempFolder temp;
    std::string dir = temp.str();
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

// The simulated logger's answers as a real line brings them: a little at each read.
struct ChunkedPort : app::Port {
    explicit ChunkedPort(app::Port& inner) : inner(inner) {}
    bool setPortName(const std::string& name) override { return inner.setPortName(name); }
    std::string portName() const override { return inner.portName(); }
    void setSettings(const std::string& settings) override { inner.setSettings(settings); }
    std::string settings() const override { return inner.settings(); }
    bool open() override { return inner.open(); }
    void close() override { inner.close(); }
    bool isOpen() const override { return inner.isOpen(); }
    std::string lastError() const override { return inner.lastError(); }
    void write(const std::string& bytes) override { inner.write(bytes); }
    int bytesWaiting() override { return static_cast<int>(pending.size()) + inner.bytesWaiting(); }
    std::string readAll() override {
        pending += inner.readAll();
        const std::string chunk = pending.substr(0, 64);
        pending.erase(0, chunk.size());
        return chunk;
    }
    app::Port& inner;
    std::string pending;
};

// The progress window: "  Waiting", a rough count followed by four spaces while the stream
// arrives, then "Converting" blinking every 50 words while the records are converted.
TEST_F(Download, ProgressWindowTexts) {
    rig.logger().fillRecords(30, pa::testing::quietLoad()); // 120 words
    ChunkedPort line(rig.port);
    logger::LoggerExchange exchange{line, rig.clock, rig.ui, rig.state};
    logger::LoggerSession session{exchange, [](int) {}, [this] { return dir; }};
    session.load();
    rig.ui.files.push_back(path);
    session.Read_All();
    ASSERT_EQ(rig.messages(), std::vector<std::string>{report(30)});
    EXPECT_EQ(rig.ui.statusCaptionText, "Status");
    // The state query before it shows its own texts; the download's start with "  Waiting".
    const std::vector<std::string>& texts = rig.ui.statusTexts;
    const auto waiting = std::find(texts.begin(), texts.end(), "  Waiting");
    ASSERT_NE(waiting, texts.end());
    const auto converting = std::find(waiting, texts.end(), "Converting");
    ASSERT_NE(converting, texts.end());
    // The stream arrives in chunks of 64 after the first: L (two per byte) grows by 128 a
    // chunk, and each count shows ((L - 97) / 2) / 4 followed by four spaces.
    const std::vector<std::string> counts(waiting + 1, converting);
    ASSERT_GE(counts.size(), 3u);
    for (std::size_t i = 0; i + 1 < counts.size(); ++i) // the last chunk may be shorter
        EXPECT_EQ(counts[i],
                  std::to_string((128 * (static_cast<long>(i) + 1) - 97) / 2 / 4) + "    ");
    EXPECT_EQ(counts[0], "3    ");
    EXPECT_TRUE(counts.back().ends_with("    ")) << counts.back();
    std::vector<std::string> blink;
    for (int k = 1; k <= 120; ++k)
        blink.push_back(k % 100 > 50 ? "" : "Converting");
    EXPECT_EQ(std::vector<std::string>(converting + 1, texts.end()), blink);
    EXPECT_FALSE(rig.ui.statusVisible);
}

TEST_F(Download, AppendingAddsASecondHeaderAndAnsweringNoSendsNothing) {
    // A name outside ASCII: the file is found again, so the question comes.
    path = dir + "/medición 記錄.txt";
    rig.logger().fillRecords(1, pa::testing::quietLoad());
    download(path);
    rig.ui.answers.push_back(app::Answer::Yes);
    download(path);
    const std::string twice = pa::testing::readFile(pa::datafile::pathFromUtf8(path));
    const std::string header = "No.,Date,Time,Watts,PF,Volts,Amps\r\n";
    const std::string line = "1,11-15,16:58:00,116.4,0.9,230.0,0.6\r\n";
    EXPECT_EQ(twice, header + line + header + line);
    EXPECT_EQ(rig.ui.messages[1].text, "File  " + path + "  exists, add data to it");
    EXPECT_EQ(rig.ui.messages[1].icon, app::Icon::Question);

    rig.ui.answers.push_back(app::Answer::No);
    download(path);
    EXPECT_EQ(rig.logger().downloads(), 2);
    EXPECT_EQ(pa::testing::readFile(pa::datafile::pathFromUtf8(path)), twice);
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
#ifndef _WIN32 // a read-only folder does not stop file creation on Windows
        {readOnly + "/log.txt", "Permission denied"},
#endif
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
#ifndef PA_TEST_FILE_SIZE_LIMIT
    GTEST_SKIP() << "Windows has no per-process file size limit to fill the disk with";
#else
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
#endif
}

TEST_F(Download, CancellingTheDialogSendsNothing) {
    rig.logger().fillRecords(3, pa::testing::quietLoad());
    download(std::nullopt);
    EXPECT_EQ(rig.logger().downloads(), 0);
    EXPECT_TRUE(rig.ui.messages.empty());
    EXPECT_EQ(rig.live, (std::vector<int>{0, 1}));
}

TEST_F(Download, FullMemoryTakesItsSilenceWindowOnVirtualTime) {
    // An 8K memory: 8192 bytes less the 96-byte status block, 8 bytes a record.
    EXPECT_EQ(rig.logger().fillRecords(5000, pa::testing::quietLoad()), 1012);
    const double t0 = rig.clock.secondsSinceMidnight();
    download(path);
    const double took = rig.clock.secondsSinceMidnight() - t0;
    const std::string text = pa::testing::readFile(path);
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1 + 1012);
    EXPECT_EQ(rig.messages(), std::vector<std::string>{report(1012)});
    EXPECT_NEAR(took, 0.7 + 2.0, 0.02); // the state query, then 2 s of silence
}

} // namespace

// A line that answers the state query as an idle logger and, after "U", sends `stream` at
// `bytesPerSecond` of virtual time, over and over when `endless`: a flooding, trickling or
// noisy line, or a short junk frame.
class ScriptedLine : public app::Port {
  public:
    ScriptedLine(app::Clock& clock, std::string stream, double bytesPerSecond, bool endless)
        : clock_(clock), stream_(std::move(stream)), rate_(bytesPerSecond), endless_(endless) {}
    bool setPortName(const std::string&) override { return true; }
    std::string portName() const override { return "LINE"; }
    void setSettings(const std::string&) override {}
    std::string settings() const override { return "9600,n,8,1"; }
    bool open() override { return true; }
    void close() override {}
    bool isOpen() const override { return true; }
    std::string lastError() const override { return ""; }
    void write(const std::string& bytes) override {
        if (bytes == "X")
            pending_ = std::string{logger::kStx, 0, logger::kEtx};
        if (bytes == "U") {
            sending_ = true;
            start_ = clock_.secondsSinceMidnight();
        }
    }
    int bytesWaiting() override { return static_cast<int>(pending_.size()); }
    std::string readAll() override {
        std::string out = std::move(pending_);
        pending_.clear();
        if (!sending_)
            return out;
        const double elapsed = clock_.secondsSinceMidnight() - start_;
        auto due = static_cast<std::size_t>(elapsed * rate_) + 1;
        if (!endless_)
            due = std::min(due, stream_.size());
        for (; sent_ < due && out.size() < 65536; ++sent_)
            out.push_back(stream_[sent_ % stream_.size()]);
        return out;
    }
    std::size_t sent() const { return sent_; }

  private:
    app::Clock& clock_;
    std::string stream_, pending_;
    double rate_;
    bool endless_;
    bool sending_ = false;
    double start_ = 0;
    std::size_t sent_ = 0;
};

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
        const pa::testing::TempFolder temp;
        const std::string dir = temp.str();
        const std::string path = dir + "/log.txt";
        pa::testing::FakeClock clock;
        pa::testing::ScriptedUi ui;
        ui.cancelAfterEvents = c.cancelAfterEvents;
        ScriptedLine line(clock, c.stream, c.bytesPerSecond, c.endless);
        app::ProgramState state;
        state.baudCode = 9;
        logger::LoggerExchange exchange(line, clock, ui, state);
        std::vector<int> live;
        logger::LoggerSession session(
            exchange, [&](int on) { live.push_back(on); }, [&] { return dir; });
        ui.files.push_back(path);

        const double t0 = clock.secondsSinceMidnight();
        session.Read_All();

        EXPECT_LT(clock.secondsSinceMidnight() - t0, c.maxSeconds);
        EXPECT_LE(line.sent(), 1u << 20) << "reading stops, it does not keep collecting";
        ASSERT_EQ(ui.messages.size(), 1u);
        EXPECT_NE(ui.messages[0].text.find(c.message), std::string::npos) << ui.messages[0].text;
        EXPECT_EQ(ui.messages[0].icon, app::Icon::Exclamation);
        EXPECT_FALSE(fs::exists(path));
        EXPECT_FALSE(ui.statusVisible);
        EXPECT_FALSE(ui.cancelOffered) << "Cancel is withdrawn with the progress window";
        EXPECT_EQ(live, (std::vector<int>{0, 1}));
    }
}

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
