// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Captions as the windows show them.
#include "ui/captions.h"

#include <QString>

namespace pa::ui {

// The caption in a language (1 English, 2 Chinese) as a Qt string.
QString captionText(Caption which, int language);

// A menu caption without its keyboard mark, as a window's name in a title or a message:
// "&View File" -> "View File", "瀏覽檔案(&V)" -> "瀏覽檔案".
QString withoutMark(QString text);

} // namespace pa::ui
