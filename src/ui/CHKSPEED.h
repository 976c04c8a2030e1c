#pragma once
// The small status window: a caption and one line of text. Used by the speed check, by
// recording ("Recording !") and as the datalogger's progress display, where a bar under the
// text line shows the same count as the text.
#include <QLabel>
#include <QProgressBar>
#include <QWidget>

namespace pa::ui {

class CHKSPEED : public QWidget {
    Q_OBJECT
  public:
    explicit CHKSPEED(QWidget* parent = nullptr);
    void setText(const QString& text) { text_->setText(text); }
    QString text() const { return text_->text(); }
    // The caption, with the window made wide enough that the title bar shows it whole.
    void setCaption(const QString& caption);
    // done of total on the bar, with label on it (the percentage when empty); a total of 0
    // hides the bar.
    void setProgress(int done, int total, const QString& label = {});
    QProgressBar* progressBar() const { return bar_; }
    // Places the window centred over another one (its owner) before it is shown.
    void centreOver(const QWidget* window);

  private:
    QLabel* text_;
    QProgressBar* bar_;
};

} // namespace pa::ui
