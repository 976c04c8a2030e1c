// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "cmdline/command_options.h"

#include "live/mqtt_rules.h"
#include "text/leading_number.h"
#include "text/number_text.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <limits>
#include <memory>
#include <sstream>
#include <type_traits>
#include <utility>

namespace pa::cmdline {
namespace {

// The whole text as a number; "inf" and "nan", which from_chars takes, are no price or count.
template <typename T> bool parseNumber(const std::string& text, T& out) {
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), out);
    if constexpr (std::is_floating_point_v<T>)
        if (!std::isfinite(out))
            return false;
    return !text.empty() && ec == std::errc() && end == text.data() + text.size();
}

bool wholeNumber(const std::string& text, long low, long high, long& out) {
    return parseNumber(text, out) && out >= low && out <= high;
}

// --count N: a whole number of at least 1.
bool countOption(const std::string& text, long& count) {
    return wholeNumber(text, 1, std::numeric_limits<long>::max(), count);
}

// A plain finite number and nothing else (whatever the locale), such as 5, 0.25 or 1e3:
// these texts go into the data file's lines as they stand.
bool isNumber(const std::string& text) {
    return text::parseDecimal(text).has_value();
}

// The index of text among the words, or -1.
template <std::size_t N> int indexOf(const std::string& text, const char* const (&words)[N]) {
    for (std::size_t i = 0; i < N; ++i)
        if (text == words[i])
            return static_cast<int>(i);
    return -1;
}

bool validPort(const std::string& text, int& port) {
    return parseNumber(text, port) && port >= 1 && port <= 65535;
}

// "host", "host:1883", "[::1]:1883"; false on a bad port.
bool splitHostPort(const std::string& text, std::string& host, int& port) {
    std::string portText;
    if (text.starts_with('[')) {
        const auto close = text.find(']');
        if (close == std::string::npos)
            return false;
        host = text.substr(1, close - 1);
        if (close + 1 < text.size()) {
            if (text[close + 1] != ':')
                return false;
            portText = text.substr(close + 2);
        }
    } else if (const auto colon = text.rfind(':');
               colon != std::string::npos && text.find(':') == colon) {
        host = text.substr(0, colon);
        portText = text.substr(colon + 1);
    } else {
        host = text;
    }
    if (host.empty())
        return false;
    if (text.find(':') != std::string::npos && !text.starts_with('[') && portText.empty())
        return false;
    return portText.empty() || validPort(portText, port);
}

// The machine's name as one topic level and client id part.
std::string plainName(const std::string& text) {
    std::string out;
    for (const char c : text)
        out += (std::isalnum(static_cast<unsigned char>(c)) || c == '-' || c == '_') ? c : '_';
    return out.empty() ? "host" : out;
}

// What a subcommand is, for --help and completion.
struct Command {
    const char* name;
    const char* synopsis;
    const char* description;
};

