// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "cmdline/command_options.h"
#include "cmdline/port_listing.h"
#include "text/number_text.h"

#include <gtest/gtest.h>

namespace pa::cmdline {
namespace {

std::string num(double v) {
    return text::shortestGeneral(v);
}

std::string join(const Args& words) {
    std::string out;
    for (const std::string& w : words)
        out += (out.empty() ? "" : ",") + w;
    return out;
}

// A command line parsed: its error, or "ok" and the options it gave, to compare with a text.
std::string parsed(const std::string& command, const Args& a) {
    std::string e;
    if (MonitorOptions o;
        command == "monitor" && (e = parseMonitor(a, o, "Lab PC.local", 42)).empty())
        return "ok " + o.port + (o.simulate ? "sim" : "") + " n" + std::to_string(o.count) + " b" +
               std::to_string(o.baudIndex) + " sep" + o.separator + " " + o.mqtt.host + ":" +
               std::to_string(o.mqtt.port) + " " + o.mqtt.topic + " " + o.mqtt.clientId + " [" +
               o.mqtt.deviceId + "] " + o.mqtt.discoveryPrefix + " " + o.alarms.file + " " +
               o.alarms.log;
    if (RecordOptions o; command == "record" && (e = parseRecord(a, o)).empty())
        return "ok " + o.port + (o.simulate ? "sim" : "") + " " + o.out + " " + o.interval + " n" +
               std::to_string(o.count) + " " + kPeriods[o.period] + " " + o.price + " " + o.hours +
               " " + o.start + (o.daily ? " daily " : " ") + o.alarms.file + " " + o.alarms.log;
    if (PfOptions o; command == "pf" && (e = parsePf(a, o)).empty())
        return "ok " + std::to_string(o.target) + " " + o.value + " " +
               join(Args(o.readouts.begin(), o.readouts.end()));
    if (PlotOptions o; command == "plot" && (e = parsePlot(a, o)).empty())
        return "ok " + o.file + " " + o.png + " " + o.pdf + " q" + std::to_string(o.quantity) +
               " " + std::to_string(o.width) + "x" + std::to_string(o.height) +
               (o.zoom ? " zoom " + num(o.zoomStart) + "-" + num(o.zoomEnd) : "") +
               (o.stats ? " stats" : "") + (o.points ? " points" : "") + (o.force ? " force" : "");
    if (LoggerOptions o; command == "logger" && (e = parseLogger(a, o)).empty())
        return "ok " + join(o.words) + " " + o.port + (o.simulate ? "sim" : "") + " " + o.out;
    if (ExportArgs o; command == "export" && (e = parseExport(a, o, 2026)).empty())
        return "ok " + o.file + " " + o.out + " " + o.options.separator + " " +
               std::to_string(o.options.downloadYear) + (o.xlsx ? " xlsx" : "");
    if (StatsArgs o; command == "stats" && (e = parseStats(a, o, 2026)).empty())
        return "ok " + o.file + " " + o.format + " " + std::to_string(static_cast<int>(o.per)) +
               " " + std::to_string(o.year) + (o.price ? " $" + num(*o.price) : "");
    if (ReportArgs o; command == "report" && (e = parseReport(a, o, 2026)).empty())
        return "ok " + join(o.files) + " " + o.pdf + " " + o.format + " " + o.lang + " " +
               num(o.options.nominalV) + "V " + num(o.options.hz) + "Hz " +
               num(o.options.targetPf) + " " + (o.options.price ? num(*o.options.price) : "-") +
               " " + std::to_string(o.options.downloadYear);
    if (command == "manual" || command == "ports")
        e = parseNoOptions(command, a);
    return e.empty() ? "ok" : e;
}

// Command lines and what they give: the options, or the one-line refusal (its start), which
// names the option and what it takes.
TEST(CommandOptions, CommandLinesGiveTheirOptionsOrARefusal) {
    const struct {
        const char* command;
        Args args;
        const char* result;
    } cases[] = {
        // monitor: the MQTT defaults come from the machine's name and the process id.
        {"monitor",
         {"--simulate", "--mqtt", "[::1]", "--tls-ca", "ca.pem"},
         "ok sim n-1 b-1 sep\t ::1:8883 poweranalyzer/Lab_PC_local "
         "poweranalyzer-Lab_PC_local-42 [] homeassistant  "},
        {"monitor",
         {"--port=COM3", "--mqtt=b:1884", "--format", "csv", "--count=3", "--baud", "2400",
          "--client-id", "pump1", "--discovery-prefix", "ha", "--alarms", "a", "--alarm-log=l"},
         "ok COM3 n3 b2 sep, b:1884 poweranalyzer/Lab_PC_local pump1 [pump1] ha a l"},
        {"monitor", {"--simulate", "--mqtt", "b:65535"}, "ok sim n-1 b-1 sep\t b:65535 "},
        {"monitor", {"--simulate", "--mqtt", "b:1"}, "ok sim n-1 b-1 sep\t b:1 "},
        {"monitor", {"--simulate", "--count", "0"}, "--count takes a whole number of at least 1"},
        {"monitor", {"--simulate", "--count", " 5"}, "--count takes a whole number of at least 1"},
        {"monitor", {"--simulate", "--count=99999999999999999999"}, "--count takes a whole"},
        {"monitor", {"--simulate", "--baud", "19200"}, "--baud takes 9600, 4800, 2400 or 1200"},
        {"monitor",
         {"--port", "/dev/ttyUSB0", "--simulate"},
         "give either --port PATH or --simulate"},
        {"monitor", {"--simulate", "--interval"}, "--interval needs a value"},
        {"monitor", {"--simulate", "--interval=", "1"}, "--interval needs a value"},
        {"monitor", {"--simulate", "--format", "xml"}, "--format takes tsv or csv"},
        {"monitor", {"--simulate", "--mqtt", "host:"}, "--mqtt takes HOST or HOST:PORT"},
        {"monitor", {"--simulate", "--mqtt", "host:0"}, "--mqtt takes HOST or HOST:PORT"},
        {"monitor", {"--simulate", "--mqtt", "host:65536"}, "--mqtt takes HOST or HOST:PORT"},
        {"monitor", {"--simulate", "--mqtt", ""}, "--mqtt needs a value"},
        {"monitor", {"--simulate", "--mqtt", "h", "--topic", "a/+/b"}, "--topic: "},
        {"monitor",
         {"--simulate", "--mqtt", "h", "--discovery-prefix", "ha/#"},
         "--discovery-prefix: the discovery prefix ha/# holds a wildcard"},
        {"monitor",
         {"--simulate", "--mqtt", "h", "--password-file", "p"},
         "--password-file needs --username"},
        {"monitor", {"--simulate", "--discovery-prefix", "ha"}, "the MQTT options need --mqtt"},
        {"monitor", {"--simulate", "--alarm-log", "a.csv"}, "--alarm-log needs --alarms FILE"},
        {"monitor", {"--simulate", "--", "--count"}, "unknown option --count"},
        // record: typed values go into the data file's lines, so only a number's characters.
        {"record",
         {"--port", "/dev/ttyUSB0", "--out", "run.txt", "--period=year", "--price", "0.25",
          "--hours", "8", "--start", "100", "--rotate", "daily", "--alarms", "a", "--interval",
          "0.5"},
         "ok /dev/ttyUSB0 run.txt 0.5 n-1 year 0.25 8 100 daily a "},
        {"record", {"--simulate", "--out", "a"}, "ok sim a  n-1 month  0 0 "},
        {"record", {"--simulate"}, "give the file to record into with --out FILE"},
        {"record", {"--simulate", "--out", "-"}, "--out - : record writes a file"},
        {"record", {"--simulate", "--out", "a", "--alarms", ""}, "--alarms needs a file"},
        {"record",
         {"--simulate", "--out", "a", "--hours", "5\r\nFAKE, 1, 2, 3"},
         "--hours takes a number of hours a day from 0 to 24"},
        {"record", {"--simulate", "--out", "a", "--price", "0,25"}, "--price takes a number"},
        {"record", {"--simulate", "--out", "a", "--price", "inf"}, "--price takes a number"},
        {"record", {"--simulate", "--out", "a", "--start", "1x"}, "--start takes the number"},
        {"record", {"--simulate", "--out", "a", "--interval", "-1"}, "--interval takes a number"},
        {"record",
         {"--simulate", "--out", "a", "--period", "week"},
         "--period takes month, day or year"},
        {"record", {"--simulate", "--out", "a", "--rotate", "hourly"}, "--rotate takes daily"},
        {"record", {"--simulate", "--out", "a", "stray"}, "unknown option stray"},
        // pf: the present readings as typed, and one target.
        {"pf", {"--hz", "50Hz", "--w=1", "--target", "c", "4.7u"}, "ok 5 4.7u 1,,,,,,,50Hz"},
        {"pf", {"--w", "100"}, "give a target: --target pf|a|va|var|angle|c VALUE"},
        {"pf", {"--target", "pf"}, "--target needs a name (pf, a, va, var, angle, c) and a value"},
        {"pf", {"--target", "kw", "5"}, "--target takes pf, a, va, var, angle or c, not kw"},
        // plot: zoom boxes are read by their leading numbers, as the window's boxes are.
        {"plot",
         {"run.txt", "--png", "o.png", "--size=800x600", "--zoom", "10", "3609x", "--quantity",
          "8"},
         "ok run.txt o.png  q8 800x600 zoom 10-3609"},
        {"plot", {"--points", "--pdf", "-", "--", "-x.txt"}, "ok -x.txt  - q0 1280x720 points"},
        {"plot", {"run.txt"}, "nothing to do"},
        {"plot", {"--stats"}, "give the data file to plot"},
        {"plot", {"run.txt", "--stats", "--size", "100x100"}, "--size takes WIDTHxHEIGHT"},
        {"plot", {"run.txt", "--stats", "--size", "8001x150"}, "--size takes WIDTHxHEIGHT"},
        {"plot", {"run.txt", "--stats", "--quantity", "9"}, "--quantity takes 0 to 8"},
        {"plot", {"run.txt", "--zoom", "1"}, "--zoom needs START and END record numbers"},
        {"plot", {"a.txt", "b.txt"}, "one data file only (b.txt)"},
        {"plot", {"a.txt", "--png", "-", "--pdf", "-"}, "--png - and --pdf -: only one"},
        // logger: its words, and where the instrument is.
        {"logger", {"write", "10", "255", "--port", "COM3"}, "ok write,10,255 COM3 "},
        {"logger", {"--simulate"}, "logger needs a subcommand"},
        {"logger", {"status"}, "give either --port PATH or --simulate"},
        {"logger", {"download", "--simulate", "--out", "-"}, "--out - : a download is appended"},
        {"logger", {"status", "--simulate", "--bogus"}, "unknown option --bogus"},
        // export, stats and report: files (- is standard input), a download's year.
        {"export", {"--sep", ";", "run.txt", "--out=-"}, "ok run.txt - ; 2026"},
        {"export",
         {"run.txt", "--format", "xlsx", "--out", "b.xlsx", "--year", "2031"},
         "ok run.txt b.xlsx , 2031 xlsx"},
        {"export", {"run.txt", "--sep", "\t"}, "--sep takes , or ;"},
        {"export", {"run.txt", "--format", "xlsx"}, "--format xlsx needs --out FILE.xlsx"},
        {"export", {"run.txt", "--year", "0"}, "--year takes a year such as 2026"},
        {"export", {"run.txt", "--format", "xlsx", "--out", "-"}, "--format xlsx needs --out"},
        {"export", {"run.txt", "--format", "ods"}, "--format takes csv or xlsx"},
        {"export", {"run.txt", "--bogus"}, "unknown option --bogus (see export --help)"},
        {"export", {}, "give the recording to export"},
        {"stats",
         {"run.txt", "--per=day", "--format", "json", "--price", "1e-1", "--year=2024"},
         "ok run.txt json 1 2024 $0.1"},
        {"stats", {"-", "--price=0"}, "ok - text 0 2026 $0"},
        {"stats", {"run.txt", "--per", "week"}, "--per takes day or hour"},
        {"stats", {"run.txt", "--format", "xml"}, "--format takes text, csv or json"},
        {"stats", {"run.txt", "--price", "-1"}, "--price takes a price per kWh"},
        {"stats", {"run.txt", "--price", "nan"}, "--price takes a price per kWh"},
        {"stats", {"a.txt", "b.txt"}, "one recording only (b.txt)"},
        {"stats", {""}, "give the recording (see stats --help)"},
        {"report",
         {"b.txt", "a.txt", "--nominal", "120", "--hz=60", "--price", "0.3", "--pdf", "r.pdf",
          "--lang", "zh"},
         "ok b.txt,a.txt r.pdf text zh 120V 60Hz 0.95 0.3 2026"},
        {"report",
         {"--format", "json", "--", "--a.txt", "-"},
         "ok --a.txt,-  json en 230V 50Hz 0.95 - 2026"},
        {"report", {}, "give the recording"},
        {"report", {"a.txt", "--target-pf", "1.2"}, "--target-pf takes a power factor"},
        {"report", {"a.txt", "--nominal", "1001"}, "--nominal takes the nominal voltage"},
        {"report", {"a.txt", "--lang", "fr"}, "--lang takes en or zh"},
        {"report", {"a.txt", "--format", "csv"}, "--format takes text or json"},
        {"manual", {}, "ok"},
        {"ports", {"--all"}, "ports takes no options (got --all)"},
    };
    for (const auto& c : cases)
        EXPECT_TRUE(parsed(c.command, c.args).starts_with(c.result))
            << c.command << " " << join(c.args) << ": " << parsed(c.command, c.args);
}

// Help: one layout, the synopsis first; --help only counts before "--".
TEST(CommandOptions, HelpInOneLayout) {
    EXPECT_EQ(std::tuple(helpText("stats").find("\n  --per day|hour        the same per day") !=
                             std::string::npos,
                         helpText("").find("\n  ports\n") != std::string::npos,
                         helpText("frobnicate"), asks({"a.txt", "--pdf=r.pdf"}, "--pdf"),
                         asks({"--", "--help"}, "--help")),
              std::tuple(true, true, "", true, false));
}

// The ports, one a line, the name to give --port first.
TEST(PortListing, StableNameFirstThenWhatTheAdapterSays) {
    EXPECT_EQ(portListing({}), "no serial ports found: plug in the instrument's USB adapter, or "
                               "give --simulate to use a simulated instrument\n");
    EXPECT_EQ(
        portListing({{"/dev/ttyUSB0", "/dev/serial/by-id/usb-FTDI_A5-if00", "FT232R", "FTDI", "A5"},
                     {"/dev/ttyS0", "", "", "", ""},
                     {"COM3", "", "", "", "7"}}),
        "/dev/serial/by-id/usb-FTDI_A5-if00  (/dev/ttyUSB0)  FT232R, FTDI, serial number "
        "A5\n/dev/ttyS0\nCOM3  serial number 7\n");
}

} // namespace
} // namespace pa::cmdline
