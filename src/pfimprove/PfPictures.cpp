// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "pfimprove/PfPictures.h"

#include "text/mask_format.h"

#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <array>
#include <cmath>

namespace pa::pfimprove {
namespace {

QString qs(const std::string& s) {
    return QString::fromStdString(s).trimmed();
}
QString masked(double v, const char* mask) {
    return QString::fromStdString(text::formatMask(v, mask));
}

// A font that grows with the picture, within readable limits.
QFont scaledFont(const QWidget& w, double divisor, bool bold = false) {
    QFont f = w.font();
    f.setPointSizeF(std::clamp(std::min(w.width(), w.height() * 2) / divisor, 7.5, 13.0));
    f.setBold(bold);
    return f;
}

// Places texts at wanted heights in a column, pushing them apart so none overlap.
std::vector<double> spreadApart(std::vector<double> ys, double gap) {
    for (std::size_t i = 1; i < ys.size(); ++i)
        ys[i] = std::max(ys[i], ys[i - 1] + gap);
    return ys;
}

void drawArrowHead(QPainter& p, QPointF tip, QPointF from, double size) {
    const QPointF d = tip - from;
    const double len = std::hypot(d.x(), d.y());
    if (len == 0)
        return;
    const QPointF u = d / len, n(-u.y(), u.x());
    const QPointF pts[] = {tip, tip - u * size + n * size * 0.45, tip - u * size - n * size * 0.45};
    p.save();
    p.setBrush(p.pen().color());
    p.drawPolygon(pts, 3);
    p.restore();
}

void drawNoReading(QPainter& p, const QWidget& w) {
    p.setPen(Qt::darkGray);
    p.drawText(w.rect().adjusted(10, 10, -10, -10), Qt::AlignCenter | Qt::TextWordWrap,
               "No load reading to draw.\nPress Update with the load connected.");
}

} // namespace

void PhaseDiagram::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    p.fillRect(rect(), Qt::white);
    labels_.clear();
    const Present& s = pf_.present();
    const Improved& n = pf_.improved();
    const bool improved = pf_.hasImproved();
    const double w = s.W1, q1 = s.VAR1, q2 = improved ? n.VAR2 : q1;
    if (!std::isfinite(w) || (w == 0 && q1 == 0)) {
        drawNoReading(p, *this);
        return;
    }

    const QFont font = scaledFont(*this, 42), bold = scaledFont(*this, 42, true);
    p.setFont(font);
    const QFontMetricsF fm(font);
    const double line = fm.height();
    // Every text goes through here: near where it is wanted, moved up or down in small steps
    // until it covers no text drawn before it (a nearly flat triangle crowds its labels).
    auto label = [&](const QString& text, QPointF topLeft, const QColor& colour, const QFont& f) {
        const QFontMetricsF m(f);
        const QRectF wanted(topLeft, QSizeF(m.horizontalAdvance(text), m.height()));
        QRectF r = wanted;
        for (int step = 1; step < 60; ++step) {
            const bool clear = std::none_of(labels_.begin(), labels_.end(),
                                            [&](const auto& l) { return l.second.intersects(r); });
            if (clear)
                break;
            const double dy = (step % 2 ? 1 : -1) * ((step + 1) / 2) * m.height() / 3;
            r = wanted.translated(0, dy);
        }
        p.setFont(f);
        p.setPen(colour);
        p.drawText(QPointF(r.left(), r.top() + m.ascent()), text);
        p.setFont(font);
        labels_.push_back({text, r});
    };

    // Legend: one line per state.
    auto legend = [&](int row, const QColor& colour, const QString& text) {
        const double y = 8 + row * (line + 2);
        p.setPen(QPen(colour, 3));
        p.drawLine(QPointF(8, y + line / 2), QPointF(26, y + line / 2));
        label(text, QPointF(32, y), Qt::black, font);
    };
    legend(0, kPresentColour,
           QString("%1:  PF %2   %3°")
               .arg(presentName_, qs(pf_.currentRow()[kCurrentPF]),
                    qs(pf_.currentRow()[kCurrentAngle])));
    const QString capacitance = QString::fromStdString(capacitanceText(n.Cadd));
    const QString improvedAngle = masked(n.Angle2, "##0.0");
    if (improved)
        legend(1, kImprovedColour,
               QString("%1:  PF %2   %3°   + C %4")
                   .arg(improvedName_, masked(n.PF2, "0.0##"), improvedAngle, capacitance));

