// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "trend/TrendChart.h"

#include "datafile/data_folder.h"
#include "datafile/output_file.h"
#include "text/number_text.h"
#include "ui/CaptionText.h"

#include <QBuffer>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QCoreApplication>
#include <QHBoxLayout>
#include <QImage>
#include <QKeyEvent>
#include <QLabel>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QPushButton>
#include <QRegularExpression>
#include <QScrollBar>
#include <QVBoxLayout>
#include <QWheelEvent>
#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>
#include <optional>
#include <vector>

namespace pa::trend {
namespace {

using ui::Caption;

using ui::captionText;

// The reading titles of the main window name the quantities, in the order of Quantity.
constexpr std::array<Caption, kQuantities> kQuantityTitles{
    Caption::Reading0, Caption::Reading1, Caption::Reading2, Caption::Reading3, Caption::Reading5,
    Caption::Reading6, Caption::Reading7, Caption::Reading4, Caption::Reading8};
const QColor kFirstColour(0x15, 0x65, 0xc0);
const QColor kSecondColour(0xd8, 0x43, 0x15);
const QColor kGapColour(0xe5, 0x73, 0x73);
const QColor kPauseColour(0x78, 0x90, 0x9c);

// The plot area's margins: axis numbers left and right, clock times below.
constexpr int kLeftMargin = 64, kRightMargin = 64, kTopMargin = 26, kBottomMargin = 26;
constexpr int kMinTimeLabelGap = 90; // pixels between clock-time labels at least
constexpr double kLeastRelativeRange = 0.04;
constexpr double kLeastZoomSeconds = 5;
constexpr double kLeastDragPixels = 6;
constexpr double kWheelZoom = 1.25; // the span per wheel step

QString number(double v) {
    return QString::number(v, 'g', 6);
}

// The decimals a reading is shown with; nothing for an exponent form.
std::optional<int> decimalsShown(double v) {
    const QString text = number(v);
    if (text.contains('e'))
        return std::nullopt;
    const qsizetype point = text.indexOf('.');
    return point < 0 ? 0 : static_cast<int>(text.size() - point - 1);
}

// The average with the resolution of the readings it is made of: "393.8" beside 390.1 and
// 397.5, not "393.824".
QString average(const Stats& s) {
    const auto low = decimalsShown(s.min), high = decimalsShown(s.max);
    return low && high ? QString::number(s.mean, 'f', std::max(*low, *high)) : number(s.mean);
}

// A step of 1, 2 or 5 times a power of ten that cuts a range into about `parts` pieces.
double niceStep(double range, int parts) {
    const double raw = range / std::max(parts, 1);
    const double power = std::pow(10.0, std::floor(std::log10(raw)));
    for (double m : {1.0, 2.0, 5.0})
        if (raw <= m * power)
            return m * power;
    return 10 * power;
}

// The clock-time steps of the X axis, in seconds.
constexpr double kTimeSteps[] = {1,   2,   5,    10,   15,   30,    60,    120,   300,
                                 600, 900, 1800, 3600, 7200, 10800, 21600, 43200, 86400};

struct Axis {
    double low = 0, high = 1;
    double y(double v, const QRect& plot) const {
        return plot.bottom() - (v - low) / (high - low) * plot.height();
    }
};

// Fits an axis to the values of an envelope, with a little room above and below.
Axis fitAxis(const std::vector<Column>& columns) {
    bool any = false;
    double low = 0, high = 0;
    for (const Column& c : columns) {
        if (!c.data)
            continue;
        low = any ? std::min<double>(low, c.min) : c.min;
        high = any ? std::max<double>(high, c.max) : c.max;
        any = true;
    }
    if (!any)
        return {};
    // A steady reading is not blown up into its last digit's flicker: the axis spans at
    // least a few percent of the value.
    const double least = std::max(std::abs(high), std::abs(low)) * kLeastRelativeRange;
    if (high - low < least) {
        const double middle = (high + low) / 2;
        low = middle - least / 2;
        high = middle + least / 2;
    }
    double room = (high - low) * 0.08;
    if (room == 0)
        room = std::max(std::abs(high) * 0.05, 0.5);
    return {low - room, high + room};
}

// One quantity's line: per column a stroke from minimum to maximum, joined to the previous
// value unless a gap lies between; a lone value is a dot.
void drawEnvelope(QPainter& p, const std::vector<Column>& columns, const Axis& axis,
                  const QRect& plot, const QColor& colour, double width, Qt::PenStyle style) {
    std::vector<QLineF> lines;
    std::vector<QPointF> dots;
    lines.reserve(columns.size() * 2);
    double prevX = 0, prevY = 0;
    bool prev = false;
    for (std::size_t c = 0; c < columns.size(); ++c) {
        const Column& col = columns[c];
        if (!col.data)
            continue;
        const double x = plot.left() + static_cast<double>(c) + 0.5;
        if (col.joins && prev)
            lines.emplace_back(prevX, prevY, x, axis.y(col.first, plot));
        if (col.max > col.min)
            lines.emplace_back(x, axis.y(col.min, plot), x, axis.y(col.max, plot));
        const bool nextJoins = [&] {
            for (std::size_t n = c + 1; n < columns.size(); ++n)
                if (columns[n].data)
                    return columns[n].joins;
            return false;
        }();
        if (!(col.joins && prev) && !nextJoins && col.max == col.min)
            dots.emplace_back(x, axis.y(col.min, plot));
        prevX = x;
        prevY = axis.y(col.last, plot);
        prev = true;
    }
    QPen pen(colour, width, style);
    if (style != Qt::SolidLine)
        pen.setDashPattern({5, 4});
    p.setPen(pen);
    p.drawLines(lines.data(), static_cast<int>(lines.size()));
    p.setPen(QPen(colour, 4, Qt::SolidLine, Qt::RoundCap));
    p.drawPoints(dots.data(), static_cast<int>(dots.size()));
}

// What the chart's marks mean, in the plot's bottom-right corner: those in view (shown[i]).
void drawLegend(QPainter& p, const QRect& plot, int language, const std::array<bool, 4>& shown) {
    const std::pair<QColor, Caption> items[] = {{kGapColour, Caption::TrendLegendMissing},
                                                {kPauseColour, Caption::TrendLegendPaused},
                                                {QColor(0xc6, 0x28, 0x28), Caption::AlarmRaised},
                                                {QColor(0x2e, 0x7d, 0x32), Caption::AlarmCleared}};
    const QFontMetrics m = p.fontMetrics();
    double x = plot.right() - 6;
    const double y = plot.bottom() - 8 - m.height();
    for (auto it = std::rbegin(items); it != std::rend(items); ++it) {
        if (!shown[static_cast<std::size_t>(&*it - items)])
            continue;
        const QString text = captionText(it->second, language);
        const double w = m.horizontalAdvance(text) + 18;
        x -= w;
        p.fillRect(QRectF(x, y + m.height() / 2.0 - 4, 12, 8),
                   it->second == Caption::TrendLegendPaused ? QBrush(it->first, Qt::BDiagPattern)
                                                            : QBrush(it->first));
        p.setPen(QColor(0x42, 0x42, 0x42));
        p.drawText(QPointF(x + 15, y + m.ascent()), text);
        x -= 8;
    }
}

} // namespace

// The drawing surface of the chart. Under the mouse a cross-hair reads out the time and the
// values; the wheel zooms the time axis about the mouse, a dragged box zooms to its span.
class TrendCanvas : public QWidget {
  public:
    explicit TrendCanvas(TrendChart& chart) : QWidget(&chart), chart_(chart) {
        setObjectName("trend_canvas");
        setMinimumSize(480, 240);
        setFocusPolicy(Qt::StrongFocus);
        setAttribute(Qt::WA_OpaquePaintEvent);
        setMouseTracking(true);
    }
    QRect plotRect() const {
        return {kLeftMargin, kTopMargin, width() - kLeftMargin - kRightMargin,
                height() - kTopMargin - kBottomMargin};
    }
    double timeAt(double x) const {
        const auto [from, to] = chart_.shownSpan();
        const QRect plot = plotRect();
        return from + (x - plot.left()) / std::max(plot.width(), 1) * (to - from);
    }
    // The read-out under the mouse, empty when the mouse is not over the plot.
    QString readout() const {
        return mouse_ && plotRect().contains(*mouse_) ? chart_.readoutAt(timeAt(mouse_->x()))
                                                      : QString();
    }