const Command kCommands[] = {
    {"monitor",
     "monitor (--port PATH | --simulate) [--interval SECONDS] [--count N]\n"
     "          [--baud 9600|4800|2400|1200] [--format tsv|csv]\n"
     "          [--mqtt HOST[:PORT] [--topic PREFIX] [--client-id ID]\n"
     "           [--username U --password-file F] [--tls-ca FILE]\n"
     "           [--discovery-prefix PREFIX]]\n"
     "          [--alarms FILE [--alarm-log FILE]]",
     "Prints the live readings, one line per sample, after a header line naming each\n"
     "column with its unit."},
    {"pf",
     "pf --w W --pf PF --v V --a A --angle DEG --va VA --var VAR --hz HZ\n"
     "          --target pf|a|va|var|angle|c VALUE",
     "The power factor calculator of the Improve PF window: the present reading as the\n"
     "main window shows it, and one target (c takes farads or a unit letter: 10u)."},
    {"plot",
     "plot FILE [--quantity 0..8] [--png OUT] [--pdf OUT] [--size WxH]\n"
     "          [--zoom START END] [--stats] [--points] [--force]",
     "Draws one quantity of a data file as the plot window does."},
    {"record",
     "record (--port PATH | --simulate) --out FILE [--interval SECONDS] [--count N]\n"
     "          [--period month|day|year] [--price P] [--hours H] [--start NUMBER]\n"
     "          [--rotate daily] [--alarms FILE [--alarm-log FILE]]",
     "Records into FILE (created, or replaced) as File > Create Data File and Start\n"
     "Recording > Now(Auto) do, echoing each line; ends after N records, on Ctrl-C or\n"
     "on SIGTERM."},
    {"logger",
     "logger (status | download --out FILE | read ADDRESS | write ADDRESS VALUE |\n"
     "          set id|clock|sampling|output VALUE | mode normal|max|min | selftest start|read)\n"
     "          (--port PATH | --simulate)",
     "Drives the instrument's datalogger: its status block, a download of every record\n"
     "(appended to FILE), one byte of its memory, its settings, mode and self-test."},
    {"export", "export FILE [--out OUT.csv] [--sep ,|;] [--format csv|xlsx] [--year YYYY]",
     "Writes a recording (a data file or a datalogger download) as CSV that spreadsheets\n"
     "and scripts read at once: a header row with units, ISO 8601 local time stamps,\n"
     "plain numbers, an empty cell for an overload or a missing number, and a status\n"
     "column (ok, overload, no_com). Malformed lines are reported with their number on\n"
     "standard error and left out (exit status 1)."},
    {"stats", "stats FILE [--per day|hour] [--format text|csv|json] [--price P] [--year YYYY]",
     "Statistics of a recording of any length: records and lost-communication lines\n"
     "(and how long the instrument was silent), first and last time, minimum and maximum\n"
     "of W, PF, V and A with their times, mean and standard deviation, and the energy\n"
     "(each record's W held until the next, as the main window counts it).\n"
     "Malformed lines are reported with their number and left out (exit status 1)."},
    {"report",
     "report FILE... [--pdf OUT.pdf] [--format text|json] [--lang en|zh] [--price P]\n"
     "          [--nominal 230] [--hz 50] [--target-pf 0.95] [--year YYYY]",
     "The load survey of a recording: energy and cost per day, the highest 15-minute\n"
     "demands and the load factor, the load-duration curve, hours per power factor band,\n"
     "indicative voltage quality (10-minute means, dips and swells) and the capacitor that\n"
     "would bring the power factor to the target. Several files (the daily files of\n"
     "record --rotate daily, in any order, or a datalogger download) are read as one\n"
     "recording in time order; files that overlap in time are refused. A figure without\n"
     "enough data says so (null in JSON). Malformed lines are reported with their number\n"
     "and left out (exit status 1)."},
    {"manual", "manual", "Lists the Help > User Manual items with the manual each opens."},
    {"ports", "ports",
     "Lists the serial ports, one a line: the name that stays the same when a USB adapter\n"
     "is plugged in again (/dev/serial/by-id/... on Linux, COMn on Windows), the device,\n"
     "and what the adapter says of itself. Give the first column to --port."},
};

const Command* findCommand(const std::string& name) {
    for (const Command& c : kCommands)
        if (name == c.name)
            return &c;
    return nullptr;
}

// One layout for every help text: the synopsis first, as the manual and the man page show
// it, then what the command does and its options.
class Layout : public CLI::Formatter {
  public:
    Layout() { column_width(24); }
    std::string make_description(const CLI::App*) const override { return ""; }
    // Descriptions wrapped to fit 80 columns beside the option column.
    std::string make_option_desc(const CLI::Option* option) const override {
        std::string out, line;
        std::istringstream words(option->get_description());
        for (std::string word; words >> word;) {
            if (!line.empty() && line.size() + 1 + word.size() > 80 - 24 - 2) {
                out += line + "\n";
                line.clear();
            }
            line += (line.empty() ? "" : " ") + word;
        }
        return out + line;
    }
    std::string make_usage(const CLI::App* app, std::string) const override {
        if (const Command* c = findCommand(app->get_name()))
            return std::string("usage: poweranalyzer-cli ") + c->synopsis + "\n\n" +
                   c->description + "\n";
        return "usage: poweranalyzer-cli COMMAND [OPTIONS]\n";
    }
    std::string make_subcommands(const CLI::App* app, CLI::AppFormatMode) const override {
        if (findCommand(app->get_name()))
            return "";
        std::string out = "\ncommands:\n";
        for (const Command& c : kCommands)
            out += std::string("  ") + c.synopsis + "\n";
        return out;
    }
    std::string make_footer(const CLI::App* app) const override {
        if (app->get_parent() || findCommand(app->get_name()))
            return "";
        return "'poweranalyzer-cli COMMAND --help' describes one command; --version prints the "
               "version.\n";
    }
};

// The texts behind the options that take a word or a number, checked after the parse so
// that each refusal says what the option takes.
struct Texts {
    std::string count, baud, format, interval, period, price, hours, start, rotate;
    std::string quantity, size, sep, year, per, nominal, hz, targetPf, lang, mqtt;
    std::pair<std::string, std::string> zoom, target;
};

// Every option target of every subcommand, so that one definition serves the parse, the
// help and the completion.
struct Targets {
    MonitorOptions monitor;
    RecordOptions record;
    PfOptions pf;
    PlotOptions plot;
    LoggerOptions logger;
    ExportArgs exportArgs;
    StatsArgs stats;
    ReportArgs report;
    std::vector<std::string> files; // the positional files of plot, export and stats
    Texts texts;
};