    // Right of the VAR side: the present VAR, the capacitor's share, the improved VAR.
    const QString presentVar = "VAR " + qs(pf_.currentRow()[kCurrentVAR]);
    const QString improvedVar = "VAR " + masked(n.VAR2, "###0.0#");
    const QString capacitorVar = "C: " + masked(n.VAR2 - s.VAR1, "###0.0#") + " VAR";
    double rightText = fm.horizontalAdvance(presentVar);
    if (improved)
        rightText = std::max({rightText, fm.horizontalAdvance(improvedVar),
                              QFontMetricsF(bold).horizontalAdvance(capacitorVar)});

    // The triangle area, one scale for both axes so the angles are true.
    const double top = 16 + line * 2.5, bottom = line * 1.8;
    const double left = 16 + fm.horizontalAdvance("VAR"), right = rightText + 34;
    const double xMin = std::min(0.0, w), xMax = std::max(0.0, w);
    const double yMin = std::min({0.0, q1, q2}), yMax = std::max({0.0, q1, q2});
    double spanX = xMax - xMin, spanY = yMax - yMin;
    if (spanX == 0)
        spanX = spanY * 0.2;
    if (spanY == 0)
        spanY = spanX * 0.05;
    const double areaW = std::max(width() - left - right, 20.0);
    const double areaH = std::max(height() - top - bottom, 20.0);
    const double scale = std::min(areaW / spanX, areaH / spanY);
    const double x0 = left + (areaW - spanX * scale) / 2;
    const double y0 = top + (areaH - spanY * scale) / 2;
    auto at = [&](double x, double y) {
        return QPointF(x0 + (x - xMin) * scale, y0 + (yMax - y) * scale);
    };
    const QPointF o = at(0, 0), a = at(w, 0), b = at(w, q1), c = at(w, q2);

    // Axes.
    p.setPen(QPen(QColor(0xb0, 0xb0, 0xb0), 1));
    const QPointF axisEnd(std::max(a.x(), o.x()) + 24, o.y());
    p.drawLine(QPointF(std::min(o.x(), a.x()) - 6, o.y()), axisEnd);
    drawArrowHead(p, axisEnd, o, 7);
    const QPointF upEnd(o.x(), std::min(b.y(), c.y()) - 10);
    p.drawLine(QPointF(o.x(), std::max({o.y(), b.y(), c.y()}) + 4), upEnd);
    drawArrowHead(p, upEnd, o, 7);
    label("VAR", QPointF(o.x() - fm.horizontalAdvance("VAR") - 4, upEnd.y()), Qt::darkGray, font);

    // The active power is the same before and after.
    p.setPen(QPen(Qt::black, 2.5));
    p.drawLine(o, a);
    label("W " + masked(w, "###0.0"),
          QPointF((o.x() + a.x()) / 2 - fm.horizontalAdvance("W 0000.0") / 2, o.y() + 3), Qt::black,
          font);

    // Present triangle.
    p.setPen(QPen(kPresentColour, 2.5));
    p.drawLine(a, b);
    p.drawLine(o, b);
    // Improved triangle on the same W.
    if (improved) {
        p.setPen(QPen(kImprovedColour, 3));
        p.drawLine(a, c);
        p.drawLine(o, c);
    }

    // Phase angles at the origin, measured from the W axis, each labelled on its arc: the
    // present one outside its arc, the improved one (a smaller arc) just outside its own.
    const double hyp = std::hypot(a.x() - o.x(), 0.0);
    const double radius = std::clamp(hyp * 0.3, 16.0, 70.0);
    auto arc = [&](double q, double r, const QColor& colour, const QString& text) {
        const double deg = std::atan2(q, w) * 180 / M_PI;
        p.setPen(QPen(colour, 1.5));
        p.drawArc(QRectF(o.x() - r, o.y() - r, 2 * r, 2 * r), 0, static_cast<int>(deg * 16));
        const double mid = deg / 2 * M_PI / 180;
        const QPointF where(o.x() + (r + 4) * std::cos(mid), o.y() - (r + 4) * std::sin(mid));
        label(text, QPointF(where.x() + 2, where.y() - fm.height() / 2), colour, font);
    };
    if (improved)
        arc(q2, radius * 0.62, kImprovedColour, "φ " + improvedAngle.trimmed() + "°");
    arc(q1, radius, kPresentColour, "φ " + qs(pf_.currentRow()[kCurrentAngle]) + "°");

