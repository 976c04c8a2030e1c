// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// Settings strings and the numbering of the COM menu.
#include "app/line_settings.h"
#include "app/port_catalog.h"

#include <gtest/gtest.h>

namespace {

using pa::app::SystemPort;

// Valid strings give their four parts (parity in lower case); anything else is refused.
TEST(LineSettings, ParsedOrRefused) {
    const struct {
        const char* text;
        int baud; // 0: refused
        char parity = 0;
        int bits = 0;
        double stop = 0;
    } cases[] = {{"9600,n,8,1", 9600, 'n', 8, 1},
                 {"19200,E,7,2", 19200, 'e', 7, 2},
                 {"4800,o,8,1.5", 4800, 'o', 8, 1.5},
                 {"", 0},
                 {"9600,n,8", 0},
                 {"9600,x,8,1", 0},
                 {"9600,n,9,1", 0},
                 {"-1,n,8,1", 0},
                 {"96OO,n,8,1", 0},
                 {"9600,n,8,3", 0},
                 {"9600,nn,8,1", 0},
                 {"9600,n,8,1,", 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        const auto s = pa::app::parseLineSettings(c.text);
        ASSERT_EQ(s.has_value(), c.baud != 0);
        if (!s)
            continue;
        EXPECT_EQ(s->baud, c.baud);
        EXPECT_EQ(s->parity, c.parity);
        EXPECT_EQ(s->dataBits, c.bits);
        EXPECT_EQ(s->stopBits, c.stop);
    }
}

TEST(ComMenu, UsbAdaptersFirstThenByNameAndCallOutDevicesOnly) {
    const std::vector<SystemPort> listed{{"ttyS0", "/dev/ttyS0", false},
                                         {"ttyUSB1", "/dev/ttyUSB1", true},
                                         {"tty.usbserial", "/dev/tty.usbserial", true},
                                         {"cu.usbserial", "/dev/cu.usbserial", true},
                                         {"ttyACM0", "/dev/ttyACM0", true}};
    const auto ordered = pa::app::comMenuOrder(listed);
    std::vector<std::string> names;
    for (const auto& p : ordered)
        names.push_back(p.name);
    EXPECT_EQ(names, (std::vector<std::string>{"cu.usbserial", "ttyACM0", "ttyUSB1", "ttyS0"}));

    const auto paths = pa::app::comDevicePaths(ordered, false);
    ASSERT_EQ(paths.size(), 16u);
    EXPECT_EQ(paths[0], "/dev/cu.usbserial");
    EXPECT_EQ(paths[3], "/dev/ttyS0");
    EXPECT_EQ(paths[4], "");
    const auto windows = pa::app::comDevicePaths({}, true); // COM n is the port COMn
    EXPECT_EQ(windows[0], "COM1");
    EXPECT_EQ(windows[15], "COM16");
}

} // namespace