void addMqtt(CLI::App& app, MqttOptions& m, Texts& t) {
    app.add_option("--mqtt", t.mqtt,
                   "also publish each sample to this MQTT broker (port 1883, or 8883 with "
                   "--tls-ca), with Home Assistant discovery")
        ->type_name("HOST[:PORT]");
    app.add_option("--topic", m.topic,
                   "topics PREFIX/state and PREFIX/availability (default "
                   "poweranalyzer/HOSTNAME)")
        ->type_name("PREFIX");
    app.add_option("--client-id", m.clientId,
                   "the MQTT client id (default poweranalyzer-HOSTNAME-PID)")
        ->type_name("ID");
    app.add_option("--username", m.username, "log in to the broker as U")->type_name("U");
    app.add_option("--password-file", m.passwordFile, "the password, read from F (with --username)")
        ->type_name("F");
    app.add_option("--tls-ca", m.tlsCa, "connect with TLS, trusting this CA certificate")
        ->type_name("FILE");
    app.add_option("--discovery-prefix", m.discoveryPrefix,
                   "Home Assistant's discovery prefix (default homeassistant)")
        ->type_name("PREFIX");
}

void addAlarms(CLI::App& app, AlarmOptions& a, const char* logDefault) {
    app.add_option("--alarms", a.file,
                   "watch the limits of this alarm file: each alarm raised or cleared is a line "
                   "on standard error and in the alarm log")
        ->type_name("FILE");
    app.add_option("--alarm-log", a.log, logDefault)->type_name("FILE");
}

void addInstrument(CLI::App& app, std::string& port, bool& simulate) {
    app.add_option("--port", port, "the instrument's serial port (/dev/ttyUSB0, COM3; see ports)")
        ->type_name("PATH");
    app.add_flag("--simulate", simulate, "a simulated instrument instead");
}

void defineMonitor(CLI::App& app, Targets& all) {
    MonitorOptions& o = all.monitor;
    Texts& t = all.texts;
    addInstrument(app, o.port, o.simulate);
    app.add_option("--interval", o.interval, "sampling time in seconds (0.4 or a whole number)")
        ->type_name("S");
    app.add_option("--count", t.count, "stop after N samples (default: until Ctrl-C)")
        ->type_name("N");
    app.add_option("--baud", t.baud, "switch the instrument's link to this speed first")
        ->type_name("B");
    app.add_option("--format", t.format, "tsv (tab-separated, the default) or csv")->type_name("F");
    addMqtt(app, o.mqtt, t);
    addAlarms(app, o.alarms, "the alarm log (default: beside the alarm file, NAME-alarms.csv)");
}

void defineRecord(CLI::App& app, Targets& all) {
    RecordOptions& o = all.record;
    Texts& t = all.texts;
    addInstrument(app, o.port, o.simulate);
    app.add_option("--out", o.out, "the data file to record into")->type_name("FILE");
    app.add_option("--interval", t.interval, "sampling time in seconds (0.5 or a whole number)")
        ->type_name("S");
    app.add_option("--count", t.count, "stop after N records (default: until Ctrl-C)")
        ->type_name("N");
    app.add_option("--period", t.period, "month (default), day or year")->type_name("P");
    app.add_option("--price", t.price, "the price of one kWh, for the cost column")->type_name("P");
    app.add_option("--hours", t.hours, "hours of use a day, from 0 to 24")->type_name("H");
    app.add_option("--start", t.start, "the number of the first record")->type_name("NUMBER");
    app.add_option("--rotate", t.rotate,
                   "daily: a new file each day, FILE with the date before its extension "
                   "(run.txt gives run-2026-11-23.txt), each with its header")
        ->type_name("daily");
    addAlarms(app, o.alarms, "the alarm log (default: beside the recording, NAME-alarms.csv)");
}

void definePf(CLI::App& app, Targets& all) {
    PfOptions& o = all.pf;
    const struct {
        const char* option;
        int panel;
        const char* what;
    } present[] = {{"--w", live::kW, "the present power"},
                   {"--pf", live::kPF, "the present power factor"},
                   {"--v", live::kV, "the present voltage"},
                   {"--a", live::kA, "the present current"},
                   {"--angle", live::kAngle, "the present phase angle"},
                   {"--va", live::kVA, "the present apparent power"},
                   {"--var", live::kVAR, "the present reactive power"},
                   {"--hz", live::kHz, "the present frequency"}};
    for (const auto& p : present)
        app.add_option(p.option, o.readouts[p.panel], p.what)->type_name("TEXT");
    app.add_option("--target", all.texts.target,
                   "what to reach: pf, a, va, var, angle or c, and its value")
        ->type_name("NAME VALUE");
}

