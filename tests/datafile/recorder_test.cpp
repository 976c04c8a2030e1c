// Recording control against the live cycle: the state table, the Create Data File caption,
// automatic and manual records, lost-communication lines and failures while writing. The
// simulator's frames arrive through a scripted port; the clock is virtual.
#include "datafile/recorder.h"

#include "instrument.h"
#include "support/data_file_writer.h"
#include "support/fake_clock.h"
#include "support/recording_port.h"
#include "support/scripted_ui.h"
#include "support/test_files.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <map>
#include <optional>

namespace {

namespace fs = std::filesystem;
using namespace pa::datafile;

// The system's reason when a plain file stands where a folder should be.
#ifdef _WIN32
const std::string kNotAFolder = "No such file or directory";
#else
const std::string kNotAFolder = "Not a directory";
#endif
using pa::testing::headerLine;
using pa::testing::lostCommunicationLine;
using pa::testing::readLines;

class RecorderTest : public ::testing::Test {
  protected:
    void SetUp() override {
        port.devices = {"COM1"};
        port.setPortName("COM1");
        port.open();
        clock.set(16 * 3600 + 58 * 60 + 9.4);
        recorder.setProfileFolder(profile.str());
        recorder.setEntryTexts([this] { return entries; });
        cycle.setRecordingHook(&recorder);
    }
    bool create(const char* typed) {
        ui.inputs.push_back(std::string(typed));
        return recorder.CreateDataFile();
    }
    fs::path dataFile(const char* name) const {
        return profile.path() / "Documents" / "KV2260" / name;
    }
    // One sample tick, then one poll tick with a frame (or nothing) waiting.
    void sample(bool answer = true) {
        cycle.Timer1Tick();
        if (answer)
            port.incoming = instrument.liveFrame();
        cycle.Timer2Tick();
        clock.advance(1);
    }

