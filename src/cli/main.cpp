// poweranalyzer-cli: the program's logic without a window. Each subcommand lives in its own
// file (cli/*_command.cpp); this file picks one by name.
#include "app/file_size_signal.h"
#include "cli/commands.h"
#include "datafile/data_folder.h"
#include "text/escaped_text.h"

#include <QApplication>
#include <QCoreApplication>
#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace pa::cli {
namespace {

std::atomic<bool> stopFlag{false};
void setStopFlag(int) {
    stopFlag = true; // a signal handler may only set a flag
}

struct Command {
    const char* name;
    int (*run)(const std::vector<std::string>&);
    const char* usage; // the synopsis, as listed by --help
    const char* help;  // what `SUBCOMMAND --help` adds: what it does and its options
};

// One row per subcommand: an option added to a subcommand goes into its row only.
const Command kCommands[] = {
    {"monitor", monitorCommand,
     "monitor (--port PATH | --simulate) [--interval SECONDS] [--count N]\n"
     "          [--baud 9600|4800|2400|1200] [--format tsv|csv]\n"
     "          [--mqtt HOST[:PORT] [--topic PREFIX] [--client-id ID]\n"
     "           [--username U --password-file F] [--tls-ca FILE]\n"
     "           [--discovery-prefix PREFIX]]\n"
     "          [--alarms FILE [--alarm-log FILE]]",
     "Prints the live readings, one line per sample, after a header line naming each\n"
     "column with its unit.\n"
     "  --port PATH       the instrument's serial port (/dev/ttyUSB0, COM3)\n"
     "  --simulate        a simulated instrument instead\n"
     "  --interval S      sampling time in seconds (0.4 or a whole number)\n"
     "  --count N         stop after N samples (default: until Ctrl-C)\n"
     "  --baud B          switch the instrument's link to this speed first\n"
     "  --format F        tsv (tab-separated, the default) or csv\n"
     "  --mqtt HOST[:PORT]  also publish each sample to this MQTT broker (port 1883, or\n"
     "                    8883 with --tls-ca), with Home Assistant discovery\n"
     "  --topic PREFIX    topics PREFIX/state and PREFIX/availability\n"
     "                    (default poweranalyzer/HOSTNAME)\n"
     "  --client-id ID    the MQTT client id (default poweranalyzer-HOSTNAME-PID)\n"
     "  --username U --password-file F   log in to the broker\n"
     "  --tls-ca FILE     connect with TLS, trusting this CA certificate\n"
     "  --discovery-prefix PREFIX   Home Assistant's discovery prefix (default\n"
     "                    homeassistant)\n"
     "  --alarms FILE     watch the limits of this alarm file: each alarm raised or\n"
     "                    cleared is a line on standard error and in the alarm log, and\n"
     "                    with --mqtt a Home Assistant binary sensor\n"
     "  --alarm-log FILE  the alarm log (default: beside the alarm file, NAME-alarms.csv)\n"},
    {"pf", pfCommand,
     "pf --w W --pf PF --v V --a A --angle DEG --va VA --var VAR --hz HZ\n"
     "          --target pf|a|va|var|angle|c VALUE",
     "The power factor calculator of the Improve PF window: the present reading as the\n"
     "main window shows it, and one target (c takes farads or a unit letter: 10u).\n"},
    {"plot", plotCommand,
     "plot FILE [--quantity 0..8] [--png OUT] [--pdf OUT] [--size WxH]\n"
     "          [--zoom START END] [--stats] [--points] [--force]",
     "Draws one quantity of a data file as the plot window does.\n"
     "  --quantity N      0 Watt (default), 1 PF, 2 Volt, 3 Ampere, 4 Phase Angle, 5 VA,\n"
     "                    6 VAR, 7 KWH, 8 Est. KWH\n"
     "  --png OUT, --pdf OUT   write the chart (PNG at --size, default 1280x720)\n"
     "  --zoom START END  records START to END (at most 3600)\n"
     "  --stats           count, minimum, maximum, mean, standard deviation (under 3600)\n"
     "  --points          the loaded points as CSV set,point,value,label\n"
     "  --force           plot a file that fails the format check\n"},
    {"record", recordCommand,
     "record (--port PATH | --simulate) --out FILE [--interval SECONDS] [--count N]\n"
     "          [--period month|day|year] [--price P] [--hours H] [--start NUMBER]\n"
     "          [--rotate daily] [--alarms FILE [--alarm-log FILE]]",
     "Records into FILE (created, or replaced) as File > Create Data File and Start\n"
     "Recording > Now(Auto) do, echoing each line; ends after N records, on Ctrl-C or\n"
     "on SIGTERM.\n"
     "  --rotate daily    a new file each day: FILE with the date before its extension\n"
     "                    (run.txt gives run-2026-11-23.txt), each with its header\n"
     "  --alarms FILE     watch the limits of this alarm file (see monitor); an alarm with\n"
     "                    record_stop ends the recording\n"
     "  --alarm-log FILE  the alarm log (default: beside the recording, NAME-alarms.csv)\n"},
    {"logger", loggerCommand,
     "logger (status | download --out FILE | read ADDRESS | write ADDRESS VALUE |\n"
     "          set id|clock|sampling|output VALUE | mode normal|max|min | selftest start|read)\n"
     "          (--port PATH | --simulate)",
     "Drives the instrument's datalogger: its status block, a download of every record\n"
     "(appended to FILE), one byte of its memory, its settings, mode and self-test.\n"},
    {"export", exportCommand,
     "export FILE [--out OUT.csv] [--sep ,|;] [--format csv|xlsx] [--year YYYY]",
     "Writes a recording (a data file or a datalogger download) as CSV that spreadsheets\n"
     "and scripts read at once: a header row with units, ISO 8601 local time stamps,\n"
     "plain numbers, an empty cell for an overload or a missing number, and a status\n"
     "column (ok, overload, no_com). Malformed lines are reported with their number on\n"
     "standard error and left out (exit status 1).\n"
     "  --out OUT.csv     the CSV file (default: standard output)\n"
     "  --sep ;           semicolons and decimal commas, for spreadsheets of\n"
     "                    decimal-comma countries (default: commas, decimal points)\n"
     "  --format xlsx     an Excel workbook instead (needs --out): numbers and dates\n"
     "                    as such, read right by a spreadsheet in any language\n"
     "  --year YYYY       the year of a download file's records, which hold none\n"
     "                    (default: the current year)\n"},
    {"stats", statsCommand,
     "stats FILE [--per day|hour] [--format text|csv|json] [--price P] [--year YYYY]",
     "Statistics of a recording of any length: records and lost-communication lines\n"
     "(and how long the instrument was silent), first and last time, minimum and maximum\n"
     "of W, PF, V and A with their times, mean and standard deviation, and the energy\n"
     "(each record's W held until the next, as the main window counts it).\n"
     "Malformed lines are reported with their number and left out (exit status 1).\n"
     "  --per day|hour    the same per day or per hour as well\n"
     "  --format F        text (default), csv or json\n"
     "  --price P         price per kWh for the cost (default: the one the file's cost\n"
     "                    column implies)\n"
     "  --year YYYY       the year of a download file's records (default: this year)\n"},
    {"report", reportCommand,
     "report FILE... [--pdf OUT.pdf] [--format text|json] [--lang en|zh] [--price P]\n"
     "          [--nominal 230] [--hz 50] [--target-pf 0.95] [--year YYYY]",
     "The load survey of a recording: energy and cost per day, the highest 15-minute\n"
     "demands and the load factor, the load-duration curve, hours per power factor band,\n"
     "indicative voltage quality (10-minute means, dips and swells) and the capacitor that\n"
     "would bring the power factor to the target. Several files (the daily files of\n"
     "record --rotate daily, in any order, or a datalogger download) are read as one\n"
     "recording in time order; files that overlap in time are refused. A figure without\n"
     "enough data says so (null in JSON). Malformed lines are reported with their number\n"
     "and left out (exit status 1).\n"
     "  --pdf OUT.pdf     an A4 report with charts and tables instead of text\n"
     "  --format F        text (default) or json, on standard output\n"
     "  --lang en|zh      the language of the PDF: English (default) or Chinese\n"
     "  --price P         price per kWh for the cost (default: the one the file's cost\n"
     "                    column implies; none: no cost)\n"
     "  --nominal V       nominal voltage for the voltage figures (default 230)\n"
     "  --hz F            mains frequency for the capacitor (default 50)\n"
     "  --target-pf PF    the power factor the capacitor aims at (default 0.95)\n"
     "  --year YYYY       the year of a download file's records (default: this year)\n"},
    {"manual", manualCommand, "manual",
     "Lists the Help > User Manual items with the manual each opens.\n"},
};

void printUsage(std::FILE* to) {
    std::fputs("usage: poweranalyzer-cli COMMAND [OPTIONS]\n\ncommands:\n", to);
    for (const Command& c : kCommands)
        std::fprintf(to, "  %s\n", c.usage);
    std::fputs("\n'poweranalyzer-cli COMMAND --help' describes one command; --version prints "
               "the version.\n",
               to);
}

void printHelp(const Command& c) {
    std::printf("usage: poweranalyzer-cli %s\n\n%s", c.usage, c.help);
}

bool asks(const std::vector<std::string>& args, const char* option) {
    return std::find(args.begin(), args.end(), option) != args.end();
}

// Qt's own notes (such as a missing XDG_RUNTIME_DIR) are noise on a terminal; its errors
// still show, with the program's name.
void quietQt(QtMsgType type, const QMessageLogContext&, const QString& message) {
    if (type == QtCriticalMsg || type == QtFatalMsg)
        std::fprintf(stderr, "poweranalyzer-cli: %s\n", qPrintable(message));
}

} // namespace

