// The port the programs use: the system's serial port, or under one name the simulated
// instrument in this process (how --simulate works where there are no pseudo-terminals).
#include "inprocess_port.h"
#include "port_router.h"
#include "support/recording_port.h"

#include <gtest/gtest.h>

namespace {

using namespace pa::sim;

class PortRouterTest : public ::testing::Test {
  protected:
    void SetUp() override {
        system.devices = {"COM3"};
        router.addSimulated("SIMULATED", simulated);
    }
    pa::testing::RecordingPort system;
    Instrument meter{Load{230, 0.55, 0.92, 50, 0}};
    InProcessPort simulated{meter, "SIMULATED"};
    PortRouter router{system};
    const std::string frame = Instrument{Load{230, 0.55, 0.92, 50, 0}}.liveFrame();
};

TEST_F(PortRouterTest, EachNameReachesItsOwnDevice) {
    ASSERT_TRUE(router.setPortName("COM3"));
    ASSERT_TRUE(router.open());
    router.write(" ");
    EXPECT_EQ(system.written, " ");
    EXPECT_EQ(meter.requestsServed(), 0);
    router.close();

    ASSERT_TRUE(router.setPortName("SIMULATED"));
    EXPECT_EQ(router.portName(), "SIMULATED");
    ASSERT_TRUE(router.open());
    router.write(" ");
    EXPECT_EQ(router.bytesWaiting(), 21);
    EXPECT_EQ(router.readAll(), frame);
    EXPECT_EQ(system.written, " ") << "nothing more went to the serial port";

    EXPECT_FALSE(router.setPortName("COM3")) << "no new name while a port is open";
    router.close();
    ASSERT_TRUE(router.setPortName("COM4"));
    EXPECT_FALSE(router.open());
    EXPECT_EQ(router.lastError(), "no such device") << "the system port's own reason";
}

TEST_F(PortRouterTest, SettingsHoldForWhicheverDeviceOpensNext) {
    router.setSettings("2400,n,8,1");
    ASSERT_TRUE(router.setPortName("SIMULATED"));
    EXPECT_EQ(router.settings(), "2400,n,8,1");
    EXPECT_EQ(simulated.lineBaud(), 2400);
    router.setPortName("COM3");
    EXPECT_EQ(router.settings(), "2400,n,8,1");
}

} // namespace
