// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The datalogger's real pacing over the real serial path (QSerialPort on the simulator's
// pseudo-terminal, the simulator handing bytes over at the line's speed), measured against
// what the protocol and the wire allow:
//   status read:  0.7 s state query + 96 x (0.06 s pacing + 6 bytes of wire time)
//   download:     0.7 s state query + the wire time of STX, 8192 bytes, ETX + 2 s silence
// A run passes when it takes no more than 5 % over its limit.
// Usage: gui_logger_bench [runs]   (default 1)
#include "app/meter_link.h"
#include "logger/logger_session.h"
#include "pty_host.h"
#include "qt/qt_clock.h"
#include "qt/qt_port.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr double kBaud = 9600;
constexpr double kBitsPerByte = 10;
constexpr double kAllowance = 1.05;

double wire(double bytes) {
    return bytes * kBitsPerByte / kBaud;
}

// Answers the save dialog with a fixed file and every question with Yes.
class BenchUi : public pa::app::Ui {
  public:
    std::string file;
    pa::app::Answer message(const std::string& text, const std::string&, pa::app::Icon icon,
                            pa::app::Buttons buttons) override {
        if (icon != pa::app::Icon::None && buttons != pa::app::Buttons::YesNo)
            std::fprintf(stderr, "message: %s\n", text.c_str());
        return pa::app::Answer::Yes;
    }
    std::optional<std::string> input(const std::string&, const std::string&,
                                     const std::string& d) override {
        return d;
    }
    std::optional<std::string> openFile(const std::string&, const std::string&) override {
        return std::nullopt;
    }
    std::optional<std::string> saveFile(const std::string&, const std::string&) override {
        return file;
    }
    void statusShow() override {}
    void statusHide() override {}
    void statusCaption(const std::string&) override {}
    void statusText(const std::string&) override {}
    void processEvents() override { QCoreApplication::processEvents(); }
    void beep() override {}
    void openDocument(const std::string&) override {}
};

bool report(const char* what, double seconds, double limit) {
    const bool ok = seconds <= limit * kAllowance;
    std::printf("%-28s %8.3f s   limit %8.3f s   %+6.2f %%   %s\n", what, seconds, limit,
                100.0 * (seconds / limit - 1.0), ok ? "ok" : "OVER");
    return ok;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const int runs = argc > 1 ? std::max(1, std::atoi(argv[1])) : 1;

    pa::sim::PtyHost sim;
    sim.withInstrument([](pa::sim::Instrument& m) { m.logger().fillRecords(5000, m.load()); });
    sim.setPaceToBaud(true);
    if (!sim.start())
        return std::fprintf(stderr, "no pseudo-terminal: %s\n", sim.lastError().c_str()), 1;

    pa::qt::QtPort port;
    pa::qt::QtClock clock;
    BenchUi ui;
    pa::app::ProgramState state;
    pa::app::MeterLink link(port, clock, ui, state);
    link.setWorkingFolder(QDir::tempPath().toStdString());
    if (!link.SelectPortByName(sim.devicePath()))
        return 1;
    state.baudCode = 9;
    pa::logger::LoggerExchange exchange(port, clock, ui, state);
    pa::logger::LoggerSession session(
        exchange, [&](int on) { link.SetLiveSampling(on); }, [] { return std::string(); });
    ui.file = (QDir::tempPath() + "/gui_logger_bench.txt").toStdString();

    const double stateQuery = 0.5 + 0.2 + wire(1 + 3);
    const double statusLimit = stateQuery + 96 * (0.01 + 0.05 + wire(3 + 3));
    const double downloadLimit = stateQuery + wire(1 + 1 + 8192 + 1) + 2.0;
    bool ok = true;
    for (int r = 0; r < runs; ++r) {
        QElapsedTimer t;
        t.start();
        session.Read_Status();
        ok &= session.status.has_value() &&
              report("status read (96 bytes)", t.nsecsElapsed() / 1e9, statusLimit);

        QFile::remove(QString::fromStdString(ui.file));
        t.start();
        session.Read_All();
        ok &= QFile::exists(QString::fromStdString(ui.file)) &&
              report("download (8 KB, 9600 baud)", t.nsecsElapsed() / 1e9, downloadLimit);
    }
    QFile::remove(QString::fromStdString(ui.file));
    return ok ? 0 : 1;
}
