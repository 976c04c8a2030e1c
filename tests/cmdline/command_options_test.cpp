#include "cmdline/command_options.h"

#include <gtest/gtest.h>

namespace pa::cmdline {
namespace {

TEST(CommandOptions, RefusalsNameTheOptionAndWhatItTakes) {
    const struct {
        const char* command;
        Args args;
        const char* error;
    } cases[] = {
        {"monitor", {"--simulate", "--count", "0"}, "--count takes a whole number of at least 1"},
        {"monitor", {"--simulate", "--count", " 5"}, "--count takes a whole number of at least 1"},
        {"monitor",
         {"--simulate", "--count", "99999999999999999999"},
         "--count takes a whole number of at least 1"},
        {"monitor", {"--simulate", "--baud", "19200"}, "--baud takes 9600, 4800, 2400 or 1200"},
        {"monitor",
         {"--port", "/dev/ttyUSB0", "--simulate"},
         "give either --port PATH or --simulate"},
        {"monitor", {"--simulate", "--interval"}, "--interval needs a value"},
        {"monitor", {"--simulate", "--mqtt", "host:"}, "--mqtt takes HOST or HOST:PORT"},
        {"monitor", {"--simulate", "--mqtt", "host:0"}, "--mqtt takes HOST or HOST:PORT"},
        {"monitor", {"--simulate", "--mqtt", "host:65536"}, "--mqtt takes HOST or HOST:PORT"},
        {"monitor", {"--simulate", "--mqtt", "h", "--topic", "a/+/b"}, "--topic: "},
        {"monitor",
         {"--simulate", "--mqtt", "h", "--discovery-prefix", "ha/#"},
         "--discovery-prefix: the discovery prefix ha/# holds a wildcard"},
        {"monitor", {"--simulate", "--discovery-prefix", "ha"}, "the MQTT options need --mqtt"},
        {"monitor", {"--simulate", "--alarm-log", "a.csv"}, "--alarm-log needs --alarms FILE"},
        {"monitor", {"--simulate", "--alarms"}, "--alarms needs a file"},
        {"record", {"--simulate"}, "give the file to record into with --out FILE"},
        {"record", {"--simulate", "--out", "-"}, "--out - : record writes a file"},
        {"record", {"--simulate", "--out", "a", "--alarms", ""}, "--alarms needs a file"},
        {"record",
         {"--simulate", "--out", "a", "--hours", "5\r\nFAKE, 1, 2, 3"},
         "--hours takes a number of hours a day from 0 to 24"},
        {"record", {"--simulate", "--out", "a", "--price", "0,25"}, "--price takes a number"},
        {"record", {"--simulate", "--out", "a", "--interval", "-1"}, "--interval takes a number"},
        {"record",
         {"--simulate", "--out", "a", "--period", "week"},
         "--period takes month, day or year"},
        {"record", {"--simulate", "--out", "a", "stray"}, "unknown option stray"},
        {"pf", {"--w", "100"}, "give a target: --target pf|a|va|var|angle|c VALUE"},
        {"pf", {"--target", "kw", "5"}, "--target takes pf, a, va, var, angle or c, not kw"},
        {"plot", {"run.txt"}, "nothing to do"},
        {"plot", {"run.txt", "--stats", "--size", "100x100"}, "--size takes WIDTHxHEIGHT"},
        {"plot", {"run.txt", "--stats", "--quantity", "9"}, "--quantity takes 0 to 8"},
        {"plot", {"a.txt", "b.txt"}, "one data file only (b.txt)"},
        {"logger", {"--simulate"}, "logger needs a subcommand"},
        {"export", {"run.txt", "--sep", "\t"}, "--sep takes , or ;"},
        {"export", {"run.txt", "--year", "0"}, "--year takes a year such as 2026"},
        {"export", {}, "give the recording to export"},
        {"stats", {"run.txt", "--per", "week"}, "--per takes day or hour"},
        {"stats", {"run.txt", "--price", "-1"}, "--price takes a price per kWh"},
        {"stats", {"run.txt", "--price", "inf"}, "--price takes a price per kWh"},
        {"stats", {"run.txt", "--price", "nan"}, "--price takes a price per kWh"},
        {"record", {"--simulate", "--out", "a", "--price", "inf"}, "--price takes a number"},
        {"stats", {"a.txt", "b.txt"}, "one recording only (b.txt)"},
        {"report", {}, "give the recording"},
        {"report", {"a.txt", "--target-pf", "1.2"}, "--target-pf takes a power factor"},
        {"report", {"a.txt", "--lang", "fr"}, "--lang takes en or zh"},
        {"report", {"a.txt", "--format", "csv"}, "--format takes text or json"},
    };
    for (const auto& c : cases) {
        const std::string command = c.command;
        std::string error;
        if (command == "monitor") {
            MonitorOptions o;
            error = parseMonitor(c.args, o, "host", 1);
        } else if (command == "record") {
            RecordOptions o;
            error = parseRecord(c.args, o);
        } else if (command == "pf") {
            PfOptions o;
            error = parsePf(c.args, o);
        } else if (command == "plot") {
            PlotOptions o;
            error = parsePlot(c.args, o);
        } else if (command == "logger") {
            LoggerOptions o;
            error = parseLogger(c.args, o);
        } else if (command == "export") {
            ExportArgs o;
            error = parseExport(c.args, o, 2026);
        } else if (command == "stats") {
            StatsArgs o;
            error = parseStats(c.args, o, 2026);
        } else {
            ReportArgs o;
            error = parseReport(c.args, o, 2026);
        }
        EXPECT_TRUE(error.starts_with(c.error)) << command << ": " << error;
    }
}

TEST(CommandOptions, MqttDefaultsComeFromTheMachineAndTheProcess) {
    MonitorOptions o;
    ASSERT_EQ(parseMonitor({"--simulate", "--mqtt", "[::1]", "--tls-ca", "ca.pem"}, o,
                           "Lab PC.local", 4321),
              "");
    EXPECT_EQ(o.mqtt.host, "::1");
    EXPECT_EQ(o.mqtt.port, 8883); // TLS
    EXPECT_EQ(o.mqtt.topic, "poweranalyzer/Lab_PC_local");
    EXPECT_EQ(o.mqtt.clientId, "poweranalyzer-Lab_PC_local-4321");
    EXPECT_EQ(o.mqtt.discoveryPrefix, "homeassistant");
    EXPECT_EQ(o.mqtt.deviceId, "") << "the default client id changes from run to run";

    MonitorOptions plain;
    ASSERT_EQ(parseMonitor({"--port", "COM3", "--mqtt", "broker:1884", "--format", "csv", "--count",
                            "3", "--baud", "2400"},
                           plain, "", 1),
              "");
    EXPECT_EQ(plain.mqtt.port, 1884);
    EXPECT_EQ(plain.mqtt.topic, "poweranalyzer/host");
    EXPECT_EQ(plain.separator, ',');
    EXPECT_EQ(plain.count, 3);
    EXPECT_EQ(plain.baudIndex, 2);

    MonitorOptions named;
    ASSERT_EQ(parseMonitor(
                  {"--simulate", "--mqtt", "b", "--client-id", "pump1", "--discovery-prefix", "ha"},
                  named, "", 1),
              "");
    EXPECT_EQ(named.mqtt.deviceId, "pump1");
    EXPECT_EQ(named.mqtt.discoveryPrefix, "ha");
    for (const int port : {1, 65535}) { // the bounds themselves are ports
        EXPECT_EQ(parseMonitor({"--simulate", "--mqtt", "b:" + std::to_string(port)}, named, "", 1),
                  "");
        EXPECT_EQ(named.mqtt.port, port);
    }
}

TEST(CommandOptions, AcceptedLinesGiveTheirValues) {
    RecordOptions r;
    ASSERT_EQ(parseRecord({"--port", "/dev/ttyUSB0", "--out", "run.txt", "--period", "year",
                           "--price", "0.25", "--hours", "8", "--start", "100", "--rotate", "daily",
                           "--alarms", "a.alarms", "--alarm-log", "log.csv"},
                          r),
              "");
    EXPECT_EQ(r.period, 2);
    EXPECT_EQ(r.price, "0.25");
    EXPECT_EQ(r.start, "100");
    EXPECT_TRUE(r.daily);
    EXPECT_EQ(r.alarms.file, "a.alarms");
    EXPECT_EQ(r.alarms.log, "log.csv");

    PlotOptions p;
    ASSERT_EQ(parsePlot({"run.txt", "--png", "o.png", "--size", "800x600", "--zoom", "10", "3609x",
                         "--quantity", "8"},
                        p),
              "");
    EXPECT_EQ(p.width, 800);
    EXPECT_EQ(p.height, 600);
    EXPECT_EQ(p.zoomEnd, 3609); // read by its leading number, as the window's box is
    EXPECT_EQ(p.quantity, 8);

    ExportArgs e;
    ASSERT_EQ(parseExport({"--sep", ";", "run.txt"}, e, 2031), "");
    EXPECT_EQ(e.file, "run.txt");
    EXPECT_EQ(e.options.separator, ';');
    EXPECT_EQ(e.options.downloadYear, 2031);

    StatsArgs s;
    ASSERT_EQ(parseStats({"run.txt", "--per", "day", "--format", "json", "--price", "1e-1",
                          "--year", "2024"},
                         s, 2031),
              "");
    EXPECT_EQ(s.per, datafile::StatsPer::Day);
    EXPECT_EQ(s.year, 2024);
    EXPECT_DOUBLE_EQ(*s.price, 0.1);

    ReportArgs r2;
    ASSERT_EQ(parseReport({"b.txt", "a.txt", "--nominal", "120", "--hz", "60", "--price", "0.3",
                           "--pdf", "r.pdf", "--lang", "zh"},
                          r2, 2031),
              "");
    EXPECT_EQ(r2.files, (std::vector<std::string>{"b.txt", "a.txt"}));
    EXPECT_EQ(r2.options.nominalV, 120);
    EXPECT_EQ(r2.options.hz, 60);
    EXPECT_DOUBLE_EQ(*r2.options.price, 0.3);
    EXPECT_EQ(r2.options.targetPf, 0.95);
    EXPECT_EQ(r2.options.downloadYear, 2031);

    PfOptions f;
    ASSERT_EQ(parsePf({"--hz", "50Hz", "--target", "c", "4.7u"}, f), "");
    EXPECT_EQ(f.readouts[live::kHz], "50Hz");
    EXPECT_EQ(f.target, 5);
    EXPECT_EQ(f.value, "4.7u");
}

} // namespace
} // namespace pa::cmdline
