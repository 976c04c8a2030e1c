// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "logger/logger_session.h"

#include "logger/console_parser.h"
#include "logger/settings_encoding.h"
#include "text/leading_number.h"

#include <cstdio>

namespace pa::logger {

namespace {

// The drop-downs: the address each writes, the value of each entry, the note shown before
// writing, and the text for a state the window does not know (spelled as the user has
// always seen it: the baud list's "status" is lower case).
struct ComboRow {
    int address;
    std::array<int, 4> values;
    std::array<const char*, 4> notes;
    const char* unknownState;
};
const ComboRow kCombos[] = {
    {kModeAddress,
     {0, 1, 2, 0},
     {"change to normal recording mode, in which data measured at the end of the sampling "
      "interval will be recorded.",
      "change to max recording mode, in which maximum value measured during the sampling "
      "interval will be recorded.",
      "change to min recording mode, in which minimum value measured during the sampling "
      "interval will be recorded.",
      nullptr},
     "Unknown Status"},
    // 9600 is written as 0; the logger reads every code but 1, 2 and 4 as 9600.
    {kBaudAddress, {0, 4, 2, 1}, {nullptr, nullptr, nullptr, nullptr}, "Unknown status"},
    {kOutputModeAddress,
     {0, 1, 2, 0},
     {nullptr,
      "Data will be outputed to RS-232 in ASCII format continuously.  User can specify the "
      "output interval.  This function will be disabled if power analyzer receives any data "
      "from RS-232 port or user presses the REC key for more than 2 sec. to enable "
      "datalogger.",
      "Data will be outputed to RS-232 in ASCII format once, if the REC key is pressed.  This "
      "function will be disabled if power analyzer receives any data from RS-232 port, or user "
      "presses the REC key for more than 2 sec. to enable datalogger. ",
      nullptr},
     "Unknown Status"},
};
constexpr int kComboEntries[] = {3, 4, 3};

constexpr int kConsoleLastAddress = 8191;
constexpr int kDumpLastAddress = 255;

std::string hexText(int value) {
    char buffer[16];
    std::snprintf(buffer, sizeof buffer, "%X", static_cast<unsigned>(value));
    return buffer;
}

} // namespace

LoggerSession::ProgressWindow::ProgressWindow(app::Ui& u, const std::string& caption,
                                              const std::string& text)
    : ui(u) {
    ui.statusShow();
    ui.statusCaption(caption);
    ui.statusText(text);
}

LoggerSession::LoggerSession(LoggerExchange& exchange, LiveSampling setLiveSampling,
                             std::function<std::string()> folder)
    : ex_(exchange), live_(std::move(setLiveSampling)), folder_(std::move(folder)) {}

void LoggerSession::load() {
    Text1.fill("");
    for (ComboState& c : combos)
        c = ComboState{};
}

void LoggerSession::Read_Status() {
    ProgressWindow progress(ex_.ui(), "Check", "  Check Clock Control");
    LivePause pause(*this);
    ex_.ui().statusText("  Check Status");
    lastState = ex_.QueryLoggerState();
    ex_.ui().statusText("  Check Status OK");
    switch (lastState) {
    case kIdle:
        Label1[kStateLabel] = "IDLE";
        if (const auto block = readStatusBlock())
            showStatus(decodeStatusBlock(*block));
        ex_.ui().processEvents();
        break;
    case kRecording:
        Label1[kStateLabel] = "RECORDING";
        ex_.warn(kRecordingRefusal);
        break;
    case kBadFraming:
    case kNoReply:
        Label1[kStateLabel] = "?"; // the exchange has said why
        break;
    case kSelfTesting:
        Label1[kStateLabel] = "Self-Testing";
        break;
    default:
        Label1[kStateLabel] = "?";
        ex_.warn("Unknown status");
    }
}

// One "R" exchange with one silent second attempt per kind of fault (the counters are the
// caller's, reset after each good byte).
std::optional<int> LoggerSession::readByte(int address, int& noReply, int& badFrame) {
    for (;;) {
        ex_.SendLoggerCommand("R", address, 0);
        const std::string reply = ex_.readReply();
        if (reply.size() < 2) {
            if (noReply++ > 0) {
                ex_.warn("No response, try again!");
                return std::nullopt;
            }
            continue;
        }
        if (reply[0] != kStx || reply.size() < 3 || reply[2] != kEtx) {
            if (badFrame++ > 0) {
                ex_.warn("Incorrect leading or ending byte");
                return std::nullopt;
            }
            continue;
        }
        ex_.drain();
        noReply = badFrame = 0;
        return static_cast<unsigned char>(reply[1]);
    }
}

std::optional<std::string> LoggerSession::readStatusBlock() {
    app::Ui& ui = ex_.ui();
    ui.statusCaption("Status");
    ui.statusText("  Reading");
    std::string block;
    int noReply = 0, badFrame = 0;
    for (int address = 0; address < kStatusBytes; ++address) {
        ui.statusText(std::to_string(kStatusBytes - 1 - address)); // bytes still to read
        ui.statusProgress(address, kStatusBytes);
        ui.processEvents();
        const auto byte = readByte(address, noReply, badFrame);
        if (!byte)
            return std::nullopt;
        block.push_back(static_cast<char>(*byte));
    }
    return block;
}

void LoggerSession::showStatus(const LoggerStatus& s) {
    status = s;
    Text1[0] = std::to_string(s.id);
    Text1[1] = s.date;
    Text1[2] = s.time;
    Text1[3] = s.samplingText;
    Text1[4] = s.outputText;
    Label1[1] = s.number;
    Label1[5] = s.memorySize;
    Label1[7] = s.recordsText;
    Label1[8] = s.frequency;
    Label1[11] = s.writeCounts;
    samplingInterval = s.samplingSeconds;
    memoryPointer = s.pointer;
    setCombo(kModeCombo, s.modeIndex);
    setCombo(kBaudCombo, s.baudIndex);
    setCombo(kOutputCombo, s.outputIndex);
}

// A change made by the program: nothing is sent, and the entry counts as accepted.
void LoggerSession::setCombo(int combo, int index) {
    ComboState& c = combos[combo];
    c.userChange = false;
    c.index = index;
    c.userChange = true;
    c.lastAccepted = index;
}

void LoggerSession::revertCombo(int combo) {
    ComboState& c = combos[combo];
    c.userChange = false;
    c.index = c.lastAccepted;
    c.userChange = true;
}

void LoggerSession::comboChosen(int combo, int index) {
    if (combo < 0 || combo > 2 || index < 0 || index >= kComboEntries[combo])
        return;
    ComboState& c = combos[combo];
    c.index = index;
    if (!c.userChange)
        return;
    LivePause pause(*this);
    lastState = ex_.QueryLoggerState();
    const ComboRow& row = kCombos[combo];
    switch (lastState) {
    case kIdle:
        if (row.notes[index])
            ex_.warn(row.notes[index]);
        ex_.SendLoggerCommand("W", row.address, row.values[index]);
        c.lastAccepted = index;
        break;
    case kRecording:
        ex_.warn(kRecordingRefusal);
        revertCombo(combo);
        break;
    case kBadFraming:
    case kNoReply:
        revertCombo(combo);
        break;
    default:
        ex_.warn(row.unknownState);
        revertCombo(combo);
    }
}

bool LoggerSession::loggerIdle() {
    lastState = ex_.QueryLoggerState();
    switch (lastState) {
    case kIdle:
        Label1[kStateLabel] = "IDLE";
        return true;
    case kRecording:
        Label1[kStateLabel] = "RECORDING";
        ex_.warn(kRecordingRefusal);
        return false;
    case kBadFraming:
    case kNoReply:
        Label1[kStateLabel] = "?";
        return false;
    default:
        Label1[kStateLabel] = "?";
        ex_.warn("Unknown status");
        return false;
    }
}

void LoggerSession::updateSetting(int box) {
    LivePause pause(*this);
    ProgressWindow progress(ex_.ui(), "Status", " Updating");
    if (!loggerIdle()) {
        if (lastState == kBadFraming || lastState == kNoReply)
            ex_.warn("Unknown status");
        return;
    }
    const SettingsUpdate update = encodeSetting(box, {Text1.begin(), Text1.end()});
    if (!update.refusal.empty()) {
        ex_.warn(update.refusal);
        return;
    }
    for (const ByteWrite& w : update.writes)
        ex_.SendLoggerCommand("W", w.address, w.value);
    if (box == kSamplingBox || box == kOutputBox) {
        const double seconds = update.units * kIntervalUnitSeconds;
        Text1[box] = intervalText(seconds);
        if (box == kSamplingBox)
            samplingInterval = seconds;
    }
}

void LoggerSession::consoleEnter(const std::string& line) {
    LivePause pause(*this);
    const ConsoleLine c = parseConsoleLine(line);
    if (c.command.empty()) {
        ex_.warn("No command");
        return;
    }
    if (c.command == "X") {
        const int state = ex_.QueryLoggerState();
        Label1[kStateLabel] = state == kRecording ? "RECORDING" : state == kIdle ? "IDLE" : "?";
        Label1[kConsoleAddressLabel] = "STATUS";
        Label1[kConsoleDecLabel] = std::to_string(state);
        Label1[kConsoleHexLabel] = "";
        return;
    }
    if (c.command == "U") {
        ex_.warn("Please press the READ/SAVE button");
        return;
    }
    if (c.command == "G" || c.command == "N" || c.command == "EEE" || c.command == "S" ||
        c.command == "T") {
        ex_.SendLoggerCommand(c.command, 0, 0);
        return;
    }
    if (c.command != "W" && c.command != "R") {
        ex_.warn("Unknown command");
        return;
    }
    // Address and value are the leading numbers of their texts, as every box of the program
    // reads them ("abc" is 0, "12abc" is 12, "&H2C" is 44); only an empty text is missing.
    const bool write = c.command == "W";
    if (c.address.empty()) {
        ex_.warn("No address");
        return;
    }
    const double address = text::leadingNumber(c.address);
    if (address < 0 || address > kConsoleLastAddress) {
        // The write message says 8192 although 8191 is the limit for both.
        ex_.warn(write ? "Address > 8192 or Address < 0" : "Address > 8191 or address < 0");
        return;
    }
    const int addr = static_cast<int>(address);
    if (write) {
        if (c.value.empty()) {
            ex_.warn("No write value");
            return;
        }
        const double rounded = text::roundHalfEven(text::leadingNumber(c.value));
        // Far beyond one byte either way: the exchange refuses it with its own message.
        const int value = rounded > 65535 ? 65535 : rounded < -65535 ? -65535 : int(rounded);
        if (ex_.SendLoggerCommand("W", addr, value) == -1) {
            ex_.warn("Command not send");
            return;
        }
        Label1[kConsoleAddressLabel] = std::to_string(addr);
        Label1[kConsoleDecLabel] = std::to_string(value);
        Label1[kConsoleHexLabel] = hexText(value);
        return;
    }
    if (ex_.SendLoggerCommand("R", addr, 0) == -1) {
        ex_.warn("Command not send");
        return;
    }
    // The console never reads the port for its reply: the answer stays in the receive
    // buffer until the next command drains it, and every console read ends here.
    const std::string reply;
    if (reply.size() < 3 || reply[0] != kStx || reply[2] != kEtx) {
        ex_.warn("Incorrect leading or ending byte");
        return;
    }
    Label1[kConsoleAddressLabel] = std::to_string(addr);
    Label1[kConsoleDecLabel] = std::to_string(static_cast<unsigned char>(reply[1]));
    Label1[kConsoleHexLabel] = hexText(static_cast<unsigned char>(reply[1]));
}

std::optional<std::string> LoggerSession::dataDump(std::string_view first, std::string_view last) {
    // Clamp before converting: a typed 1e30 must not overflow the conversion to int.
    const auto address = [](std::string_view typed) {
        const double n = text::leadingNumber(typed);
        return n >= 0 && n <= kDumpLastAddress ? static_cast<int>(n) : -1;
    };
    const int to = address(last);
    return dataDump(address(first), to < 0 ? kDumpLastAddress + 1 : to);
}

std::optional<std::string> LoggerSession::dataDump(int first, int last) {
    if (first < 0 || last > kDumpLastAddress || first > last) {
        ex_.warn("Out of range");
        return std::nullopt;
    }
    LivePause pause(*this);
    ProgressWindow progress(ex_.ui(), "Data Dump", "  Reading");
    std::string bytes;
    int noReply = 0, badFrame = 0;
    for (int address = first; address <= last; ++address) {
        ex_.ui().statusText(std::to_string(last - address));
        ex_.ui().statusProgress(address - first, last - first + 1);
        ex_.ui().processEvents();
        const auto byte = readByte(address, noReply, badFrame);
        if (!byte)
            return std::nullopt;
        bytes.push_back(static_cast<char>(*byte));
    }
    return bytes;
}

} // namespace pa::logger
