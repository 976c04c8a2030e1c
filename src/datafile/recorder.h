// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Recording control: create a data file, record automatically (one record per new clock
// text) or manually (one record per press of Record), end recording. The recorder holds the
// one recording state; the main window only reflects it (enabled items, the Record button,
// the record-number box, the last-record display, the Create Data File caption).
//
//   state        Create Data File  Start Recording  End Recording  Record button
//   NoFile       enabled           disabled         disabled       hidden
//   FileReady    enabled           enabled          disabled       hidden
//   Automatic    disabled          disabled         enabled        hidden
//   Manual       disabled          disabled         enabled        shown
//
// Recording is on exactly while End Recording is enabled. The live cycle asks the recorder
// (as its RecordingHook) whether to write and hands it each record and each lost-
// communication line; the line texts are the ones the main window shows at that moment.
#include "app/clock.h"
#include "app/program_state.h"
#include "app/ui.h"
#include "datafile/data_file.h"
#include "live/live_cycle.h"

#include <functional>
#include <optional>
#include <string>

namespace pa::datafile {

enum class RecordingState { NoFile, FileReady, Automatic, Manual };

// What the main window's entry boxes hold when a line is built.
struct EntryTexts {
    std::string period;      // the period list's text
    std::string hoursPerDay; // the hours-per-day box
};

// The recorder's own texts in the current language.
struct RecorderCaptions {
    std::string createItem; // "&Create Data File"
    std::string prompt;     // "Enter the name of file to store data" (empty in Chinese)
    std::string title;      // "Input File Name"
};

inline constexpr const char* kRecordingStatusText = "Recording !";

// The file of one day in a daily recording: "/data/run.txt" and the record date
// "11-23-2026" give "/data/run-2026-11-23.txt" (year first, so that the names sort by date).
std::string datedPath(const std::string& path, const std::string& dateText);

class Recorder : public live::RecordingHook {
  public:
    Recorder(live::LiveCycle& cycle, app::Clock& clock, app::Ui& ui, app::ProgramState& state);

    void setEntryTexts(std::function<EntryTexts()> entries) { entries_ = std::move(entries); }
    // Ending a recording re-applies every caption in the current language.
    void setApplyCaptions(std::function<void()> apply) { applyCaptions_ = std::move(apply); }
    // The profile folder under which the data folder lies; the environment's when empty.
    void setProfileFolder(std::string profile) { profile_ = std::move(profile); }

    // A language change: the new texts; while a file is created the Create Data File
    // caption shows " =" and the file name after the language's caption.
    void applyCaptions(const RecorderCaptions& captions);

    // Create Data File: asks for a name, creates the file with its header in the data
    // folder. False when cancelled or refused (then no file is created).
    bool CreateDataFile();
    // Creates the file at a full path (the command-line recorder); the name shown is the
    // path's last part. False with a message when the file cannot be written.
    bool createFileAt(const std::string& path);
    // Creates daily files for an unattended recording: each day's lines go to a file of
    // their own, named after path with the date before its extension (see datedPath), each
    // beginning with the header. The day is the one the record lines carry. A file of the
    // same day that already holds lines (a restarted recording) is continued, not emptied.
    bool createDailyFilesAt(const std::string& path);
    // Opening the Start Recording menu: the recording boxes appear; the first opening for a
    // newly created file sets the record-number box to "0", later ones keep what was typed.
    void StartRecording();
    void NowAuto();
    void Manually();
    void Record();
    void EndRecording();
    // The record-number box: typing changes its text only, Enter sets the counter.
    void recordNumberTyped(std::string text) { recordNumberText_ = std::move(text); }
    void recordNumberEntered();

    // What the window shows.
    RecordingState state() const { return state_; }
    bool createEnabled() const { return !recordingRunning(); }
    bool startEnabled() const { return state_ == RecordingState::FileReady; }
    bool endEnabled() const { return recordingRunning(); }
    bool recordButtonVisible() const { return state_ == RecordingState::Manual; }
    bool recordingBoxesVisible() const { return boxesVisible_; }
    const std::string& createCaption() const { return createCaption_; }
    const std::string& recordNumberText() const { return recordNumberText_; }
    const std::string& lastRecordText() const { return lastRecordText_; }
    const std::string& fileName() const { return fileName_; }
    const std::string& dataFolder() const { return dataFolder_; }
    const std::string& path() const { return path_; }
    double recordCounter() const { return counter_; }
    // Lines appended since the file was created, and the last of them.
    long long recordsWritten() const { return records_; }
    long long linesWritten() const { return lines_; }
    const std::string& lastLine() const { return lastLine_; }
    // The reason the last create or append failed ("" when it did not).
    const std::string& lastError() const { return lastError_; }

    // The live cycle's side.
    bool fileCreated() const override { return state_ != RecordingState::NoFile; }
    bool recordingRunning() const override {
        return state_ == RecordingState::Automatic || state_ == RecordingState::Manual;
    }
    bool manualMode() const override { return manual_; }
    void appendRecord(const std::string& clockText) override;
    void appendLostCommunication(const std::string& clockText) override;

    // The texts of a record as the window shows them now.
    RecordTexts currentTexts(const std::string& clockText);

  private:
    bool openFile(const std::string& path, bool continueExisting);
    std::string startFile(const std::string& path, bool continueExisting);
    bool followDay(const std::string& day);
    bool stop(const std::string& error);
    void startRecording(bool manual);
    bool append(const std::string& line);
    void noFile();
    std::string today();

    live::LiveCycle& cycle_;
    app::Clock& clock_;
    app::Ui& ui_;
    app::ProgramState& programState_;
    std::function<EntryTexts()> entries_;
    std::function<void()> applyCaptions_;
    std::string profile_;
    RecorderCaptions captions_{"&Create Data File", "Enter the name of file to store data",
                               "Input File Name"};

    RecordingState state_ = RecordingState::NoFile;
    bool manual_ = false;
    bool boxesVisible_ = false;
    bool resetRecordNumber_ = false; // the next opening of Start Recording shows "0"
    std::string createCaption_ = captions_.createItem;
    std::string fileName_, dataFolder_, path_;
    std::string dailyBase_, fileDay_; // daily files: the path given and the current file's day
    std::string recordNumberText_ = "0";
    std::string lastRecordText_;
    std::string lastLine_;
    std::string lastError_;
    double counter_ = 0;
    long long records_ = 0, lines_ = 0;
};

} // namespace pa::datafile
