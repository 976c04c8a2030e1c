// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The Read/Save button: the logger's whole memory in one "U" transfer, then its records into
// a text file. The file is opened only after the stream has passed its leading and ending
// byte tests, so a failed transfer never touches it.
#include "datafile/data_file.h"
#include "datafile/data_folder.h"
#include "logger/logger_session.h"
#include "logger/record_converter.h"
#include "text/leading_number.h"

#include <algorithm>
#include <filesystem>

namespace pa::logger {

namespace {

// The stream must start within this long of "U" and ends after this long of silence.
constexpr double kLeadingByteWindow = 2.0;
constexpr double kSilenceWindow = 2.0;
// How often the receive buffer is looked at while waiting.
constexpr double kStreamPoll = 0.01;
// Bytes of STX and status block before the first record; the progress count starts there.
constexpr int kStreamHead = 97;
// The logger's memory (status block and records) between STX and ETX, plus a margin for a
// stray byte or two of line noise after the stream.
constexpr std::size_t kLoggerMemory = 8192;
constexpr std::size_t kLongestStream = 1 + kLoggerMemory + 1 + 16;
// How often the interface is let run (for the Cancel button) while no data comes.
constexpr double kYieldEvery = 0.1;
constexpr int kBlinkEvery = 100, kBlinkOn = 50;
constexpr double kSecondsPerDay = 86400;

const char* const kDownloadFilter = "Data Files (*.txt);;CSV Files (*.csv)";

// The count shown while the stream arrives, from the characters counted so far (two per
// byte, as the instrument's program always counted).
long shownCount(long counted) {
    return (counted - kStreamHead) / 2 / 4;
}

// The count shown when the whole memory has arrived (STX, memory, ETX), from the memory size
// the stream's own status block gives ("8K"); 0 when it gives none.
long finalCount(const std::string& head) {
    const double kilobytes = text::leadingNumber(decodeStatusBlock(head.substr(1)).memorySize);
    if (!(kilobytes > 0 && kilobytes <= 1024))
        return 0;
    return shownCount(2 * (static_cast<long>(kilobytes * 1024) + 2));
}

double since(app::Clock& clock, double start) {
    double d = clock.secondsSinceMidnight() - start;
    if (d < 0)
        d += kSecondsPerDay; // across midnight
    return d;
}

// The longest a whole download may take: the leading-byte window, the longest stream at the
// line's speed (ten bits a byte) with a factor of two for a slow logger, the closing silence
// and a few seconds' margin. BaudCode 0 (no speed chosen yet) counts as the slowest.
double downloadDeadline(int baudCode) {
    const double baud = baudCode == 9 ? 9600 : baudCode == 4 ? 4800 : baudCode == 2 ? 2400 : 1200;
    return kLeadingByteWindow + 2.0 * (kLongestStream * 10 / baud) + kSilenceWindow + 5.0;
}

} // namespace

std::optional<std::string> LoggerSession::receiveStream() {
    app::Port& port = ex_.port();
    app::Clock& clock = ex_.clock();
    app::Ui& ui = ex_.ui();
    port.write("U");

    // A noisy or flooding line must not keep the download running or growing: no stream is
    // longer than the logger's memory between its two framing bytes, and none takes longer
    // than that memory at the line's speed. The user may also cancel at any time.
    const double deadline = downloadDeadline(ex_.programState().baudCode);
    const double began = clock.secondsSinceMidnight();
    double lastYield = began;
    const auto interrupted = [&]() -> std::optional<std::string> {
        if (since(clock, lastYield) >= kYieldEvery) {
            ui.processEvents();
            lastYield = clock.secondsSinceMidnight();
        }
        if (ui.statusCancelled())
            return std::string("Download cancelled. Nothing was written.");
        if (since(clock, began) >= deadline)
            return "The download did not end within " + std::to_string(static_cast<int>(deadline)) +
                   " s: the line keeps sending. Check the cable and that only the logger is "
                   "connected. Nothing was written.";
        return std::nullopt;
    };
    const auto abandon = [&](const std::string& why) -> std::optional<std::string> {
        ui.message(why, "", app::Icon::Exclamation);
        return std::nullopt;
    };

    std::string buffer;
    const double asked = clock.secondsSinceMidnight();
    while (buffer.empty() && since(clock, asked) < kLeadingByteWindow) {
        std::string chunk = port.readAll();
        if (!chunk.empty() && chunk.front() == kStx) {
            buffer = std::move(chunk); // other chunks are noise before the stream
            buffer.resize(std::min(buffer.size(), kLongestStream + 1));
        } else {
            if (const auto why = interrupted())
                return abandon(*why);
            clock.pause(kStreamPoll);
        }
    }
    if (buffer.empty()) {
        ex_.warn("Incorrecot leading byte, try again");
        return std::nullopt;
    }

    // L counts two per character, as the instrument's program always has; the shown number
    // is a rough record count.
    long counted = 0, total = -1; // total: unknown until the status block is in
    double lastData = clock.secondsSinceMidnight();
    while (buffer.size() <= kLongestStream && since(clock, lastData) < kSilenceWindow) {
        if (const auto why = interrupted())
            return abandon(*why);
        const std::string chunk = port.readAll();
        if (chunk.empty()) {
            clock.pause(kStreamPoll);
            continue;
        }
        buffer.append(chunk, 0, std::min(chunk.size(), kLongestStream + 1 - buffer.size()));
        counted += 2 * static_cast<long>(chunk.size());
        lastData = clock.secondsSinceMidnight();
        if (counted > kStreamHead) {
            const long shown = shownCount(counted);
            ui.statusText(std::to_string(shown) + "    ");
            if (total < 0 && buffer.size() >= static_cast<std::size_t>(kStreamHead))
                total = finalCount(buffer.substr(0, kStreamHead));
            if (total > 0)
                ui.statusProgress(static_cast<int>(std::min(shown, total)),
                                  static_cast<int>(total));
            ui.processEvents();
            lastYield = lastData;
        }
    }
    if (buffer.size() > kLongestStream)
        return abandon("The logger sent more than its memory can hold (over " +
                       std::to_string(kLongestStream) +
                       " bytes): the line is noisy or another device is sending. Nothing was "
                       "written.");
    if (buffer.back() != kEtx) {
        ex_.warn("Inncorrect ending byte");
        return std::nullopt;
    }
    if (buffer.size() < static_cast<std::size_t>(kStreamHead) + 1)
        return abandon("The download holds no whole status block (" +
                       std::to_string(buffer.size()) +
                       " bytes came): the line is noisy. Nothing was written.");
    return buffer;
}

void LoggerSession::Read_All() {
    const std::string folder = folder_ ? folder_() : std::string();
    LivePause pause(*this);
    if (!loggerIdle())
        return;
    const auto path = ex_.ui().saveFileAt("Save logger data", kDownloadFilter,
                                          folder.empty() ? std::string() : folder + "/.txt");
    if (!path || path->empty())
        return;
    std::error_code ec;
    if (std::filesystem::exists(datafile::pathFromUtf8(*path), ec) &&
        ex_.ui().message("File  " + *path + "  exists, add data to it", "", app::Icon::Question,
                         app::Buttons::YesNo) == app::Answer::No)
        return;

    ProgressWindow progress(ex_.ui(), "Status", "  Waiting");
    ex_.ui().statusCancellable(true);
    const auto stream = receiveStream();
    ex_.ui().statusCancellable(false);
    if (!stream)
        return;
    writeDownload(*path, *stream);
}

bool LoggerSession::writeDownload(const std::string& path, const std::string& stream) {
    app::Ui& ui = ex_.ui();
    ui.statusText("Converting");
    showStatus(decodeStatusBlock(std::string_view(stream).substr(1)));

    const int words = static_cast<int>(text::leadingNumber(Label1[7])) * 4;
    const long intervalTenths = status ? status->samplingUnits * 4L : 0;
    const ConvertedRecords records =
        convertRecords(stream, words, Text1[1], Text1[2], intervalTenths, [&ui](int k) {
            if (k % kBlinkEvery > kBlinkOn) {
                ui.statusText("");
            } else {
                ui.statusText("Converting");
                ui.processEvents();
            }
        });

    // All or nothing: a download that cannot be written whole leaves the file as it was.
    if (!records.lines.empty()) {
        if (const std::string error = datafile::appendLines(path, records.lines); !error.empty()) {
            ex_.warn(error);
            return false;
        }
    }
    lastDownloadPath = path;
    ui.message(std::to_string(records.recordsPromised) + " records received and stored in FILE " +
               path);
    return true;
}

} // namespace pa::logger