  protected:
    void paintEvent(QPaintEvent*) override;
    void mouseMoveEvent(QMouseEvent* e) override {
        mouse_ = e->position().toPoint();
        update();
    }
    void leaveEvent(QEvent*) override {
        mouse_.reset();
        update();
    }
    void mousePressEvent(QMouseEvent* e) override {
        if (e->button() == Qt::LeftButton && plotRect().contains(e->position().toPoint()))
            dragFrom_ = e->position().x();
    }
    void mouseReleaseEvent(QMouseEvent* e) override {
        if (!dragFrom_ || e->button() != Qt::LeftButton)
            return;
        const double a = *dragFrom_, b = e->position().x();
        dragFrom_.reset();
        if (std::abs(b - a) >= kLeastDragPixels)
            chart_.zoomTo(timeAt(std::min(a, b)), timeAt(std::max(a, b)));
        update();
    }
    void contextMenuEvent(QContextMenuEvent* e) override { chart_.axisMenu(e->globalPos()); }
    void wheelEvent(QWheelEvent* e) override {
        const int steps = e->angleDelta().y() / 120;
        if (steps == 0 || !plotRect().contains(e->position().toPoint()))
            return;
        chart_.zoomAbout(timeAt(e->position().x()), std::pow(kWheelZoom, -steps));
    }

