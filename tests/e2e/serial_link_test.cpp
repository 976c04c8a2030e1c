// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The real serial path: QSerialPort on the simulator's pseudo-terminal.
#include "app/meter_link.h"
#include "live/frame_decoder.h"
#include "pty_host.h"
#include "qt/qt_port.h"
#include "support/fake_clock.h"
#include "support/scripted_ui.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>
#include <gtest/gtest.h>

namespace {

using pa::live::BlockReading;

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
    BlockReading r;
    for (int i = 0; i < 4 && frame.size() >= static_cast<std::size_t>(i * 5 + 4); ++i) {
        pa::live::DecodeBlock(std::string_view(frame).substr(i * 5 + 1, 3), r);
        values.push_back(r.function + "=" + r.value);
    }
    return values;
}

// 230 V, 0.55 A, PF 0.92 without noise: 116.38 W shows on the 200 W range as 116.4, the
// voltage on the 1000 V range as 230, the current on the 2 A range as .550.
const std::vector<std::string> kExpected{"W= 116.4", "PF=  .920", "DCV=  230", "DCA=  .550"};

// The simulated instrument on a pseudo-terminal and a real serial port for it.
class SerialLink : public ::testing::Test {
  protected:
    void SetUp() override {
        pa::sim::Load load;
        load.noise = 0;
        sim = std::make_unique<pa::sim::PtyHost>(load);
        ASSERT_TRUE(sim->start());
        ASSERT_TRUE(port.setPortName(sim->devicePath()));
    }
    std::unique_ptr<pa::sim::PtyHost> sim;
    pa::qt::QtPort port;
    pa::testing::FakeClock clock;
    pa::testing::ScriptedUi ui;
    pa::app::ProgramState state;
};

// The frame comes whole at the instrument's speed; at a speed it was not told, garbled.
TEST_F(SerialLink, FrameOverARealSerialPortAtTheRightSpeedOnly) {
    for (const auto& [settings, whole] : {std::pair{"9600,n,8,1", true}, {"2400,n,8,1", false}}) {
        port.close();
        port.setSettings(settings);
        ASSERT_TRUE(port.open()) << port.lastError();
        port.write(" ");
        const std::string frame = receive(port, 21, 1000);
        EXPECT_EQ(decodeFrame(frame) == kExpected, whole) << settings;
        if (whole) {
            EXPECT_EQ(frame.substr(0, 1), "\x02");
        }
    }
}

TEST_F(SerialLink, BaudChangeRoundTrip) {
    pa::app::MeterLink link(port, clock, ui, state);
    link.setWorkingFolder(::testing::TempDir());
    ASSERT_TRUE(link.SelectPortByName(sim->devicePath()));
    ASSERT_EQ(receive(port, 21).size(), 21u);
    const std::pair<int, const char*> speeds[] = {
        {1, "4800,n,8,1"}, {2, "2400,n,8,1"}, {3, "1200,n,8,1"}, {0, "9600,n,8,1"}};
    for (const auto& [index, settings] : speeds) {
        link.SelectBaud(index); // ends by requesting a frame at the new speed
        const std::string frame = receive(port, 21);
        ASSERT_EQ(frame.size(), 21u) << index;
        EXPECT_EQ(decodeFrame(frame), kExpected) << index;
        EXPECT_EQ(port.settings(), settings);
    }
    EXPECT_EQ(state.baudCode, 9);
}

// The other end goes away while the program writes, or only reads: the port closes, gives
// nothing more and says nothing on the terminal.
TEST_F(SerialLink, VanishedDeviceClosesThePortQuietly) {
    static QStringList warnings;
    for (const bool writing : {true, false}) {
        SCOPED_TRACE(writing ? "writing" : "reading");
        if (!sim)
            SetUp();
        warnings.clear();
        const QtMessageHandler previous = qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext&, const QString& text) { warnings << text; });
        ASSERT_TRUE(port.open());
        sim.reset();
        QElapsedTimer timer;
        timer.start();
        while (port.isOpen() && timer.elapsed() < 3000) {
            if (writing) {
                port.write(" ");
                port.bytesWaiting();
                QCoreApplication::processEvents();
            } else {
                port.readAll();
            }
            QThread::msleep(5);
        }
        qInstallMessageHandler(previous);
        EXPECT_FALSE(port.isOpen());
        EXPECT_EQ(port.readAll(), "");
        EXPECT_EQ(port.bytesWaiting(), 0);
        EXPECT_TRUE(warnings.isEmpty()) << warnings.join('\n').toStdString();
    }
}

} // namespace
