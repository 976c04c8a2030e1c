// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// Recording control against the live cycle: the state table, the Create Data File caption,
// automatic and manual records, lost-communication lines, daily files and failures while
// writing. The simulator's frames arrive through a scripted port; the clock is virtual.
#include "datafile/recorder.h"

#include "instrument.h"
#include "support/fake_clock.h"
#include "support/recording_port.h"
#include "support/scripted_ui.h"
#include "support/test_files.h"

#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <functional>
#include <map>
#include <optional>
#include <sstream>

namespace {

namespace fs = std::filesystem;
using namespace pa::datafile;
using pa::testing::readLines;
using Lines = std::vector<std::string>;

const std::string kHeader =
    "      No.s,       Date,      Time, Wattage,      PF, Voltage, Current,Phase angle,"
    "         VA,          VAR,          KWH,     KWH/month Cost";

// The lost-communication line after its date and clock: 143 characters in all.
std::string noCom(const std::string& dateAndClock) {
    return dateAndClock + ", NO COM, DATA LOST, !, !,!,!,!,!,!,!" + std::string(84, ' ');
}

// A line of `lines` against an expectation: one ending in a comma is the line's start, any
// other the whole line.
void expectLines(const Lines& lines, const Lines& want) {
    ASSERT_EQ(lines.size(), want.size());
    for (std::size_t i = 0; i < want.size(); ++i)
        EXPECT_EQ(want[i].back() == ',' ? lines[i].substr(0, want[i].size()) : lines[i], want[i])
            << "line " << i;
}

// A recorder on the live cycle, a file-less profile named outside ASCII and a virtual clock
// at 16:58:09.4.
struct Rig {
    Rig() {
        port.devices = {"COM1"};
        port.setPortName("COM1");
        port.open();
        clock.set(16 * 3600 + 58 * 60 + 9.4);
        fs::create_directory(home);
        recorder.setProfileFolder(utf8FromPath(home));
        recorder.setEntryTexts([] { return EntryTexts{"month", "0"}; });
        cycle.setRecordingHook(&recorder);
    }
    // Create Data File with a name typed (or cancelled); none is left for a later box.
    bool create(std::optional<std::string> typed) {
        ui.inputs = {std::move(typed)};
        const bool made = recorder.CreateDataFile();
        ui.inputs.clear();
        return made;
    }
    fs::path dataFile(const char* name) const {
        return home / "Documents" / "KV2260" / pathFromUtf8(name);
    }
    // A sample tick and a poll tick with a frame waiting; one second.
    void sample() {
        cycle.Timer1Tick();
        poll();
        clock.advance(1);
    }
    void poll() {
        port.incoming = instrument.liveFrame();
        cycle.Timer2Tick();
    }
    // Runs a script of steps separated by blanks: create (the name "test"), cancel (the name
    // box), start, auto, manual, record, end, type=N and enter (the record-number box), sample
    // (a tick with a frame), silent (a sample tick and five, or silent=N, unanswered polls),
    // poll (a frame without a sample tick), ticks=N (the tick counter), remove (test.txt
    // moved to aside.txt) and full (a sample on a disk that is full); box?N and ticks?N
    // expect the number box and the tick counter. A step*3 is run three times.
    void run(const std::string& script) {
        using Arg = const std::string&;
        const std::map<std::string, std::function<void(Arg)>> steps = {
            {"create", [&](Arg) { create("test"); }},
            {"cancel", [&](Arg) { create(std::nullopt); }},
            {"start", [&](Arg) { recorder.StartRecording(); }},
            {"auto", [&](Arg) { recorder.NowAuto(); }},
            {"manual", [&](Arg) { recorder.Manually(); }},
            {"record", [&](Arg) { recorder.Record(); }},
            {"end", [&](Arg) { recorder.EndRecording(); }},
            {"type=", [&](Arg n) { recorder.recordNumberTyped(n); }},
            {"enter", [&](Arg) { recorder.recordNumberEntered(); }},
            {"sample", [&](Arg) { sample(); }},
            {"silent", [&](Arg) { silent(5); }},
            {"silent=", [&](Arg n) { silent(std::stoi(n)); }},
            {"poll", [&](Arg) { poll(); }},
            {"remove", [&](Arg) { fs::rename(dataFile("test.txt"), dataFile("aside.txt")); }},
#ifdef PA_TEST_FILE_SIZE_LIMIT // Windows has no per-process file size limit
            {"full",
             [&](Arg) {
                 pa::testing::FileSizeLimit full(fs::file_size(dataFile("test.txt")));
                 sample();
             }},
#endif
            {"ticks=", [&](Arg n) { state.sampleTickCounter = std::stoi(n); }},
            {"ticks?", [&](Arg n) { EXPECT_EQ(state.sampleTickCounter, std::stoi(n)); }},
            {"box?", [&](Arg n) { EXPECT_EQ(recorder.recordNumberText(), n); }},
        };
        std::istringstream words(script);
        for (std::string word; words >> word;) {
            const auto star = word.find('*'), mark = word.find_first_of("=?");
            const auto step =
                steps.find(word.substr(0, mark == std::string::npos ? star : mark + 1));
            ASSERT_NE(step, steps.end()) << word;
            for (int i = star == std::string::npos ? 1 : std::stoi(word.substr(star + 1)); i > 0;
                 --i)
                step->second(mark == std::string::npos ? ""
                                                       : word.substr(mark + 1, star - mark - 1));
        }
    }
    // A sample tick and `polls` poll ticks without an answer; one second.
    void silent(int polls) {
        cycle.Timer1Tick();
        for (int poll = 0; poll < polls; ++poll)
            cycle.Timer2Tick();
        clock.advance(1);
    }

