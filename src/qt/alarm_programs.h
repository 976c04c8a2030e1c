// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Runs an alarm's program: started without a shell, never waited for, so that a program that
// hangs or is slow never holds up the live cycle. A program still running after
// kTimeLimitMs is ended; at most kMaxRunning run at once (one more is not started, and says
// so). How each ended (its exit status, a crash, a failed start) goes to the report function.
#include <QObject>
#include <functional>
#include <string>
#include <vector>

namespace pa::qt {

class AlarmPrograms : public QObject {
  public:
    static constexpr int kTimeLimitMs = 60000;
    static constexpr int kMaxRunning = 8;

    explicit AlarmPrograms(std::function<void(const std::string&)> report,
                           QObject* parent = nullptr);
    ~AlarmPrograms() override;
    // arguments[0] is the program; label names the alarm in the report.
    void start(const std::vector<std::string>& arguments, const std::string& label);
    int running() const { return running_; }

  private:
    std::function<void(const std::string&)> report_;
    int running_ = 0;
};

} // namespace pa::qt
