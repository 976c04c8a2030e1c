// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// A one-line label that shows as much of its text as fits, ending in "…" when it is cut,
// with the whole text in its tooltip. It never asks for the width of its whole text, so a
// long line does not widen the window.
#include <QLabel>
#include <QPainter>

namespace pa::ui {

class ElidedLabel : public QLabel {
  public:
    using QLabel::QLabel;

    void setFullText(const QString& text) {
        if (text == this->text())
            return;
        setText(text);
        setToolTip(text);
    }
    // What the label shows at its present width.
    QString shownText() const {
        return fontMetrics().elidedText(text(), Qt::ElideRight, contentsRect().width());
    }
    QSize minimumSizeHint() const override { return {0, QLabel::minimumSizeHint().height()}; }
    QSize sizeHint() const override { return {0, QLabel::sizeHint().height()}; }

  protected:
    void paintEvent(QPaintEvent*) override {
        QPainter p(this);
        p.setPen(palette().color(foregroundRole()));
        p.drawText(contentsRect(), static_cast<int>(alignment()), shownText());
    }
};

} // namespace pa::ui
