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

pa::sim::Load quietLoad() {
    pa::sim::Load load;
    load.noise = 0;
    return load;
}

TEST(SerialLink, FrameOverARealSerialPort) {
    pa::sim::PtyHost sim(quietLoad());
    ASSERT_TRUE(sim.start());
    pa::qt::QtPort port;
    ASSERT_TRUE(port.setPortName(sim.devicePath()));
    ASSERT_TRUE(port.open()) << port.lastError();
    port.write(" ");
    const std::string frame = receive(port, 21);
    ASSERT_EQ(frame.size(), 21u);
    EXPECT_EQ(frame[0], '\x02');
    EXPECT_EQ(decodeFrame(frame), kExpected);
}

TEST(SerialLink, BaudChangeRoundTrip) {
    pa::sim::PtyHost sim(quietLoad());
    ASSERT_TRUE(sim.start());
    pa::qt::QtPort port;
    pa::testing::FakeClock clock;
    pa::testing::ScriptedUi ui;
    pa::app::ProgramState state;
    pa::app::MeterLink link(port, clock, ui, state);
    link.setWorkingFolder(::testing::TempDir());
    ASSERT_TRUE(link.SelectPortByName(sim.devicePath()));
    ASSERT_EQ(receive(port, 21).size(), 21u);

    for (int index : {1, 3, 0}) {
        link.SelectBaud(index); // ends by requesting a frame at the new speed
        const std::string frame = receive(port, 21);
        ASSERT_EQ(frame.size(), 21u) << index;
        EXPECT_EQ(decodeFrame(frame), kExpected) << index;
        EXPECT_EQ(port.settings(), pa::app::kBaudChoices[index].settings);
    }
    EXPECT_EQ(state.baudCode, 9);
}

TEST(SerialLink, SpeedMismatchGarblesTheFrame) {
    pa::sim::PtyHost sim(quietLoad());
    ASSERT_TRUE(sim.start());
    pa::qt::QtPort port;
    ASSERT_TRUE(port.setPortName(sim.devicePath()));
    port.setSettings("2400,n,8,1"); // the instrument was not told
    ASSERT_TRUE(port.open());
    port.write(" ");
    const std::string reply = receive(port, 21, 1000);
    EXPECT_NE(decodeFrame(reply), kExpected);
}

TEST(SerialLink, UnopenablePortsSayWhy) {
    pa::qt::QtPort port;
    pa::testing::FakeClock clock;
    pa::testing::ScriptedUi ui;
    pa::app::ProgramState state;
    pa::app::MeterLink link(port, clock, ui, state);
    link.setComDevices({"/dev/pa-no-such-port"});
    EXPECT_FALSE(link.SelectPort(1));
    ASSERT_EQ(ui.messages.size(), 1u);
    EXPECT_EQ(ui.messages[0].text, "COM 1 not available");
    EXPECT_NE(link.lastFailure().find("does not exist"), std::string::npos) << link.lastFailure();
    EXPECT_FALSE(port.isOpen());
}

TEST(SerialLink, VanishedDeviceClosesThePortQuietly) {
    auto sim = std::make_unique<pa::sim::PtyHost>(quietLoad());
    ASSERT_TRUE(sim->start());
    pa::qt::QtPort port;
    ASSERT_TRUE(port.setPortName(sim->devicePath()));
    ASSERT_TRUE(port.open());
    sim.reset(); // the other end goes away
    QElapsedTimer timer;
    timer.start();
    while (port.isOpen() && timer.elapsed() < 3000) {
        port.write(" ");
        port.bytesWaiting();
        QCoreApplication::processEvents();
        QThread::msleep(5);
    }
    EXPECT_FALSE(port.isOpen());
    EXPECT_EQ(port.readAll(), "");
    EXPECT_EQ(port.bytesWaiting(), 0);
}

TEST(SerialLink, ReadingAVanishedDeviceWarnsNothingOnTheTerminal) {
    static QStringList warnings;
    warnings.clear();
    const QtMessageHandler previous = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext&, const QString& text) { warnings << text; });
    auto sim = std::make_unique<pa::sim::PtyHost>(quietLoad());
    ASSERT_TRUE(sim->start());
    pa::qt::QtPort port;
    ASSERT_TRUE(port.setPortName(sim->devicePath()));
    ASSERT_TRUE(port.open());
    sim.reset(); // the other end goes away while the program reads
    QElapsedTimer timer;
    timer.start();
    while (port.isOpen() && timer.elapsed() < 3000) {
        port.readAll();
        QThread::msleep(5);
    }
    qInstallMessageHandler(previous);
    EXPECT_FALSE(port.isOpen());
    EXPECT_TRUE(warnings.isEmpty()) << warnings.join('\n').toStdString();
}

} // namespace
