// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// What the timed desktop programs share: a Ui that answers every dialog at once, so that
// nothing waits for a person, and the CPU time of the calling thread.
#include "app/ui.h"

#include <QApplication>
#include <sys/resource.h>

namespace pa::bench {

// Answers every dialog at once.
class ClickingUi : public app::Ui {
  public:
    app::Answer message(const std::string&, const std::string&, app::Icon, app::Buttons) override {
        return app::Answer::Ok;
    }
    std::optional<std::string> input(const std::string&, const std::string&,
                                     const std::string& d) override {
        return d;
    }
    std::optional<std::string> openFile(const std::string&, const std::string&) override {
        return std::nullopt;
    }
    std::optional<std::string> saveFile(const std::string&, const std::string&) override {
        return std::nullopt;
    }
    void statusShow() override {}
    void statusHide() override {}
    void statusCaption(const std::string&) override {}
    void statusText(const std::string&) override {}
    void processEvents() override { QApplication::processEvents(); }
    void beep() override {}
    void openDocument(const std::string&) override {}
};

inline double threadCpuSeconds() {
    rusage u{};
    getrusage(RUSAGE_THREAD, &u);
    return u.ru_utime.tv_sec + u.ru_stime.tv_sec + (u.ru_utime.tv_usec + u.ru_stime.tv_usec) / 1e6;
}

} // namespace pa::bench
