// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// poweranalyzer-cli logger: the datalogger without a window.
//
//   poweranalyzer-cli logger status|download|read|write|set|mode|selftest ... (--port PATH |
//   --simulate)
//
// status prints every decoded field of the status block as "name: value" lines; download
// appends the records to --out FILE as the Read/Save button does (without asking); read and
// write reach one memory address; set changes the ID, clock, sampling or output interval;
// mode sets the recording mode; selftest starts the self-test or reads its results. The
// instrument's own messages go to standard error; the exit status is non-zero when the
// logger refused or did not answer.
#include "app/meter_link.h"
#include "cli/commands.h"
#include "cli/console_ui.h"
#include "cmdline/command_options.h"
#include "datafile/data_folder.h"
#include "logger/console_parser.h"
#include "logger/logger_session.h"
#include "logger/self_test.h"
#include "logger/settings_encoding.h"
#include "qt/qt_clock.h"
#include "qt/qt_port.h"
#include "simulated_device.h"
#include "text/leading_number.h"
#include "text/mask_format.h"

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace pa::cli {

using namespace pa::cmdline;

namespace {

// The person at the terminal already said what they want: questions are answered Yes, the
// save dialog returns the --out file, and plain reports go to standard output.
class LoggerUi : public ConsoleUi {
  public:
    std::string outFile;
    int warnings = 0;
    int reports = 0;

    app::Answer message(const std::string& text, const std::string& title, app::Icon icon,
                        app::Buttons buttons) override {
        if (buttons == app::Buttons::YesNo)
            return app::Answer::Yes;
        if (icon == app::Icon::None) {
            ++reports;
            std::printf("%s\n", text.c_str());
            return app::Answer::Ok;
        }
        ++warnings;
        return ConsoleUi::message(text, title, icon, buttons);
    }
    std::optional<std::string> saveFile(const std::string&, const std::string&) override {
        if (outFile.empty())
            return std::nullopt;
        return outFile;
    }
};

// The expected argument count after the subcommand, and a usage line.
struct Sub {
    const char* name;
    std::size_t args;
    const char* usage;
};
constexpr Sub kSubs[] = {
    {"status", 0, "logger status"},
    {"download", 0, "logger download --out FILE"},
    {"read", 1, "logger read ADDRESS"},
    {"write", 2, "logger write ADDRESS VALUE"},
    {"set", 2, "logger set id|clock|sampling|output VALUE (clock: \"MM-DD HH:MM:SS\")"},
    {"mode", 1, "logger mode normal|max|min"},
    {"selftest", 1, "logger selftest start|read"},
};

class LoggerRun {
  public:
    LoggerRun()
        : link_(port_, clock_, ui_, state_), exchange_(port_, clock_, ui_, state_),
          session_(
              exchange_, [this](int on) { link_.SetLiveSampling(on); },
              [] { return datafile::utf8FromPath(std::filesystem::current_path()); }),
          selfTest_(exchange_, [this](int on) { link_.SetLiveSampling(on); }) {}

    int run(const LoggerOptions& o) {
        std::string device = o.port;
        if (o.simulate) {
            simulator_ = std::make_unique<sim::SimulatedDevice>();
            // A logger with something in it, so that a download has records to save.
            simulator_->withInstrument(
                [](sim::Instrument& m) { m.logger().fillRecords(10, m.load()); });
            if (!simulator_->start(port_))
                return fail("could not start the simulated instrument: " + simulator_->lastError());
            device = simulator_->devicePath();
        }
        if (!link_.SelectPortByName(device)) {
            fail(link_.lastFailure()); // the console seam has said the port is not available
            return 1;
        }
        state_.baudCode = 9; // the port was opened at 9600 baud
        ui_.outFile = o.out;
        const std::string& sub = o.words[0];
        const std::vector<std::string> args(o.words.begin() + 1, o.words.end());
        if (sub == "status")
            return status();
        if (sub == "download")
            return download(o.out);
        if (sub == "read")
            return read(args[0]);
        if (sub == "write") {
            session_.consoleEnter("W " + args[0] + " " + args[1]);
            return ui_.warnings ? 1 : 0;
        }
        if (sub == "set")
            return set(args[0], args[1]);
        if (sub == "mode")
            return mode(args[0]);
        return selfTest(args[0]);
    }

  private:
    int status() {
        session_.Read_Status();
        std::printf("state: %s\n", session_.Label1[logger::kStateLabel].c_str());
        if (session_.lastState != logger::kIdle || !session_.status)
            return 1;
        for (const auto& [name, value] : logger::describe(*session_.status))
            std::printf("%s: %s\n", name.c_str(), value.c_str());
        return 0;
    }

    int download(const std::string& out) {
        if (out.empty())
            return fail("download needs --out FILE");
        quitOnCtrlC(); // Ctrl-C cancels the transfer; nothing is written then
        session_.Read_All();
        return ui_.reports == 1 && ui_.warnings == 0 ? 0 : 1;
    }

    int read(const std::string& text) {
        const auto address = logger::consoleNumber(text);
        if (!address || *address < 0 || *address > 8191)
            return fail("ADDRESS takes a number from 0 to 8191 (or &H0 to &H1FFF)");
        const int a = static_cast<int>(*address);
        const auto byte = session_.dataDump(a % 256, a % 256);
        if (!byte)
            return 1;
        const int v = static_cast<unsigned char>((*byte)[0]);
        std::printf("address %d%s: %d (0x%02X)\n", a,
                    a > 255 ? (" (reaches the logger as " + std::to_string(a % 256) + ")").c_str()
                            : "",
                    v, v);
        return 0;
    }

    int set(const std::string& field, const std::string& value) {
        int box = -1;
        if (field == "id") {
            box = logger::kIdBox;
        } else if (field == "sampling") {
            box = logger::kSamplingBox;
        } else if (field == "output") {
            box = logger::kOutputBox;
        } else if (field == "clock") {
            const auto blank = value.find(' ');
            session_.Text1[logger::kDateBox] = value.substr(0, blank);
            session_.Text1[logger::kTimeBox] =
                blank == std::string::npos ? "" : value.substr(blank + 1);
            session_.updateSetting(logger::kTimeBox);
            return ui_.warnings ? 1 : 0;
        } else {
            return fail("set takes id, clock, sampling or output");
        }
        session_.Text1[box] = value;
        session_.updateSetting(box);
        if (ui_.warnings)
            return 1;
        if (box == logger::kSamplingBox || box == logger::kOutputBox)
            std::printf("%s interval: %s s\n", field.c_str(),
                        text::formatGeneral(text::leadingNumber(session_.Text1[box])).c_str());
        return 0;
    }

    int mode(const std::string& name) {
        const char* names[] = {"normal", "max", "min"};
        for (int i = 0; i < 3; ++i) {
            if (name == names[i]) {
                session_.comboChosen(logger::kModeCombo, i);
                return session_.lastState == logger::kIdle ? 0 : 1;
            }
        }
        return fail("mode takes normal, max or min");
    }

    int selfTest(const std::string& what) {
        if (what == "start") {
            selfTest_.diag_start();
            return 0;
        }
        if (what != "read")
            return fail("selftest takes start or read");
        selfTest_.diag_read();
        const auto& r = selfTest_.results;
        const auto& v = selfTest_.verdict;
        std::printf("link: %s\nwrite failures: %s\nmemory status: %s\nself-test: %s\n"
                    "failure detail: %s\n",
                    r[1].c_str(), r[3].c_str(), r[5].c_str(), v[1].c_str(), v[3].c_str());
        return ui_.warnings ? 1 : 0;
    }

    std::unique_ptr<sim::SimulatedDevice> simulator_;
    app::ProgramState state_;
    qt::QtPort serial_;
    sim::PortRouter port_{serial_};
    qt::QtClock clock_;
    LoggerUi ui_;
    app::MeterLink link_;
    logger::LoggerExchange exchange_;
    logger::LoggerSession session_;
    logger::SelfTest selfTest_;
};

} // namespace

int loggerCommand(const std::vector<std::string>& args) {
    LoggerOptions options;
    if (const std::string error = parseLogger(args, options); !error.empty())
        return fail(error);
    for (const Sub& s : kSubs) {
        if (options.words[0] != s.name)
            continue;
        if (options.words.size() - 1 != s.args)
            return fail(std::string("usage: ") + s.usage);
        LoggerRun run;
        return run.run(options);
    }
    return fail("unknown logger subcommand " + options.words[0]);
}

} // namespace pa::cli