void definePlot(CLI::App& app, Targets& all) {
    PlotOptions& o = all.plot;
    Texts& t = all.texts;
    app.add_option("file", all.files, "the data file")->type_name("FILE");
    app.add_option("--quantity", t.quantity,
                   "0 Watt (default), 1 PF, 2 Volt, 3 Ampere, 4 Phase Angle, 5 VA, 6 VAR, "
                   "7 KWH, 8 Est. KWH")
        ->type_name("N");
    app.add_option("--png", o.png, "write the chart as PNG at --size (- for standard output)")
        ->type_name("OUT");
    app.add_option("--pdf", o.pdf, "write the chart as PDF (- for standard output)")
        ->type_name("OUT");
    app.add_option("--size", t.size, "the PNG's size in pixels (default 1280x720)")
        ->type_name("WxH");
    app.add_option("--zoom", t.zoom, "records START to END (at most 3600)")->type_name("START END");
    app.add_flag("--stats", o.stats,
                 "count, minimum, maximum, mean, standard deviation (under 3600)");
    app.add_flag("--points", o.points, "the loaded points as CSV set,point,value,label");
    app.add_flag("--force", o.force, "plot a file that fails the format check");
}

void defineLogger(CLI::App& app, Targets& all) {
    LoggerOptions& o = all.logger;
    app.add_option("words", o.words, "the datalogger command and its arguments")
        ->type_name("COMMAND");
    addInstrument(app, o.port, o.simulate);
    app.add_option("--out", o.out, "the file a download is appended to")->type_name("FILE");
}

void addYear(CLI::App& app, Texts& t) {
    app.add_option("--year", t.year,
                   "the year of a download file's records, which hold none (default: this year)")
        ->type_name("YYYY");
}

void defineExport(CLI::App& app, Targets& all) {
    ExportArgs& o = all.exportArgs;
    Texts& t = all.texts;
    app.add_option("file", all.files, "the recording")->type_name("FILE");
    app.add_option("--out", o.out, "the CSV file (default, or -: standard output)")
        ->type_name("OUT.csv");
    app.add_option("--sep", t.sep,
                   "; for semicolons and decimal commas, for spreadsheets of decimal-comma "
                   "countries (default: commas, decimal points)")
        ->type_name(",|;");
    app.add_option("--format", t.format,
                   "csv (default), or xlsx: an Excel workbook (needs --out) with numbers and "
                   "dates as such, read right by a spreadsheet in any language")
        ->type_name("F");
    addYear(app, t);
}

void defineStats(CLI::App& app, Targets& all) {
    Texts& t = all.texts;
    app.add_option("file", all.files, "the recording")->type_name("FILE");
    app.add_option("--per", t.per, "the same per day or per hour as well")->type_name("day|hour");
    app.add_option("--format", t.format, "text (default), csv or json")->type_name("F");
    app.add_option("--price", t.price,
                   "price per kWh for the cost (default: the one the file's cost column implies)")
        ->type_name("P");
    addYear(app, t);
}

void defineReport(CLI::App& app, Targets& all) {
    ReportArgs& o = all.report;
    Texts& t = all.texts;
    app.add_option("files", o.files, "the recording, or its daily files (- : standard input)")
        ->type_name("FILE...");
    app.add_option("--pdf", o.pdf, "an A4 report with charts and tables instead of text")
        ->type_name("OUT.pdf");
    app.add_option("--format", t.format, "text (default) or json, on standard output")
        ->type_name("F");
    app.add_option("--lang", t.lang, "the language of the PDF: en (default) or zh")
        ->type_name("en|zh");
    app.add_option("--price", t.price,
                   "price per kWh for the cost (default: the one the file's cost column "
                   "implies; none: no cost)")
        ->type_name("P");
    app.add_option("--nominal", t.nominal, "nominal voltage for the voltage figures (default 230)")
        ->type_name("V");
    app.add_option("--hz", t.hz, "mains frequency for the capacitor (default 50)")->type_name("F");
    app.add_option("--target-pf", t.targetPf,
                   "the power factor the capacitor aims at (default 0.95)")
        ->type_name("PF");
    addYear(app, t);
}

// A subcommand's definition, its options bound to all's members.
std::unique_ptr<CLI::App> defineCommand(const std::string& name, Targets& all) {
    auto app = std::make_unique<CLI::App>("", name);
    app->formatter(std::make_shared<Layout>());
    app->set_help_flag("-h,--help", "show this help");
    app->add_flag("--version")->description("print the version");
    app->allow_extras(true); // refused below, each with its own message
    app->option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    const std::pair<const char*, void (*)(CLI::App&, Targets&)> definitions[] = {
        {"monitor", defineMonitor}, {"record", defineRecord}, {"pf", definePf},
        {"plot", definePlot},       {"logger", defineLogger}, {"export", defineExport},
        {"stats", defineStats},     {"report", defineReport}};
    for (const auto& [command, define] : definitions)
        if (name == command)
            define(*app, all);
    return app;
}

