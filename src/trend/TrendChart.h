// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The trend window: the live readings over time, fed after every poll of the live cycle. It
// only reads what the cycle decoded: it never touches the port and never pauses sampling.
// One or two quantities (left and right axis) over the last 1 min, 10 min, 1 h or all that
// is held; Pause freezes the view so the scroll bar (or the arrow keys) can look back; the
// minimum, maximum and average of the shown span sit under the chart; the shown span saves
// as PNG or CSV. The chart is drawn here with QPainter from the store's per-pixel-column
// envelope, so a redraw costs the same for a minute as for a day.
#include "app/ui.h"
#include "trend/trend_feed.h"
#include "trend/trend_store.h"

#include <QWidget>
#include <array>
#include <string>
#include <utility>
#include <vector>

class QComboBox;
class QLabel;
class QPushButton;
class QScrollBar;

namespace pa::trend {

class TrendCanvas;

// The spans of the span list, in seconds; 0 is everything held.
inline constexpr std::array<double, 4> kSpans{60, 600, 3600, 0};

class TrendChart : public QWidget {
    Q_OBJECT
  public:
    explicit TrendChart(app::Ui& ui, std::size_t capacity = kDayOfSamples,
                        QWidget* parent = nullptr);

    void applyCaptions(int language);
    // After each poll tick of the live cycle: a sample per new clock text, a gap while silent.
    Added afterPoll(const PollState& poll);

    TrendStore& store() { return store_; }
    // The span on screen, from..to in seconds.
    std::pair<double, double> shownSpan() const;
    bool paused() const { return paused_; }
    // Freezes the view with its right edge at a time (Pause, or scrolling back), or goes live.
    void pauseAt(double end);
    void goLive();
    // Zooms the time axis about a time by a factor (below 1 in, above 1 out), or to from..to;
    // choosing a span in the list, or the whole held time, ends the zoom.
    void zoomAbout(double time, double factor);
    void zoomTo(double from, double to);
    // A fixed value range for the left (0) or right (1) axis; low == high: automatic again.
    void setAxisRange(int axis, double low, double high);
    // The canvas's menu: fixed or automatic axis ranges, back to live.
    void axisMenu(const QPoint& at);
    void askAxisRange(int axis);
    // The time, both values and any pause under an x position of the canvas.
    QString readoutAt(double time) const;

    // A mark at the newest sample (or the first one to come): an alarm raised (red) or cleared
    // (green), labelled with its name. The oldest marks go beyond kMaxMarks.
    void addMark(const QString& label, bool raised);
    struct Mark {
        double time;
        QString label;
        bool raised;
    };
    static constexpr std::size_t kMaxMarks = 1000;
    const std::vector<Mark>& marks() const { return marks_; }

    // The live readings are held still from now on (Get Hz, the datalogger, the viewer...),
    // for the reason given, until pauseEnded: the chart shows the time as a hatched gap
    // labelled with the reason, never as a line.
    void pauseBegan(const QString& reason, const app::DateTime& now);
    void pauseEnded(const app::DateTime& now);
    struct ReadingPause {
        double from, to; // to is NaN while the pause goes on
        QString reason;
    };
    const std::vector<ReadingPause>& readingPauses() const { return readingPauses_; }

    // Write the shown span; on failure the user is told why and false comes back.
    bool savePng(const std::string& path);
    bool saveCsv(const std::string& path);

  protected:
    void keyPressEvent(QKeyEvent* event) override;
    void showEvent(QShowEvent* event) override;

  private:
    friend class TrendCanvas;
    bool saved(const std::string& error); // tells the user of a failure
    double spanSeconds() const;           // of the span list's choice; 0 for all
    void showSpan(); // the scroll bar, the statistics and the canvas for the present view
    void scrolled(int value);
    void showPauseState();
    void resetTrend();
    void askAndSave(bool png);
    QString statsLine(int quantity, const QString& colour) const;

    app::Ui& ui_;
    TrendStore store_;
    std::vector<Mark> marks_;
    std::vector<ReadingPause> readingPauses_;
    double zoomSpan_ = 0;                                   // seconds shown while zoomed, else 0
    std::array<std::pair<double, double>, 2> fixedRange_{}; // low == high: automatic
    TrendFeed feed_{store_};
    int language_ = 1;
    bool paused_ = false;
    double pausedEnd_ = 0;
    bool updatingScroll_ = false;

    QComboBox* first_ = nullptr;
    QComboBox* second_ = nullptr;
    QComboBox* span_ = nullptr;
    QLabel* showLabel_ = nullptr;
    QLabel* andLabel_ = nullptr;
    QLabel* spanLabel_ = nullptr;
    QPushButton* pause_ = nullptr;
    QPushButton* reset_ = nullptr;
    QPushButton* png_ = nullptr;
    QPushButton* csv_ = nullptr;
    QWidget* chartArea_ = nullptr; // canvas and statistics: what Save PNG writes
    TrendCanvas* canvas_ = nullptr;
    QScrollBar* scroll_ = nullptr;
    QLabel* stats_ = nullptr;
};

} // namespace pa::trend