    pa::testing::TempFolder profile;
    pa::testing::RecordingPort port;
    pa::testing::FakeClock clock;
    pa::testing::ScriptedUi ui;
    pa::app::ProgramState state;
    pa::sim::Instrument instrument{pa::sim::Load{230, 0.55, 0.92, 50, 0}};
    pa::live::LiveCycle cycle{port, clock, ui, state};
    Recorder recorder{cycle, clock, ui, state};
    EntryTexts entries{"month", "0"};
};

TEST_F(RecorderTest, StateTableDrivesItemsAndButton) {
    const struct {
        const char* step;
        std::function<void()> act;
        RecordingState state;
    } steps[] = {
        {"start-up", [] {}, RecordingState::NoFile},
        {"auto before a file", [&] { recorder.NowAuto(); }, RecordingState::NoFile},
        {"create", [&] { create("test"); }, RecordingState::FileReady},
        {"create again", [&] { create("other"); }, RecordingState::FileReady},
        {"auto", [&] { recorder.NowAuto(); }, RecordingState::Automatic},
        {"create while recording", [&] { recorder.CreateDataFile(); }, RecordingState::Automatic},
        {"manual while recording", [&] { recorder.Manually(); }, RecordingState::Automatic},
        {"end", [&] { recorder.EndRecording(); }, RecordingState::NoFile},
        {"create", [&] { create("test"); }, RecordingState::FileReady},
        {"cancel the next create", [&] { recorder.CreateDataFile(); }, RecordingState::NoFile},
        {"create", [&] { create("test"); }, RecordingState::FileReady},
        {"manual", [&] { recorder.Manually(); }, RecordingState::Manual},
        {"end", [&] { recorder.EndRecording(); }, RecordingState::NoFile},
        {"end again", [&] { recorder.EndRecording(); }, RecordingState::NoFile},
    };
    // Create, Start, End enabled and Record shown, per state.
    const std::map<RecordingState, std::array<bool, 4>> table = {
        {RecordingState::NoFile, {true, false, false, false}},
        {RecordingState::FileReady, {true, true, false, false}},
        {RecordingState::Automatic, {false, false, true, false}},
        {RecordingState::Manual, {false, false, true, true}},
    };
    for (const auto& s : steps) {
        s.act();
        ASSERT_EQ(recorder.state(), s.state) << s.step;
        const auto& row = table.at(s.state);
        EXPECT_EQ(recorder.createEnabled(), row[0]) << s.step;
        EXPECT_EQ(recorder.startEnabled(), row[1]) << s.step;
        EXPECT_EQ(recorder.endEnabled(), row[2]) << s.step;
        EXPECT_EQ(recorder.recordButtonVisible(), row[3]) << s.step;
        EXPECT_EQ(recorder.recordingRunning(), recorder.endEnabled()) << s.step;
        EXPECT_EQ(recorder.fileCreated(), s.state != RecordingState::NoFile) << s.step;
        EXPECT_EQ(ui.statusVisible, recorder.recordingRunning()) << s.step;
        if (recorder.recordingRunning()) {
            EXPECT_EQ(ui.statusTextNow, "Recording !") << s.step;
            EXPECT_EQ(ui.statusCaptionText, "") << s.step;
        }
    }
    EXPECT_TRUE(ui.messages.empty()) << ui.messages[0].text;
}

TEST_F(RecorderTest, CreateCaptionGainsTheNameAndABlankEachTime) {
    EXPECT_EQ(recorder.createCaption(), "&Create Data File");
    ASSERT_TRUE(create("test.csv"));
    EXPECT_EQ(ui.asked.back(), (pa::testing::AskedInput{"Enter the name of file to store data",
                                                        "Input File Name", ""}));
    EXPECT_EQ(recorder.createCaption(), "&Create Data File = test.txt");
    ASSERT_TRUE(create("b"));
    EXPECT_EQ(recorder.createCaption(), "&Create Data File  = b.txt");
    recorder.applyCaptions({"建立檔案名稱", "", "請輸入檔案名稱"});
    EXPECT_EQ(recorder.createCaption(), "建立檔案名稱 =b.txt");
    ASSERT_TRUE(create("c"));
    EXPECT_EQ(ui.asked.back(), (pa::testing::AskedInput{"", "請輸入檔案名稱", "b.txt"}))
        << "no prompt in Chinese; the last name is the default";
    EXPECT_EQ(recorder.createCaption(), "建立檔案名稱  = c.txt");
    recorder.NowAuto();
    recorder.EndRecording();
    EXPECT_EQ(recorder.createCaption(), "建立檔案名稱");
    ASSERT_TRUE(create("d"));
    recorder.CreateDataFile(); // cancelled: the caption stays cut before "="
    EXPECT_EQ(recorder.createCaption(), "建立檔案名稱 ");
}

// Cancel and blank names give no file silently; names no file may have say why.
TEST_F(RecorderTest, NamesThatGiveNoFile) {
    const auto unnamed = [](const std::string& typed) {
        return "\"" + typed +
               "\" does not give a file name. Type a name such as test; the file is made in the "
               "data folder with the ending .txt.";
    };
    const auto refused = [](const std::string& typed, const std::string& problem) {
        return "\"" + typed + "\" cannot be the name of a data file. " + problem +
               " Type a name such as test; no data file was created.";
    };
    const auto device = [&](const std::string& typed, const std::string& stem) {
        return refused(typed, stem + " is the name of a device in Windows, not of a file.");
    };
    const auto character = [&](const std::string& typed, char c) {
        return refused(typed, std::string("A file name cannot contain the character ") + c +
                                  " (nor any of < > \" | ? *).");
    };
    const struct {
        std::optional<std::string> typed;
        std::string message; // empty: none
    } cases[] = {{std::nullopt, ""},
                 {"", ""},
                 {"   ", ""},
                 {"...", unnamed("...")},
                 {"a/b/", unnamed("a/b/")},
                 {"con", device("con", "CON")},
                 {"Com1.csv", device("Com1.csv", "COM1")},
                 {"nul  ", device("nul  ", "NUL")},
                 {"LPT9", device("LPT9", "LPT9")},
                 {"aux", device("aux", "AUX")},
                 {"a?b", character("a?b", '?')},
                 {"x<y>", character("x<y>", '<')},
                 {"say \"hi\"", character("say \"hi\"", '"')},
                 {"pipe|d", character("pipe|d", '|')},
                 {"star*", character("star*", '*')}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.typed.value_or("cancel"));
        ASSERT_TRUE(create("test"));
        const std::size_t before = ui.messages.size();
        ui.inputs.push_back(c.typed);
        EXPECT_FALSE(recorder.CreateDataFile());
        EXPECT_EQ(recorder.state(), RecordingState::NoFile);
        ASSERT_EQ(ui.messages.size(), before + (c.message.empty() ? 0 : 1));
        if (!c.message.empty()) {
            EXPECT_EQ(ui.messages.back().text, c.message);
            EXPECT_EQ(ui.messages.back().icon, pa::app::Icon::Exclamation);
        }
    }
    std::vector<std::string> made;
    for (const auto& entry : fs::directory_iterator(profile.path() / "Documents" / "KV2260"))
        made.push_back(entry.path().filename().string());
    EXPECT_EQ(made, std::vector<std::string>{"test.txt"});
    // Names that only begin like a device are files.
    for (const char* typed : {"console", "com10", "lpt", "nul-readings"})
        EXPECT_TRUE(create(typed)) << typed;
}

