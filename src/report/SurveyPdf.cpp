// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "report/SurveyPdf.h"

#include "datafile/output_file.h"

#include "report/survey_format.h"
#include "ui/captions.h"

#include <QBuffer>
#include <QPainter>
#include <QPainterPath>
#include <QPdfWriter>

#include <algorithm>
#include <cmath>

namespace pa::report {
namespace {

using ui::Caption;

// The page in points (1/72 inch), A4 portrait.
constexpr double kPageWidth = 595.28, kPageHeight = 841.89;
constexpr double kMargin = 40;
constexpr double kContentTop = 112, kContentBottom = kPageHeight - 42;
constexpr std::int64_t kMsPerDay = 86'400'000, kMsPerHour = 3'600'000;
constexpr std::size_t kRunsInTable = 60;

const QColor kInk(0x20, 0x20, 0x20), kGrey(0x70, 0x70, 0x70), kGrid(0xdd, 0xdd, 0xdd);
const QColor kAccent(0x1f, 0x5a, 0x96), kAccentLight(0xc6, 0xd9, 0xee), kPeak(0xc0, 0x30, 0x30);
const QColor kBand(0xd8, 0xef, 0xd8), kCardFill(0xf3, 0xf6, 0xfa);

QString qs(const std::string& s) {
    return QString::fromStdString(s);
}

// "2026-11-15 23:30:00": the time as the file has it, easier to read than ISO's "T".
QString timeText(std::int64_t ms) {
    std::string t = datafile::isoTime(ms);
    std::replace(t.begin(), t.end(), 'T', ' ');
    return qs(t);
}

QFont font(double points, bool bold = false) {
    QFont f;
    f.setFamilies({"DejaVu Sans", "Noto Sans CJK TC"});
    f.setStyleHint(QFont::SansSerif);
    f.setPointSizeF(points);
    f.setBold(bold);
    return f;
}

// About n round steps from lo to hi (1, 2 or 5 times a power of ten).
double niceStep(double span, int n) {
    const double raw = span / std::max(n, 1);
    const double power = std::pow(10.0, std::floor(std::log10(raw)));
    for (const double m : {1.0, 2.0, 5.0, 10.0})
        if (raw <= m * power)
            return m * power;
    return 10 * power;
}

int decimalsFor(double step) {
    return step >= 1 ? 0 : static_cast<int>(std::ceil(-std::log10(step) - 1e-9));
}

// A chart's plot area and its value ranges.
struct Frame {
    QRectF r;
    double x0 = 0, x1 = 1, y0 = 0, y1 = 1;
    double x(double v) const { return r.left() + (v - x0) / (x1 - x0) * r.width(); }
    double y(double v) const { return r.bottom() - (v - y0) / (y1 - y0) * r.height(); }
};

class Writer {
  public:
    Writer(QPainter& painter, QPdfWriter& pdf, const Survey& s, int language,
           const std::string& version)
        : p_(painter), pdf_(pdf), s_(s), lang_(language), version_(qs(version)) {}

    void write() {
        answers();
        charts();
        tables();
    }

  private:
    QString tr(Caption c) const { return qs(ui::caption(c, lang_)); }
    QString notEnough() const { return tr(Caption::ReportNotEnough); }
    QString num(const std::optional<double>& v, int decimals, const QString& unit = {}) const {
        return v ? qs(fixed(*v, decimals)) + unit : notEnough();
    }

    // ---- Pages ----

