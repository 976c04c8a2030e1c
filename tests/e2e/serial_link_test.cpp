// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The real serial path: QSerialPort on the simulator's pseudo-terminal, with the protocol's
// real pauses. The live link: frames at each speed chosen, and a device that vanishes. The
// datalogger, through the live link that lends it the port: a full memory downloaded, and
// replies gone wrong. Each fault shows its message and nothing else, leaves no file behind,
// hands the port back to the live readings, and the next exchange works once the fault is
// gone.
#include "app/meter_link.h"
#include "gui/gui_support.h"
#include "live/frame_decoder.h"
#include "logger/logger_session.h"
#include "pty_host.h"
#include "qt/qt_clock.h"
#include "qt/qt_port.h"
#include "support/message_texts.h"
#include "support/scripted_ui.h"
#include "support/test_files.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <thread>

namespace {

using pa::testing::waitFor;

// The simulated instrument (a steady 230 V, 0.55 A, PF 0.92 load) on a pseudo-terminal, the
// live link on a real serial port for it (asking for the first frame), and the datalogger's
// exchange through the same port.
struct LoggerRig {
    LoggerRig() {
        EXPECT_TRUE(sim.start());
        link.setWorkingFolder(folder.str());
        EXPECT_TRUE(link.SelectPortByName(sim.devicePath()));
        state.baudCode = 9;
    }
    // Runs f on the simulated logger.
    void onLogger(const std::function<void(pa::sim::LoggerModel&)>& f) {
        sim.withInstrument([&](pa::sim::Instrument& m) { f(m.logger()); });
    }
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
};

struct SerialLink : ::testing::Test, LoggerRig {};
using LoggerOverPty = SerialLink;

// Waits (serving events) until the port holds at least n bytes or the cap runs out.
std::string receive(pa::qt::QtPort& port, int n, int capMs = 3000) {
    QElapsedTimer timer;
    timer.start();
    while (port.bytesWaiting() < n && timer.elapsed() < capMs) {
        QCoreApplication::processEvents();
        QThread::msleep(2);
    }
    return port.readAll();
}

// W, PF, V, A value texts of one live frame.
std::vector<std::string> decodeFrame(const std::string& frame) {
    std::vector<std::string> values;
    pa::live::BlockReading r;
    for (int i = 0; i < 4 && frame.size() >= static_cast<std::size_t>(i * 5 + 4); ++i) {
        pa::live::DecodeBlock(std::string_view(frame).substr(i * 5 + 1, 3), r);
        values.push_back(r.function + "=" + r.value);
    }
    return values;
}

// 230 V, 0.55 A, PF 0.92 without noise: 116.38 W shows on the 200 W range as 116.4, the
// voltage on the 1000 V range as 230, the current on the 2 A range as .550.
const std::vector<std::string> kExpected{"W= 116.4", "PF=  .920", "DCV=  230", "DCA=  .550"};

// Each speed chosen is told to the instrument first, then the port reopens at it: the next
// frame comes whole; at a speed the instrument was not told, garbled.
TEST_F(SerialLink, BaudChangeRoundTrip) {
    ASSERT_EQ(decodeFrame(receive(port, 21)), kExpected);
    const std::pair<int, const char*> speeds[] = {
        {1, "4800,n,8,1"}, {2, "2400,n,8,1"}, {3, "1200,n,8,1"}, {0, "9600,n,8,1"}};
    for (const auto& [index, settings] : speeds) {
        link.SelectBaud(index); // ends by requesting a frame at the new speed
        const std::string frame = receive(port, 21);
        EXPECT_EQ(std::tuple(frame.size(), decodeFrame(frame), port.settings()),
                  std::tuple(21u, kExpected, settings));
    }
    port.close();
    port.setSettings("2400,n,8,1");
    ASSERT_TRUE(port.open()) << port.lastError();
    port.write(" ");
    EXPECT_NE(decodeFrame(receive(port, 21, 1000)), kExpected);
}

// The other end goes away while the program writes, or only reads: the port closes, gives
// nothing more and says nothing on the terminal.
TEST_F(SerialLink, VanishedDeviceClosesThePortQuietly) {
    static QStringList warnings;
    for (const bool writing : {true, false}) {
        SCOPED_TRACE(writing ? "writing" : "reading");
        LoggerRig r;
        warnings.clear();
        const QtMessageHandler previous = qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext&, const QString& text) { warnings << text; });
        r.sim.stop();
        QElapsedTimer timer;
        timer.start();
        while (r.port.isOpen() && timer.elapsed() < 3000) {
            if (writing) {
                r.port.write(" ");
                r.port.bytesWaiting();
                QCoreApplication::processEvents();
            } else {
                r.port.readAll();
            }
            QThread::msleep(5);
        }
        qInstallMessageHandler(previous);
        EXPECT_EQ(std::tuple(r.port.isOpen(), r.port.readAll(), r.port.bytesWaiting()),
                  std::tuple(false, "", 0));
        EXPECT_TRUE(warnings.isEmpty()) << warnings.join('\n').toStdString();
    }
}

