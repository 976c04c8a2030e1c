// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// Settings strings and the numbering of the COM menu.
#include "app/line_settings.h"
#include "app/port_catalog.h"

#include <gtest/gtest.h>

namespace {

// Valid strings give their four parts (parity in lower case); anything else is refused.
TEST(LineSettings, ParsedOrRefused) {
    const struct {
        const char* text;
        int baud;
        char parity;
        int bits;
        double stop;
    } cases[] = {{"9600,n,8,1", 9600, 'n', 8, 1},
                 {"19200,E,7,2", 19200, 'e', 7, 2},
                 {"4800,o,8,1.5", 4800, 'o', 8, 1.5}};
    for (const auto& c : cases) {
        const auto s = pa::app::parseLineSettings(c.text);
        ASSERT_TRUE(s) << c.text;
        EXPECT_EQ(std::tie(s->baud, s->parity, s->dataBits, s->stopBits),
                  std::tie(c.baud, c.parity, c.bits, c.stop));
    }
    for (const char* refused : {"", "9600,n,8", "9600,x,8,1", "9600,n,9,1", "-1,n,8,1",
                                "96OO,n,8,1", "9600,n,8,3", "9600,nn,8,1", "9600,n,8,1,"})
        EXPECT_FALSE(pa::app::parseLineSettings(refused)) << refused;
}

// USB adapters come first, then the rest by name; on macOS only the call-out devices; COM n
// is the n-th of them, or the port COMn on Windows.
TEST(ComMenu, UsbAdaptersFirstThenByNameAndCallOutDevicesOnly) {
    const std::vector<pa::app::SystemPort> listed{{"ttyS0", "/dev/ttyS0", false},
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
    EXPECT_EQ(std::tie(paths[0], paths[3], paths[4]),
              std::make_tuple("/dev/cu.usbserial", "/dev/ttyS0", ""));
    const auto windows = pa::app::comDevicePaths({}, true);
    EXPECT_EQ(std::tie(windows[0], windows[15]), std::make_tuple("COM1", "COM16"));
}

} // namespace