    void newPage() {
        if (page_ > 0)
            pdf_.newPage();
        ++page_;
        y_ = kContentTop;
        p_.setPen(kInk);
        p_.setFont(font(15, true));
        p_.drawText(QRectF(kMargin, 26, 360, 22), Qt::AlignLeft | Qt::AlignVCenter,
                    tr(Caption::ReportTitle));
        p_.setFont(font(8));
        p_.setPen(kGrey);
        p_.drawText(QRectF(kPageWidth - kMargin - 200, 26, 200, 22),
                    Qt::AlignRight | Qt::AlignVCenter, tr(Caption::WindowTitle) + " " + version_);
        QStringList names;
        for (const std::string& f : s_.files)
            names << qs(f);
        const QFontMetricsF m(p_.font());
        const double width = kPageWidth - 2 * kMargin;
        p_.setPen(kInk);
        p_.drawText(QRectF(kMargin, 52, width, 14), Qt::AlignLeft | Qt::AlignVCenter,
                    m.elidedText(tr(Caption::ReportFiles) + ": " + names.join(", "),
                                 Qt::ElideMiddle, width));
        const QString period =
            s_.firstMs ? timeText(*s_.firstMs) + " – " + timeText(*s_.lastMs) : notEnough();
        p_.drawText(QRectF(kMargin, 66, width, 14), Qt::AlignLeft | Qt::AlignVCenter,
                    tr(Caption::ReportPeriod) + ": " + period);
        p_.drawText(QRectF(kMargin, 80, width, 14), Qt::AlignLeft | Qt::AlignVCenter,
                    tr(Caption::ReportRecords)
                        .arg(s_.records)
                        .arg(s_.lostLines)
                        .arg(qs(datafile::durationText(s_.lostMs))));
        p_.setPen(QPen(kGrey, 0.6));
        p_.drawLine(QPointF(kMargin, 100), QPointF(kPageWidth - kMargin, 100));
        p_.setPen(kGrey);
        p_.drawText(QRectF(0, kPageHeight - 30, kPageWidth, 14), Qt::AlignCenter,
                    tr(Caption::ReportPage).arg(page_));
    }

    // Room for `height` points on this page, else a new page.
    void need(double height) {
        if (page_ == 0 || y_ + height > kContentBottom)
            newPage();
    }

    void heading(const QString& text) {
        need(40);
        p_.setPen(kAccent);
        p_.setFont(font(11, true));
        p_.drawText(QRectF(kMargin, y_, kPageWidth - 2 * kMargin, 18),
                    Qt::AlignLeft | Qt::AlignVCenter, text);
        y_ += 22;
    }

    void note(const QString& text) {
        p_.setFont(font(7.5));
        const QRectF box(kMargin, y_, kPageWidth - 2 * kMargin, 200);
        const QRectF used = p_.boundingRect(box, Qt::TextWordWrap, text);
        need(used.height() + 4);
        p_.setPen(kGrey);
        p_.drawText(QRectF(kMargin, y_, box.width(), used.height()), Qt::TextWordWrap, text);
        y_ += used.height() + 6;
    }

    // ---- First page: the answers ----

    void card(const QRectF& r, const QString& label, const QString& value, const QString& detail) {
        p_.setPen(Qt::NoPen);
        p_.setBrush(kCardFill);
        p_.drawRoundedRect(r, 4, 4);
        p_.setBrush(Qt::NoBrush);
        p_.setPen(kGrey);
        p_.setFont(font(8.5));
        p_.drawText(r.adjusted(10, 6, -10, 0), Qt::AlignLeft | Qt::AlignTop, label);
        p_.setPen(kInk);
        p_.setFont(font(17, true));
        p_.drawText(QRectF(r.left() + 10, r.top() + 20, r.width() - 20, 28),
                    Qt::AlignLeft | Qt::AlignVCenter, value);
        p_.setFont(font(7.5));
        p_.setPen(kInk);
        p_.drawText(QRectF(r.left() + 10, r.top() + 50, r.width() - 20, r.height() - 54),
                    Qt::TextWordWrap, detail);
    }

