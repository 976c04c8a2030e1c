#include "datafile/recorder.h"

#include "datafile/data_folder.h"
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
    if (recordingRunning())
        return false;
    const std::string period = entries_ ? entries_().period : "month";
    if (std::string error = createWithHeader(path, period); !error.empty()) {
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
    lastRecordText_.clear(); // the last record of the old file is not one of the new file's
    state_ = RecordingState::FileReady;
    return true;
}

void Recorder::noFile() {
    state_ = RecordingState::NoFile;
}

void Recorder::StartRecording() {
    if (state_ != RecordingState::FileReady)
        return;
    recordNumberText_ = "0";
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
    const std::string line = recordLine(counter_, currentTexts(clockText));
    if (!append(line))
        return;
    recordNumberText_ = text::formatGeneral(counter_);
    lastRecordText_ = dropCharacters(line, kNumberFieldWidth);
    counter_ += 1;
    ++records_;
}

void Recorder::appendLostCommunication(const std::string& clockText) {
    if (recordingRunning())
        append(lostCommunicationLine(today(), clockText));
}

bool Recorder::append(const std::string& line) {
    const std::string error = appendLine(path_, line);
    if (error.empty()) {
        lastLine_ = line;
        ++lines_;
        return true;
    }
    // Stop first: the message box lets timer ticks run, and they must find recording off.
    lastError_ = error;
    EndRecording();
    ui_.message(error + "\n\nRecording has stopped. The lines written before are kept in the "
                        "file.",
                "Recording", app::Icon::Exclamation);
    return false;
}

} // namespace pa::datafile