  private:
    void drawTimeAxis(QPainter& p, const QRect& plot, double from, double to);
    void drawValueAxis(QPainter& p, const QRect& plot, const Axis& axis, bool right,
                       const QColor& colour, const QString& title);
    void drawCrossHair(QPainter& p, const QRect& plot);
    TrendChart& chart_;
    std::optional<QPoint> mouse_;
    std::optional<double> dragFrom_;
};

void TrendCanvas::drawCrossHair(QPainter& p, const QRect& plot) {
    if (dragFrom_ && mouse_) {
        const double a = std::clamp<double>(*dragFrom_, plot.left(), plot.right());
        const double b = std::clamp<double>(mouse_->x(), plot.left(), plot.right());
        p.fillRect(QRectF(std::min(a, b), plot.top(), std::abs(b - a), plot.height()),
                   QColor(0x15, 0x65, 0xc0, 40));
    }
    const QString text = readout();
    if (text.isEmpty())
        return;
    p.setPen(QPen(QColor(0x42, 0x42, 0x42), 1, Qt::DotLine));
    p.drawLine(QPointF(mouse_->x() + 0.5, plot.top()), QPointF(mouse_->x() + 0.5, plot.bottom()));
    p.drawLine(QPointF(plot.left(), mouse_->y() + 0.5), QPointF(plot.right(), mouse_->y() + 0.5));
    QRectF box = p.fontMetrics().boundingRect(text).adjusted(-5, -3, 5, 3);
    box.moveTopLeft(QPointF(mouse_->x() + 10, mouse_->y() + 10));
    if (box.right() > plot.right())
        box.moveRight(mouse_->x() - 10);
    if (box.bottom() > plot.bottom())
        box.moveBottom(mouse_->y() - 10);
    p.fillRect(box, QColor(255, 255, 240, 235));
    p.setPen(QColor(0x42, 0x42, 0x42));
    p.setBrush(Qt::NoBrush);
    p.drawRect(box);
    p.drawText(box, Qt::AlignCenter, text);
}

void TrendCanvas::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.fillRect(rect(), Qt::white);
    const QRect plot = plotRect();
    if (plot.width() < 10 || plot.height() < 10)
        return;
    p.setPen(QColor(0x9e, 0x9e, 0x9e));
    p.drawRect(plot.adjusted(0, 0, -1, -1));
    const TrendStore& store = chart_.store_;
    if (store.empty()) {
        p.setPen(Qt::darkGray);
        p.drawText(plot, Qt::AlignCenter, captionText(Caption::TrendEmpty, chart_.language_));
        return;
    }
    const auto [from, to] = chart_.shownSpan();
    drawTimeAxis(p, plot, from, to);