    void answers() {
        newPage();
        const double w = (kPageWidth - 2 * kMargin - 12) / 2, h = 84;
        auto at = [&](int i) {
            return QRectF(kMargin + (i % 2) * (w + 12), y_ + (i / 2) * (h + 10), w, h);
        };
        QString energyDetail = tr(Caption::ReportMeanPower) + ": " + num(s_.meanW, 1, " W");
        if (s_.price && s_.kWh)
            energyDetail = tr(Caption::ReportCost) + ": " + qs(fixed(*s_.cost(*s_.kWh), 2)) +
                           "   " + energyDetail;
        card(at(0), tr(Caption::ReportEnergy), num(s_.kWh, 3, " kWh"), energyDetail);

        card(at(1), tr(Caption::ReportPeakDemand),
             s_.peaks.empty() ? notEnough() : qs(fixed(s_.peaks[0].value, 1)) + " W",
             s_.peaks.empty() ? QString()
                              : tr(Caption::ReportAt).arg(timeText(s_.peaks[0].timeMs)));
        card(at(2), tr(Caption::ReportLoadFactor), num(s_.loadFactor, 2), QString());

        QString pfValue = notEnough(), pfDetail;
        if (s_.hoursBelow090) {
            const auto most = std::max_element(s_.pfHours.begin(), s_.pfHours.end());
            const auto band = static_cast<double>(most - s_.pfHours.begin());
            pfValue = qs(fixed(band * 0.05, 2)) + "–" + qs(fixed(band * 0.05 + 0.05, 2));
            double total = 0;
            for (const double hours : s_.pfHours)
                total += hours;
            pfDetail = tr(Caption::ReportPfVerdict)
                           .arg(qs(fixed(*s_.hoursBelow090 / total * 100, 1)))
                           .arg(qs(fixed(*s_.kVARhBelow090, 2)));
        }
        card(at(3), tr(Caption::ReportPowerFactor), pfValue, pfDetail);

        QString vValue = notEnough(), vDetail;
        if (s_.lowestMean) {
            vValue = qs(fixed(s_.lowestMean->value, 1)) + "–" +
                     qs(fixed(s_.highestMean->value, 1)) + " V";
            vDetail = tr(Caption::ReportVoltageVerdict)
                          .arg(qs(fixed(*s_.shareWithin10 * 100, 1)))
                          .arg(qs(fixed(s_.options.nominalV, 0)))
                          .arg(s_.dipCount)
                          .arg(s_.swellCount);
        }
        card(at(4), tr(Caption::ReportVoltage), vValue, vDetail);

        QString cDetail;
        if (s_.recommendeduF)
            cDetail = tr(Caption::ReportCapacitorVerdict)
                          .arg(qs(fixed(s_.options.targetPf, 2)))
                          .arg(qs(fixed(*s_.shareReachingTarget * 100, 1)))
                          .arg(qs(fixed(*s_.shareOvercompensated * 100, 1)));
        card(at(5), tr(Caption::ReportCapacitor), num(s_.recommendeduF, 1, " µF"), cDetail);
        y_ += 3 * (h + 10) + 8;

        dailyBars(QRectF(kMargin, y_, kPageWidth - 2 * kMargin, 300));
        y_ += 312;
        note(tr(Caption::ReportVoltageNote));
        note(tr(Caption::ReportCapacitorNote));
    }

    // ---- Charts ----

    // Draws the title and the value axis; the caller draws the x labels.
    Frame frame(const QRectF& area, const QString& title, double x0, double x1, double y0,
                double y1) {
        p_.setPen(kInk);
        p_.setFont(font(10, true));
        p_.drawText(QRectF(area.left(), area.top(), area.width(), 16),
                    Qt::AlignLeft | Qt::AlignVCenter, title);
        Frame f;
        f.r = QRectF(area.left() + 48, area.top() + 24, area.width() - 56, area.height() - 44);
        if (!(y1 > y0))
            y1 = y0 + 1;
        const double step = niceStep(y1 - y0, 5);
        f.y0 = std::floor(y0 / step) * step, f.y1 = std::ceil(y1 / step) * step;
        if (f.y1 <= f.y0)
            f.y1 = f.y0 + step;
        f.x0 = x0, f.x1 = x1 > x0 ? x1 : x0 + 1;
        p_.setFont(font(7));
        for (double v = f.y0; v <= f.y1 + step / 2; v += step) {
            p_.setPen(QPen(kGrid, 0.5));
            p_.drawLine(QPointF(f.r.left(), f.y(v)), QPointF(f.r.right(), f.y(v)));
            p_.setPen(kGrey);
            p_.drawText(QRectF(area.left(), f.y(v) - 6, 44, 12), Qt::AlignRight | Qt::AlignVCenter,
                        qs(fixed(v, decimalsFor(step))));
        }
        p_.setPen(QPen(kGrey, 0.6));
        p_.drawRect(f.r);
        return f;
    }