int fail(const std::string& message) {
    std::fprintf(stderr, "poweranalyzer-cli: %s\n", pa::text::printable(message).c_str());
    return 2;
}

namespace {
bool outputFailed = false;
}

bool flushOutput() {
    if (std::fflush(stdout) == 0 && !std::ferror(stdout))
        return true;
    if (!outputFailed) {
        const int why = errno;
        std::fprintf(stderr, "poweranalyzer-cli: cannot write standard output: %s\n",
                     why != 0 ? pa::datafile::systemReason(why).c_str()
                              : "the program or file reading it has gone");
    }
    outputFailed = true;
    return false;
}

void quitOnCtrlC() {
    std::signal(SIGINT, setStopFlag);
    std::signal(SIGTERM, setStopFlag);
}

bool stopRequested() {
    return stopFlag;
}

} // namespace pa::cli

namespace {
// The exit status of a command, made non-zero when its output could not be written.
int finished(int status) {
    errno = 0;
    return pa::cli::flushOutput() || status != 0 ? status : 1;
}
} // namespace

int main(int argc, char** argv) {
    pa::app::ignoreFileSizeSignal();
#ifdef SIGPIPE
    // A reader of the output that goes away (| head -1) must not end a recording: the write
    // fails instead, and the program says so.
    std::signal(SIGPIPE, SIG_IGN);
#endif
    using namespace pa::cli;
    std::vector<std::string> args(argv + 1, argv + argc);
    // Help and version need neither the instrument nor Qt.
    if (args.empty())
        return printUsage(stderr), 2;
    if (args[0] == "--help" || args[0] == "-h")
        return printUsage(stdout), 0;
    if (args[0] == "--version")
        return std::printf("poweranalyzer-cli %s\n", PA_VERSION), 0;
    for (const Command& c : kCommands) {
        if (args[0] != c.name)
            continue;
        if (asks(args, "--help") || asks(args, "-h"))
            return printHelp(c), 0;
        if (asks(args, "--version"))
            return std::printf("poweranalyzer-cli %s\n", PA_VERSION), 0;
    }
    qInstallMessageHandler(quietQt);
    // Reading files needs no Qt at all; a report drawn as PDF needs fonts.
    const bool pdfReport = args[0] == "report" && asks(args, "--pdf");
    if (args[0] == "report" && !pdfReport)
        return reportCommand(std::vector<std::string>(args.begin() + 1, args.end()));
    if (args[0] == "export" || args[0] == "stats") {
        const auto run = args[0] == "export" ? exportCommand : statsCommand;
        return finished(run(std::vector<std::string>(args.begin() + 1, args.end())));
    }
    // Drawing (plot) needs widgets; without a chosen platform it draws offscreen.
    const bool widgets = !args.empty() && (args[0] == "plot" || pdfReport);
    if (widgets && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    std::unique_ptr<QCoreApplication> app = widgets
                                                ? std::make_unique<QApplication>(argc, argv)
                                                : std::make_unique<QCoreApplication>(argc, argv);
    for (const auto& c : pa::cli::kCommands) {
        if (args[0] == c.name) {
            args.erase(args.begin());
            return finished(c.run(args));
        }
    }
    return pa::cli::fail("unknown command " + args[0] + " (try --help)");
}
