// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// What an alarm's events lead to. The evaluator decides when an alarm is raised, cleared or
// acknowledged; AlarmActions carries out the alarm's actions for each event through an
// ActionSink (the window or the command line), writes the alarm log and builds the argument
// list of the run action. Each action is carried out once per event it belongs to:
//   raised:        banner, beep, mark, log, record_start, record_stop, run, mqtt
//   cleared:       banner, mark, log, mqtt
//   acknowledged:  banner, log
#include "alarms/alarm_evaluator.h"

#include <cstdio>
#include <string>
#include <vector>

namespace pa::alarms {

// The alarm log: CSV with the header time,alarm,event,value,unit, appended to and flushed
// line by line, so that a crash loses nothing already logged.
class AlarmLog {
  public:
    AlarmLog() = default;
    ~AlarmLog();
    AlarmLog(const AlarmLog&) = delete;
    AlarmLog& operator=(const AlarmLog&) = delete;

    // Opens (or creates, with the header) the log; "" or why it cannot.
    std::string open(const std::string& path);
    bool isOpen() const { return file_ != nullptr; }
    const std::string& path() const { return path_; }
    // One line; false (and the log closed) when it cannot be written.
    bool write(std::string_view time, std::string_view alarm, std::string_view event,
               std::string_view value, std::string_view unit);
    void close();

  private:
    std::FILE* file_ = nullptr;
    std::string path_;
};

// The log beside a recording ("run.txt" -> "run-alarms.csv").
std::string logPathBeside(const std::string& file);

// A value as the log and the messages show it: up to ten significant digits, a point.
std::string valueText(double value);

// The run action's arguments: the template split at blanks (double quotes keep blanks in
// one argument), then %n name, %v value, %u unit, %t time and %% a percent sign replaced in
// each argument, so that a name with blanks stays one argument. Never passed to a shell.
std::vector<std::string> runArguments(std::string_view command, std::string_view name,
                                      std::string_view value, std::string_view unit,
                                      std::string_view time);

class ActionSink {
  public:
    virtual ~ActionSink() = default;
    virtual void bannerChanged() {}
    virtual void beep() {}
    virtual void mark(const Alarm&, const Event&) {}
    virtual void recordStart() {}
    virtual void recordStop() {}
    virtual void run(const Alarm&, std::vector<std::string>) {}
    virtual void mqtt(int, const Alarm&, const Event&, std::string_view) {}
    // The event as one line ("alarm raised: NAME VALUE UNIT TIME").
    virtual void announce(const std::string&) {}
    // The log could not be written (once, when it fails).
    virtual void logFailed(const std::string&) {}
};

class AlarmActions {
  public:
    AlarmActions(const AlarmSet& set, ActionSink& sink) : set_(set), sink_(sink) {}
    AlarmLog& log() { return log_; }
    // Carries out the actions of events; time is the wall-clock time stamp of the events.
    void carryOut(const std::vector<Event>& events, std::string_view time);

  private:
    const AlarmSet& set_;
    ActionSink& sink_;
    AlarmLog log_;
};

} // namespace pa::alarms
