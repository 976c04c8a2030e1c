// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Where a window opens: centred over the window that opened it, wholly on that window's
// screen (made smaller when the screen cannot hold it).
#include <QRect>
#include <QScreen>
#include <QWidget>
#include <algorithm>

namespace pa::ui {

inline void placeOver(QWidget* window, const QWidget* opener) {
    if (!window || !opener)
        return;
    const QWidget* top = opener->window();
    if (!top->isVisible())
        return;
    if (!window->testAttribute(Qt::WA_Resized))
        window->adjustSize();
    // The frame's size: the window manager's decoration as around the opener.
    const QSize decoration = top->frameGeometry().size() - top->geometry().size();
    QRect frame(QPoint(), window->size() + decoration);
    if (const QScreen* screen = top->screen()) {
        const QRect area = screen->availableGeometry();
        if (frame.width() > area.width() || frame.height() > area.height()) {
            frame.setSize(frame.size().boundedTo(area.size()));
            window->resize(frame.size() - decoration);
        }
        frame.moveCenter(top->frameGeometry().center());
        frame.moveLeft(std::clamp(frame.left(), area.left(), area.right() + 1 - frame.width()));
        frame.moveTop(std::clamp(frame.top(), area.top(), area.bottom() + 1 - frame.height()));
    } else {
        frame.moveCenter(top->frameGeometry().center());
    }
    window->move(frame.topLeft()); // a top-level window's position is that of its frame
}

} // namespace pa::ui
