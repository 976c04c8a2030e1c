// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "ui/CaptionText.h"

#include <QRegularExpression>

namespace pa::ui {

QString captionText(Caption which, int language) {
    return QString::fromStdString(caption(which, language));
}

QString withoutMark(QString text) {
    static const QRegularExpression mark(R"(\(&.\))");
    return text.remove(mark).remove('&');
}

} // namespace pa::ui