TEST_F(RecorderTest, AProfileAndAFileNamedOutsideAscii) {
    const fs::path home = profile.path() / pa::datafile::pathFromUtf8("José 記錄");
    fs::create_directory(home);
    recorder.setProfileFolder(pa::datafile::utf8FromPath(home));
    ASSERT_TRUE(create("medición 每月"));
    const fs::path file =
        home / "Documents" / "KV2260" / pa::datafile::pathFromUtf8("medición 每月.txt");
    EXPECT_EQ(readLines(file), std::vector<std::string>{headerLine("month")});
    EXPECT_EQ(recorder.fileName(), "medición 每月.txt");
    recorder.StartRecording();
    recorder.NowAuto();
    sample();
    EXPECT_EQ(readLines(file).size(), 2u);
    EXPECT_TRUE(ui.messages.empty()) << ui.messages.front().text;
}

TEST_F(RecorderTest, AutomaticRecordsOncePerClockText) {
    ASSERT_TRUE(create("test"));
    EXPECT_EQ(readLines(dataFile("test.txt")), std::vector<std::string>{headerLine("month")});
    recorder.StartRecording();
    EXPECT_TRUE(recorder.recordingBoxesVisible());
    EXPECT_EQ(recorder.recordNumberText(), "0");
    recorder.recordNumberTyped("17"); // typed, not entered: still the first number
    state.sampleTickCounter = 5;
    recorder.NowAuto();
    EXPECT_EQ(state.sampleTickCounter, 0) << "sampling time 1 s, minus 1";
    sample();
    sample();
    port.incoming = instrument.liveFrame();
    cycle.Timer2Tick(); // the same clock text again: no record
    sample();

    const auto lines = readLines(dataFile("test.txt"));
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[1],
              "        17, 11-22-2026,16:58:09.4,  116.4W, .920 PF,    230V,   .550A,"
              "       23.1,   126.50VA,     49.53VAR,       0.0KWH,    0.00/month 0$0.00");
    EXPECT_EQ(lines[2].substr(0, 34), "        18, 11-22-2026,16:58:10.4,");
    EXPECT_EQ(lines[3].substr(0, 34), "        19, 11-22-2026,16:58:11.4,");
    EXPECT_EQ(recorder.recordNumberText(), "19");
    EXPECT_EQ(recorder.lastRecordText(), lines[3].substr(11));
    EXPECT_EQ(recorder.recordsWritten(), 3);

    // Enter in the record-number box sets the next number; typing alone does not.
    recorder.recordNumberTyped("100");
    sample();
    EXPECT_EQ(recorder.recordNumberText(), "20") << "each record shows its number in the box";
    recorder.recordNumberTyped("100");
    recorder.recordNumberEntered();
    sample();
    const auto more = readLines(dataFile("test.txt"));
    EXPECT_EQ(more[4].substr(0, 11), "        20,");
    EXPECT_EQ(more[5].substr(0, 11), "       100,");
}

