// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// poweranalyzer-sim: the simulated instrument on a pseudo-terminal, until SIGINT or SIGTERM.
#include "app/file_size_signal.h"
#include "pty_host.h"
#include "sim_options.h"

#include <csignal>
#include <cstdio>
#include <pthread.h>
#include <string>
#include <vector>

int main(int argc, char** argv) {
    pa::app::ignoreFileSizeSignal();
    for (int i = 1; i < argc; ++i)
        if (std::string(argv[i]) == "--version")
            return std::printf("poweranalyzer-sim %s\n", PA_VERSION), 0;
    const pa::sim::ParsedOptions parsed =
        pa::sim::parseSimOptions(std::vector<std::string>(argv + 1, argv + argc));
    if (!parsed.error.empty()) {
        std::fprintf(stderr, "poweranalyzer-sim: %s (see --help)\n", parsed.error.c_str());
        return 2;
    }
    const pa::sim::SimOptions& o = parsed.options;
    if (o.help) {
        std::fputs(pa::sim::simUsage().c_str(), stdout);
        return 0;
    }

    // Taken by sigwait below; blocked before the host's thread starts so it inherits that.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);

    pa::sim::PtyHost host(o.load, o.seed);
    host.withInstrument([&](pa::sim::Instrument& instrument) {
        instrument.setDisplay(o.display);
        instrument.setFault(o.fault);
        instrument.logger().fillRecords(o.records, o.load);
        instrument.logger().setFault(o.loggerFault);
    });
    host.setPaceToBaud(o.pace);
    host.setReplyDelay(o.delayMs);
    host.setSplitGap(o.splitGapMs);
    if (!host.start()) {
        std::fprintf(stderr, "poweranalyzer-sim: cannot create a pseudo-terminal: %s\n",
                     host.lastError().c_str());
        return 1;
    }
    std::printf("%s\n", host.devicePath().c_str());
    std::fflush(stdout);

    int signal = 0;
    sigwait(&stopSignals, &signal);
    host.stop();
    return 0;
}