// What an option says when its value is missing or empty.
std::string needsValue(const std::string& option) {
    if (option == "--target")
        return "--target needs a name (pf, a, va, var, angle, c) and a value";
    if (option == "--zoom")
        return "--zoom needs START and END record numbers";
    if (option == "--alarms" || option == "--alarm-log")
        return option + " needs a file";
    return option + " needs a value";
}

// Parses args into app's targets: "" or the error. An argument that is no option of this
// subcommand is an unknown option, or, where the subcommand takes files or words, one of
// those.
std::string runParser(CLI::App& app, const Args& args) {
    for (const std::string& a : args) {
        if (a == "--")
            break;
        // --opt= with nothing after it would take the next argument as its value.
        if (a.starts_with("--") && a.ends_with('=') &&
            app.get_option_no_throw(a.substr(0, a.size() - 1)))
            return needsValue(a.substr(0, a.size() - 1));
    }
    try {
        app.parse(Args(args.rbegin(), args.rend()));
    } catch (const CLI::ArgumentMismatch& e) {
        const std::string what = e.what();
        return needsValue(what.substr(0, what.find(':')));
    } catch (const CLI::ParseError& e) {
        return e.what();
    }
    for (const std::string& extra : app.remaining())
        if (extra != "--")
            return "unknown option " + extra;
    return "";
}

bool given(const CLI::App& app, const char* option) {
    return app.count(option) > 0;
}

// The options whose value must not be empty: "" or the first one given empty.
std::string emptyValue(const CLI::App& app, std::initializer_list<const char*> options) {
    for (const char* option : options) {
        const CLI::Option* opt = app.get_option_no_throw(option);
        if (opt && opt->count() > 0 && opt->results().back().empty())
            return needsValue(option);
    }
    return "";
}

std::string yearOption(const CLI::App& app, const Texts& t, int thisYear, int& year) {
    year = thisYear;
    if (given(app, "--year") && (!parseNumber(t.year, year) || year < 1 || year > 9999))
        return "--year takes a year such as " + std::to_string(thisYear);
    return "";
}

std::string oneFile(const std::vector<std::string>& files, std::string& file, const char* none,
                    const char* more) {
    if (files.empty() || files[0].empty()) // "" names no file
        return none;
    if (files.size() > 1)
        return std::string(more) + " (" + files[1] + ")";
    file = files[0];
    return "";
}

std::string alarmsTogether(const AlarmOptions& a) {
    return a.file.empty() && !a.log.empty() ? "--alarm-log needs --alarms FILE" : "";
}

} // namespace

std::string completeMqttOptions(MqttOptions& o, const std::string& hostName, long pid) {
    if (o.host.empty()) {
        if (!o.topic.empty() || !o.clientId.empty() || !o.username.empty() ||
            !o.passwordFile.empty() || !o.tlsCa.empty() || !o.discoveryPrefix.empty())
            return "the MQTT options need --mqtt HOST[:PORT]";
        return "";
    }
    if (!o.passwordFile.empty() && o.username.empty())
        return "--password-file needs --username";
    const std::string host = plainName(hostName);
    if (o.topic.empty())
        o.topic = "poweranalyzer/" + host;
    if (o.discoveryPrefix.empty())
        o.discoveryPrefix = live::kDiscoveryPrefix;
    if (const std::string bad = live::checkDiscoveryPrefix(o.discoveryPrefix); !bad.empty())
        return "--discovery-prefix: " + bad;
    if (const std::string bad = live::checkTopicPrefix(o.topic, o.discoveryPrefix); !bad.empty())
        return "--topic: " + bad;
    // A client id of the user's choice is stable from run to run; the default one is not.
    o.deviceId = o.clientId;
    if (o.clientId.empty())
        o.clientId = "poweranalyzer-" + host + "-" + std::to_string(pid);
    if (const std::string bad = live::checkClientId(o.clientId); !bad.empty())
        return "--client-id: " + bad;
    if (const std::string bad = live::checkUserName(o.username); !bad.empty())
        return "--username: " + bad;
    if (o.port == 0)
        o.port = o.tlsCa.empty() ? 1883 : 8883;
    return "";
}