// Choosing Now(Auto) or Manually means opening Start Recording again after typing a number:
// that opening keeps the number; only the first opening for a new file shows "0".
TEST_F(RecorderTest, ATypedStartNumberSurvivesReopeningTheMenu) {
    const struct {
        bool manual, enter;
        const char* typed;
        const char* first; // number field of the first record
    } cases[] = {{false, false, "17", "        17,"},
                 {false, true, "17", "        17,"},
                 {true, false, "5", "         5,"},
                 {true, true, "abc", "         0,"}};
    for (const auto& c : cases) {
        ASSERT_TRUE(create("start"));
        recorder.StartRecording();
        EXPECT_EQ(recorder.recordNumberText(), "0") << "a new file starts at 0";
        recorder.recordNumberTyped(c.typed);
        if (c.enter)
            recorder.recordNumberEntered();
        recorder.StartRecording(); // the menu opened again to choose
        EXPECT_EQ(recorder.recordNumberText(), c.typed);
        if (c.manual) {
            recorder.Manually();
            recorder.Record();
        } else {
            recorder.NowAuto();
        }
        sample();
        recorder.EndRecording();
        const auto lines = readLines(dataFile("start.txt"));
        ASSERT_GE(lines.size(), 2u);
        EXPECT_EQ(lines[1].substr(0, 11), c.first) << c.typed;
    }
}

TEST_F(RecorderTest, TickCounterResetFollowsTheSamplingTime) {
    cycle.applySamplingTime("5");
    ASSERT_TRUE(create("test"));
    recorder.StartRecording();
    state.sampleTickCounter = 2;
    recorder.Manually();
    EXPECT_EQ(state.sampleTickCounter, 2) << "manual recording leaves the counter alone";
    recorder.EndRecording();
    ASSERT_TRUE(create("test"));
    recorder.NowAuto();
    EXPECT_EQ(state.sampleTickCounter, 4);
}

TEST_F(RecorderTest, ManualRecordsOnlyWhenAsked) {
    ASSERT_TRUE(create("test"));
    recorder.StartRecording();
    recorder.Manually();
    for (int i = 0; i < 3; ++i)
        sample();
    EXPECT_EQ(recorder.recordsWritten(), 0);
    recorder.Record();
    recorder.Record();
    recorder.Record();
    sample();
    sample();
    recorder.Record();
    sample();
    const auto lines = readLines(dataFile("test.txt"));
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[1].substr(0, 34), "         0, 11-22-2026,16:58:12.4,");
    EXPECT_EQ(lines[2].substr(0, 34), "         1, 11-22-2026,16:58:14.4,");
}

TEST_F(RecorderTest, SilenceWritesOneLostCommunicationLinePerClockText) {
    ASSERT_TRUE(create("test"));
    recorder.StartRecording();
    recorder.NowAuto();
    sample();
    // Four seconds of silence, five poll ticks a second.
    for (int second = 0; second < 4; ++second) {
        cycle.Timer1Tick();
        for (int poll = 0; poll < 5; ++poll)
            cycle.Timer2Tick();
        clock.advance(1);
    }
    sample();
    const auto lines = readLines(dataFile("test.txt"));
    // Warned from the sixth silent tick (second 2) on: seconds 2, 3 and 4 get one line each.
    ASSERT_EQ(lines.size(), 6u);
    const char* clocks[] = {"16:58:11.4", "16:58:12.4", "16:58:13.4"};
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(lines[2 + i], lostCommunicationLine("11-22-2026", clocks[i]));
        EXPECT_EQ(lines[2 + i].size(), 143u);
    }
    EXPECT_EQ(lines[5].substr(0, 11), "         1,") << "lost lines take no number";
}

TEST_F(RecorderTest, NoLinesWhileNotRecording) {
    ASSERT_TRUE(create("test"));
    for (int i = 0; i < 3; ++i)
        sample();
    for (int poll = 0; poll < 8; ++poll)
        cycle.Timer2Tick();
    recorder.Record();
    sample();
    EXPECT_EQ(readLines(dataFile("test.txt")).size(), 1u);
}

