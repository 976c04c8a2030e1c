// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// Arbitrary command lines into every subcommand's option parser (--opt=value and -- too): the
// input is cut at NUL bytes into arguments (as a shell hands them over, any bytes but NUL).
// Each parser must either refuse or give options that hold together: exactly one of a port
// and the simulator where one is needed, a file where one is needed, numbers in their ranges,
// and typed values that go into a data file's lines made of a number's characters only.
#include "cmdline/command_options.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

void check(bool ok) {
    if (!ok)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    pa::cmdline::Args args;
    std::string arg;
    for (std::size_t i = 0; i < size && args.size() < 64; ++i) {
        if (data[i] == 0) {
            args.push_back(arg);
            arg.clear();
        } else {
            arg += static_cast<char>(data[i]);
        }
    }
    if (!arg.empty() && args.size() < 64) // the seeds end each argument with a NUL
        args.push_back(arg);

    using namespace pa::cmdline;
    if (MonitorOptions o; parseMonitor(args, o, "test-host", 1234).empty()) {
        check(o.simulate != !o.port.empty());
        check(o.count == -1 || o.count >= 1);
        check(o.baudIndex >= -1 && o.baudIndex < 4);
        check(o.separator == '\t' || o.separator == ',');
        if (!o.mqtt.host.empty()) {
            check(o.mqtt.port >= 1 && o.mqtt.port <= 65535);
            check(!o.mqtt.topic.empty() && !o.mqtt.clientId.empty());
            check(o.mqtt.passwordFile.empty() || !o.mqtt.username.empty());
        }
    }
    if (RecordOptions o; parseRecord(args, o).empty()) {
        check(o.simulate != !o.port.empty());
        check(!o.out.empty() && o.out != "-"); // the recording must go to a file
        check(o.count == -1 || o.count >= 1);
        check(o.period >= 0 && o.period < 3);
        // These go into the data file's lines as typed: only a number's characters, so no
        // line end or comma can start a fake record.
        for (const std::string* typed : {&o.price, &o.hours, &o.start, &o.interval})
            check(typed->find_first_not_of("0123456789.+-eE") == std::string::npos);
    }
    if (PfOptions o; parsePf(args, o).empty())
        check(o.target >= 0 && o.target < pa::pfimprove::kTargets);
    if (PlotOptions o; parsePlot(args, o).empty()) {
        check(!o.file.empty());
        check(o.quantity >= 0 && o.quantity <= 8);
        check(o.width >= 200 && o.width <= 8000 && o.height >= 150 && o.height <= 8000);
        check(!o.png.empty() || !o.pdf.empty() || o.points || o.stats);
        check(o.png != "-" || o.pdf != "-"); // one output only on standard output
    }
    if (LoggerOptions o; parseLogger(args, o).empty()) {
        check(o.simulate != !o.port.empty());
        check(!o.words.empty());
        check(o.out != "-");
    }
    if (ExportArgs o; parseExport(args, o, 2026).empty()) {
        check(!o.file.empty());
        check(o.options.separator == ',' || o.options.separator == ';');
        check(o.options.downloadYear >= 1 && o.options.downloadYear <= 9999);
    }
    if (StatsArgs o; parseStats(args, o, 2026).empty()) {
        check(!o.file.empty());
        check(o.format == "text" || o.format == "csv" || o.format == "json");
        check(o.year >= 1 && o.year <= 9999);
        check(!o.price || *o.price >= 0);
    }
    if (ReportArgs o; parseReport(args, o, 2026).empty()) {
        check(!o.files.empty());
        check(o.options.targetPf >= 0.5 && o.options.targetPf <= 1);
        check(!o.options.price || (*o.options.price >= 0 && std::isfinite(*o.options.price)));
    }
    return 0;
}