std::string parseMonitor(const Args& args, MonitorOptions& o, const std::string& hostName,
                         long pid) {
    Targets all;
    all.monitor = o;
    const auto app = defineCommand("monitor", all);
    const Texts& t = all.texts;
    MonitorOptions& m = all.monitor;
    if (std::string e = runParser(*app, args); !e.empty())
        return e;
    if (std::string e =
            emptyValue(*app, {"--mqtt", "--topic", "--client-id", "--username", "--password-file",
                              "--tls-ca", "--discovery-prefix", "--alarms", "--alarm-log"});
        !e.empty())
        return e;
    if (given(*app, "--count") && !countOption(t.count, m.count))
        return "--count takes a whole number of at least 1";
    const char* const rates[] = {"9600", "4800", "2400", "1200"};
    if (given(*app, "--baud") && (m.baudIndex = indexOf(t.baud, rates)) < 0)
        return "--baud takes 9600, 4800, 2400 or 1200";
    if (given(*app, "--format")) {
        if (t.format != "tsv" && t.format != "csv")
            return "--format takes tsv or csv";
        m.separator = t.format == "csv" ? ',' : '\t';
    }
    if (given(*app, "--mqtt") && !splitHostPort(t.mqtt, m.mqtt.host, m.mqtt.port))
        return "--mqtt takes HOST or HOST:PORT (a port from 1 to 65535), not " + t.mqtt;
    if (m.simulate == !m.port.empty())
        return "give either --port PATH or --simulate";
    if (std::string e = alarmsTogether(m.alarms); !e.empty())
        return e;
    if (std::string e = completeMqttOptions(m.mqtt, hostName, pid); !e.empty())
        return e;
    o = m;
    return "";
}

std::string parseRecord(const Args& args, RecordOptions& o) {
    Targets all;
    all.record = o;
    const auto app = defineCommand("record", all);
    const Texts& t = all.texts;
    RecordOptions& r = all.record;
    if (std::string e = runParser(*app, args); !e.empty())
        return e;
    if (std::string e = emptyValue(*app, {"--alarms", "--alarm-log"}); !e.empty())
        return e;
    if (given(*app, "--interval")) {
        if (text::parseDecimal(t.interval).value_or(0) <= 0)
            return "--interval takes a number of seconds (0.5, or a whole number)";
        r.interval = t.interval;
    }
    if (given(*app, "--count") && !countOption(t.count, r.count))
        return "--count takes a whole number of at least 1";
    if (given(*app, "--period") && (r.period = indexOf(t.period, kPeriods)) < 0)
        return "--period takes month, day or year";
    // These texts go into the data file's lines as typed.
    const struct {
        const char* option;
        const std::string& text;
        std::string& target;
        const char* refusal;
    } typed[] = {
        {"--price", t.price, r.price,
         "--price takes a number (the price of one kWh, such as 0.25)"},
        {"--hours", t.hours, r.hours, "--hours takes a number of hours a day from 0 to 24"},
        {"--start", t.start, r.start, "--start takes the number of the first record"},
    };
    for (const auto& v : typed) {
        if (!given(*app, v.option))
            continue;
        if (!isNumber(v.text))
            return v.refusal;
        v.target = v.text;
    }
    if (given(*app, "--rotate")) {
        if (t.rotate != "daily")
            return "--rotate takes daily";
        r.daily = true;
    }
    if (r.simulate == !r.port.empty())
        return "give either --port PATH or --simulate";
    if (r.out.empty())
        return "give the file to record into with --out FILE";
    // The recording is a file opened and closed around each line; its lines are echoed on
    // standard output anyway.
    if (r.out == "-")
        return "--out - : record writes a file (its lines are echoed on standard output)";
    if (std::string e = alarmsTogether(r.alarms); !e.empty())
        return e;
    o = r;
    return "";
}

std::string parsePf(const Args& args, PfOptions& o) {
    Targets all;
    all.pf = o;
    const auto app = defineCommand("pf", all);
    if (std::string e = runParser(*app, args); !e.empty())
        return e;
    const auto& [name, value] = all.texts.target;
    if (!given(*app, "--target"))
        return "give a target: --target pf|a|va|var|angle|c VALUE";
    const char* const targets[] = {"pf", "a", "va", "var", "angle", "c"};
    static_assert(std::size(targets) == pfimprove::kTargets);
    all.pf.target = indexOf(name, targets);
    if (all.pf.target < 0)
        return "--target takes pf, a, va, var, angle or c, not " + name;
    all.pf.value = value;
    o = all.pf;
    return "";
}

std::string parsePlot(const Args& args, PlotOptions& o) {
    Targets all;
    all.plot = o;
    const auto app = defineCommand("plot", all);
    const Texts& t = all.texts;
    PlotOptions& p = all.plot;
    if (std::string e = runParser(*app, args); !e.empty())
        return e;
    long n = 0;
    if (given(*app, "--quantity")) {
        if (!wholeNumber(t.quantity, 0, 8, n))
            return "--quantity takes 0 to 8 (0 Watt, 1 PF, 2 Volt, 3 Ampere, 4 Phase Angle, "
                   "5 VA, 6 VAR, 7 KWH, 8 Est. KWH)";
        p.quantity = static_cast<int>(n);
    }
    if (given(*app, "--size")) {
        const auto x = t.size.find('x');
        long w = 0, h = 0;
        if (x == std::string::npos || !wholeNumber(t.size.substr(0, x), 200, 8000, w) ||
            !wholeNumber(t.size.substr(x + 1), 150, 8000, h))
            return "--size takes WIDTHxHEIGHT in pixels, for example 1280x720";
        p.width = static_cast<int>(w);
        p.height = static_cast<int>(h);
    }
    if (given(*app, "--zoom")) {
        // Read by their leading numbers, as the window's boxes are.
        p.zoom = true;
        p.zoomStart = text::leadingNumber(t.zoom.first);
        p.zoomEnd = text::leadingNumber(t.zoom.second);
    }
    if (std::string e =
            oneFile(all.files, p.file, "give the data file to plot", "one data file only");
        !e.empty())
        return e;
    if (p.png.empty() && p.pdf.empty() && !p.points && !p.stats)
        return "nothing to do: give --png OUT, --pdf OUT, --points or --stats";
    if (p.png == "-" && p.pdf == "-")
        return "--png - and --pdf -: only one of them can go to standard output";
    o = p;
    return "";
}