    const bool dense =
        static_cast<int>(store.firstAtOrAfter(to) - store.firstAtOrAfter(from)) > plot.width();
    const int quantities[] = {chart_.first_->currentIndex(), chart_.second_->currentIndex() - 1};
    const QColor colours[] = {kFirstColour, kSecondColour};
    std::vector<Column> gaps;
    for (int i = 0; i < 2; ++i) {
        const int q = quantities[i];
        if (q < 0 || q >= kQuantities)
            continue;
        const auto columns = store.envelope(static_cast<Quantity>(q), from, to, plot.width());
        const auto [low, high] = chart_.fixedRange_[static_cast<std::size_t>(i)];
        const Axis axis = low < high ? Axis{low, high} : fitAxis(columns);
        drawValueAxis(p, plot, axis, i == 1, colours[i],
                      captionText(kQuantityTitles[q], chart_.language_));
        p.save();
        p.setClipRect(plot);
        // With more samples than pixels the strokes are whole pixel columns: drawn without
        // smoothing, which costs a fraction as much.
        p.setRenderHint(QPainter::Antialiasing, !dense);
        // The second line dashed, so that it stays visible where it lies on the first (W and
        // VA of a resistive load).
        drawEnvelope(p, columns, axis, plot, colours[i], dense ? 1.0 : 1.6,
                     i == 1 ? Qt::DashLine : Qt::SolidLine);
        p.restore();
        if (gaps.empty())
            gaps = columns;
    }
    // Pauses of the readings: a hatched band over their time, their reason at its top. The
    // gaps at their edges are the pause's, not missing readings.
    for (const TrendChart::ReadingPause& pause : chart_.readingPauses_) {
        const double end = std::isnan(pause.to) ? store.newestTime() : pause.to;
        if (end < from || pause.from > to)
            continue;
        const double left =
            plot.left() + (std::max(pause.from, from) - from) / (to - from) * plot.width();
        const double right = plot.left() + (std::min(end, to) - from) / (to - from) * plot.width();
        const QRectF band(left, plot.top() + 1, std::max(right - left, 2.0), plot.height() - 2);
        p.fillRect(band, QBrush(kPauseColour, Qt::BDiagPattern));
        p.setPen(kPauseColour.darker(140));
        const QString label = p.fontMetrics().elidedText(pause.reason, Qt::ElideRight,
                                                         static_cast<int>(band.width()) - 4);
        p.drawText(band.adjusted(2, 16, -2, 0), Qt::AlignHCenter | Qt::AlignTop, label);
        for (int c = std::max(0, static_cast<int>(left) - plot.left() - 1);
             c <= static_cast<int>(right) - plot.left() + 1 && c < static_cast<int>(gaps.size());
             ++c)
            gaps[static_cast<std::size_t>(c)].gap = false;
    }
    // Alarm marks: a dashed line at the time, the alarm's name at its top.
    for (const TrendChart::Mark& m : chart_.marks_) {
        if (m.time < from || m.time > to)
            continue;
        const double x = plot.left() + (m.time - from) / (to - from) * plot.width();
        const QColor colour = m.raised ? QColor(0xc6, 0x28, 0x28) : QColor(0x2e, 0x7d, 0x32);
        p.setPen(QPen(colour, 1, Qt::DashLine));
        p.drawLine(QPointF(x, plot.top() + 1), QPointF(x, plot.bottom() - 1));
        p.setPen(colour);
        p.drawText(QPointF(x + 3, plot.top() + 12), m.label);
    }
    // Where readings are missing (NO COM, overload, HOLD), a red band along the time axis.
    p.setPen(Qt::NoPen);
    p.setBrush(kGapColour);
    for (std::size_t c = 0; c < gaps.size(); ++c)
        if (gaps[c].gap)
            p.drawRect(QRectF(plot.left() + static_cast<double>(c), plot.bottom() - 3, 1, 4));
    std::array<bool, 4> inView{};
    inView[0] = std::any_of(gaps.begin(), gaps.end(), [](const Column& c) { return c.gap; });
    for (const TrendChart::ReadingPause& pause : chart_.readingPauses_)
        inView[1] |= pause.from <= to && (std::isnan(pause.to) || pause.to >= from);
    for (const TrendChart::Mark& m : chart_.marks_)
        inView[m.raised ? 2 : 3] |= m.time >= from && m.time <= to;
    drawLegend(p, plot, chart_.language_, inView);
    drawCrossHair(p, plot);
}

void TrendCanvas::drawTimeAxis(QPainter& p, const QRect& plot, double from, double to) {
    // Across midnight each label carries its date (MM-DD) too.
    const bool days = std::floor(from / 86400) != std::floor(to / 86400);
    const int labelGap = days ? kMinTimeLabelGap * 3 / 2 : kMinTimeLabelGap;
    double step = kTimeSteps[std::size(kTimeSteps) - 1];
    for (double s : kTimeSteps) {
        if ((to - from) / s * labelGap <= plot.width()) {
            step = s;
            break;
        }
    }
    const QColor grid(0xee, 0xee, 0xee);
    for (double t = std::ceil(from / step) * step; t <= to; t += step) {
        const double x = plot.left() + (t - from) / (to - from) * plot.width();
        p.setPen(grid);
        p.drawLine(QPointF(x, plot.top() + 1), QPointF(x, plot.bottom() - 1));
        p.setPen(Qt::black);
        QString label = QString::fromStdString(clockTextOf(t)).left(step < 60 ? 8 : 5);
        if (days)
            label = QString::fromStdString(dateTextOf(t)).mid(5) + " " + label;
        p.drawText(QRectF(x - 70, plot.bottom() + 4, 140, kBottomMargin - 4),
                   Qt::AlignHCenter | Qt::AlignTop, label);
    }
}

