// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "pty_host.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

namespace pa::sim {

namespace {

// How long the thread waits for the program before it looks at the stop flag again, and
// how long it keeps trying to hand over an answer the program does not read.
constexpr int kPollMs = 20;
constexpr auto kWriteCap = std::chrono::milliseconds(500);
constexpr std::size_t kReadChunk = 256;
// Pacing: a start bit, 8 data bits and a stop bit per byte, handed over in slices.
constexpr double kBitsPerByte = 10.0;
constexpr int kPaceSliceMs = 5;

struct Speed {
    speed_t code;
    int baud;
};
constexpr Speed kSpeeds[] = {
    {B50, 50},       {B75, 75},         {B110, 110},       {B134, 134},     {B150, 150},
    {B200, 200},     {B300, 300},       {B600, 600},       {B1200, 1200},   {B1800, 1800},
    {B2400, 2400},   {B4800, 4800},     {B9600, 9600},     {B19200, 19200}, {B38400, 38400},
    {B57600, 57600}, {B115200, 115200}, {B230400, 230400},
};

int baudOf(speed_t code) {
    for (const Speed& s : kSpeeds) {
        if (s.code == code)
            return s.baud;
    }
    return 0; // B0 (hung up) or a speed the instrument cannot follow
}

std::string systemError(const char* what) {
    return std::string(what) + ": " + std::strerror(errno);
}

} // namespace

PtyHost::PtyHost(Load load, unsigned seed) : instrument_(load, seed) {}

PtyHost::~PtyHost() {
    stop();
}

bool PtyHost::start() {
    if (running_)
        return true;
    auto fail = [this](const std::string& why) {
        std::lock_guard lock(mutex_);
        error_ = why;
        if (slave_ >= 0)
            ::close(slave_);
        if (master_ >= 0)
            ::close(master_);
        slave_ = master_ = -1;
        return false;
    };

    master_ = ::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK);
    if (master_ < 0)
        return fail(systemError("posix_openpt"));
    if (::grantpt(master_) != 0)
        return fail(systemError("grantpt"));
    if (::unlockpt(master_) != 0)
        return fail(systemError("unlockpt"));
    const char* name = ::ptsname(master_);
    if (!name)
        return fail(systemError("ptsname"));
    const std::string path = name;

    slave_ = ::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK);
    if (slave_ < 0)
        return fail(systemError(("open " + path).c_str()));
    // A plain line until the program sets its own: no echo, no character translation.
    termios t{};
    if (::tcgetattr(slave_, &t) != 0)
        return fail(systemError("tcgetattr"));
    ::cfmakeraw(&t);
    ::cfsetispeed(&t, B9600);
    ::cfsetospeed(&t, B9600);
    if (::tcsetattr(slave_, TCSANOW, &t) != 0)
        return fail(systemError("tcsetattr"));

    {
        std::lock_guard lock(mutex_);
        path_ = path;
        error_.clear();
    }
    running_ = true;
    thread_ = std::thread(&PtyHost::serve, this);
    return true;
}

void PtyHost::stop() {
    running_ = false;
    if (thread_.joinable())
        thread_.join();
    if (master_ >= 0)
        ::close(master_);
    if (slave_ >= 0)
        ::close(slave_);
    master_ = slave_ = -1;
}

std::string PtyHost::devicePath() const {
    std::lock_guard lock(mutex_);
    return path_;
}

std::string PtyHost::lastError() const {
    std::lock_guard lock(mutex_);
    return error_;
}

void PtyHost::withInstrument(const std::function<void(Instrument&)>& fn) {
    std::lock_guard lock(mutex_);
    fn(instrument_);
}

int PtyHost::requestsServed() const {
    std::lock_guard lock(mutex_);
    return instrument_.requestsServed();
}

int PtyHost::framesSent() const {
    std::lock_guard lock(mutex_);
    return instrument_.framesSent();
}

// The speed the program's side of the line receives at; the master reports the settings
// the program made on the slave.
int PtyHost::lineBaud() const {
    termios t{};
    if (::tcgetattr(master_, &t) != 0)
        return kStartBaud;
    const speed_t in = ::cfgetispeed(&t);
    return baudOf(in != B0 ? in : ::cfgetospeed(&t));
}

void PtyHost::serve() {
    char buffer[kReadChunk];
    while (running_) {
        pollfd p{master_, POLLIN, 0};
        if (::poll(&p, 1, kPollMs) <= 0)
            continue; // nothing yet, or a signal
        if (!(p.revents & POLLIN)) {
            // Hang-up or error without data: wait instead of spinning.
            ::poll(nullptr, 0, kPollMs);
            continue;
        }
        const ssize_t n = ::read(master_, buffer, sizeof buffer);
        if (n <= 0) {
            if (n < 0 && errno != EAGAIN && errno != EINTR)
                ::poll(nullptr, 0, kPollMs); // EIO while no one holds the slave
            continue;
        }
        std::string answer;
        const int baud = lineBaud();
        {
            std::lock_guard lock(mutex_);
            answer = instrument_.receive(std::string(buffer, static_cast<std::size_t>(n)), baud);
        }
        if (answer.empty())
            continue;
        sleepWhileRunning(delayMs_);
        if (const int gap = splitGapMs_; gap > 0 && answer.size() > 1) {
            const std::size_t half = answer.size() / 2;
            if (writeAll(answer.substr(0, half), baud))
                sleepWhileRunning(gap);
            writeAll(answer.substr(half), baud);
        } else {
            writeAll(answer, baud);
        }
    }
}

// Waits in short slices so that stop() is not held up by a long delay.
void PtyHost::sleepWhileRunning(int ms) {
    using Clock = std::chrono::steady_clock;
    const auto until = Clock::now() + std::chrono::milliseconds(ms);
    while (running_ && Clock::now() < until)
        ::poll(nullptr, 0, kPollMs);
}

// Hands the answer to the program; gives up when the program has taken nothing for the
// cap (a receiver that does not read loses the overflow, as on a real line). When pacing,
// byte i is not handed over before its wire time, i x 10 bits / baud, has passed.
bool PtyHost::writeAll(const std::string& bytes, int baud) {
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    auto deadline = start + kWriteCap;
    const bool pacing = pace_ && baud > 0;
    std::size_t done = 0;
    while (done < bytes.size() && running_) {
        std::size_t allowed = bytes.size() - done;
        if (pacing) {
            const double elapsed = std::chrono::duration<double>(Clock::now() - start).count();
            const auto due = static_cast<std::size_t>(elapsed * baud / kBitsPerByte) + 1;
            if (due <= done) {
                ::poll(nullptr, 0, kPaceSliceMs);
                deadline = Clock::now() + kWriteCap;
                continue;
            }
            allowed = std::min(allowed, due - done);
        }
        const ssize_t n = ::write(master_, bytes.data() + done, allowed);
        if (n > 0) {
            done += static_cast<std::size_t>(n);
            deadline = Clock::now() + kWriteCap;
            continue;
        }
        if (n < 0 && errno != EAGAIN && errno != EINTR)
            return false;
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        pollfd p{master_, POLLOUT, 0};
        ::poll(&p, 1, kPollMs);
    }
    return done == bytes.size();
}

} // namespace pa::sim