std::string parseLogger(const Args& args, LoggerOptions& o) {
    Targets all;
    all.logger = o;
    const auto app = defineCommand("logger", all);
    if (std::string e = runParser(*app, args); !e.empty())
        return e;
    LoggerOptions& l = all.logger;
    if (l.simulate == !l.port.empty())
        return "give either --port PATH or --simulate";
    if (l.words.empty())
        return "logger needs a subcommand: status, download, read, write, set, mode, selftest";
    // A download is appended to a file, its progress shown on standard output.
    if (l.out == "-")
        return "--out - : a download is appended to a file (its progress is shown on standard "
               "output)";
    o = l;
    return "";
}

std::string parseExport(const Args& args, ExportArgs& o, int thisYear) {
    Targets all;
    all.exportArgs = o;
    const auto app = defineCommand("export", all);
    const Texts& t = all.texts;
    ExportArgs& x = all.exportArgs;
    if (std::string e = runParser(*app, args); !e.empty())
        return e + (e.starts_with("unknown option") ? " (see export --help)" : "");
    if (std::string e = yearOption(*app, t, thisYear, x.options.downloadYear); !e.empty())
        return e;
    if (given(*app, "--format")) {
        if (t.format != "csv" && t.format != "xlsx")
            return "--format takes csv or xlsx";
        x.xlsx = t.format == "xlsx";
    }
    if (given(*app, "--sep")) {
        if (t.sep != "," && t.sep != ";")
            return "--sep takes , or ;";
        x.options.separator = t.sep[0];
    }
    if (std::string e =
            oneFile(all.files, x.file, "give the recording to export (see export --help)",
                    "one recording only");
        !e.empty())
        return e;
    if (x.xlsx && (x.out.empty() || x.out == "-"))
        return "--format xlsx needs --out FILE.xlsx (a workbook is no text for a terminal)";
    o = x;
    return "";
}

std::string parseStats(const Args& args, StatsArgs& o, int thisYear) {
    Targets all;
    all.stats = o;
    const auto app = defineCommand("stats", all);
    const Texts& t = all.texts;
    StatsArgs& s = all.stats;
    if (std::string e = runParser(*app, args); !e.empty())
        return e + (e.starts_with("unknown option") ? " (see stats --help)" : "");
    if (std::string e = yearOption(*app, t, thisYear, s.year); !e.empty())
        return e;
    if (given(*app, "--per")) {
        if (t.per != "day" && t.per != "hour")
            return "--per takes day or hour";
        s.per = t.per == "day" ? datafile::StatsPer::Day : datafile::StatsPer::Hour;
    }
    if (given(*app, "--format")) {
        if (t.format != "text" && t.format != "csv" && t.format != "json")
            return "--format takes text, csv or json";
        s.format = t.format;
    }
    if (given(*app, "--price")) {
        double p = 0;
        if (!parseNumber(t.price, p) || p < 0)
            return "--price takes a price per kWh such as 0.25";
        s.price = p;
    }
    if (std::string e = oneFile(all.files, s.file, "give the recording (see stats --help)",
                                "one recording only");
        !e.empty())
        return e;
    o = s;
    return "";
}