    // Labels of the slopes: the present VA above its line, the improved one below its own.
    // The improved label further out, clear of the angle labels at the origin.
    auto slopeLabel = [&](QPointF end, const QString& text, const QColor& colour, bool above) {
        const QPointF mid = o + (end - o) * (above ? 0.5 : 0.68);
        QPointF d = end - o;
        const double len = std::hypot(d.x(), d.y());
        if (len == 0)
            return;
        QPointF normal(d.y() / len, -d.x() / len); // points up-left of the slope
        if (normal.y() > 0)
            normal = -normal;
        const QPointF near = mid + normal * (above ? 8.0 : -8.0);
        const double tw = fm.horizontalAdvance(text);
        label(text,
              QPointF(above ? near.x() - tw : near.x() + 2, above ? near.y() - line : near.y()),
              colour, font);
    };
    slopeLabel(b, "VA " + qs(pf_.currentRow()[kCurrentVA]), kPresentColour, true);
    if (improved)
        slopeLabel(c, "VA " + masked(n.VA2, "###0.0"), kImprovedColour, false);

    // Right of the VAR side: the present VAR, the capacitor's share, the improved VAR.
    const double textX = std::max(a.x(), o.x()) + 22;
    if (!improved) {
        label(presentVar, QPointF(textX, (a.y() + b.y()) / 2 - line / 2), kPresentColour, font);
        return;
    }
    // The capacitor takes VAR1 - VAR2: an arrow from the present to the improved top corner.
    p.setPen(QPen(kCapacitorColour, 2));
    const QPointF from(a.x() + 12, b.y()), to(a.x() + 12, c.y());
    if (std::fabs(from.y() - to.y()) > 6) {
        p.drawLine(from, to);
        drawArrowHead(p, to, from, 8);
    }
    const auto ys = spreadApart(
        {std::min(b.y(), c.y()), (b.y() + c.y()) / 2, std::max(b.y(), c.y())}, line + 2);
    const bool presentHigher = b.y() <= c.y();
    label(presentVar, QPointF(textX, ys[presentHigher ? 0 : 2] - line / 2), kPresentColour, font);
    label(capacitorVar, QPointF(textX, ys[1] - line / 2), kCapacitorColour, bold);
    label(improvedVar, QPointF(textX, ys[presentHigher ? 2 : 0] - line / 2), kImprovedColour, font);
}

