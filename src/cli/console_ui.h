// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Dialog seam for the command-line program: messages go to standard error, questions are
// answered with their defaults (nobody is there to type).
#include "app/ui.h"

namespace pa::cli {

class ConsoleUi : public app::Ui {
  public:
    app::Answer message(const std::string& text, const std::string& title, app::Icon icon,
                        app::Buttons buttons) override;
    std::optional<std::string> input(const std::string&, const std::string&,
                                     const std::string&) override {
        return std::nullopt;
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
    // Ctrl-C cancels the work in progress.
    bool statusCancelled() override;
    void processEvents() override;
    void beep() override {}
    void openDocument(const std::string&) override {}
};

} // namespace pa::cli