    void xLabel(const Frame& f, double x, const QString& text) {
        p_.setPen(kGrey);
        p_.setFont(font(7));
        p_.drawText(QRectF(f.x(x) - 40, f.r.bottom() + 3, 80, 12), Qt::AlignHCenter | Qt::AlignTop,
                    text);
    }

    void noData(const QRectF& area, const QString& title) {
        p_.setPen(kInk);
        p_.setFont(font(10, true));
        p_.drawText(QRectF(area.left(), area.top(), area.width(), 16),
                    Qt::AlignLeft | Qt::AlignVCenter, title);
        p_.setPen(kGrey);
        p_.setFont(font(9));
        p_.drawText(area.adjusted(0, 20, 0, 0), Qt::AlignCenter, notEnough());
    }

    // Time labels under a chart of the whole period: hours or days, about six.
    void timeAxis(const Frame& f) {
        static constexpr std::int64_t kSteps[] = {kMsPerHour,      3 * kMsPerHour, 6 * kMsPerHour,
                                                  12 * kMsPerHour, kMsPerDay,      2 * kMsPerDay,
                                                  7 * kMsPerDay,   14 * kMsPerDay, 28 * kMsPerDay,
                                                  91 * kMsPerDay,  365 * kMsPerDay};
        const double span = f.x1 - f.x0;
        std::int64_t step = kSteps[std::size(kSteps) - 1];
        for (const std::int64_t s : kSteps)
            if (span / static_cast<double>(s) <= 7) {
                step = s;
                break;
            }
        const auto first = static_cast<std::int64_t>(std::ceil(f.x0 / static_cast<double>(step)));
        for (std::int64_t k = first; static_cast<double>(k * step) <= f.x1; ++k) {
            const std::int64_t t = k * step;
            const std::string iso = datafile::isoTime(t);
            const bool midnight = t % kMsPerDay == 0;
            xLabel(f, static_cast<double>(t),
                   qs(midnight || step >= kMsPerDay ? iso.substr(5, 5) : iso.substr(11, 5)));
        }
    }

    void dailyBars(const QRectF& area) {
        // With a price, each bar carries its cost under its energy.
        const QString title = tr(Caption::ReportEnergyPerDay) +
                              (s_.price ? " / " + tr(Caption::ReportCost) : QString());
        if (s_.days.empty() || !s_.kWh)
            return noData(area, title);
        double most = 0;
        for (const DaySummary& d : s_.days)
            most = std::max(most, d.kWh);
        const auto n = static_cast<double>(s_.days.size());
        const Frame f = frame(area, title, 0, n, 0, most * 1.15);
        const double slot = f.r.width() / n;
        const int every = static_cast<int>(std::ceil(n / 14));
        for (std::size_t i = 0; i < s_.days.size(); ++i) {
            const DaySummary& d = s_.days[i];
            const double x = f.x(static_cast<double>(i));
            const QRectF bar(x + slot * 0.15, f.y(d.kWh), slot * 0.7, f.r.bottom() - f.y(d.kWh));
            p_.fillRect(bar, kAccent);
            if (s_.days.size() <= 16) {
                p_.setPen(kInk);
                p_.setFont(font(6.5));
                QString label = qs(fixed(d.kWh, most < 1 ? 3 : 2));
                if (s_.price)
                    label += "\n" + qs(fixed(*s_.cost(d.kWh), 2));
                p_.drawText(QRectF(x, bar.top() - 22, slot, 21), Qt::AlignHCenter | Qt::AlignBottom,
                            label);
            }
            if (static_cast<int>(i) % every == 0)
                xLabel(f, static_cast<double>(i) + 0.5,
                       qs(datafile::isoDay(d.day * kMsPerDay).substr(5)));
        }
    }

