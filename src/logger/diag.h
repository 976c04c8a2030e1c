// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The self-test window: starts the instrument's memory self-test and shows its results.
#include "logger/self_test.h"

#include <QLabel>
#include <QMainWindow>
#include <QPushButton>
#include <array>

namespace pa::logger {

class diag : public QMainWindow {
    Q_OBJECT
  public:
    diag(LoggerExchange& exchange, std::function<void(int)> liveSampling,
         QWidget* parent = nullptr);

    SelfTest& test() { return test_; }
    void diag_start();
    void diag_read();
    void refresh();

  private:
    QLabel* value(const char* name);

    SelfTest test_;
    std::array<QLabel*, 6> results_{}; // 1 link, 3 failure count, 5 memory status
    std::array<QLabel*, 4> verdict_{}; // 1 verdict, 3 failure detail
};

} // namespace pa::logger
