// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The simulated instrument on a pseudo-terminal, so that the program reaches it through
// its real serial port. A background thread answers whatever the program writes to the
// slave device; the line speed the program set on its side is read back from the
// terminal and garbles the answers when it is not the instrument's own.
#include "instrument.h"

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace pa::sim {

class PtyHost {
  public:
    explicit PtyHost(Load load = {}, unsigned seed = 1);
    ~PtyHost(); // stops
    PtyHost(const PtyHost&) = delete;
    PtyHost& operator=(const PtyHost&) = delete;

    // Creates the pseudo-terminal (raw, 9600 baud) and starts serving; false on failure,
    // and then lastError() says why. Starting a running host does nothing and succeeds.
    bool start();
    // Closes the terminal: the device vanishes for the program. Safe to call twice.
    void stop();
    bool running() const { return running_; }

    std::string devicePath() const; // the slave side, e.g. "/dev/pts/5"; empty before start
    std::string lastError() const;

    // Runs fn on the instrument while the host is not using it (from any thread), e.g. to
    // change the load, the display or a fault between two requests.
    void withInstrument(const std::function<void(Instrument&)>& fn);

    // A pseudo-terminal has no line timing: answers arrive at once whatever the speed. With
    // pacing on, the host hands each answer over no faster than the line speed allows
    // (10 bit times per byte), so that long transfers take their real wire time.
    void setPaceToBaud(bool on) { pace_ = on; }

    // Timing faults of a slow or choppy instrument: every answer is held back delayMs, and
    // with splitGapMs above zero it is handed over in two halves with that gap between
    // them (a gap longer than the program's poll interval splits a frame over two polls).
    void setReplyDelay(int delayMs) { delayMs_ = delayMs; }
    void setSplitGap(int splitGapMs) { splitGapMs_ = splitGapMs; }

    // Commands obeyed and complete live frames sent so far.
    int requestsServed() const;
    int framesSent() const;

  private:
    void serve();
    int lineBaud() const;
    bool writeAll(const std::string& bytes, int baud);
    void sleepWhileRunning(int ms);

    mutable std::mutex mutex_; // guards instrument_, path_ and error_
    Instrument instrument_;
    std::string path_;
    std::string error_;
    int master_ = -1;
    int slave_ = -1; // held open so that the master never sees a hang-up between opens
    std::atomic<bool> running_{false};
    std::atomic<bool> pace_{false};
    std::atomic<int> delayMs_{0};
    std::atomic<int> splitGapMs_{0};
    std::thread thread_;
};

} // namespace pa::sim
