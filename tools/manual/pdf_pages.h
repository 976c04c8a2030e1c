// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Writes a QTextDocument as an A4 portrait PDF: margins, the title over a rule at the top of
// every page and "page / pages" at the foot.
#include <QIODevice>
#include <QString>
#include <QTextDocument>

namespace pa::manual {

// The text column of the page in points (A4 less the margins).
qreal columnWidthPoints();

// Lays `document` out on pages and writes them as a PDF to `out` (open for writing). Returns
// the number of pages written, or 0 (with `error` set to one line) when nothing could be.
int writePdf(QTextDocument& document, const QString& title, QIODevice& out, QString& error);

} // namespace pa::manual
