// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// poweranalyzer-cli record: records live readings into a data file, as the main window's
// File > Create Data File and Start Recording > Now(Auto) do, through the same live cycle and
// recorder. The file's lines are byte for byte those the window writes.
//
//   poweranalyzer-cli record (--port PATH | --simulate) --out FILE [--interval SECONDS]
//       [--count N] [--period month|day|year] [--price P] [--hours H] [--start NUMBER]
//       [--rotate daily] [--alarms FILE [--alarm-log FILE]]
//
// Each line written is echoed on standard output. While the instrument is silent a
// lost-communication line is written at each new clock text. Recording ends after N records
// or on Ctrl-C or SIGTERM (a service being stopped); every line is on the disk as soon as it
// is echoed. With --rotate daily each day has a file of its own, with the date in its name
// ("run.txt" -> "run-2026-11-23.txt") and the header on top.
#include "cli/alarm_session.h"
#include "cli/commands.h"
#include "cli/live_session.h"
#include "cmdline/command_options.h"
#include "datafile/recorder.h"

#include <QCoreApplication>
#include <cstdio>
#include <optional>

namespace pa::cli {

using namespace pa::cmdline;
namespace {

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

    // The alarm file and the port first: a mistake in the one or a port that cannot be opened
    // must leave an existing --out file alone. The alarm log goes beside the recording;
    // record_stop ends the recording, record_start has nothing to do while it runs.
    AlarmSession alarms;
    bool stoppedByAlarm = false;
    alarms.setRecordControl([] {}, [&] { stoppedByAlarm = true; });
    if (const std::string error = alarms.read(o.alarms); !error.empty())
        return fail(error);
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
    if (const std::string error = alarms.start(file); !error.empty()) {
        recorder.EndRecording();
        return fail(error);
    }
    std::fprintf(stderr, "recording into %s (Ctrl-C ends)\n", file.c_str());

    long long echoed = 0;
    bool echoing = true;
    int status = 0;
    const auto afterTick = [&] {
        alarms.afterTick(session.cycle);
        if (stoppedByAlarm) {
            recorder.EndRecording();
            std::fprintf(stderr, "recording ended by an alarm\n");
            QCoreApplication::quit();
            return;
        }
        if (recorder.path() != file) { // a new day's file
            file = recorder.path();
            std::fprintf(stderr, "recording into %s\n", file.c_str());
        }
        // The echo is for whoever watches; the file does not depend on it. Once it cannot
        // be written the recording goes on without it.
        if (recorder.linesWritten() > echoed) {
            echoed = recorder.linesWritten();
            if (echoing) {
                std::printf("%s\n", recorder.lastLine().c_str());
                echoing = flushOutput();
            }
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