std::string parseReport(const Args& args, ReportArgs& o, int thisYear) {
    Targets all;
    all.report = o;
    const auto app = defineCommand("report", all);
    const Texts& t = all.texts;
    ReportArgs& r = all.report;
    if (std::string e = runParser(*app, args); !e.empty())
        return e + (e.starts_with("unknown option") ? " (see report --help)" : "");
    if (std::string e = yearOption(*app, t, thisYear, r.options.downloadYear); !e.empty())
        return e;
    // The numeric options: name, text, target, smallest and largest value, what it takes.
    double price = 0;
    const struct {
        const char* name;
        const std::string& text;
        double* value;
        double low, high;
        const char* takes;
    } limits[] = {
        {"--price", t.price, &price, 0, 1e6, "a price per kWh such as 0.25"},
        {"--nominal", t.nominal, &r.options.nominalV, 1, 1000, "the nominal voltage such as 230"},
        {"--hz", t.hz, &r.options.hz, 1, 1000, "the mains frequency, 50 or 60"},
        {"--target-pf", t.targetPf, &r.options.targetPf, 0.5, 1,
         "a power factor from 0.5 to 1 such as 0.95"},
    };
    for (const auto& l : limits) {
        if (!given(*app, l.name))
            continue;
        double x = 0;
        if (!parseNumber(l.text, x) || x < l.low || x > l.high)
            return std::string(l.name) + " takes " + l.takes;
        *l.value = x;
        if (l.value == &price)
            r.options.price = x;
    }
    if (given(*app, "--format")) {
        if (t.format != "text" && t.format != "json")
            return "--format takes text or json";
        r.format = t.format;
    }
    if (given(*app, "--lang")) {
        if (t.lang != "en" && t.lang != "zh")
            return "--lang takes en or zh";
        r.lang = t.lang;
    }
    if (r.files.empty())
        return "give the recording, or its daily files (see report --help)";
    o = r;
    return "";
}

std::string parseNoOptions(const std::string& command, const Args& args) {
    Targets all;
    const auto app = defineCommand(command, all);
    if (std::string e = runParser(*app, args); !e.empty())
        return command + " takes no options (got " +
               (e.starts_with("unknown option ") ? e.substr(15) : e) + ")";
    return "";
}

std::vector<std::string> commandNames() {
    std::vector<std::string> names;
    for (const Command& c : kCommands)
        names.emplace_back(c.name);
    return names;
}

std::string helpText(const std::string& command) {
    if (command.empty()) {
        CLI::App root("", "poweranalyzer-cli");
        root.formatter(std::make_shared<Layout>());
        root.set_help_flag("-h,--help", "show this help");
        root.add_flag("--version")->description("print the version");
        return root.help();
    }
    if (!findCommand(command))
        return "";
    Targets all;
    return defineCommand(command, all)->help();
}

bool asks(const Args& args, const std::string& option) {
    const auto end = std::find(args.begin(), args.end(), "--");
    return std::any_of(args.begin(), end, [&](const std::string& a) {
        return a == option || a.starts_with(option + "=");
    });
}

std::string bashCompletion() {
    // The words an option takes, where they are few: "COMMAND:OPTION" ("*" for any command).
    const char* const words[][2] = {
        {"monitor:--format", "tsv csv"},
        {"export:--format", "csv xlsx"},
        {"stats:--format", "text csv json"},
        {"report:--format", "text json"},
        {"*:--baud", "9600 4800 2400 1200"},
        {"*:--period", "month day year"},
        {"*:--rotate", "daily"},
        {"*:--per", "day hour"},
        {"*:--sep", ", ;"},
        {"*:--lang", "en zh"},
        {"*:--target", "pf a va var angle c"},
        {"*:--quantity", "0 1 2 3 4 5 6 7 8"},
    };
    std::string out = "# bash completion for poweranalyzer-cli\n"
                      "_poweranalyzer_cli() {\n"
                      "    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]}\n"
                      "    if [ \"$COMP_CWORD\" -eq 1 ]; then\n"
                      "        COMPREPLY=($(compgen -W \"";
    for (const Command& c : kCommands)
        out += std::string(c.name) + " ";
    out += "--help --version\" -- \"$cur\"))\n"
           "        return\n"
           "    fi\n"
           "    case ${COMP_WORDS[1]}:$prev in\n";
    for (const auto& [option, values] : words)
        out += std::string("    ") + option + ") COMPREPLY=($(compgen -W \"" + values +
               "\" -- \"$cur\")); return ;;\n";
    // A serial port: the stable names first.
    out += "    *:--port) COMPREPLY=($(compgen -f -- \"${cur:-/dev/serial/by-id/}\")); return ;;\n";
    out += "    esac\n"
           "    local options\n"
           "    case ${COMP_WORDS[1]} in\n";
    for (const Command& c : kCommands) {
        Targets all;
        const auto app = defineCommand(c.name, all);
        std::string names;
        for (const CLI::Option* opt : app->get_options())
            for (const std::string& name : opt->get_lnames())
                names += (names.empty() ? "--" : " --") + name;
        out += std::string("    ") + c.name + ") options=\"" + names + "\" ;;\n";
    }
    out += "    esac\n"
           "    if [[ $cur == -* ]]; then\n"
           "        COMPREPLY=($(compgen -W \"$options\" -- \"$cur\"))\n"
           "    else\n"
           "        COMPREPLY=($(compgen -f -- \"$cur\"))\n"
           "    fi\n"
           "}\n"
           "complete -o filenames -F _poweranalyzer_cli poweranalyzer-cli\n";
    return out;
}

} // namespace pa::cmdline
