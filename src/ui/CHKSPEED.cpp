// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "ui/CHKSPEED.h"

#include <QApplication>
#include <QFontMetrics>
#include <QKeyEvent>
#include <QVBoxLayout>
#include <algorithm>

namespace pa::ui {
namespace {

constexpr int kTextWidth = 240;
// Room beside a title for the title bar's icon and buttons, which the window manager draws.
constexpr int kTitleBarExtras = 140;

} // namespace

CHKSPEED::CHKSPEED(QWidget* parent)
    : QWidget(parent, Qt::Tool), text_(new QLabel(this)), bar_(new QProgressBar(this)),
      cancel_(new QPushButton("Cancel", this)) {
    setObjectName("CHKSPEED");
    // A progress box never takes the keyboard from the window the user works in.
    setAttribute(Qt::WA_ShowWithoutActivating);
    text_->setObjectName("Text1");
    text_->setMinimumWidth(kTextWidth);
    text_->setFrameShape(QFrame::StyledPanel);
    bar_->setObjectName("Progress");
    bar_->setVisible(false);
    cancel_->setObjectName("Cancel");
    cancel_->hide();
    connect(cancel_, &QPushButton::clicked, this, [this] { cancelled_ = true; });
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(text_);
    layout->addWidget(bar_);
    layout->addWidget(cancel_, 0, Qt::AlignRight);
}

void CHKSPEED::setCaption(const QString& caption) {
    setWindowTitle(caption);
    QFont titleFont = QApplication::font("QWorkspaceTitleBar");
    titleFont.setBold(true);
    const int wanted = QFontMetrics(titleFont).horizontalAdvance(caption) + kTitleBarExtras;
    setMinimumWidth(std::max(wanted, kTextWidth + layout()->contentsMargins().left() +
                                         layout()->contentsMargins().right()));
}

void CHKSPEED::setProgress(int done, int total, const QString& label) {
    if (total <= 0) {
        bar_->setVisible(false);
        return;
    }
    bar_->setRange(0, total);
    bar_->setValue(std::clamp(done, 0, total));
    bar_->setFormat(label.isEmpty() ? QString("%p%") : label);
    bar_->setVisible(true);
}

void CHKSPEED::centreOver(const QWidget* window) {
    if (!window || !window->isVisible())
        return;
    adjustSize();
    const QPoint centre = window->frameGeometry().center();
    move(centre.x() - frameGeometry().width() / 2, centre.y() - frameGeometry().height() / 2);
}

void CHKSPEED::setCancellable(bool offered) {
    cancelled_ = false;
    cancel_->setVisible(offered);
    // The box shows without taking the keyboard; Escape reaches it once the user clicks it.
}

void CHKSPEED::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape && cancel_->isVisible()) {
        cancel_->click();
        return;
    }
    QWidget::keyPressEvent(event);
}

} // namespace pa::ui