TEST_F(RecorderTest, DiskFaultsStopRecordingAndKeepTheLines) {
    const struct {
        const char* name;
        std::function<void(const fs::path& file, const fs::path& aside)> strike;
        const char* reason;
        bool movedAside;   // the lines written are in `aside` afterwards
        const char* after; // what the message says of the earlier lines
    } cases[] = {
#ifdef PA_TEST_FILE_SIZE_LIMIT // Windows has no device that is always full, nor a size limit
        {"link planted in its place",
         [](const fs::path& file, const fs::path& aside) {
             // Moved aside, and the name now leads to a device outside the folder.
             fs::rename(file, aside);
             fs::create_symlink("/dev/full", file);
         },
         "symbolic link, which is not followed", true, "kept in the file"},
        {"full disk",
         [](const fs::path&, const fs::path&) {}, // a file size limit at its end, below
         "File too large", false, "kept in the file"},
#endif
        {"removed", [](const fs::path& file, const fs::path& aside) { fs::rename(file, aside); },
         "No such file or directory", true, "no longer there (removed or moved away)"},
#ifndef _WIN32 // under Wine run by root a read-only file stays writable, and no user can be taken
        {"read-only",
         [](const fs::path& file, const fs::path&) {
             fs::permissions(file, fs::perms::owner_read | fs::perms::group_read |
                                       fs::perms::others_read);
         },
         "Permission denied", false, "kept in the file"},
#endif
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ui.messages.clear();
        ASSERT_TRUE(create("test"));
        const fs::path file = dataFile("test.txt"), aside = dataFile("aside.txt");
        fs::remove(aside);
        recorder.StartRecording();
        recorder.NowAuto();
        sample();
        sample();
        c.strike(file, aside);
        {
            std::optional<pa::testing::WithoutPrivileges> user; // root meets read-only files too
            if (std::string(c.name) == "read-only")
                user.emplace();
#ifdef PA_TEST_FILE_SIZE_LIMIT
            std::optional<pa::testing::FileSizeLimit> full;
            if (std::string(c.name) == "full disk")
                full.emplace(fs::file_size(file));
#endif
            sample();
        }
        ASSERT_EQ(ui.messages.size(), 1u);
        EXPECT_NE(ui.messages[0].text.find(file.string()), std::string::npos);
        EXPECT_NE(ui.messages[0].text.find(c.reason), std::string::npos) << ui.messages[0].text;
        EXPECT_NE(ui.messages[0].text.find(c.after), std::string::npos) << ui.messages[0].text;
        EXPECT_EQ(ui.messages[0].icon, pa::app::Icon::Exclamation);
        EXPECT_EQ(recorder.state(), RecordingState::NoFile);
        EXPECT_FALSE(ui.statusVisible);
        sample();
        EXPECT_EQ(ui.messages.size(), 1u) << "one message, then nothing more is written";
        const auto lines = readLines(c.movedAside ? aside : file);
        ASSERT_EQ(lines.size(), 3u);
        EXPECT_EQ(lines[2].substr(0, 11), "         1,");
        if (std::string(c.name) == "removed") {
            EXPECT_FALSE(fs::exists(file)) << "a removed file is not made again, headerless";
        }
        fs::remove(file);
    }
}

// A file that cannot be made: the message names the path and the system's reason, and
// nothing can be started.
TEST_F(RecorderTest, FailedCreateSaysWhyAndLeavesNoFile) {
    const fs::path plain = profile.path() / "plain", folder = dataFile("");
    const struct {
        const char* name;
        std::function<bool()> create;
        std::string says;
    } cases[] = {
        {"a plain file as the profile",
         [&] {
             std::ofstream(plain) << "x";
             recorder.setProfileFolder(plain.string());
             return create("test");
         },
         (plain / "Documents").string() + ": " + kNotAFolder},
#ifndef _WIN32 // Windows has no device that is always full, and lets read-only folders be written
        {"a full device", [&] { return recorder.createFileAt("/dev/full"); },
         "/dev/full: No space left on device"},
        {"a read-only folder",
         [&] {
             recorder.setProfileFolder(profile.str());
             fs::create_directories(folder);
             fs::permissions(folder, fs::perms::owner_read | fs::perms::owner_exec);
             pa::testing::WithoutPrivileges user; // root meets the folder's permissions too
             return create("test");
         },
         (folder / "test.txt").string() + ": Permission denied"},
#endif
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ui.messages.clear();
        EXPECT_FALSE(c.create());
        ASSERT_EQ(ui.messages.size(), 1u);
        EXPECT_NE(ui.messages[0].text.find(c.says), std::string::npos) << ui.messages[0].text;
        EXPECT_EQ(recorder.state(), RecordingState::NoFile);
        EXPECT_FALSE(recorder.startEnabled());
    }
    std::error_code ec; // the folder is made only where the read-only case runs
    fs::permissions(folder, fs::perms::owner_all, ec);
}

