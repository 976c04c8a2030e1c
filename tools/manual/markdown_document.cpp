// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "markdown_document.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFontMetricsF>
#include <QImage>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextFrame>
#include <QTextTable>
#include <QUrl>
#include <algorithm>
#include <vector>

namespace pa::manual {
namespace {

// Sizes in points; lengths of borders, paddings and margins in layout units (1/96 inch).
constexpr qreal kBodyPoints = 10;
constexpr qreal kCodePoints = 8.5;
constexpr qreal kCodeMinPoints = 6.5;
constexpr qreal kCodeSideMargin = 6;
constexpr qreal kHeadingPoints[] = {0, 20, 15, 12, 11, 10, 10}; // by level, 1..6
constexpr qreal kHeadingAbove[] = {0, 0, 22, 14, 10, 8, 8};
constexpr qreal kHeadingBelow[] = {0, 14, 8, 6, 4, 4, 4};
constexpr qreal kParagraphBelow = 7;
constexpr qreal kListItemBelow = 3;
constexpr qreal kUnitsPerPoint = 96.0 / 72.0;
const QColor kRuleColour(0x9a, 0x9a, 0x9a);
const QColor kHeaderCellColour(0xe8, 0xec, 0xf0);
const QColor kCodeColour(0xf2, 0xf2, 0xf2);
const QColor kHeadingColour(0x1f, 0x3a, 0x5a);

QFont bodyFont() {
    QFont f;
    f.setFamilies({"DejaVu Sans", "Noto Sans CJK TC"});
    f.setStyleHint(QFont::SansSerif);
    f.setPointSizeF(kBodyPoints);
    return f;
}

QStringList codeFamilies() {
    return {"DejaVu Sans Mono", "Noto Sans Mono CJK TC"};
}

bool isCodeBlock(const QTextBlock& block) {
    const QTextBlockFormat f = block.blockFormat();
    return f.hasProperty(QTextFormat::BlockCodeFence) || f.nonBreakableLines();
}

// Headings come with a relative size step; their size here is set in points instead.
void dropSizeAdjustment(QTextCursor& cursor, const QTextBlock& block) {
    std::vector<std::pair<int, int>> spans;
    for (auto it = block.begin(); !it.atEnd(); ++it)
        spans.emplace_back(it.fragment().position(), it.fragment().length());
    for (const auto& [position, length] : spans) {
        cursor.setPosition(position);
        cursor.setPosition(position + length, QTextCursor::KeepAnchor);
        QTextCharFormat f = cursor.charFormat();
        f.clearProperty(QTextFormat::FontSizeAdjustment);
        cursor.setCharFormat(f);
    }
}

void styleBlocks(QTextDocument& doc) {
    QTextCursor cursor(&doc);
    for (QTextBlock b = doc.begin(); b.isValid(); b = b.next()) {
        cursor.setPosition(b.position());
        cursor.setPosition(b.position() + b.length() - 1, QTextCursor::KeepAnchor);
        QTextBlockFormat block;
        QTextCharFormat chars;
        const int level = b.blockFormat().headingLevel();
        if (level >= 1 && level <= 6) {
            chars.setFontPointSize(kHeadingPoints[level]);
            chars.setFontWeight(QFont::Bold);
            chars.setForeground(kHeadingColour);
            block.setTopMargin(kHeadingAbove[level]);
            block.setBottomMargin(kHeadingBelow[level]);
        } else if (isCodeBlock(b)) {
            chars.setFontFamilies(codeFamilies());
            chars.setFontPointSize(kCodePoints);
            block.setBackground(kCodeColour);
            // A line still too long after fitCodeToColumn wraps rather than runs off the page.
            block.setNonBreakableLines(false);
            block.setLeftMargin(kCodeSideMargin);
            block.setRightMargin(kCodeSideMargin);
            // Code lines run together; only the last one of a block has the space below.
            const bool last = !b.next().isValid() || !isCodeBlock(b.next());
            block.setBottomMargin(last ? kParagraphBelow : 0);
            block.setTopMargin(0);
        } else if (b.textList()) {
            const bool lastItem = !b.next().isValid() || b.next().textList() != b.textList();
            block.setBottomMargin(lastItem ? kParagraphBelow : kListItemBelow);
            block.setLineHeight(115, QTextBlockFormat::ProportionalHeight);
        } else {
            block.setBottomMargin(kParagraphBelow);
            // Text lines get a little air; a line holding a picture keeps its own height.
            if (!b.text().contains(QChar::ObjectReplacementCharacter))
                block.setLineHeight(115, QTextBlockFormat::ProportionalHeight);
        }
        cursor.mergeBlockFormat(block);
        if (chars.propertyCount() > 0)
            cursor.mergeCharFormat(chars);
        if (level > 0)
            dropSizeAdjustment(cursor, b);
    }
    // Inline code keeps its fixed-width face but at a size that sits in the line.
    for (QTextBlock b = doc.begin(); b.isValid(); b = b.next()) {
        if (isCodeBlock(b) || b.blockFormat().headingLevel() > 0)
            continue;
        for (auto it = b.begin(); !it.atEnd(); ++it) {
            const QTextFragment frag = it.fragment();
            if (!frag.charFormat().fontFixedPitch())
                continue;
            cursor.setPosition(frag.position());
            cursor.setPosition(frag.position() + frag.length(), QTextCursor::KeepAnchor);
            QTextCharFormat code;
            code.setFontFamilies(codeFamilies());
            code.setFontPointSize(kCodePoints + 0.5);
            cursor.mergeCharFormat(code);
        }
    }
}

// Sets the code of each fenced block in a smaller size when its longest line would not fit
// the column at the usual size, so that commands stay on one line where that can be read.
void fitCodeToColumn(QTextDocument& doc, qreal columnWidth) {
    QImage points(1, 1, QImage::Format_RGB32); // measures in points: 72 dots per inch
    points.setDotsPerMeterX(qRound(72 / 0.0254));
    points.setDotsPerMeterY(qRound(72 / 0.0254));
    QFont code;
    code.setFamilies(codeFamilies());
    code.setPointSizeF(kCodePoints);
    const QFontMetricsF metrics(code, &points);
    const qreal room = columnWidth - 2 * kCodeSideMargin / kUnitsPerPoint;
    QTextCursor cursor(&doc);
    for (QTextBlock b = doc.begin(); b.isValid(); b = b.next()) {
        if (!isCodeBlock(b))
            continue;
        const QTextBlock first = b;
        qreal widest = 0;
        for (; b.next().isValid() && isCodeBlock(b.next()); b = b.next())
            widest = std::max(widest, metrics.horizontalAdvance(b.text()));
        widest = std::max(widest, metrics.horizontalAdvance(b.text()));
        if (widest <= room)
            continue;
        QTextCharFormat smaller;
        smaller.setFontPointSize(std::max(kCodeMinPoints, kCodePoints * room / widest));
        cursor.setPosition(first.position());
        cursor.setPosition(b.position() + b.length() - 1, QTextCursor::KeepAnchor);
        cursor.mergeCharFormat(smaller);
    }
}

void styleTable(QTextTable& table) {
    QTextTableFormat f = table.format();
    f.setBorderCollapse(true);
    f.setBorder(0.75);
    f.setBorderBrush(kRuleColour);
    f.setBorderStyle(QTextFrameFormat::BorderStyle_Solid);
    f.setCellSpacing(0);
    f.setCellPadding(4);
    f.setHeaderRowCount(1); // repeated on every page the table runs onto
    f.setTopMargin(2);
    f.setBottomMargin(kParagraphBelow + 3);
    f.setWidth(QTextLength(QTextLength::PercentageLength, 100));
    table.setFormat(f);
    for (int c = 0; c < table.columns(); ++c) {
        QTextTableCell cell = table.cellAt(0, c);
        QTextTableCellFormat header = cell.format().toTableCellFormat();
        header.setBackground(kHeaderCellColour);
        cell.setFormat(header);
    }
    // With collapsed borders each cell draws its own rules.
    for (int r = 0; r < table.rows(); ++r)
        for (int c = 0; c < table.columns(); ++c) {
            QTextTableCell cell = table.cellAt(r, c);
            QTextTableCellFormat ruled = cell.format().toTableCellFormat();
            ruled.setBorder(0.75);
            ruled.setBorderBrush(kRuleColour);
            ruled.setBorderStyle(QTextFrameFormat::BorderStyle_Solid);
            cell.setFormat(ruled);
        }
    // Paragraph spacing inside cells would make every row tall.
    for (int r = 0; r < table.rows(); ++r)
        for (int c = 0; c < table.columns(); ++c) {
            QTextCursor cell = table.cellAt(r, c).firstCursorPosition();
            cell.setPosition(table.cellAt(r, c).lastCursorPosition().position(),
                             QTextCursor::KeepAnchor);
            QTextBlockFormat tight;
            tight.setBottomMargin(0);
            tight.setLineHeight(100, QTextBlockFormat::ProportionalHeight);
            cell.mergeBlockFormat(tight);
        }
}

void styleTables(QTextFrame* frame) {
    for (QTextFrame* child : frame->childFrames()) {
        if (auto* table = qobject_cast<QTextTable*>(child))
            styleTable(*table);
        styleTables(child);
    }
}

struct ImageUse {
    int position;
    QTextImageFormat format;
};

// Loads every image the text names, from the Markdown file's folder, and narrows those
// wider than the column. Returns "" or the first image that cannot be read.
QString placeImages(QTextDocument& doc, const QDir& folder, qreal columnWidth, int& count) {
    std::vector<ImageUse> uses;
    for (QTextBlock b = doc.begin(); b.isValid(); b = b.next())
        for (auto it = b.begin(); !it.atEnd(); ++it)
            if (it.fragment().charFormat().isImageFormat())
                for (int i = 0; i < it.fragment().length(); ++i)
                    uses.push_back(
                        {it.fragment().position() + i, it.fragment().charFormat().toImageFormat()});
    const qreal widest = columnWidth * kUnitsPerPoint;
    QTextCursor cursor(&doc);
    for (ImageUse& use : uses) {
        const QString name = use.format.name();
        const QUrl url(name);
        if (!url.isRelative() && !url.isLocalFile())
            return "image " + name + " is not a local file";
        const QString path = url.isLocalFile() ? url.toLocalFile() : folder.filePath(url.path());
        const QImage image(path);
        if (image.isNull())
            return "cannot read image " + QDir::cleanPath(path);
        doc.addResource(QTextDocument::ImageResource, QUrl(name), image);
        const QSizeF natural = image.deviceIndependentSize();
        if (!use.format.hasProperty(QTextFormat::ImageWidth) && natural.width() > widest) {
            use.format.setWidth(widest);
            use.format.setHeight(natural.height() * widest / natural.width());
        }
        cursor.setPosition(use.position);
        cursor.setPosition(use.position + 1, QTextCursor::KeepAnchor);
        cursor.setCharFormat(use.format);
        // A paragraph that is only the picture is centred in the column.
        if (cursor.block().length() == 2) {
            QTextBlockFormat centred;
            centred.setAlignment(Qt::AlignHCenter);
            cursor.mergeBlockFormat(centred);
        }
        ++count;
    }
    return "";
}

QString firstTitle(const QTextDocument& doc) {
    for (QTextBlock b = doc.begin(); b.isValid(); b = b.next())
        if (b.blockFormat().headingLevel() == 1)
            return b.text().trimmed();
    return "";
}

} // namespace

LoadResult loadMarkdown(const QString& path, qreal columnWidth) {
    LoadResult result;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        result.error = "cannot read " + path + ": " + file.errorString();
        return result;
    }
    const QFileInfo info(path);
    auto doc = std::make_unique<QTextDocument>();
    doc->setDefaultFont(bodyFont());
    doc->setDocumentMargin(0);
    doc->setBaseUrl(QUrl::fromLocalFile(info.absolutePath() + "/"));
    doc->setMarkdown(QString::fromUtf8(file.readAll()), QTextDocument::MarkdownDialectGitHub);
    doc->setMetaInformation(QTextDocument::DocumentUrl, doc->baseUrl().toString());
    if (doc->isEmpty()) {
        result.error = path + " is empty";
        return result;
    }
    const QString imageError =
        placeImages(*doc, QDir(info.absolutePath()), columnWidth, result.images);
    if (!imageError.isEmpty()) {
        result.error = info.fileName() + ": " + imageError;
        return result;
    }
    styleBlocks(*doc);
    fitCodeToColumn(*doc, columnWidth);
    styleTables(doc->rootFrame());
    result.title = firstTitle(*doc);
    result.document = std::move(doc);
    return result;
}

} // namespace pa::manual
