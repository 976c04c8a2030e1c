#pragma once
// The datalogger through the real serial path: QSerialPort on the simulator's pseudo-
// terminal, the protocol's real pauses, the live link that lends the port, and a fresh
// folder for downloads.
#include "app/meter_link.h"
#include "logger/logger_session.h"
#include "logger/self_test.h"
#include "pty_host.h"
#include "qt/qt_clock.h"
#include "qt/qt_port.h"
#include "support/message_texts.h"
#include "support/scripted_ui.h"
#include "support/test_files.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace pa::testing {

struct LoggerRigOverPty {
    LoggerRigOverPty() {
        EXPECT_TRUE(sim.start());
        link.setWorkingFolder(folder.str());
        EXPECT_TRUE(link.SelectPortByName(sim.devicePath()));
        state.baudCode = 9;
    }
    // Runs f on the simulated logger and returns what it returns.
    template <typename F> auto onLogger(F f) {
        decltype(f(std::declval<pa::sim::LoggerModel&>())) result{};
        sim.withInstrument([&](pa::sim::Instrument& m) { result = f(m.logger()); });
        return result;
    }
    void setFault(pa::sim::LoggerFault fault, int replies = -1, int after = 0) {
        sim.withInstrument(
            [=](pa::sim::Instrument& i) { i.logger().setFault(fault, replies, after); });
    }
    std::vector<std::string> messages() const { return pa::testing::messageTexts(ui); }
    std::string file() const { return folder.str() + "/download.txt"; }
    void download() {
        ui.files.push_back(file());
        session.Read_All();
    }

    pa::testing::TempFolder folder;
    pa::sim::PtyHost sim{pa::sim::Load{230, 0.55, 0.92, 50, 0}};
    pa::qt::QtPort port;
    pa::qt::QtClock clock;
    pa::testing::ScriptedUi ui;
    pa::app::ProgramState state;
    pa::app::MeterLink link{port, clock, ui, state};
    pa::logger::LoggerExchange exchange{port, clock, ui, state};
    pa::logger::LoggerSession session{exchange, [this](int on) { link.SetLiveSampling(on); },
                                      [this] { return folder.str(); }};
    pa::logger::SelfTest selfTest{exchange, [this](int on) { link.SetLiveSampling(on); }};
};

} // namespace pa::testing
