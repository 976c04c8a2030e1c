// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// Start-up, speed check, port and baud selection through the scripted seams.
#include "app/meter_link.h"

#include "app/commport_file.h"
#include "support/fake_clock.h"
#include "support/recording_port.h"
#include "support/scripted_ui.h"
#include "support/test_files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>

namespace {

using pa::app::SystemPort;
namespace fs = std::filesystem;

class MeterLinkTest : public ::testing::Test {
  protected:
    void SetUp() override {
        link.setWorkingFolder(folder.string());
        link.setTimerSwitch([this](bool on) {
            timersOn = on;
            ++timerSwitches;
        });
        link.setComDevices({"/dev/ttyUSB0", "/dev/ttyUSB1", "/dev/ttyS0", "", ""});
        port.devices = {"/dev/ttyUSB0", "/dev/ttyS0"};
    }
    std::string commport() const { return pa::testing::readFile(folder / "commport.dat"); }

    pa::testing::RecordingPort port;
    pa::testing::FakeClock clock;
    pa::testing::ScriptedUi ui;
    pa::app::ProgramState state;
    pa::app::MeterLink link{port, clock, ui, state};
    pa::testing::TempFolder temp;
    fs::path folder = temp.path();
    bool timersOn = false;
    int timerSwitches = 0;
};

// Start-up resets the language, baud and tick, sends nothing and asks for a port unless one
// was named on the command line.
TEST_F(MeterLinkTest, StartupAsksForAPortUnlessOneWasNamed) {
    for (const bool ask : {true, false}) {
        SCOPED_TRACE(ask);
        ui.messages.clear();
        state.language = 2;
        state.baudCode = 4;
        int captionsApplied = 0;
        timerSwitches = 0;
        link.Startup([&] { ++captionsApplied; }, ask);
        ASSERT_EQ(ui.messages.size(), ask ? 1u : 0u);
        if (ask) {
            EXPECT_EQ(std::tie(ui.messages[0].text, ui.messages[0].icon, ui.messages[0].buttons),
                      std::make_tuple("Select COM port from the OPTION menu", pa::app::Icon::None,
                                      pa::app::Buttons::Ok));
        }
        // The timers are switched off once and the status window is hidden after the check.
        EXPECT_EQ(std::make_tuple(captionsApplied, state.language, state.baudCode, state.tickPeriod,
                                  timersOn, timerSwitches, port.written, ui.statusVisible),
                  std::make_tuple(1, 1, 0, 1000, false, 1, "", false));
    }
}

// Slow from 1.5 s for the check's readings on, also when they run across midnight.
TEST_F(MeterLinkTest, SpeedCheckThresholdIsInclusive) {
    const struct {
        double start, elapsed;
        int slow;
    } cases[] = {{43200, 1.4999, 0}, {43200, 1.5, 1}, {86399.5, 1.0, 0}, {86399.5, 2.0, 1}};
    for (const auto& c : cases) {
        clock.set(c.start);
        clock.setCostPerReading(c.elapsed); // t1 - t0 is one reading's cost
        ui.statusUpdates = 0;
        link.CheckPcSpeed();
        // The last count, 0, prints as blanks.
        EXPECT_EQ(std::tie(state.slowPcFlag, ui.statusUpdates, ui.statusTextNow),
                  std::make_tuple(c.slow, 1010, "      "))
            << c.start << " " << c.elapsed;
    }
}

// A port chosen by number, or by a name the COM menu lists, opens, starts sampling and is
// written to commport.dat (replacing the file); an unlisted name opens but is not recorded.
TEST_F(MeterLinkTest, SelectingAPortOpensItWritesCommPortAndStartsSampling) {
    const struct {
        std::function<bool()> select;
        const char *device, *caption, *commport;
    } cases[] = {
        {[&] { return link.SelectPort(3); }, "/dev/ttyS0", "COM 3", " 3 \r\n"},
        {[&] { return link.SelectPortByName("/dev/ttyUSB0"); }, "/dev/ttyUSB0", "COM 1", " 1 \r\n"},
        {[&] { return link.SelectPortByName("/dev/pts/7"); }, "/dev/pts/7", "/dev/pts/7",
         " 1 \r\n"}};
    port.devices.insert("/dev/pts/7");
    for (const auto& c : cases) {
        port.close();
        port.written.clear();
        EXPECT_TRUE(c.select()) << c.device;
        EXPECT_EQ(std::make_tuple(port.portName(), link.portCaption(), commport(), port.written,
                                  timersOn),
                  std::make_tuple(c.device, c.caption, c.commport, " ", true));
    }
    EXPECT_TRUE(ui.messages.empty());
    EXPECT_EQ(pa::app::commPortLine(16), " 16 \r\n");
}

// Missing ports are refused with their number or name and nothing starts; while a port is
// open (the port-open flag is never set, so it is never closed first) a second one is refused.
TEST_F(MeterLinkTest, UnavailablePortsAreReportedAndNothingStarts) {
    for (int n : {2, 5, 16, 17, 0}) {
        ui.messages.clear();
        EXPECT_FALSE(link.SelectPort(n)) << n;
        // The reason is kept for the status line.
        EXPECT_EQ(std::tuple(pa::testing::messageTexts(ui), link.lastFailure().empty()),
                  std::tuple(std::vector{"COM " + std::to_string(n) + " not available"}, false));
    }
    EXPECT_EQ(std::make_tuple(timersOn, port.written, fs::exists(folder / "commport.dat")),
              std::make_tuple(false, "", false));

    ASSERT_TRUE(link.SelectPort(1));
    EXPECT_FALSE(link.SelectPort(3));
    EXPECT_EQ(ui.messages.back().text, "COM 3 not available");
    EXPECT_EQ(std::make_tuple(port.portName(), link.portCaption(), commport(),
                              std::count(port.calls.begin(), port.calls.end(), "close")),
              std::make_tuple("/dev/ttyUSB0", "COM 1", " 1 \r\n", 0));
    port.close();
    EXPECT_FALSE(link.SelectPortByName("/dev/nothing"));
    EXPECT_EQ(ui.messages.back().text, "/dev/nothing not available");
    ASSERT_TRUE(link.SelectPortByName("/dev/ttyS0"));
    EXPECT_EQ(link.lastFailure(), "") << "a success forgets the last reason";
}

// Live sampling runs for 1 only; it asks for a frame as it starts.
TEST_F(MeterLinkTest, LiveSamplingOnlyForOne) {
    ASSERT_TRUE(link.SelectPort(1));
    for (int on : {0, 2, -1, 1}) {
        port.written.clear();
        link.SetLiveSampling(on);
        EXPECT_EQ(std::make_tuple(timersOn, link.sampling(), port.written),
                  std::make_tuple(on == 1, on == 1, on == 1 ? " " : ""))
            << on;
    }
}

// A baud choice tells the instrument first, then reopens the port at the new settings.
TEST_F(MeterLinkTest, BaudChangeTellsTheInstrumentFirstThenReopens) {
    const struct {
        int index;
        const char *command, *settings, *caption;
        int code;
    } cases[] = {{0, "9", "9600,n,8,1", "Baud rate (9600)", 9},
                 {1, "4", "4800,n,8,1", "Baud rate (4800)", 4},
                 {3, "1", "1200,n,8,1", "Baud rate (1200)", 1}};
    ASSERT_TRUE(link.SelectPort(1));
    EXPECT_EQ(link.baudCaption(), "Baud Rate (9600)") << "the caption before any choice";
    for (const auto& c : cases) {
        port.calls.clear();
        link.SelectBaud(c.index);
        const std::vector<std::string> expected{std::string("write ") + c.command, "close",
                                                std::string("settings ") + c.settings,
                                                "open /dev/ttyUSB0", "write  "};
        EXPECT_EQ(std::tie(port.calls, state.baudCode, link.baudCaption()),
                  std::make_tuple(expected, c.code, c.caption))
            << c.index;
    }
    port.calls.clear();
    for (int outside : {-1, 4})
        link.SelectBaud(outside);
    EXPECT_TRUE(port.calls.empty()) << "indexes outside the menu do nothing";
    EXPECT_EQ(state.baudCode, 1);
}

// The live cycle's port reset after an adapter was pulled out and plugged in again: found by
// its stable identity wherever the system lists it now, never at a device name that another
// device may have been given meanwhile; a port without identity opens its old name again.
TEST_F(MeterLinkTest, ResetReopensAnAdapterWhereverItComesBack) {
    const SystemPort adapter{"ttyUSB0", "/dev/ttyUSB0", true, "usb:0403:6001:A1"};
    const SystemPort other{"ttyUSB0", "/dev/ttyUSB0", true, "usb:067b:2303:B7"};
    const SystemPort plain{"ttyUSB0", "/dev/ttyUSB0", false, ""};
    const SystemPort moved{"ttyUSB1", "/dev/ttyUSB1", true, "usb:0403:6001:A1"};
    const struct {
        const char* name;
        SystemPort before;
        std::vector<SystemPort> listedAfter;
        const char* at; // nullptr: stays closed
    } cases[] = {{"same name", adapter, {adapter}, "/dev/ttyUSB0"},
                 {"another name", adapter, {moved, other}, "/dev/ttyUSB1"},
                 {"still out", adapter, {other}, nullptr},
                 {"no identity", plain, {plain}, "/dev/ttyUSB0"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::vector<SystemPort> listed = {c.before};
        link.setPortCatalogue([&listed] { return listed; });
        port.close();
        port.devices = {"/dev/ttyUSB0", "/dev/ttyS0"};
        ASSERT_TRUE(link.SelectPortByName("/dev/ttyUSB0"));
        port.close(); // pulled out
        listed = c.listedAfter;
        port.devices.clear();
        for (const SystemPort& p : listed)
            port.devices.insert(p.path);
        const bool reopened = link.ReopenPort();
        EXPECT_EQ(std::make_tuple(reopened, port.isOpen(), port.portName()),
                  std::make_tuple(c.at != nullptr, c.at != nullptr,
                                  std::string(c.at ? c.at : "/dev/ttyUSB0")));
    }
}

} // namespace
