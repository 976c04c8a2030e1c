// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// poweranalyzer-cli: the program's logic without a window. Each subcommand lives in its own
// file (cli/*_command.cpp); this file picks one by name.
#include "app/file_size_signal.h"
#include "cli/commands.h"
#include "cmdline/command_options.h"
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
};

// The subcommands by name; their options, synopses and help live with the option parser.
const Command kCommands[] = {
    {"monitor", monitorCommand}, {"pf", pfCommand},         {"plot", plotCommand},
    {"record", recordCommand},   {"logger", loggerCommand}, {"export", exportCommand},
    {"stats", statsCommand},     {"report", reportCommand}, {"manual", manualCommand},
    {"ports", portsCommand},
};

void print(const std::string& text, std::FILE* to) {
    std::fwrite(text.data(), 1, text.size(), to);
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
    // Help, version and the completion script need neither the instrument nor Qt.
    if (args.empty())
        return print(pa::cmdline::helpText(""), stderr), 2;
    if (args[0] == "--help" || args[0] == "-h")
        return print(pa::cmdline::helpText(""), stdout), 0;
    if (args[0] == "--version")
        return std::printf("poweranalyzer-cli %s\n", PA_VERSION), 0;
    if (args[0] == "--bash-completion") // what the package installs for bash
        return print(pa::cmdline::bashCompletion(), stdout), 0;
    const std::vector<std::string> rest(args.begin() + 1, args.end());
    if (pa::cmdline::asks(rest, "--help") || pa::cmdline::asks(rest, "-h"))
        if (const std::string help = pa::cmdline::helpText(args[0]); !help.empty())
            return print(help, stdout), 0;
    if (pa::cmdline::asks(rest, "--version"))
        return std::printf("poweranalyzer-cli %s\n", PA_VERSION), 0;
    qInstallMessageHandler(quietQt);
    // Reading files needs no Qt at all; a report drawn as PDF needs fonts.
    const bool pdfReport = args[0] == "report" && pa::cmdline::asks(rest, "--pdf");
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
