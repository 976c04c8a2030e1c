// poweranalyzer-cli: the program's logic without a window. Each subcommand lives in its own
// file (cli/*_command.cpp); this file picks one by name.
#include "app/file_size_signal.h"
#include "cli/commands.h"

#include <QApplication>
#include <QCoreApplication>
#include <atomic>
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
    const char* usage;
};

const Command kCommands[] = {
    {"monitor", monitorCommand,
     "monitor (--port PATH | --simulate) [--interval SECONDS] [--count N]\n"
     "          [--baud 9600|4800|2400|1200]\n"
     "          [--mqtt HOST[:PORT] [--topic PREFIX] [--client-id ID]\n"
     "           [--username U --password-file F] [--tls-ca FILE]]"},
    {"pf", pfCommand,
     "pf --w W --pf PF --v V --a A --angle DEG --va VA --var VAR --hz HZ\n"
     "          --target pf|a|va|var|angle|c VALUE"},
    {"plot", plotCommand,
     "plot FILE [--quantity 0..8] [--png OUT] [--pdf OUT] [--size WxH]\n"
     "          [--zoom START END] [--stats] [--points] [--force]"},
    {"record", recordCommand,
     "record (--port PATH | --simulate) --out FILE [--interval SECONDS] [--count N]\n"
     "          [--period month|day|year] [--price P] [--hours H] [--start NUMBER]\n"
     "          [--rotate daily]"},
    {"logger", loggerCommand,
     "logger (status | download --out FILE | read ADDRESS | write ADDRESS VALUE |\n"
     "          set id|clock|sampling|output VALUE | mode normal|max|min | selftest start|read)\n"
     "          (--port PATH | --simulate)"},
    {"manual", manualCommand, "manual"},
};

void printUsage(std::FILE* to) {
    std::fputs("usage: poweranalyzer-cli COMMAND [OPTIONS]\n\ncommands:\n", to);
    for (const Command& c : kCommands)
        std::fprintf(to, "  %s\n", c.usage);
}

} // namespace

int fail(const std::string& message) {
    std::fprintf(stderr, "poweranalyzer-cli: %s\n", message.c_str());
    return 2;
}

void quitOnCtrlC() {
    std::signal(SIGINT, setStopFlag);
    std::signal(SIGTERM, setStopFlag);
}

bool stopRequested() {
    return stopFlag;
}

} // namespace pa::cli

int main(int argc, char** argv) {
    pa::app::ignoreFileSizeSignal();
    std::vector<std::string> args(argv + 1, argv + argc);
    // Drawing (plot) needs widgets; without a chosen platform it draws offscreen.
    const bool widgets = !args.empty() && args[0] == "plot";
    if (widgets && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    std::unique_ptr<QCoreApplication> app = widgets
                                                ? std::make_unique<QApplication>(argc, argv)
                                                : std::make_unique<QCoreApplication>(argc, argv);
    if (args.empty())
        return pa::cli::printUsage(stderr), 2;
    if (args[0] == "--help" || args[0] == "-h")
        return pa::cli::printUsage(stdout), 0;
    for (const auto& c : pa::cli::kCommands) {
        if (args[0] == c.name) {
            args.erase(args.begin());
            return c.run(args);
        }
    }
    return pa::cli::fail("unknown command " + args[0] + " (try --help)");
}
