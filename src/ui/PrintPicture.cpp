// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "ui/PrintPicture.h"

#include <QPainter>
#include <QPixmap>
#include <QPrinter>
#include <QWidget>

namespace pa::ui {

void printPicture(QWidget& window, QPrinter& printer) {
    const QPixmap picture = window.grab();
    QPainter painter(&printer);
    const QRect page = painter.viewport();
    QSize size = picture.size();
    size.scale(page.size(), Qt::KeepAspectRatio);
    painter.setViewport(page.x(), page.y(), size.width(), size.height());
    painter.setWindow(picture.rect());
    painter.drawPixmap(0, 0, picture);
}

} // namespace pa::ui
