// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "pdf_pages.h"

#include <QAbstractTextDocumentLayout>
#include <QPainter>
#include <QPdfWriter>
#include <QTextBlock>
#include <cmath>

namespace pa::manual {
namespace {

constexpr qreal kPageWidthMm = 210, kPageHeightMm = 297;
constexpr qreal kSideMm = 20, kTopMm = 24, kBottomMm = 22;
constexpr qreal kHeaderFromTopMm = 12, kFooterFromBottomMm = 12;
constexpr int kResolution = 600; // layout units of the PDF, per inch
constexpr qreal kMmPerInch = 25.4;
// A heading needs this much of the text after it (in body lines) on its own page.
constexpr int kLinesAfterHeading = 3;
const QColor kMarginTextColour(0x55, 0x55, 0x55);

qreal mmToDots(qreal mm) {
    return mm * kResolution / kMmPerInch;
}

int pageOf(qreal y, qreal pageHeight) {
    return static_cast<int>(std::floor(y / pageHeight));
}

// Where line `n` of a block lies in the document: the layout may have moved it to the next
// page, away from the block's start.
qreal lineTop(const QAbstractTextDocumentLayout& layout, const QTextBlock& block, int n) {
    return layout.blockBoundingRect(block).top() + block.layout()->lineAt(n).rect().top();
}
qreal lineBottom(const QAbstractTextDocumentLayout& layout, const QTextBlock& block, int n) {
    return layout.blockBoundingRect(block).top() + block.layout()->lineAt(n).rect().bottom();
}

// The first heading, after the first page's top, that would end its page: too little of the
// text after it would share the page. An invalid block when there is none.
QTextBlock strandedHeading(QTextDocument& doc, qreal pageHeight) {
    QAbstractTextDocumentLayout* layout = doc.documentLayout();
    for (QTextBlock b = doc.begin().next(); b.isValid(); b = b.next()) {
        if (b.blockFormat().headingLevel() == 0)
            continue;
        // Everything up to the first text block after the heading(s) must share the page.
        QTextBlock next = b.next();
        while (next.isValid() && next.blockFormat().headingLevel() > 0)
            next = next.next();
        if (!next.isValid())
            break;
        const qreal headingTop = lineTop(*layout, b, 0);
        layout->blockBoundingRect(next); // lays the block out
        const int lines = next.layout()->lineCount();
        if (lines == 0)
            continue;
        const qreal afterBottom =
            lineBottom(*layout, next, std::min<int>(lines, kLinesAfterHeading) - 1);
        if (pageOf(headingTop, pageHeight) != pageOf(afterBottom - 1, pageHeight) &&
            std::fmod(headingTop, pageHeight) >= 1)
            return b;
    }
    return {};
}

// Moves headings that would end a page to the top of the next, one at a time from the start,
// laying the whole document out again after each move (a partial relayout leaves stale
// positions behind the moved block).
void keepHeadingsWithText(QTextDocument& doc, qreal pageHeight) {
    for (int moves = 0; moves < doc.blockCount(); ++moves) {
        const QTextBlock heading = strandedHeading(doc, pageHeight);
        if (!heading.isValid())
            return;
        QTextCursor cursor(heading);
        QTextBlockFormat breakBefore;
        breakBefore.setPageBreakPolicy(QTextFormat::PageBreak_AlwaysBefore);
        cursor.mergeBlockFormat(breakBefore);
        doc.markContentsDirty(0, doc.characterCount());
    }
}

void drawMargins(QPainter& p, const QRectF& page, const QRectF& body, const QString& title,
                 int number, int count) {
    QFont font("DejaVu Sans");
    font.setPointSizeF(8);
    p.setFont(font);
    p.setPen(kMarginTextColour);
    if (number > 1 && !title.isEmpty()) { // the first page carries the title itself
        const QRectF header(body.left(), 0, body.width(), mmToDots(kHeaderFromTopMm));
        p.drawText(header, Qt::AlignLeft | Qt::AlignBottom, title);
        p.setPen(QPen(kMarginTextColour, mmToDots(0.2)));
        const qreal ruleY = header.bottom() + mmToDots(1.5);
        p.drawLine(QPointF(body.left(), ruleY), QPointF(body.right(), ruleY));
    }
    const QRectF footer(body.left(), page.bottom() - mmToDots(kFooterFromBottomMm), body.width(),
                        mmToDots(kFooterFromBottomMm));
    p.setPen(kMarginTextColour);
    p.drawText(footer, Qt::AlignHCenter | Qt::AlignTop, QString("%1 / %2").arg(number).arg(count));
}

} // namespace

qreal columnWidthPoints() {
    return (kPageWidthMm - 2 * kSideMm) * 72 / kMmPerInch;
}

int writePdf(QTextDocument& document, const QString& title, QIODevice& out, QString& error) {
    QPdfWriter writer(&out);
    writer.setResolution(kResolution);
    writer.setPageLayout(QPageLayout(QPageSize(QPageSize::A4), QPageLayout::Portrait,
                                     QMarginsF(0, 0, 0, 0), QPageLayout::Millimeter));
    writer.setTitle(title);
    writer.setCreator("poweranalyzer-manual");

    const QRectF page(0, 0, mmToDots(kPageWidthMm), mmToDots(kPageHeightMm));
    const QRectF body = page.adjusted(mmToDots(kSideMm), mmToDots(kTopMm), -mmToDots(kSideMm),
                                      -mmToDots(kBottomMm));
    document.documentLayout()->setPaintDevice(&writer);
    document.setPageSize(body.size());
    keepHeadingsWithText(document, body.height());
    const int pages = document.pageCount();

    QPainter p;
    if (!p.begin(&writer)) {
        error = "cannot start the PDF: " + out.errorString();
        return 0;
    }
    for (int i = 0; i < pages; ++i) {
        if (i > 0)
            writer.newPage();
        drawMargins(p, page, body, title, i + 1, pages);
        p.save();
        p.translate(body.topLeft());
        p.setClipRect(QRectF(QPointF(0, 0), body.size()));
        p.translate(0, -i * body.height());
        QAbstractTextDocumentLayout::PaintContext context;
        context.clip = QRectF(0, i * body.height(), body.width(), body.height());
        context.palette.setColor(QPalette::Text, Qt::black);
        document.documentLayout()->draw(&p, context);
        p.restore();
    }
    p.end();
    return pages;
}

} // namespace pa::manual
