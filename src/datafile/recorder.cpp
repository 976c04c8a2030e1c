// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "datafile/recorder.h"

#include "datafile/data_folder.h"
#include "datafile/windows_names.h"
#include "text/leading_number.h"
#include "text/mask_format.h"

namespace pa::datafile {

Recorder::Recorder(live::LiveCycle& cycle, app::Clock& clock, app::Ui& ui, app::ProgramState& state)
    : cycle_(cycle), clock_(clock), ui_(ui), programState_(state) {}

void Recorder::applyCaptions(const RecorderCaptions& captions) {
    captions_ = captions;
    // Unlike the create command's " = ", a language change writes " =" before the name.
    createCaption_ = captions.createItem + (fileCreated() ? " =" + fileName_ : "");
}

bool Recorder::CreateDataFile() {
    if (recordingRunning())
        return false;
    // Cut back to the part before "="; the blank before it stays, so each further create
    // in one run adds a blank before " = ".
    if (fileCreated())
        createCaption_ = createCaption_.substr(0, createCaption_.find('='));
    const std::optional<std::string> typed =
        ui_.input(captions_.prompt, captions_.title, fileName_);
    const std::string name = normaliseFileName(typed.value_or(""));
    if (name.empty()) {
        noFile();
        if (typed && typed->find_first_not_of(' ') != std::string::npos)
            ui_.message("\"" + *typed +
                            "\" does not give a file name. Type a name such as test; the file "
                            "is made in the data folder with the ending .txt.",
                        captions_.title, app::Icon::Exclamation);
        return false;
    }
    if (const std::string problem = windowsNameProblem(name); !problem.empty()) {
        noFile();
        ui_.message("\"" + *typed + "\" cannot be the name of a data file. " + problem +
                        " Type a name such as test; no data file was created.",
                    captions_.title, app::Icon::Exclamation);
        return false;
    }
    const FolderResult folder = profile_.empty() ? DataFolder() : DataFolder(profile_);
    if (!folder.ok()) {
        lastError_ = folder.error;
        noFile();
        ui_.message(folder.error + "\n\nNo data file was created.", "", app::Icon::Exclamation);
        return false;
    }
    dataFolder_ = folder.path;
    fileName_ = name;
    if (!createFileAt(joinPath(folder.path, name)))
        return false;
    createCaption_ += " = " + name;
    return true;
}

bool Recorder::createFileAt(const std::string& path) {
    return openFile(path, false);
}

bool Recorder::createDailyFilesAt(const std::string& path) {
    const std::string day = today();
    if (!openFile(datedPath(path, day), true))
        return false;
    dailyBase_ = path;
    fileDay_ = day;
    return true;
}

bool Recorder::openFile(const std::string& path, bool continueExisting) {
    if (recordingRunning())
        return false;
    dailyBase_.clear();
    if (std::string error = startFile(path, continueExisting); !error.empty()) {
        lastError_ = error;
        noFile();
        ui_.message(error + "\n\nNo data file was created.", "", app::Icon::Exclamation);
        return false;
    }
    const std::filesystem::path p = pathFromUtf8(path);
    path_ = path;
    fileName_ = utf8FromPath(p.filename());
    dataFolder_ = utf8FromPath(p.parent_path());
    lastError_.clear();
    records_ = lines_ = 0;
    lastLine_.clear();
    resetRecordNumber_ = true;
    lastRecordText_.clear(); // the last record of the old file is not one of the new file's
    state_ = RecordingState::FileReady;
    return true;
}

std::string Recorder::startFile(const std::string& path, bool continueExisting) {
    if (continueExisting) {
        std::error_code error;
        const auto size = std::filesystem::file_size(pathFromUtf8(path), error);
        if (!error && size > 0)
            return "";
    }
    return createWithHeader(path, entries_ ? entries_().period : "month");
}

// Moves a daily recording on to the file of the given day when it is not the current one.
bool Recorder::followDay(const std::string& day) {
    if (dailyBase_.empty() || day == fileDay_)
        return true;
    const std::string next = datedPath(dailyBase_, day);
    if (const std::string error = startFile(next, true); !error.empty())
        return stop(error);
    path_ = next;
    fileName_ = utf8FromPath(pathFromUtf8(next).filename());
    fileDay_ = day;
    return true;
}

void Recorder::noFile() {
    state_ = RecordingState::NoFile;
}

void Recorder::StartRecording() {
    if (state_ != RecordingState::FileReady)
        return;
    // The box starts at "0" once per new file. Reaching Now(Auto) or Manually means opening
    // this menu again, so resetting it on every opening would lose the number typed between.
    if (resetRecordNumber_)
        recordNumberText_ = "0";
    resetRecordNumber_ = false;
    boxesVisible_ = true;
}

void Recorder::NowAuto() {
    if (state_ != RecordingState::FileReady)
        return;
    startRecording(false);
    // The first automatic record comes at the next sample tick. Manually leaves the tick
    // counter alone.
    programState_.sampleTickCounter =
        static_cast<int>(text::leadingNumber(cycle_.readouts().sampleTime)) - 1;
}

void Recorder::Manually() {
    if (state_ != RecordingState::FileReady)
        return;
    startRecording(true);
}

void Recorder::startRecording(bool manual) {
    state_ = manual ? RecordingState::Manual : RecordingState::Automatic;
    manual_ = manual;
    counter_ = text::leadingNumber(recordNumberText_);
    ui_.statusShow();
    ui_.statusCaption("");
    ui_.statusText(kRecordingStatusText);
}

void Recorder::Record() {
    // Several presses before the next tick still give one record.
    if (state_ == RecordingState::Manual)
        cycle_.requestRecord();
}

void Recorder::recordNumberEntered() {
    counter_ = text::leadingNumber(recordNumberText_);
}

void Recorder::EndRecording() {
    if (!recordingRunning())
        return;
    // Every line is closed as soon as it is written: nothing to close here.
    noFile();
    if (applyCaptions_)
        applyCaptions_();
    else
        applyCaptions(captions_);
    ui_.statusHide();
}

std::string datedPath(const std::string& path, const std::string& dateText) {
    // dateText is mm-dd-yyyy.
    const std::string iso =
        dateText.size() == 10
            ? dateText.substr(6, 4) + "-" + dateText.substr(0, 2) + "-" + dateText.substr(3, 2)
            : dateText;
    // The date goes before the extension of the last part; the folder part stays as given.
#ifdef _WIN32
    const std::size_t nameAt = path.find_last_of("/\\") + 1;
#else
    const std::size_t nameAt = path.find_last_of('/') + 1;
#endif
    std::size_t dot = path.rfind('.');
    if (dot == std::string::npos || dot <= nameAt) // no extension (or a name like ".txt")
        dot = path.size();
    return path.substr(0, dot) + "-" + iso + path.substr(dot);
}

std::string Recorder::today() {
    const app::DateTime now = clock_.now();
    return dateText(now.year, now.month, now.day);
}

RecordTexts Recorder::currentTexts(const std::string& clockText) {
    const auto& panel = cycle_.readouts().Panel3D2;
    const EntryTexts entries = entries_ ? entries_() : EntryTexts{"month", "0"};
    RecordTexts t;
    t.date = today();
    t.clock = clockText;
    t.watts = panel[live::kW];
    t.powerFactor = panel[live::kPF];
    t.volts = panel[live::kV];
    t.amps = panel[live::kA];
    t.angle = panel[live::kAngle];
    t.voltAmps = panel[live::kVA];
    t.vars = panel[live::kVAR];
    t.kwh = panel[live::kKWH];
    t.energyPerPeriod = panel[live::kEnergyPerPeriod];
    t.period = entries.period;
    t.hoursPerDay = entries.hoursPerDay;
    t.cost = panel[live::kCost];
    return t;
}

void Recorder::appendRecord(const std::string& clockText) {
    if (!recordingRunning())
        return;
    const RecordTexts texts = currentTexts(clockText);
    if (!followDay(texts.date))
        return;
    const std::string line = recordLine(counter_, texts);
    if (!append(line))
        return;
    recordNumberText_ = text::formatGeneral(counter_);
    lastRecordText_ = dropCharacters(line, kNumberFieldWidth);
    counter_ += 1;
    ++records_;
}

void Recorder::appendLostCommunication(const std::string& clockText) {
    if (!recordingRunning())
        return;
    const std::string day = today();
    if (followDay(day))
        append(lostCommunicationLine(day, clockText));
}

bool Recorder::append(const std::string& line) {
    const std::string error = appendLine(path_, line);
    if (error.empty()) {
        lastLine_ = line;
        ++lines_;
        return true;
    }
    return stop(error);
}

bool Recorder::stop(const std::string& error) {
    // Stop first: the message box lets timer ticks run, and they must find recording off.
    lastError_ = error;
    EndRecording();
    std::error_code ec;
    const bool gone =
        !std::filesystem::exists(std::filesystem::symlink_status(pathFromUtf8(path_), ec));
    ui_.message(error + (gone ? "\n\nRecording has stopped. The file is no longer there (removed "
                                "or moved away): the lines written before went with it."
                              : "\n\nRecording has stopped. The lines written before are kept "
                                "in the file."),
                "Recording", app::Icon::Exclamation);
    return false;
}

} // namespace pa::datafile
