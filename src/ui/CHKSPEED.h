// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The small status window: a caption and one line of text. Used by the speed check, by
// recording ("Recording !") and as the datalogger's progress display, where a bar under the
// text line shows the same count as the text. Long transfers offer a Cancel button (Escape
// presses it) below them.
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QWidget>

namespace pa::ui {

class CHKSPEED : public QWidget {
    Q_OBJECT
  public:
    explicit CHKSPEED(QWidget* parent = nullptr);
    // Each new text is painted at once, without waiting for the event loop: the speed check
    // times 1010 such updates, so on a slow PC it takes long enough to be noticed.
    void setText(const QString& text) {
        text_->setText(text);
        if (text_->isVisible())
            text_->repaint();
    }
    QString text() const { return text_->text(); }
    // The caption, with the window made wide enough that the title bar shows it whole.
    void setCaption(const QString& caption);
    // done of total on the bar, with label on it (the percentage when empty); a total of 0
    // hides the bar.
    void setProgress(int done, int total, const QString& label = {});
    QProgressBar* progressBar() const { return bar_; }
    // Places the window centred over another one (its owner) before it is shown.
    void centreOver(const QWidget* window);

    // Shows or hides the Cancel button; offering it clears an earlier press.
    void setCancellable(bool offered);
    bool cancelled() const { return cancelled_; }
    QPushButton* cancelButton() const { return cancel_; }

  protected:
    void keyPressEvent(QKeyEvent* event) override;

  private:
    QLabel* text_;
    QProgressBar* bar_;
    QPushButton* cancel_;
    bool cancelled_ = false;
};

} // namespace pa::ui