    // Minimum to maximum as a light band, the mean as a line; gaps where nothing was recorded.
    void seriesChart(const QRectF& area, const QString& title, bool volts) {
        std::optional<double> lo, hi;
        for (const SeriesPoint& p : s_.series) {
            if ((volts ? p.vCount : p.wCount) == 0)
                continue;
            const double a = volts ? p.vMin : p.wMin, b = volts ? p.vMax : p.wMax;
            lo = lo ? std::min(*lo, a) : a, hi = hi ? std::max(*hi, b) : b;
        }
        if (!lo)
            return noData(area, title);
        const double nominal = s_.options.nominalV;
        if (volts)
            lo = std::min(*lo, 0.88 * nominal), hi = std::max(*hi, 1.12 * nominal);
        else
            lo = std::min(*lo, 0.0);
        const Frame f = frame(area, title, static_cast<double>(s_.series.front().startMs),
                              static_cast<double>(s_.series.back().endMs), *lo, *hi);
        p_.save();
        p_.setClipRect(f.r);
        if (volts) {
            p_.fillRect(QRectF(QPointF(f.r.left(), f.y(1.1 * nominal)),
                               QPointF(f.r.right(), f.y(0.9 * nominal))),
                        kBand);
            p_.setPen(QPen(kGrey, 0.5, Qt::DashLine));
            p_.drawLine(QPointF(f.r.left(), f.y(nominal)), QPointF(f.r.right(), f.y(nominal)));
        }
        // Day boundaries.
        if (f.x1 - f.x0 <= 62.0 * kMsPerDay) {
            p_.setPen(QPen(kGrey, 0.4, Qt::DotLine));
            for (double t = std::ceil(f.x0 / kMsPerDay) * kMsPerDay; t < f.x1; t += kMsPerDay)
                p_.drawLine(QPointF(f.x(t), f.r.top()), QPointF(f.x(t), f.r.bottom()));
        }
        QPainterPath mean;
        bool open = false;
        std::int64_t lastEnd = 0;
        for (const SeriesPoint& p : s_.series) {
            const std::uint32_t count = volts ? p.vCount : p.wCount;
            if (count == 0) {
                open = false;
                continue;
            }
            const double a = volts ? p.vMin : p.wMin, b = volts ? p.vMax : p.wMax;
            const double m = (volts ? p.vSum : p.wSum) / count;
            const double x0 = f.x(static_cast<double>(p.startMs)),
                         x1 = f.x(static_cast<double>(p.endMs));
            p_.fillRect(QRectF(QPointF(x0, f.y(b)), QPointF(std::max(x1, x0 + 0.3), f.y(a))),
                        kAccentLight);
            const QPointF point((x0 + x1) / 2, f.y(m));
            if (open && p.startMs == lastEnd)
                mean.lineTo(point);
            else
                mean.moveTo(point);
            open = true;
            lastEnd = p.endMs;
        }
        p_.setPen(QPen(kAccent, 0.8));
        p_.drawPath(mean);
        if (!volts && s_.maxW) {
            const QPointF peak(f.x(static_cast<double>(s_.maxW->timeMs)), f.y(s_.maxW->value));
            p_.setPen(QPen(kPeak, 1.2));
            p_.setBrush(Qt::NoBrush);
            p_.drawEllipse(peak, 3.5, 3.5);
            p_.setFont(font(7.5, true));
            const QString label = tr(Caption::ReportPeak) + " " + qs(fixed(s_.maxW->value, 0)) +
                                  " W, " + timeText(s_.maxW->timeMs);
            const double width = QFontMetricsF(p_.font()).horizontalAdvance(label) + 4;
            const double left = std::clamp(peak.x() + 6, f.r.left() + 2, f.r.right() - width);
            p_.drawText(QRectF(left, std::max(peak.y() - 6, f.r.top() + 2), width, 12),
                        Qt::AlignLeft | Qt::AlignVCenter, label);
        }
        p_.restore();
        timeAxis(f);
    }