// A full memory (8192 bytes less the status block, 8 a record: 1012 records) comes whole
// through the real port, and the live readings have the port again.
TEST_F(LoggerOverPty, DownloadOfAFullMemory) {
    onLogger([](auto& l) { l.fillRecords(5000, pa::sim::Load{}); });
    download();
    EXPECT_EQ(pa::testing::messageTexts(ui),
              std::vector<std::string>{"1012 records received and stored in FILE " + file()});
    EXPECT_EQ(pa::testing::readLines(file()).size(), 1013u);
    EXPECT_TRUE(link.sampling());
}

// The plug pulled in the middle of an 8.5 s stream at the wire's real pace: the transfer
// fails and writes no file.
TEST_F(LoggerOverPty, InstrumentUnpluggedMidDownloadWritesNoFile) {
    onLogger([](auto& l) {
        // The only check on a stream is its last byte, so a cut that happens to end on an
        // ETX byte inside the data would pass as whole: keep ETX out of the record area.
        l.fillRecords(5000, pa::sim::Load{});
        for (int a = 96; a < static_cast<int>(l.memory().size()); ++a)
            if (l.at(a) == 0x03)
                l.set(a, 0x04);
    });
    sim.setPaceToBaud(true);
    std::thread unplug([this] {
        std::this_thread::sleep_for(std::chrono::milliseconds(2500));
        sim.stop();
    });
    download();
    unplug.join();
    EXPECT_EQ(pa::testing::messageTexts(ui), std::vector<std::string>{"Inncorrect ending byte"});
    EXPECT_FALSE(std::filesystem::exists(file()));
}

// Answers later than the exchange waits count as no answer, said with its message and nothing
// else; the late bytes are drained before the next command, so they never pass as its reply.
// (The framing and retry rules, and the faults that need no real port, are pinned by the
// logger's own tests.)
TEST_F(LoggerOverPty, LateAnswersAreNoAnswerAndThePortIsGivenBack) {
    onLogger([](auto& l) { l.fillRecords(40, {}); });
    ASSERT_TRUE(waitFor([&] { return sim.framesSent() >= 1; }, 30000))
        << "opening the port asks for the first frame";
    sim.setReplyDelay(400);
    session.Read_Status();
    EXPECT_EQ(pa::testing::messageTexts(ui),
              std::vector<std::string>{"No response, check your cable or DMM"});
    EXPECT_EQ(std::tuple(ui.messages.at(0).icon, ui.statusVisible),
              std::tuple(pa::app::Icon::Exclamation, false));
    // The live readings have the port again: the resume asks for a frame at once.
    EXPECT_TRUE(link.sampling());
    EXPECT_TRUE(waitFor([&] { return sim.framesSent() >= 2; }, 30000));

    sim.setReplyDelay(0);
    ui.messages.clear();
    link.SetLiveSampling(0);
    EXPECT_EQ(exchange.QueryLoggerState(), pa::logger::kIdle);
    EXPECT_TRUE(ui.messages.empty());
}

} // namespace