TEST(DatedPath, PutsTheIsoDateBeforeTheExtension) {
    const struct {
        const char* path;
        const char* expected;
    } cases[] = {
        {"/data/run.txt", "/data/run-2026-11-23.txt"},
        {"run.txt", "run-2026-11-23.txt"},
        {"/data/run", "/data/run-2026-11-23"},
        {"/data/site.a.txt", "/data/site.a-2026-11-23.txt"},
        {"/da.ta/run", "/da.ta/run-2026-11-23"}, // a dot in the folder is no extension
    };
    for (const auto& c : cases)
        EXPECT_EQ(datedPath(c.path, "11-23-2026"), c.expected) << c.path;
}

TEST_F(RecorderTest, DailyFilesChangeAtMidnightEachWithItsHeader) {
    clock.set(23 * 3600 + 59 * 60 + 57.2);
    const std::string base = (profile.path() / "run.txt").string();
    ASSERT_TRUE(recorder.createDailyFilesAt(base));
    recorder.StartRecording();
    recorder.NowAuto();
    for (int i = 0; i < 3; ++i)
        sample();
    // Silence just after midnight: the lost-communication lines go to the new day's file.
    cycle.Timer1Tick();
    for (int poll = 0; poll < 7; ++poll)
        cycle.Timer2Tick();
    clock.advance(1);
    for (int i = 0; i < 2; ++i)
        sample();

    const auto first = readLines(profile.path() / "run-2026-11-22.txt");
    const auto second = readLines(profile.path() / "run-2026-11-23.txt");
    ASSERT_EQ(first.size(), 4u);
    ASSERT_EQ(second.size(), 4u);
    EXPECT_EQ(first[0], headerLine("month"));
    EXPECT_EQ(second[0], headerLine("month"));
    EXPECT_EQ(first[1].substr(0, 34), "         0, 11-22-2026,23:59:57.2,");
    EXPECT_EQ(first[3].substr(0, 34), "         2, 11-22-2026,23:59:59.2,");
    EXPECT_EQ(second[1], lostCommunicationLine("11-23-2026", "00:00:00.2"));
    EXPECT_EQ(second[2].substr(0, 34), "         3, 11-23-2026,00:00:01.2,")
        << "the numbers go on from the day before";
    EXPECT_EQ(second[3].substr(0, 34), "         4, 11-23-2026,00:00:02.2,");
    EXPECT_FALSE(fs::exists(profile.path() / "run.txt"));
    EXPECT_EQ(recorder.path(), (profile.path() / "run-2026-11-23.txt").string());
    EXPECT_EQ(recorder.recordsWritten(), 5);
    EXPECT_TRUE(recorder.recordingRunning());
}

TEST_F(RecorderTest, RestartedDailyRecordingContinuesTheDaysFile) {
    const std::string base = (profile.path() / "run.txt").string();
    const auto today = profile.path() / "run-2026-11-22.txt";
    ASSERT_TRUE(recorder.createDailyFilesAt(base));
    recorder.StartRecording();
    recorder.NowAuto();
    sample();
    recorder.EndRecording();
    ASSERT_EQ(readLines(today).size(), 2u);

    ASSERT_TRUE(recorder.createDailyFilesAt(base));
    recorder.StartRecording();
    recorder.NowAuto();
    sample();
    const auto lines = readLines(today);
    ASSERT_EQ(lines.size(), 3u) << "the morning's lines are kept, the header not repeated";
    EXPECT_EQ(lines[0], headerLine("month"));

    // A plain file of the same name is still created afresh.
    recorder.EndRecording();
    ASSERT_TRUE(recorder.createFileAt(today.string()));
    EXPECT_EQ(readLines(today).size(), 1u);
}

TEST_F(RecorderTest, NextDaysFileThatCannotBeMadeStopsRecording) {
    clock.set(23 * 3600 + 59 * 60 + 59.0);
    ASSERT_TRUE(recorder.createDailyFilesAt((profile.path() / "run.txt").string()));
    fs::create_directory(profile.path() / "run-2026-11-23.txt"); // in the way
    recorder.StartRecording();
    recorder.NowAuto();
    sample();
    sample();
    EXPECT_FALSE(recorder.recordingRunning());
    ASSERT_EQ(ui.messages.size(), 1u);
    EXPECT_NE(ui.messages[0].text.find("run-2026-11-23.txt"), std::string::npos)
        << ui.messages[0].text;
    EXPECT_EQ(readLines(profile.path() / "run-2026-11-22.txt").size(), 2u);
}

} // namespace