    void durationChart(const QRectF& area) {
        const QString title = tr(Caption::ReportChartDuration);
        if (s_.durationCurve.empty())
            return noData(area, title);
        const auto [lo, hi] = std::minmax_element(s_.durationCurve.begin(), s_.durationCurve.end());
        const Frame f = frame(area, title, 0, 100, std::min(*lo, 0.0), *hi);
        QPainterPath path;
        for (std::size_t i = 0; i < s_.durationCurve.size(); ++i) {
            const QPointF point(f.x(static_cast<double>(i)), f.y(s_.durationCurve[i]));
            i == 0 ? path.moveTo(point) : path.lineTo(point);
        }
        p_.setPen(QPen(kAccent, 1.2));
        p_.drawPath(path);
        for (int share = 0; share <= 100; share += 20)
            xLabel(f, share, QString::number(share) + " %");
    }

    void pfChart(const QRectF& area) {
        const QString title = tr(Caption::ReportChartPfBands);
        const double most = *std::max_element(s_.pfHours.begin(), s_.pfHours.end());
        if (!(most > 0))
            return noData(area, title);
        const Frame f = frame(area, title, 0, 1, 0, most * 1.1);
        for (int b = 0; b < kPfBands; ++b) {
            const double h = s_.pfHours[static_cast<std::size_t>(b)];
            const QRectF bar(QPointF(f.x(b * 0.05) + 1, f.y(h)),
                             QPointF(f.x(b * 0.05 + 0.05) - 1, f.r.bottom()));
            p_.fillRect(bar, b * 0.05 < 0.9 - 1e-9 ? kPeak : kAccent);
        }
        for (int i = 0; i <= 10; i += 2)
            xLabel(f, i / 10.0, qs(fixed(i / 10.0, 1)));
    }

    void hourChart(const QRectF& area) {
        const QString title = tr(Caption::ReportChartHours);
        std::optional<double> lo, hi;
        for (const HourProfile& h : s_.hourProfile)
            if (h.count)
                lo = lo ? std::min(*lo, h.minW) : h.minW, hi = hi ? std::max(*hi, h.maxW) : h.maxW;
        if (!lo)
            return noData(area, title);
        const Frame f = frame(area, title, 0, 24, std::min(*lo, 0.0), *hi);
        QPainterPath mean;
        bool open = false;
        for (int hour = 0; hour < 24; ++hour) {
            const HourProfile& h = s_.hourProfile[static_cast<std::size_t>(hour)];
            if (!h.count) {
                open = false;
                continue;
            }
            const double x = f.x(hour + 0.5);
            p_.fillRect(QRectF(QPointF(x - 4, f.y(h.maxW)), QPointF(x + 4, f.y(h.minW))),
                        kAccentLight);
            const QPointF m(x, f.y(h.sumW / static_cast<double>(h.count)));
            open ? mean.lineTo(m) : mean.moveTo(m);
            open = true;
        }
        p_.setPen(QPen(kAccent, 1.2));
        p_.drawPath(mean);
        for (int hour = 0; hour <= 24; hour += 3)
            xLabel(f, hour, QString("%1:00").arg(hour, 2, 10, QChar('0')));
    }

    void charts() {
        newPage();
        const double w = kPageWidth - 2 * kMargin;
        const double h = (kContentBottom - kContentTop - 16) / 2;
        seriesChart(QRectF(kMargin, y_, w, h), tr(Caption::ReportChartPower), false);
        seriesChart(QRectF(kMargin, y_ + h + 16, w, h), tr(Caption::ReportChartVoltage), true);
        newPage();
        const double third = (kContentBottom - kContentTop - 24) / 3;
        durationChart(QRectF(kMargin, y_, w, third));
        pfChart(QRectF(kMargin, y_ + third + 12, w, third));
        hourChart(QRectF(kMargin, y_ + 2 * (third + 12), w, third));
    }

    // ---- Tables ----

