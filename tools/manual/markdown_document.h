// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Loads a Markdown manual into a QTextDocument styled for print: a plain body font, spaced
// headings, ruled tables, shaded code blocks and images no wider than the text column.
#include <QString>
#include <QTextDocument>
#include <memory>

namespace pa::manual {

struct LoadResult {
    std::unique_ptr<QTextDocument> document;
    QString title; // the text of the first level-1 heading, or ""
    int images = 0;
    QString error; // one line; set when the file or one of its images cannot be read
};

// Reads `path` (GitHub-flavoured Markdown, UTF-8). Images are resolved relative to the
// file's folder; `columnWidth` is the text column's width in points, the widest an image
// is shown.
LoadResult loadMarkdown(const QString& path, qreal columnWidth);

} // namespace pa::manual