void CircuitPicture::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    p.fillRect(rect(), Qt::white);
    const auto& f = pf_.circuitFields();
    if (pf_.present().V1 == 0) {
        drawNoReading(p, *this);
        return;
    }
    const bool improved = pf_.hasImproved();
    const QString volts = "V " + qs(f[kFieldV]), hz = qs(f[kFieldHz]);
    auto ohms = [&](int field) {
        const QString t = qs(f[field]);
        return t == "?" ? t : t + "Ω"; // the fields show impedances without a unit
    };
    const QStringList rTexts{"R " + ohms(kFieldR), "IR " + qs(f[kFieldIR])};
    const QStringList lTexts{"L " + qs(f[kFieldL]), "X " + ohms(kFieldX), "IX " + qs(f[kFieldIX])};
    const QString cText =
        improved ? "+C " + QString::fromStdString(capacitanceText(pf_.improved().Cadd)) : "+C ?";

    QFont font = scaledFont(*this, 40), bold = scaledFont(*this, 40, true);
    const double railTop = 12 + QFontMetricsF(font).height();
    const double railBottom = height() - 12 - QFontMetricsF(font).height();
    const double mid = (railTop + railBottom) / 2;
    const double body = std::clamp((railBottom - railTop) * 0.42, 20.0, 150.0);
    const double r = std::min(body / 2, 22.0);
    const double turn = body / 4, gap = std::max(body * 0.12, 5.0);
    const double plate = std::min(body * 0.5, 36.0);

    // Room from the left edge to the source, then to each branch, so that each one's labels
    // fit beside it; the font gives way when the picture is too narrow.
    std::array<double, 5> needs{};
    double needed = 0;
    auto measure = [&] {
        const QFontMetricsF m(font);
        auto widest = [&](const QStringList& texts) {
            double w = 0;
            for (const QString& t : texts)
                w = std::max(w, m.horizontalAdvance(t));
            return w;
        };
        needs = {8 + widest({volts, hz}) + 6 + r, r + 10 + 7, 7 + 10 + widest(rTexts) + 12,
                 turn / 2 + 10 + widest(lTexts) + 12,
                 plate / 2 + 6 + QFontMetricsF(bold).horizontalAdvance(cText) + 4};
        needed = 0;
        for (double n : needs)
            needed += n;
    };
    for (measure(); needed > width() && font.pointSizeF() > 6.5; measure()) {
        font.setPointSizeF(font.pointSizeF() - 0.5);
        bold.setPointSizeF(font.pointSizeF());
    }
    p.setFont(font);
    const QFontMetricsF fm(font);
    const double line = fm.height();
    const QPen wire(Qt::black, 1.8);
    const double spare = std::max(0.0, width() - needed) / 4;
    const double xs = needs[0];
    const double xr = xs + needs[1] + spare;
    const double xl = xr + needs[2] + spare;
    const double xc = xl + needs[3] + spare;

    // Rails: the line and its return, from the source to the inductance.
    p.setPen(wire);
    p.drawLine(QPointF(xs, railTop), QPointF(xl, railTop));
    p.drawLine(QPointF(xs, railBottom), QPointF(xl, railBottom));

    // Source.
    p.drawLine(QPointF(xs, railTop), QPointF(xs, mid - r));
    p.drawLine(QPointF(xs, mid + r), QPointF(xs, railBottom));
    p.drawEllipse(QPointF(xs, mid), r, r);
    QPainterPath sine;
    sine.moveTo(xs - r * 0.6, mid);
    sine.cubicTo(xs - r * 0.3, mid - r * 0.7, xs, mid - r * 0.7, xs, mid);
    sine.cubicTo(xs, mid + r * 0.7, xs + r * 0.3, mid + r * 0.7, xs + r * 0.6, mid);
    p.drawPath(sine);
    p.drawText(QPointF(8, mid - 2), volts);
    p.drawText(QPointF(8, mid - 2 + line), hz);

    // The line current, before and after.
    QString current = "A " + qs(pf_.currentRow()[kCurrentA]);
    if (improved)
        current += "  →  " + masked(pf_.improved().A2, "###0.0#");
    p.drawText(QPointF(xs + 6, railTop - 5), current);

    auto branch = [&](double x, double half) {
        p.drawLine(QPointF(x, railTop), QPointF(x, mid - half));
        p.drawLine(QPointF(x, mid + half), QPointF(x, railBottom));
    };
    auto labels = [&](double x, const QStringList& texts) {
        double y = mid - (texts.size() - 1) * line / 2 + fm.ascent() / 2;
        for (const QString& t : texts) {
            p.drawText(QPointF(x, y), t);
            y += line;
        }
    };

    // Resistance: a box.
    p.setPen(wire);
    branch(xr, body / 2);
    p.drawRect(QRectF(xr - 7, mid - body / 2, 14, body));
    p.setPen(kPresentColour);
    labels(xr + 7 + 10, rTexts);

    // Inductance: four turns.
    p.setPen(wire);
    branch(xl, body / 2);
    QPainterPath coil;
    coil.moveTo(xl, mid - body / 2);
    for (int i = 0; i < 4; ++i)
        coil.arcTo(QRectF(xl - turn / 2, mid - body / 2 + i * turn, turn, turn), 90, -180);
    p.drawPath(coil);
    p.setPen(kPresentColour);
    labels(xl + turn / 2 + 10, lTexts);

    // The capacitor to add: dashed and unnamed until a target is calculated.
    QPen capPen(improved ? kImprovedColour : QColor(0xa0, 0xa0, 0xa0), improved ? 2.4 : 1.5);
    if (!improved)
        capPen.setStyle(Qt::DashLine);
    p.setPen(capPen);
    p.drawLine(QPointF(xl, railTop), QPointF(xc, railTop));
    p.drawLine(QPointF(xl, railBottom), QPointF(xc, railBottom));
    branch(xc, gap / 2);
    p.setPen(QPen(capPen.color(), 3.2));
    p.drawLine(QPointF(xc - plate / 2, mid - gap / 2), QPointF(xc + plate / 2, mid - gap / 2));
    p.drawLine(QPointF(xc - plate / 2, mid + gap / 2), QPointF(xc + plate / 2, mid + gap / 2));
    p.setFont(bold);
    p.setPen(improved ? kImprovedColour : Qt::darkGray);
    p.drawText(QPointF(xc + plate / 2 + 6, mid + fm.ascent() / 2), cText);
}

} // namespace pa::pfimprove