    // A table with its header row repeated on each page it runs onto; widths are shares.
    void table(const QString& title, const QStringList& header, const std::vector<double>& widths,
               const std::vector<QStringList>& rows) {
        heading(title);
        const double total = kPageWidth - 2 * kMargin, rowHeight = 13;
        auto line = [&](const QStringList& cells, bool head) {
            need(rowHeight + 2);
            if (head) {
                p_.fillRect(QRectF(kMargin, y_, total, rowHeight), kCardFill);
            }
            p_.setFont(font(7.5, head));
            p_.setPen(kInk);
            double x = kMargin;
            for (int i = 0; i < cells.size() && i < static_cast<int>(widths.size()); ++i) {
                const double cw = widths[static_cast<std::size_t>(i)] * total;
                p_.drawText(QRectF(x + 3, y_, cw - 6, rowHeight),
                            (i == 0 ? Qt::AlignLeft : Qt::AlignRight) | Qt::AlignVCenter, cells[i]);
                x += cw;
            }
            y_ += rowHeight;
        };
        const bool named = std::any_of(header.begin(), header.end(),
                                       [](const QString& h) { return !h.isEmpty(); });
        if (named)
            line(header, true);
        for (const QStringList& row : rows) {
            if (y_ + rowHeight + 2 > kContentBottom) {
                newPage();
                if (named)
                    line(header, true);
            }
            line(row, false);
        }
        y_ += 10;
    }

    QString runsTitle(Caption c, std::uint64_t total, std::size_t listed) const {
        QString t = tr(c) + ": " + QString::number(total);
        if (total > listed)
            t += " (" + tr(Caption::ReportMoreRuns).arg(total - listed) + ")";
        return t;
    }

