// poweranalyzer-cli record: records live readings into a data file, as the main window's
// File > Create Data File and Start Recording > Now(Auto) do, through the same live cycle and
// recorder. The file's lines are byte for byte those the window writes.
//
//   poweranalyzer-cli record (--port PATH | --simulate) --out FILE [--interval SECONDS]
//       [--count N] [--period month|day|year] [--price P] [--hours H] [--start NUMBER]
//       [--rotate daily]
//
// Each line written is echoed on standard output. While the instrument is silent a
// lost-communication line is written at each new clock text. Recording ends after N records
// or on Ctrl-C or SIGTERM (a service being stopped); every line is on the disk as soon as it
// is echoed. With --rotate daily each day has a file of its own, with the date in its name
// ("run.txt" -> "run-2026-11-23.txt") and the header on top.
#include "cli/commands.h"
#include "cli/live_session.h"
#include "datafile/recorder.h"
#include "text/leading_number.h"
#include "text/number_text.h"

#include <QCoreApplication>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <optional>

namespace pa::cli {
namespace {

const char* const kPeriods[] = {"month", "day", "year"};

struct RecordOptions {
    std::string port;
    bool simulate = false;
    std::string out;
    std::string interval;
    long count = -1; // until interrupted
    int period = 0;
    std::string price, hours = "0", start = "0";
    bool daily = false;
};

// A plain finite number and nothing else (whatever the locale), such as 5, 0.25 or 1e3:
// these texts go into the data file's lines as they stand.
bool isNumber(const std::string& text) {
    return text::parseDecimal(text).has_value();
}

std::string parseRecord(const std::vector<std::string>& args, RecordOptions& o) {
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (a == "--simulate") {
            o.simulate = true;
            continue;
        }
        if (i + 1 >= args.size())
            return a.rfind("--", 0) == 0 ? a + " needs a value" : "unknown option " + a;
        const std::string& v = args[++i];
        if (a == "--port") {
            o.port = v;
        } else if (a == "--out") {
            o.out = v;
        } else if (a == "--interval") {
            if (text::parseDecimal(v).value_or(0) <= 0)
                return "--interval takes a number of seconds (0.5, or a whole number)";
            o.interval = v;
        } else if (a == "--count") {
            char* end = nullptr;
            o.count = std::strtol(v.c_str(), &end, 10);
            if (v.empty() || *end || o.count < 1)
                return "--count takes a whole number of at least 1";
        } else if (a == "--period") {
            o.period = -1;
            for (int p = 0; p < 3; ++p)
                if (v == kPeriods[p])
                    o.period = p;
            if (o.period < 0)
                return "--period takes month, day or year";
        } else if (a == "--price") {
            if (!isNumber(v))
                return "--price takes a number (the price of one kWh, such as 0.25)";
            o.price = v;
        } else if (a == "--hours") {
            if (!isNumber(v))
                return "--hours takes a number of hours a day from 0 to 24";
            o.hours = v;
        } else if (a == "--rotate") {
            if (v != "daily")
                return "--rotate takes daily";
            o.daily = true;
        } else if (a == "--start") {
            if (!text::parseDecimal(v))
                return "--start takes the number of the first record";
            o.start = v;
        } else {
            return "unknown option " + a;
        }
    }
    if (o.simulate == !o.port.empty())
        return "give either --port PATH or --simulate";
    if (o.out.empty())
        return "give the file to record into with --out FILE";
    return "";
}

int record(const RecordOptions& o) {
    LiveSession session;
    if (const std::string error = session.prepare(o.port, o.simulate); !error.empty())
        return fail(error);
    live::EnergyCost& energy = session.cycle.energy();
    energy.choosePeriod(o.period);
    if (!o.price.empty())
        if (const auto refused = energy.priceEntered(o.price))
            return fail("--price " + o.price + ": " + refused->message);
    if (const auto refused = energy.hoursEntered(o.hours))
        return fail("--hours " + o.hours + ": " + refused->message);
    if (!o.interval.empty())
        session.cycle.applySamplingTime(o.interval);

    // The port first: a port that cannot be opened must leave an existing --out file alone.
    if (!session.open())
        return 1; // the console seam has said why
    datafile::Recorder recorder(session.cycle, session.clock, session.ui, session.state);
    recorder.setEntryTexts([&] { return datafile::EntryTexts{kPeriods[o.period], o.hours}; });
    session.cycle.setRecordingHook(&recorder);
    if (!(o.daily ? recorder.createDailyFilesAt(o.out) : recorder.createFileAt(o.out)))
        return 1; // the console seam has said why
    recorder.StartRecording();
    recorder.recordNumberTyped(o.start);
    recorder.NowAuto();
    std::string file = recorder.path();
    std::fprintf(stderr, "recording into %s (Ctrl-C ends)\n", file.c_str());

    long long echoed = 0;
    int status = 0;
    const auto afterTick = [&] {
        if (recorder.path() != file) { // a new day's file
            file = recorder.path();
            std::fprintf(stderr, "recording into %s\n", file.c_str());
        }
        if (recorder.linesWritten() > echoed) {
            echoed = recorder.linesWritten();
            std::printf("%s\n", recorder.lastLine().c_str());
            std::fflush(stdout);
        }
        if (!recorder.recordingRunning()) { // a write failed; the console has said why
            status = 1;
            QCoreApplication::quit();
        } else if (o.count > 0 && recorder.recordsWritten() >= o.count) {
            recorder.EndRecording();
            QCoreApplication::quit();
        }
    };
    session.run(afterTick, [&] { recorder.EndRecording(); });
    return status;
}

} // namespace

int recordCommand(const std::vector<std::string>& args) {
    RecordOptions options;
    if (const std::string error = parseRecord(args, options); !error.empty())
        return fail(error);
    quitOnCtrlC();
    return record(options);
}

} // namespace pa::cli
