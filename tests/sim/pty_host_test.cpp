// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The simulator on a pseudo-terminal, reached with plain POSIX calls as a serial port.
#include "pty_host.h"
#include "serial_line.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

namespace {

using namespace pa::sim;
using Clock = std::chrono::steady_clock;

const Load kQuiet{230, 0.55, 0.92, 50, 0};

// The program's side: the slave device opened raw at a line speed.
class Line {
  public:
    Line(const std::string& path, speed_t speed)
        : fd_(::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK)) {
        setSpeed(speed);
    }
    ~Line() {
        if (fd_ >= 0)
            ::close(fd_);
    }
    bool isOpen() const { return fd_ >= 0; }
    void setSpeed(speed_t speed) {
        termios t{};
        ::tcgetattr(fd_, &t);
        ::cfmakeraw(&t);
        ::cfsetispeed(&t, speed);
        ::cfsetospeed(&t, speed);
        ::tcsetattr(fd_, TCSANOW, &t);
    }
    void send(const std::string& bytes) {
        ASSERT_EQ(::write(fd_, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }
    // What arrives until n bytes are in or the cap runs out.
    std::string receive(std::size_t n, int capMs = 2000) {
        std::string got;
        const auto end = Clock::now() + std::chrono::milliseconds(capMs);
        while (got.size() < n && Clock::now() < end) {
            pollfd p{fd_, POLLIN, 0};
            if (::poll(&p, 1, 10) > 0 && (p.revents & POLLIN)) {
                char buffer[64];
                const ssize_t r = ::read(fd_, buffer, sizeof buffer);
                if (r > 0)
                    got.append(buffer, static_cast<std::size_t>(r));
            }
        }
        return got;
    }
    // True when the other end has gone: a hang-up, or end of file or EIO on reading.
    bool hungUp(int capMs = 1000) {
        pollfd p{fd_, POLLIN, 0};
        if (::poll(&p, 1, capMs) <= 0)
            return false;
        char c;
        return (p.revents & POLLHUP) || ::read(fd_, &c, 1) <= 0;
    }

  private:
    int fd_;
};

const std::string kFrame = Instrument(kQuiet).liveFrame();

// A blank brings a frame back, at the speed the program sets on its side.
TEST(PtyHost, AnswersAtTheSpeedTheProgramSets) {
    PtyHost host(kQuiet);
    ASSERT_TRUE(host.start()) << host.lastError();
    Line line(host.devicePath(), B2400); // the instrument still runs at 9600
    ASSERT_TRUE(line.isOpen());
    line.send(" ");
    const std::string garbled = resampleLine(kFrame, 9600, 2400);
    EXPECT_EQ(line.receive(garbled.size(), 500), garbled);

    line.setSpeed(B9600);
    line.send(" ");
    EXPECT_EQ(line.receive(21), kFrame);
    line.send("\xF5");
    EXPECT_EQ(line.receive(5), std::string("\x02\x05\x80\xC2\x03", 5));
    line.send("4");
    line.setSpeed(B4800);
    line.send(" ");
    EXPECT_EQ(line.receive(21), kFrame);
    int baud = 0;
    host.withInstrument([&](Instrument& meter) { baud = meter.baud(); });
    EXPECT_EQ(baud, 4800);
}

// Faults change between requests, reopening keeps the device, and stopping makes it vanish
// at once.
TEST(PtyHost, FaultsReopeningAndStopping) {
    PtyHost host(kQuiet);
    ASSERT_TRUE(host.start());
    EXPECT_TRUE(host.start()) << "starting twice is harmless";
    const std::string path = host.devicePath();
    {
        Line line(path, B9600);
        host.withInstrument([](Instrument& meter) { meter.setFault(Fault::Silent); });
        line.send(" ");
        EXPECT_EQ(line.receive(1, 150), "");
        host.withInstrument([](Instrument& meter) { meter.setFault(Fault::Truncated); });
        line.send(" ");
        EXPECT_EQ(line.receive(21, 100), kFrame.substr(0, 12));
    }
    host.withInstrument([](Instrument& meter) { meter.setFault(Fault::None); });
    Line again(path, B9600);
    again.send(" ");
    EXPECT_EQ(again.receive(21), kFrame);

    const auto before = Clock::now();
    host.stop();
    EXPECT_LT(Clock::now() - before, std::chrono::milliseconds(500));
    EXPECT_FALSE(host.running());
    EXPECT_TRUE(again.hungUp());
    EXPECT_FALSE(Line(path, B9600).isOpen());
    host.stop();
}

} // namespace