    void tables() {
        newPage();
        std::vector<QStringList> days;
        for (const DaySummary& d : s_.days) {
            QStringList row{qs(datafile::isoDay(d.day * kMsPerDay)), qs(fixed(d.kWh, 3))};
            row << (s_.price ? qs(fixed(*s_.cost(d.kWh), 2)) : "–")
                << (d.maxW ? qs(fixed(d.maxW->value, 1)) : "–")
                << (d.maxW ? timeText(d.maxW->timeMs).mid(11) : "–")
                << (d.minV ? qs(fixed(*d.minV, 1)) : "–") << (d.maxV ? qs(fixed(*d.maxV, 1)) : "–");
            days.push_back(row);
        }
        table(tr(Caption::ReportEnergyPerDay),
              {tr(Caption::ReportDate), "kWh", tr(Caption::ReportCost), tr(Caption::ReportMaxW),
               tr(Caption::ReportTime), tr(Caption::ReportMinV), tr(Caption::ReportMaxV)},
              {0.2, 0.14, 0.12, 0.14, 0.14, 0.13, 0.13}, days);

        std::vector<QStringList> peaks;
        for (const TimedValue& p : s_.peaks)
            peaks.push_back({timeText(p.timeMs), qs(fixed(p.value, 1))});
        if (peaks.empty())
            peaks.push_back({notEnough(), ""});
        peaks.push_back({tr(Caption::ReportLoadFactor), num(s_.loadFactor, 3)});
        table(tr(Caption::ReportPeaksTable), {tr(Caption::ReportStart), "W"}, {0.5, 0.5}, peaks);

        std::vector<QStringList> duration;
        for (std::size_t i = 0; i < 5; ++i)
            duration.push_back(
                {qs(fixed(kExceededShares[i] * 100, 0)) + " %",
                 num(s_.exceeded ? std::optional((*s_.exceeded)[i]) : std::nullopt, 1)});
        table(tr(Caption::ReportChartDuration), {tr(Caption::ReportShareOfTime), "W"}, {0.5, 0.5},
              duration);

        std::vector<QStringList> bands;
        for (int b = 0; b < kPfBands; ++b)
            if (const double h = s_.pfHours[static_cast<std::size_t>(b)]; h > 0)
                bands.push_back({qs(fixed(b * 0.05, 2)) + "–" + qs(fixed(b * 0.05 + 0.05, 2)),
                                 qs(fixed(h, 3))});
        bands.push_back({"PF < 0.90", num(s_.hoursBelow090, 3)});
        bands.push_back({"kVARh (PF < 0.90)", num(s_.kVARhBelow090, 3)});
        table(tr(Caption::ReportChartPfBands), {tr(Caption::ReportBand), tr(Caption::ReportHours)},
              {0.5, 0.5}, bands);

        auto mean = [&](const std::optional<TimedValue>& m) {
            return m ? qs(fixed(m->value, 1)) + " V, " + timeText(m->timeMs) : notEnough();
        };
        auto share = [&](const std::optional<double>& v) {
            return v ? qs(fixed(*v * 100, 1)) + " %" : notEnough();
        };
        table(tr(Caption::ReportVoltage) + " — " + qs(fixed(s_.options.nominalV, 0)) + " V",
              {"", ""}, {0.5, 0.5},
              {{tr(Caption::ReportMeans), QString::number(s_.tenMinuteMeans)},
               {tr(Caption::ReportWithin10), share(s_.shareWithin10)},
               {tr(Caption::ReportWithin1015), share(s_.shareWithinPlus10Minus15)},
               {tr(Caption::ReportLowest), mean(s_.lowestMean)},
               {tr(Caption::ReportHighest), mean(s_.highestMean)}});
        note(tr(Caption::ReportVoltageNote));
        for (const auto& [c, runs, total] : {std::tuple{Caption::ReportDips, &s_.dips, s_.dipCount},
                                             {Caption::ReportSwells, &s_.swells, s_.swellCount}}) {
            std::vector<QStringList> rows;
            for (std::size_t i = 0; i < runs->size() && i < kRunsInTable; ++i)
                rows.push_back({timeText((*runs)[i].startMs), qs(fixed((*runs)[i].seconds, 1)),
                                qs(fixed((*runs)[i].extreme, 1))});
            table(
                runsTitle(c, total, rows.size()),
                {tr(Caption::ReportStart), tr(Caption::ReportSeconds), tr(Caption::ReportExtreme)},
                {0.4, 0.3, 0.3}, rows);
        }

        const QString of = tr(Caption::ReportOfTime);
        table(tr(Caption::ReportCapacitorTable) + " — PF " + qs(fixed(s_.options.targetPf, 2)) +
                  ", " + qs(fixed(s_.options.hz, 0)) + " Hz",
              {"", "µF"}, {0.6, 0.4},
              {{of.arg(50), num(s_.uFp50, 1)},
               {of.arg(90), num(s_.uFp90, 1)},
               {of.arg(95), num(s_.uFp95, 1)},
               {tr(Caption::ReportMost), num(s_.uFmax, 1)},
               {tr(Caption::ReportCapacitor), num(s_.recommendeduF, 1)},
               {tr(Caption::ReportCapacitorVerdict)
                    .arg(qs(fixed(s_.options.targetPf, 2)))
                    .arg(s_.shareReachingTarget ? qs(fixed(*s_.shareReachingTarget * 100, 1)) : "–")
                    .arg(s_.shareOvercompensated ? qs(fixed(*s_.shareOvercompensated * 100, 1))
                                                 : "–"),
                ""}});
        note(tr(Caption::ReportCapacitorNote));
    }

    QPainter& p_;
    QPdfWriter& pdf_;
    const Survey& s_;
    int lang_;
    QString version_;
    int page_ = 0;
    double y_ = kContentTop;
};

} // namespace

std::string writeSurveyPdf(const Survey& survey, const std::string& path, const std::string& lang,
                           const std::string& version) {
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    {
        QPdfWriter pdf(&buffer);
        pdf.setPageSize(QPageSize(QPageSize::A4));
        pdf.setPageMargins(QMarginsF(0, 0, 0, 0));
        // One device unit per point: the page is drawn in points, fonts in points as well.
        pdf.setResolution(72);
        pdf.setTitle(qs(ui::caption(Caption::ReportTitle, lang == "zh" ? 2 : 1)));
        pdf.setCreator(qs(ui::caption(Caption::WindowTitle, 1) + " " + version));
        QPainter painter;
        if (!painter.begin(&pdf))
            return "cannot draw the report";
        painter.setRenderHint(QPainter::Antialiasing);
        Writer(painter, pdf, survey, lang == "zh" ? 2 : 1, version).write();
        painter.end();
    }
    // Written whole or not at all, and never in place of a device or a folder.
    return datafile::writeWholeFile(path, buffer.data().toStdString());
}

} // namespace pa::report
