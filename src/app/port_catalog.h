#pragma once
// Numbering of the COM menu. On Windows "COM n" is the port COMn. Elsewhere "COM n" is the
// n-th serial port the system lists, USB adapters first; a simulated instrument is listed
// after them.
#include <string>
#include <vector>

namespace pa::app {

inline constexpr int kComMenuItems = 16;

struct SystemPort {
    std::string name; // "ttyUSB0", "cu.usbserial-1410", "COM3"
    std::string path; // what the port is opened by: "/dev/ttyUSB0", "COM3"
    bool usb = false;
};

// USB adapters first, then the others, each group by name. Of a macOS pair cu.X / tty.X
// only the call-out device cu.X is kept: opening tty.X waits for a carrier.
std::vector<SystemPort> comMenuOrder(std::vector<SystemPort> ports);

// The device path of each COM menu item (index 0 is "COM 1"), at most kComMenuItems.
// An empty path means no device stands behind that number.
std::vector<std::string> comDevicePaths(const std::vector<SystemPort>& ordered, bool windows);

} // namespace pa::app
