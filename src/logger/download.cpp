// The Read/Save button: the logger's whole memory in one "U" transfer, then its records into
// a text file. The file is opened only after the stream has passed its leading and ending
// byte tests, so a failed transfer never touches it.
#include "datafile/data_file.h"
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

} // namespace

std::optional<std::string> LoggerSession::receiveStream() {
    app::Port& port = ex_.port();
    app::Clock& clock = ex_.clock();
    app::Ui& ui = ex_.ui();
    port.write("U");

    std::string buffer;
    const double asked = clock.secondsSinceMidnight();
    while (buffer.empty() && since(clock, asked) < kLeadingByteWindow) {
        std::string chunk = port.readAll();
        if (!chunk.empty() && chunk.front() == kStx)
            buffer = std::move(chunk); // other chunks are noise before the stream
        else
            clock.pause(kStreamPoll);
    }
    if (buffer.empty()) {
        ex_.warn("Incorrecot leading byte, try again");
        return std::nullopt;
    }

    // L counts two per character, as the instrument's program always has; the shown number
    // is a rough record count.
    long counted = 0, total = -1; // total: unknown until the status block is in
    double lastData = clock.secondsSinceMidnight();
    while (since(clock, lastData) < kSilenceWindow) {
        const std::string chunk = port.readAll();
        if (chunk.empty()) {
            clock.pause(kStreamPoll);
            continue;
        }
        buffer += chunk;
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
        }
    }
    if (buffer.back() != kEtx) {
        ex_.warn("Inncorrect ending byte");
        return std::nullopt;
    }
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
    if (std::filesystem::exists(*path, ec) &&
        ex_.ui().message("File  " + *path + "  exists, add data to it", "", app::Icon::Question,
                         app::Buttons::YesNo) == app::Answer::No)
        return;

    ProgressWindow progress(ex_.ui(), "Status", "  Waiting");
    const auto stream = receiveStream();
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
