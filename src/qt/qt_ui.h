// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Dialogs and the status window through Qt widgets.
#include "app/ui.h"

#include <QPointer>
#include <QWidget>

namespace pa::ui {
class CHKSPEED;
}

namespace pa::qt {

class QtUi : public app::Ui {
  public:
    QtUi();
    ~QtUi() override;
    // The window that owns the dialogs when no window of the program is active (the main
    // window once it exists). Otherwise a dialog belongs to the window the user works in, so
    // that this window comes back to the front when the dialog closes.
    void setOwner(QWidget* owner) { owner_ = owner; }
    QWidget* dialogOwner();
    ui::CHKSPEED* statusWindow() const { return status_; }

    app::Answer message(const std::string& text, const std::string& title, app::Icon icon,
                        app::Buttons buttons) override;
    std::optional<std::string> input(const std::string& prompt, const std::string& title,
                                     const std::string& defaultText) override;
    std::optional<std::string> openFile(const std::string& title,
                                        const std::string& filter) override;
    std::optional<std::string> saveFile(const std::string& title,
                                        const std::string& filter) override;
    std::optional<std::string> openFileIn(const std::string& title, const std::string& filter,
                                          const std::string& startPath) override;
    std::optional<std::string> saveFileAt(const std::string& title, const std::string& filter,
                                          const std::string& startPath) override;
    void statusShow() override;
    void statusHide() override;
    void statusCaption(const std::string& caption) override;
    void statusText(const std::string& text) override;
    void statusCancellable(bool offered) override;
    bool statusCancelled() override;
    void statusProgress(int done, int total, const std::string& label = {}) override;
    void processEvents() override;
    void beep() override;
    void openDocument(const std::string& path) override;

  private:
    QPointer<QWidget> owner_;
    QPointer<QWidget> lastActive_; // the window the last dialog belonged to
    ui::CHKSPEED* status_;
    bool statusShownBefore_ = false;
};

} // namespace pa::qt