    pa::testing::TempFolder profile;
    const fs::path home = profile.path() / pathFromUtf8("José 記錄"); // the profile folder
    pa::testing::RecordingPort port;
    pa::testing::FakeClock clock;
    pa::testing::ScriptedUi ui;
    pa::app::ProgramState state;
    pa::sim::Instrument instrument{pa::sim::Load{230, 0.55, 0.92, 50, 0}};
    pa::live::LiveCycle cycle{port, clock, ui, state};
    Recorder recorder{cycle, clock, ui, state};
};

class RecorderTest : public ::testing::Test, public Rig {};

// After each step: the state, then Create, Start and End enabled, the Record button shown,
// recording running and a file created (a letter each, "-" when not), and the status line
// while it is shown.
TEST_F(RecorderTest, StateTableDrivesItemsAndButton) {
    const std::pair<const char*, const char*> steps[] = {
        {"", "none C-----"},
        {"auto", "none C-----"}, // before a file
        {"create", "ready CS---F"},
        {"create", "ready CS---F"},
        {"auto", "auto --E-rF Recording !|"},
        {"create", "auto --E-rF Recording !|"}, // while recording
        {"manual", "auto --E-rF Recording !|"},
        {"end", "none C-----"},
        {"create", "ready CS---F"},
        {"cancel", "none C-----"},
        {"create manual", "manual --ERrF Recording !|"},
        {"end end", "none C-----"},
    };
    for (const auto& [step, expected] : steps) {
        run(step);
        const char* states[] = {"none", "ready", "auto", "manual"};
        std::string shown = states[static_cast<int>(recorder.state())] + std::string(" ");
        const bool on[] = {recorder.createEnabled(),    recorder.startEnabled(),
                           recorder.endEnabled(),       recorder.recordButtonVisible(),
                           recorder.recordingRunning(), recorder.fileCreated()};
        for (int i = 0; i < 6; ++i)
            shown += on[i] ? "CSERrF"[i] : '-';
        if (ui.statusVisible)
            shown += " " + ui.statusTextNow + "|" + ui.statusCaptionText;
        EXPECT_EQ(shown, expected) << step;
    }
    EXPECT_TRUE(ui.messages.empty()) << ui.messages[0].text;
}

// The caption gains the name and a blank each time; a name outside ASCII is kept as typed.
TEST_F(RecorderTest, CreateCaptionGainsTheNameAndABlankEachTime) {
    EXPECT_EQ(recorder.createCaption(), "&Create Data File");
    ASSERT_TRUE(create("test.csv"));
    EXPECT_EQ(ui.asked.back(), (pa::testing::AskedInput{"Enter the name of file to store data",
                                                        "Input File Name", ""}));
    EXPECT_EQ(recorder.createCaption(), "&Create Data File = test.txt");
    ASSERT_TRUE(create("medición 每月"));
    EXPECT_EQ(recorder.createCaption(), "&Create Data File  = medición 每月.txt");
    expectLines(readLines(dataFile("medición 每月.txt")), {kHeader});
    recorder.applyCaptions({"建立檔案名稱", "", "請輸入檔案名稱"});
    EXPECT_EQ(recorder.createCaption(), "建立檔案名稱 =medición 每月.txt");
    ASSERT_TRUE(create("c"));
    EXPECT_EQ(ui.asked.back(), (pa::testing::AskedInput{"", "請輸入檔案名稱", "medición 每月.txt"}))
        << "no prompt in Chinese; the last name is the default";
    EXPECT_EQ(recorder.createCaption(), "建立檔案名稱  = c.txt");
    run("start auto sample end");
    EXPECT_EQ(recorder.createCaption(), "建立檔案名稱");
    EXPECT_EQ(recorder.lastRecordText().substr(0, 31), " 11-22-2026,16:58:09.4,  116.4W")
        << "the last record without its number, as the window shows it";
    run("create cancel"); // the caption stays cut before "="
    EXPECT_EQ(recorder.createCaption(), "建立檔案名稱 ");
}

// Cancel and blank names give no file silently; names no file may have say why.
TEST_F(RecorderTest, NamesThatGiveNoFile) {
    const std::string refused = "\" cannot be the name of a data file. ";
    const std::pair<std::optional<std::string>, std::string> cases[] = {
        {std::nullopt, ""},
        {"", ""},
        {"   ", ""},
        {"...", "\"...\" does not give a file name. Type a name such as test; the file is made "
                "in the data folder with the ending .txt."},
        {"a/b/", "\"a/b/\" does not give a file name."},
        {"con", "\"con" + refused +
                    "CON is the name of a device in Windows, not of a file. Type "
                    "a name such as test; no data file was created."},
        {"Com1.csv", "\"Com1.csv" + refused + "COM1 is the name of a device"},
        {"nul  ", "\"nul  " + refused + "NUL is the name"},
        {"LPT9", "\"LPT9" + refused + "LPT9 is the name"},
        {"a?b", "\"a?b" + refused +
                    "A file name cannot contain the character ? (nor any of < > "
                    "\" | ? *). Type a name such as test; no data file was created."},
        {"say \"hi\"", "\"say \"hi\"" + refused + "A file name cannot contain the character \""},
    };
    for (const auto& [typed, message] : cases) {
        SCOPED_TRACE(typed.value_or("cancel"));
        ASSERT_TRUE(create("test"));
        ui.messages.clear();
        EXPECT_FALSE(create(typed));
        EXPECT_EQ(recorder.state(), RecordingState::NoFile);
        ASSERT_EQ(ui.messages.size(), message.empty() ? 0u : 1u);
        if (!message.empty()) {
            EXPECT_EQ(
                std::tuple(ui.messages[0].text.substr(0, message.size()), ui.messages[0].icon),
                std::tuple(message, pa::app::Icon::Exclamation));
        }
    }
    Lines made;
    for (const auto& entry : fs::directory_iterator(dataFile("")))
        made.push_back(entry.path().filename().string());
    EXPECT_EQ(made, Lines{"test.txt"});
    // Names that only begin like a device are files.
    for (const char* typed : {"console", "com10", "lpt", "nul-readings"})
        EXPECT_TRUE(create(typed)) << typed;
}

// What each way of recording writes, each on a fresh file from 16:58:09.4, and what it says:
// a disk fault gives one message with the file, the reason and what became of the lines
// written before, and recording stops.
TEST(Recorder, RecordsLostLinesAndDiskFaults) {
    const struct {
        const char* name;
        const char* script; // after creating the file
        Lines lines;        // after the header, in test.txt or where it was moved
        const char* said;   // the message's parts after the file's path, "|" between them
    } cases[] = {
        {"auto: one record per clock text, from the number typed before reopening the menu",
         "start box?0 type=17 start box?17 ticks=5 auto ticks?0 sample*2 poll sample box?19",
         {"        17, 11-22-2026,16:58:09.4,  116.4W, .920 PF,    230V,   .550A,"
          "       23.1,   126.50VA,     49.53VAR,       0.0KWH,    0.00/month 0$0.00",
          "        18, 11-22-2026,16:58:10.4,", "        19, 11-22-2026,16:58:11.4,"},
         ""},
        {"Enter in the number box sets the next number; typing alone does not",
         "start auto sample type=100 sample type=100 enter sample",
         {"         0,", "         1,", "       100,"},
         ""},
        {"a number that is none", "start type=abc start auto sample", {"         0,"}, ""},
        {"manual: one record per press, at the next sample",
         "start ticks=2 manual ticks?2 sample*3 record record sample*2 record sample",
         {"         0, 11-22-2026,16:58:12.4,", "         1, 11-22-2026,16:58:14.4,"},
         ""},
        {"silence: from the sixth silent poll, one lost line per clock text",
         "start auto sample silent*4 sample",
         {"         0, 11-22-2026,16:58:09.4,", noCom(" 11-22-2026,16:58:11.4"),
          noCom(" 11-22-2026,16:58:12.4"), noCom(" 11-22-2026,16:58:13.4"),
          "         1, 11-22-2026,16:58:14.4,"},
         ""},
        {"nothing while not recording", "sample*3 silent*2 record sample", {}, ""},
        {"a removed file is not made again, headerless",
         "start auto sample*2 remove sample*2",
         {"         0,", "         1,"},
         "No such file or directory|no longer there (removed or moved away)"},
#ifdef PA_TEST_FILE_SIZE_LIMIT
        {"a full disk",
         "start auto sample*2 full sample",
         {"         0,", "         1,"},
         "File too large|kept in the file"},
#endif
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Rig r;
        ASSERT_TRUE(r.create("test"));
        r.run(c.script);
        Lines want{kHeader};
        want.insert(want.end(), c.lines.begin(), c.lines.end());
        const fs::path file = r.dataFile("test.txt"), aside = r.dataFile("aside.txt");
        expectLines(readLines(fs::exists(aside) ? aside : file), want);
        EXPECT_FALSE(fs::exists(aside) && fs::exists(file));
        ASSERT_EQ(r.ui.messages.size(), *c.said ? 1u : 0u)
            << (r.ui.messages.empty() ? "" : r.ui.messages[0].text);
        if (*c.said) {
            const std::string& text = r.ui.messages[0].text;
            std::istringstream parts(file.string() + "|" + c.said);
            for (std::string part; std::getline(parts, part, '|');)
                EXPECT_NE(text.find(part), std::string::npos) << text;
            EXPECT_EQ(std::tuple(r.ui.messages[0].icon, r.recorder.state(), r.ui.statusVisible),
                      std::tuple(pa::app::Icon::Exclamation, RecordingState::NoFile, false));
        }
    }
    Rig r; // the first automatic record comes at the next sample tick
    r.cycle.applySamplingTime("5");
    r.run("create start auto ticks?4");
}

// A file that cannot be made, through the data folder or at a path given: the message names
// the path and the system's reason, and nothing can be started.
TEST_F(RecorderTest, FailedCreateSaysWhyAndLeavesNoFile) {
    const fs::path plain = profile.path() / "plain";
    std::ofstream(plain) << "x";
    recorder.setProfileFolder(plain.string());
#ifdef _WIN32 // Windows takes a file for a missing folder, and has no device that is always full
    const std::string says[] = {(plain / "Documents").string() + ": No such file or directory"};
#else
    const std::string says[] = {(plain / "Documents").string() + ": Not a directory",
                                "/dev/full: No space left on device"};
#endif
    for (const std::string& expected : says) {
        ui.messages.clear();
        EXPECT_FALSE(expected.starts_with("/dev/full") ? recorder.createFileAt("/dev/full")
                                                       : create("test"));
        ASSERT_EQ(ui.messages.size(), 1u);
        EXPECT_NE(ui.messages[0].text.find(expected), std::string::npos) << ui.messages[0].text;
        EXPECT_EQ(std::tuple(recorder.state(), recorder.startEnabled()),
                  std::tuple(RecordingState::NoFile, false));
    }
}

TEST(DatedPath, PutsTheIsoDateBeforeTheExtension) {
    const std::pair<const char*, const char*> cases[] = {
        {"/data/run", "/data/run-2026-11-23"},
        {"/data/site.a.txt", "/data/site.a-2026-11-23.txt"},
        {"/da.ta/run", "/da.ta/run-2026-11-23"}, // a dot in the folder is no extension
    };
    for (const auto& [path, expected] : cases)
        EXPECT_EQ(datedPath(path, "11-23-2026"), expected) << path;
}

// Daily files change at midnight, each with its header; the numbers go on, and a restart
// continues the day's file without a second header.
TEST_F(RecorderTest, DailyFilesChangeAtMidnight) {
    clock.set(23 * 3600 + 59 * 60 + 57.2);
    const std::string base = (profile.path() / "run.txt").string();
    ASSERT_TRUE(recorder.createDailyFilesAt(base));
    run("start auto sample*3 silent=7 sample*2"); // silence after midnight: in the new day's file
    const fs::path today = profile.path() / "run-2026-11-23.txt";
    EXPECT_EQ(std::tuple(recorder.path(), recorder.recordsWritten()),
              std::tuple(today.string(), 5));
    recorder.EndRecording();
    ASSERT_TRUE(recorder.createDailyFilesAt(base));
    run("start auto sample");

    expectLines(readLines(profile.path() / "run-2026-11-22.txt"),
                {kHeader, "         0, 11-22-2026,23:59:57.2,", "         1,",
                 "         2, 11-22-2026,23:59:59.2,"});
    expectLines(readLines(today),
                {kHeader, noCom(" 11-23-2026,00:00:00.2"), "         3, 11-23-2026,00:00:01.2,",
                 "         4, 11-23-2026,00:00:02.2,", "         0,"});
    EXPECT_FALSE(fs::exists(base));

    // A plain file of the same name is still created afresh.
    recorder.EndRecording();
    ASSERT_TRUE(recorder.createFileAt(today.string()));
    expectLines(readLines(today), {kHeader});
}

TEST_F(RecorderTest, NextDaysFileThatCannotBeMadeStopsRecording) {
    clock.set(23 * 3600 + 59 * 60 + 59.0);
    ASSERT_TRUE(recorder.createDailyFilesAt((profile.path() / "run.txt").string()));
    fs::create_directory(profile.path() / "run-2026-11-23.txt"); // in the way
    run("start auto sample*2");
    ASSERT_EQ(std::tuple(recorder.recordingRunning(), ui.messages.size()), std::tuple(false, 1u));
    EXPECT_NE(ui.messages[0].text.find("run-2026-11-23.txt"), std::string::npos)
        << ui.messages[0].text;
    EXPECT_EQ(readLines(profile.path() / "run-2026-11-22.txt").size(), 2u);
}

} // namespace