void TrendCanvas::drawValueAxis(QPainter& p, const QRect& plot, const Axis& axis, bool right,
                                const QColor& colour, const QString& title) {
    const double step = niceStep(axis.high - axis.low, std::max(plot.height() / 50, 2));
    for (double v = std::ceil(axis.low / step) * step; v <= axis.high; v += step) {
        const double y = axis.y(v, plot);
        if (!right) {
            p.setPen(QColor(0xee, 0xee, 0xee));
            p.drawLine(QPointF(plot.left() + 1, y), QPointF(plot.right() - 1, y));
        }
        p.setPen(colour);
        const double shown = std::abs(v) < step / 1e6 ? 0 : v;
        const QRectF box = right ? QRectF(plot.right() + 6, y - 10, kRightMargin - 8, 20)
                                 : QRectF(2, y - 10, kLeftMargin - 8, 20);
        p.drawText(box, (right ? Qt::AlignLeft : Qt::AlignRight) | Qt::AlignVCenter, number(shown));
    }
    QFont bold = p.font();
    bold.setBold(true);
    p.save();
    p.setFont(bold);
    p.setPen(colour);
    const QRectF titleBox =
        right ? QRectF(plot.right() - 200, 2, 200 + kRightMargin - 4, 20) : QRectF(4, 2, 300, 20);
    p.drawText(titleBox, (right ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter, title);
    p.restore();
}

TrendChart::TrendChart(app::Ui& ui, std::size_t capacity, QWidget* parent)
    : QWidget(parent), ui_(ui), store_(capacity) {
    setObjectName("Trend");
    auto* layout = new QVBoxLayout(this);

    auto* controls = new QHBoxLayout;
    showLabel_ = new QLabel(this);
    first_ = new QComboBox(this);
    first_->setObjectName("trend_quantity");
    andLabel_ = new QLabel(this);
    second_ = new QComboBox(this);
    second_->setObjectName("trend_second");
    spanLabel_ = new QLabel(this);
    span_ = new QComboBox(this);
    span_->setObjectName("trend_span");
    for (QComboBox* box : {first_, second_, span_})
        box->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    showLabel_->setBuddy(first_);
    andLabel_->setBuddy(second_);
    spanLabel_->setBuddy(span_);
    pause_ = new QPushButton(this);
    pause_->setObjectName("trend_pause");
    pause_->setCheckable(true);
    reset_ = new QPushButton(this);
    reset_->setObjectName("trend_reset");
    png_ = new QPushButton(this);
    png_->setObjectName("trend_png");
    csv_ = new QPushButton(this);
    csv_->setObjectName("trend_csv");
    for (QWidget* w : std::initializer_list<QWidget*>{showLabel_, first_, andLabel_, second_,
                                                      spanLabel_, span_, pause_})
        controls->addWidget(w);
    controls->addStretch(1);
    for (QWidget* w : {reset_, png_, csv_})
        controls->addWidget(w);
    layout->addLayout(controls);

    chartArea_ = new QWidget(this);
    chartArea_->setObjectName("trend_chart");
    chartArea_->setAutoFillBackground(true);
    QPalette white = chartArea_->palette();
    white.setColor(QPalette::Window, Qt::white);
    chartArea_->setPalette(white);
    auto* area = new QVBoxLayout(chartArea_);
    area->setContentsMargins(0, 0, 0, 4);
    canvas_ = new TrendCanvas(*this);
    canvas_->setParent(chartArea_);
    stats_ = new QLabel(chartArea_);
    stats_->setObjectName("trend_stats");
    stats_->setTextFormat(Qt::RichText);
    stats_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    stats_->setContentsMargins(kLeftMargin, 0, 0, 0);
    area->addWidget(canvas_, 1);
    area->addWidget(stats_);
    layout->addWidget(chartArea_, 1);

    scroll_ = new QScrollBar(Qt::Horizontal, this);
    scroll_->setObjectName("trend_scroll");
    layout->addWidget(scroll_);

    connect(first_, &QComboBox::currentIndexChanged, this, [this] { showSpan(); });
    connect(second_, &QComboBox::currentIndexChanged, this, [this] { showSpan(); });
    connect(span_, &QComboBox::currentIndexChanged, this, [this] {
        zoomSpan_ = 0;
        showSpan();
    });
    connect(pause_, &QPushButton::toggled, this, [this](bool on) {
        if (on == paused_)
            return;
        if (on)
            pauseAt(store_.newestTime());
        else
            goLive();
    });
    connect(scroll_, &QScrollBar::valueChanged, this, &TrendChart::scrolled);
    connect(reset_, &QPushButton::clicked, this, &TrendChart::resetTrend);
    connect(png_, &QPushButton::clicked, this, [this] { askAndSave(true); });
    connect(csv_, &QPushButton::clicked, this, [this] { askAndSave(false); });

    applyCaptions(1);
    resize(900, 480);
}

void TrendChart::applyCaptions(int language) {
    language_ = language;
    auto refill = [language](QComboBox* box, const std::vector<Caption>& items) {
        const int index = std::max(box->currentIndex(), 0);
        const QSignalBlocker quiet(box);
        box->clear();
        for (Caption c : items)
            box->addItem(captionText(c, language));
        box->setCurrentIndex(index);
    };
    refill(first_, {kQuantityTitles.begin(), kQuantityTitles.end()});
    std::vector<Caption> seconds{Caption::TrendNone};
    seconds.insert(seconds.end(), kQuantityTitles.begin(), kQuantityTitles.end());
    refill(second_, seconds);
    refill(span_,
           {Caption::TrendMinute, Caption::TrendTenMinutes, Caption::TrendHour, Caption::TrendAll});
    setWindowTitle(captionText(Caption::Trend, language));
    showLabel_->setText(captionText(Caption::TrendShow, language));
    andLabel_->setText(captionText(Caption::TrendAnd, language));
    spanLabel_->setText(captionText(Caption::TrendSpan, language));
    showPauseState();
    reset_->setText(captionText(Caption::TrendReset, language));
    png_->setText(captionText(Caption::TrendSavePng, language));
    csv_->setText(captionText(Caption::TrendSaveCsv, language));
    showSpan();
}

Added TrendChart::afterPoll(const PollState& poll) {
    const Added added = feed_.afterPoll(poll);
    // Marks made before the first sample go at the first one.
    for (Mark& m : marks_)
        if (std::isnan(m.time) && !store_.empty())
            m.time = store_.newestTime();
    // A hidden or paused chart keeps collecting without drawing.
    if (added != Added::Nothing && isVisible() && !paused_)
        showSpan();
    return added;
}

double TrendChart::spanSeconds() const {
    if (zoomSpan_ > 0)
        return zoomSpan_;
    return kSpans[static_cast<std::size_t>(std::clamp(span_->currentIndex(), 0, 3))];
}

std::pair<double, double> TrendChart::shownSpan() const {
    const double span = spanSeconds();
    const double end = paused_ ? pausedEnd_ : store_.newestTime();
    if (span == 0) {
        const double start = store_.oldestTime();
        return {start, std::max(end, start + 1)};
    }
    return {end - span, end};
}

void TrendChart::pauseAt(double end) {
    // The right edge goes back no further than where the oldest reading fills the span.
    const double span = spanSeconds();
    const double newest = store_.newestTime();
    paused_ = true;
    pausedEnd_ = std::clamp(end, std::min(store_.oldestTime() + span, newest), newest);
    const QSignalBlocker quiet(pause_);
    pause_->setChecked(true);
    showPauseState();
    showSpan();
}

void TrendChart::goLive() {
    paused_ = false;
    const QSignalBlocker quiet(pause_);
    pause_->setChecked(false);
    showPauseState();
    showSpan();
}

void TrendChart::showPauseState() {
    // The button says what a click does: hold the view, or go back to live.
    pause_->setText(
        captionText(paused_ ? Caption::TrendLiveButton : Caption::TrendPause, language_));
}

void TrendChart::scrolled(int value) {
    if (updatingScroll_)
        return;
    // The scroll bar counts whole seconds from the oldest sample to the right edge.
    const double end = store_.oldestTime() + value;
    if (value >= scroll_->maximum())
        goLive();
    else
        pauseAt(end);
}

void TrendChart::showSpan() {
    const double to = shownSpan().second;
    const double span = spanSeconds();
    {
        updatingScroll_ = true;
        const int held = static_cast<int>(std::ceil(store_.newestTime() - store_.oldestTime()));
        scroll_->setEnabled(span != 0 && held > span);
        scroll_->setRange(std::min(static_cast<int>(span), held), held);
        scroll_->setPageStep(static_cast<int>(span));
        scroll_->setSingleStep(std::max(1, static_cast<int>(span / 10)));
        scroll_->setValue(static_cast<int>(std::lround(to - store_.oldestTime())));
        updatingScroll_ = false;
    }
    QString text;
    if (!store_.empty()) {
        text = statsLine(first_->currentIndex(), kFirstColour.name());
        if (second_->currentIndex() > 0)
            text += "<br>" + statsLine(second_->currentIndex() - 1, kSecondColour.name());
    }
    stats_->setText(text);
    canvas_->update();
}

QString TrendChart::statsLine(int quantity, const QString& colour) const {
    const auto [from, to] = shownSpan();
    const Stats s = store_.stats(static_cast<Quantity>(quantity), from, to);
    QString line =
        QString("<b style=\"color:%1\">%2</b>&nbsp;&nbsp;")
            .arg(colour, captionText(kQuantityTitles[quantity], language_).toHtmlEscaped());
    if (s.count == 0)
        return line + "&mdash;";
    const std::pair<Caption, QString> figures[] = {{Caption::TrendMinimum, number(s.min)},
                                                   {Caption::TrendMaximum, number(s.max)},
                                                   {Caption::TrendAverage, average(s)}};
    for (const auto& [c, v] : figures)
        line += QString("%1 <b>%2</b>&nbsp;&nbsp;&nbsp;")
                    .arg(captionText(c, language_).toHtmlEscaped(), v);
    return line;
}

void TrendChart::addMark(const QString& label, bool raised) {
    if (marks_.size() >= kMaxMarks)
        marks_.erase(marks_.begin());
    // Before the first sample there is no time yet: the mark waits for it.
    marks_.push_back({store_.empty() ? std::nan("") : store_.newestTime(), label, raised});
    if (canvas_)
        canvas_->update();
}

void TrendChart::zoomAbout(double time, double factor) {
    const auto [from, to] = shownSpan();
    const double held = std::max(store_.newestTime() - store_.oldestTime(), 1.0);
    const double span = std::clamp((to - from) * factor, kLeastZoomSeconds, held);
    zoomTo(time - (time - from) * span / (to - from), time + (to - time) * span / (to - from));
}

void TrendChart::zoomTo(double from, double to) {
    if (!(to - from >= kLeastZoomSeconds) || store_.empty())
        return;
    zoomSpan_ = to - from;
    if (to >= store_.newestTime())
        goLive();
    else
        pauseAt(to);
}

void TrendChart::setAxisRange(int axis, double low, double high) {
    fixedRange_[static_cast<std::size_t>(axis & 1)] = {std::min(low, high), std::max(low, high)};
    showSpan();
}

void TrendChart::axisMenu(const QPoint& at) {
    QMenu menu(this);
    for (int axis = 0; axis < 2; ++axis)
        menu.addAction(
            captionText(axis ? Caption::TrendRightRange : Caption::TrendLeftRange, language_),
            [this, axis] { askAxisRange(axis); });
    menu.addAction(captionText(Caption::TrendAutoRange, language_), [this] {
        fixedRange_ = {};
        showSpan();
    });
    menu.addSeparator();
    menu.addAction(captionText(Caption::TrendBackToLive, language_), [this] {
        zoomSpan_ = 0;
        goLive();
    });
    menu.exec(at);
}

void TrendChart::askAxisRange(int axis) {
    const auto [low, high] = fixedRange_[static_cast<std::size_t>(axis)];
    const std::string now =
        low < high ? text::shortestGeneral(low, 6) + " " + text::shortestGeneral(high, 6) : "";
    const auto answer = ui_.input(
        ui::caption(Caption::TrendRangePrompt, language_),
        ui::withoutMark(
            captionText(axis ? Caption::TrendRightRange : Caption::TrendLeftRange, language_))
            .remove("...")
            .toStdString(),
        now);
    if (!answer)
        return;
    const QStringList parts =
        QString::fromStdString(*answer).split(QRegularExpression("[\\s;]+"), Qt::SkipEmptyParts);
    const auto a = parts.size() == 2 ? text::parseDecimal(parts[0].toStdString()) : std::nullopt;
    const auto b = parts.size() == 2 ? text::parseDecimal(parts[1].toStdString()) : std::nullopt;
    if (a && b && *a != *b)
        setAxisRange(axis, *a, *b);
    else
        setAxisRange(axis, 0, 0); // anything else: automatic
}

QString TrendChart::readoutAt(double time) const {
    if (store_.empty())
        return {};
    // The sample nearest the time.
    std::size_t i = std::min(store_.firstAtOrAfter(time), store_.size() - 1);
    if (i > 0 && time - store_.time(i - 1) < store_.time(i) - time)
        --i;
    QString text = QString::fromStdString(clockTextOf(store_.time(i)));
    const int quantities[] = {first_->currentIndex(), second_->currentIndex() - 1};
    for (int q : quantities) {
        if (q < 0 || q >= kQuantities)
            continue;
        const float v = store_.value(i, static_cast<Quantity>(q));
        text += QString("   %1 %2")
                    .arg(captionText(kQuantityTitles[q], language_),
                         std::isnan(v) ? QString("—") : number(v));
    }
    for (const ReadingPause& pause : readingPauses_)
        if (time >= pause.from && (std::isnan(pause.to) || time <= pause.to))
            text += "   " + pause.reason;
    return text;
}

void TrendChart::pauseBegan(const QString& reason, const app::DateTime& now) {
    if (!readingPauses_.empty() && std::isnan(readingPauses_.back().to))
        return; // one pause at a time: the first reason holds
    if (readingPauses_.size() >= kMaxMarks)
        readingPauses_.erase(readingPauses_.begin());
    feed_.pauseEdge(now);
    readingPauses_.push_back({store_.newestTime(), std::nan(""), reason});
    if (isVisible() && !paused_)
        showSpan();
}

void TrendChart::pauseEnded(const app::DateTime& now) {
    if (readingPauses_.empty() || !std::isnan(readingPauses_.back().to))
        return;
    feed_.pauseEdge(now);
    readingPauses_.back().to = store_.newestTime();
    if (isVisible() && !paused_)
        showSpan();
}

void TrendChart::resetTrend() {
    if (store_.empty())
        return;
    if (ui_.message(ui::caption(Caption::TrendClearQuestion, language_),
                    ui::caption(Caption::Trend, language_), app::Icon::Question,
                    app::Buttons::YesNo) != app::Answer::Yes)
        return;
    store_.clear();
    marks_.clear();
    // A pause going on stays, from now.
    const bool pausing = !readingPauses_.empty() && std::isnan(readingPauses_.back().to);
    const QString reason = pausing ? readingPauses_.back().reason : QString();
    readingPauses_.clear();
    if (pausing)
        readingPauses_.push_back({0, std::nan(""), reason});
    goLive();
}

void TrendChart::askAndSave(bool png) {
    const std::string folder = datafile::DataFolder().path;
    const auto path = ui_.saveFileAt(
        ui::withoutMark(captionText(png ? Caption::TrendSavePng : Caption::TrendSaveCsv, language_))
            .remove("...")
            .toStdString(),
        ui::caption(png ? Caption::PngFilter : Caption::CsvFilesFilter, language_),
        datafile::joinPath(folder, png ? "trend.png" : "trend.csv"));
    if (!path || path->empty())
        return;
    if (png)
        savePng(*path);
    else
        saveCsv(*path);
}

bool TrendChart::savePng(const std::string& path) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    std::string error = "cannot write " + path + ": the picture could not be encoded";
    // Above the chart: what it shows, over which period, and from which program.
    QPixmap chart = chartArea_->grab();
    chart.setDevicePixelRatio(1); // composed in the picture's own pixels
    const int header = fontMetrics().height() + 12;
    QImage picture(chart.width(), chart.height() + header, QImage::Format_RGB32);
    picture.fill(Qt::white);
    {
        QPainter p(&picture);
        p.drawPixmap(0, header, chart);
        QString quantities = first_->currentText();
        if (second_->currentIndex() > 0)
            quantities += ", " + second_->currentText();
        const auto [from, to] = shownSpan();
        const QString period =
            QString::fromStdString(dateTextOf(from) + " " + clockTextOf(from) + " - " +
                                   dateTextOf(to) + " " + clockTextOf(to));
        QFont bold = font();
        bold.setBold(true);
        p.setFont(bold);
        p.setPen(Qt::black);
        p.drawText(QRect(kLeftMargin, 0, chart.width() - kLeftMargin, header), Qt::AlignVCenter,
                   captionText(Caption::TrendPngTitle, language_)
                       .arg(quantities, period, QCoreApplication::applicationVersion()));
    }
    if (picture.save(&buffer, "PNG"))
        error = datafile::writeWholeFile(path, bytes.toStdString());
    return saved(error);
}

