// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The simulator on a pseudo-terminal, reached with plain POSIX calls as a serial port.
#include "pty_host.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

namespace {

using namespace pa::sim;
using Clock = std::chrono::steady_clock;

// The program's side: the slave device opened raw at 9600 baud.
class Line {
  public:
    explicit Line(const std::string& path)
        : fd_(::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK)) {
        termios t{};
        ::tcgetattr(fd_, &t);
        ::cfmakeraw(&t);
        ::cfsetspeed(&t, B9600);
        ::tcsetattr(fd_, TCSANOW, &t);
    }
    ~Line() {
        if (fd_ >= 0)
            ::close(fd_);
    }
    bool isOpen() const { return fd_ >= 0; }
    // Sends a blank and gives what arrives until a frame's 21 bytes are in or the cap runs
    // out; an empty reply when the other end has hung up.
    std::string ask(int capMs = 2000) {
        EXPECT_EQ(::write(fd_, " ", 1), 1);
        std::string got;
        const auto end = Clock::now() + std::chrono::milliseconds(capMs);
        while (got.size() < 21 && Clock::now() < end) {
            pollfd p{fd_, POLLIN, 0};
            char buffer[64];
            if (::poll(&p, 1, 10) > 0 && (p.revents & POLLIN)) {
                const ssize_t r = ::read(fd_, buffer, sizeof buffer);
                if (r > 0)
                    got.append(buffer, static_cast<std::size_t>(r));
            }
        }
        return got;
    }
    // True when the other end has gone: a hang-up, or end of file or EIO on reading.
    bool hungUp() {
        pollfd p{fd_, POLLIN, 0};
        char c;
        return ::poll(&p, 1, 1000) > 0 && ((p.revents & POLLHUP) || ::read(fd_, &c, 1) <= 0);
    }

  private:
    int fd_;
};

// Faults change between requests, reopening keeps the device, and stopping makes it vanish
// at once. (Line speeds and a device that goes away are met by the serial port tests.)
TEST(PtyHost, FaultsReopeningAndStopping) {
    const Load quiet{230, 0.55, 0.92, 50, 0};
    const std::string frame = Instrument(quiet).liveFrame();
    PtyHost host(quiet);
    ASSERT_TRUE(host.start()) << host.lastError();
    EXPECT_TRUE(host.start()) << "starting twice is harmless";
    const std::string path = host.devicePath();
    {
        Line line(path);
        ASSERT_TRUE(line.isOpen());
        EXPECT_EQ(line.ask(), frame);
        host.withInstrument([](Instrument& meter) { meter.setFault(Fault::Silent); });
        EXPECT_EQ(line.ask(150), "");
        host.withInstrument([](Instrument& meter) { meter.setFault(Fault::Truncated); });
        EXPECT_EQ(line.ask(100), frame.substr(0, 12));
    }
    host.withInstrument([](Instrument& meter) { meter.setFault(Fault::None); });
    Line again(path);
    EXPECT_EQ(again.ask(), frame);

    const auto before = Clock::now();
    host.stop();
    EXPECT_LT(Clock::now() - before, std::chrono::milliseconds(500));
    EXPECT_FALSE(host.running());
    EXPECT_TRUE(again.hungUp());
    EXPECT_FALSE(Line(path).isOpen());
    host.stop();
}

} // namespace
