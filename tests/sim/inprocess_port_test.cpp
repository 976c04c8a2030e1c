// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The simulator behind the program's Port interface, and the router that gives the programs
// the system's serial port or, under one name, the simulator in this process (how --simulate
// works where there are no pseudo-terminals).
#include "inprocess_port.h"
#include "port_router.h"
#include "serial_line.h"
#include "support/recording_port.h"

#include <gtest/gtest.h>

namespace {

using namespace pa::sim;

class PortTest : public ::testing::Test {
  protected:
    void SetUp() override {
        system.devices = {"COM3"};
        router.addSimulated("SIM", port);
    }
    Instrument meter{Load{230, 0.55, 0.92, 50, 0}};
    InProcessPort port{meter, "SIM"};
    pa::testing::RecordingPort system;
    PortRouter router{system};
    const std::string frame = Instrument{Load{230, 0.55, 0.92, 50, 0}}.liveFrame();
};

TEST_F(PortTest, OpensOnlyTheInstrumentsPresentFreeDevice) {
    const struct {
        const char* name;
        bool present, busy, opens;
    } cases[] = {{"SIM", true, false, true},
                 {"COM1", true, false, false},
                 {"", true, false, false},
                 {"SIM", false, false, false},
                 {"SIM", true, true, false}};
    for (const auto& c : cases) {
        port.close();
        port.setPresent(c.present);
        port.setBusy(c.busy);
        ASSERT_TRUE(port.setPortName(c.name));
        const bool opened = port.open();
        EXPECT_EQ(std::tuple(opened, port.isOpen(), port.lastError().empty()),
                  std::tuple(c.opens, c.opens, c.opens))
            << c.name;
    }
    port.setBusy(false);
    ASSERT_TRUE(port.open());
    EXPECT_FALSE(port.setPortName("COM2")) << "refused while open";
    EXPECT_EQ(port.portName(), "SIM");
}

// A blank brings a frame, as the instrument's speed and the port's settings make it; closing
// or losing the device drops what waits.
TEST_F(PortTest, WritesReachTheInstrumentAtTheSettingsSpeed) {
    port.setPortName("SIM");
    ASSERT_TRUE(port.open());
    const std::pair<const char*, std::string> steps[] = {
        {"9600,n,8,1", frame},
        {"2400,n,8,1", resampleLine(frame, 9600, 2400)}, // the instrument was not told
        {"9600,n,8,1", ""}, // "2": the character first, then the port, as the program does
        {"2400,n,8,1", frame},
    };
    for (const auto& [settings, reply] : steps) {
        port.setSettings(settings);
        port.write(reply.empty() ? "2" : " ");
        EXPECT_EQ(port.bytesWaiting(), static_cast<int>(reply.size())) << settings;
        EXPECT_EQ(port.readAll(), reply) << settings;
    }
    EXPECT_EQ(meter.baud(), 2400);

    const int served = meter.requestsServed();
    port.write(" ");
    port.close();
    port.write(" ");
    EXPECT_EQ(std::tuple(port.readAll(), meter.requestsServed()),
              std::tuple(std::string(), served + 1))
        << "a closed port sends nothing";
    ASSERT_TRUE(port.open());
    port.write(" ");
    port.setPresent(false);
    EXPECT_EQ(std::tuple(port.isOpen(), port.bytesWaiting(), port.lastError().empty()),
              std::tuple(false, 0, false));
    EXPECT_FALSE(port.open());
}

// Each name reaches its own device; settings hold for whichever opens next.
TEST_F(PortTest, RouterGivesEachNameItsOwnDevice) {
    router.setSettings("2400,n,8,1");
    ASSERT_TRUE(router.setPortName("COM3"));
    ASSERT_TRUE(router.open());
    router.write(" ");
    EXPECT_EQ(std::tuple(system.written, system.settings(), meter.requestsServed()),
              std::tuple(" ", "2400,n,8,1", 0));
    router.close();

    ASSERT_TRUE(router.setPortName("SIM"));
    EXPECT_EQ(std::tuple(router.portName(), port.lineBaud()), std::tuple(std::string("SIM"), 2400));
    router.setSettings("9600,n,8,1");
    ASSERT_TRUE(router.open());
    router.write(" ");
    EXPECT_EQ(router.bytesWaiting(), 21);
    // Nothing more went to the serial port.
    EXPECT_EQ(std::tuple(router.readAll(), system.written), std::tuple(frame, std::string(" ")));

    EXPECT_FALSE(router.setPortName("COM3")) << "no new name while a port is open";
    router.close();
    ASSERT_TRUE(router.setPortName("COM4"));
    EXPECT_FALSE(router.open());
    EXPECT_EQ(router.lastError(), "no such device") << "the system port's own reason";
}

} // namespace
