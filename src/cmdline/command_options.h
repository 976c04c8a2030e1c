// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The options of poweranalyzer-cli's subcommands, read from the arguments after the
// subcommand's name by CLI11: --opt VALUE or --opt=VALUE, "--" ends the options. Each parse
// function returns "" or the one-line error the program prints (exit status 2); nothing here
// opens a port or a file, so every command line can be checked before anything is touched.
// The same definitions give each subcommand's --help and the bash completion.
#include "datafile/csv_export.h"
#include "datafile/recording_stats.h"
#include "pfimprove/pf_calculator.h"
#include "report/load_survey.h"

#include <optional>
#include <string>
#include <vector>

namespace pa::cmdline {

using Args = std::vector<std::string>;

struct MqttOptions {
    std::string host; // empty: no publishing
    int port = 0;     // 0: 1883, or 8883 with TLS
    std::string topic, clientId, username, passwordFile, tlsCa;
    std::string discoveryPrefix; // "": homeassistant
    std::string deviceId; // the identity Home Assistant keeps the device by: --client-id, if given
};

// Checks the options together and fills in the defaults (topic and client id from the
// machine's name and the process id); "" or the error.
std::string completeMqttOptions(MqttOptions& options, const std::string& hostName, long pid);

struct AlarmOptions {
    std::string file; // empty: no alarms
    std::string log;  // empty: beside the recording, or beside the alarm file
};

struct MonitorOptions {
    std::string port;
    bool simulate = false;
    std::string interval;
    long count = -1; // until interrupted
    int baudIndex = -1;
    MqttOptions mqtt;
    char separator = '\t';
    AlarmOptions alarms;
};
std::string parseMonitor(const Args& args, MonitorOptions& o, const std::string& hostName,
                         long pid);

// The names --period takes, in the order of the window's period box.
inline constexpr const char* kPeriods[] = {"month", "day", "year"};

struct RecordOptions {
    std::string port;
    bool simulate = false;
    std::string out;
    std::string interval;
    long count = -1; // until interrupted
    int period = 0;
    std::string price, hours = "0", start = "0";
    bool daily = false;
    AlarmOptions alarms;
};
std::string parseRecord(const Args& args, RecordOptions& o);

struct PfOptions {
    pfimprove::ReadoutTexts readouts;
    int target = -1;
    std::string value;
};
std::string parsePf(const Args& args, PfOptions& o);

struct PlotOptions {
    std::string file, png, pdf;
    int quantity = 0;
    int width = 1280, height = 720;
    bool zoom = false;
    double zoomStart = 0, zoomEnd = 0;
    bool stats = false, points = false, force = false;
};
std::string parsePlot(const Args& args, PlotOptions& o);

struct LoggerOptions {
    Args words; // the subcommand and its arguments
    std::string port, out;
    bool simulate = false;
};
std::string parseLogger(const Args& args, LoggerOptions& o);

struct ExportArgs {
    std::string file, out;
    bool xlsx = false; // --format xlsx: a workbook (needs --out)
    datafile::ExportOptions options;
};
// thisYear: the default of --year, the year of a download file's records.
std::string parseExport(const Args& args, ExportArgs& o, int thisYear);

struct StatsArgs {
    std::string file, format = "text";
    int year = 0;
    datafile::StatsPer per = datafile::StatsPer::Whole;
    std::optional<double> price;
};
std::string parseStats(const Args& args, StatsArgs& o, int thisYear);

struct ReportArgs {
    std::vector<std::string> files;
    std::string pdf, format = "text", lang = "en";
    report::SurveyOptions options;
};
std::string parseReport(const Args& args, ReportArgs& o, int thisYear);

// For the subcommands without options (manual, ports): "" or the error.
std::string parseNoOptions(const std::string& command, const Args& args);

// The subcommands, in the order --help lists them.
std::vector<std::string> commandNames();
// The help of a subcommand, or of the program for "", in the one layout all share; "" for
// an unknown subcommand.
std::string helpText(const std::string& command);
// Whether a subcommand's arguments hold this option (such as --help) before any "--".
bool asks(const Args& args, const std::string& option);
// A bash completion script for poweranalyzer-cli: its subcommands, each one's options, and
// the values of the options that take one of a few words.
std::string bashCompletion();

} // namespace pa::cmdline