bool TrendChart::saveCsv(const std::string& path) {
    const auto [from, to] = shownSpan();
    return saved(datafile::writeWholeFile(path, toCsv(store_, from, to)));
}

bool TrendChart::saved(const std::string& error) {
    if (error.empty())
        return true;
    // "Could not save PATH: reason" in the window's language.
    constexpr std::string_view kPrefix = "cannot write ";
    const std::string what = error.starts_with(kPrefix) ? error.substr(kPrefix.size()) : error;
    ui_.message(ui::caption(Caption::TrendCannotSave, language_) + " " + what,
                ui::caption(Caption::Trend, language_), app::Icon::Exclamation);
    return false;
}

void TrendChart::keyPressEvent(QKeyEvent* event) {
    // Arrow keys look back and forth by a tenth of the span, Home goes to the oldest
    // reading, End back to live.
    const auto [from, to] = shownSpan();
    const double step = (to - from) / 10;
    switch (event->key()) {
    case Qt::Key_Left:
        pauseAt(to - step);
        return;
    case Qt::Key_Right:
        if (to + step >= store_.newestTime())
            goLive();
        else
            pauseAt(to + step);
        return;
    case Qt::Key_Home:
        pauseAt(store_.oldestTime() + (to - from));
        return;
    case Qt::Key_End:
        goLive();
        return;
    default:
        QWidget::keyPressEvent(event);
    }
}

void TrendChart::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    showSpan();
}

} // namespace pa::trend
