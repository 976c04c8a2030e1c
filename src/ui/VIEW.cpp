// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "ui/VIEW.h"

#include "datafile/data_folder.h"
#include "ui/CaptionText.h"
#include "ui/ExportRecording.h"
#include "ui/SurveyReport.h"

#include <QActionGroup>
#include <QApplication>
#include <QCloseEvent>
#include <QFileInfo>
#include <QFontDatabase>
#include <QFontDialog>
#include <QKeyEvent>
#include <QLabel>
#include <QLocale>
#include <QMenuBar>
#include <QPainter>
#include <QPrintDialog>
#include <QPrinter>
#include <QProgressDialog>
#include <QScrollBar>
#include <QStatusBar>

namespace pa::ui {
namespace {

// Bytes scanned per step of the line index; a step takes a few milliseconds.
constexpr std::size_t kIndexStepBytes = 4 << 20;
// Scanned before the window first shows the file, so its first lines are there at once.
constexpr std::size_t kFirstStepBytes = 256 << 10;
constexpr int kMargin = 6; // pixels left of the text

QString qs(const std::string& s) {
    return QString::fromStdString(s);
}

} // namespace

LineView::LineView(QWidget* parent) : QAbstractScrollArea(parent) {
    setObjectName("lines");
    setFocusPolicy(Qt::StrongFocus);
    viewport()->setBackgroundRole(QPalette::Base);
    verticalScrollBar()->setSingleStep(1);
}

void LineView::setIndex(const datafile::LineIndex* index) {
    index_ = index;
    verticalScrollBar()->setValue(0);
    horizontalScrollBar()->setValue(0);
    updateRanges();
}

int LineView::visibleLines() const {
    return std::max(1, viewport()->height() / fontMetrics().lineSpacing());
}

std::uint64_t LineView::firstVisibleLine() const {
    return static_cast<std::uint64_t>(verticalScrollBar()->value());
}

void LineView::updateRanges() {
    const qint64 lines = index_ ? static_cast<qint64>(index_->lineCount()) : 0;
    const int page = visibleLines();
    verticalScrollBar()->setPageStep(page);
    verticalScrollBar()->setRange(
        0, static_cast<int>(std::clamp<qint64>(lines - page, 0, std::numeric_limits<int>::max())));
    const int charWidth = fontMetrics().horizontalAdvance(QLatin1Char('0'));
    // Widths are reckoned in 64 bits and held to what a scroll bar can take.
    const qint64 wide =
        index_ ? static_cast<qint64>(index_->widestLine()) * charWidth + 2 * kMargin : 0;
    const int width = static_cast<int>(std::min<qint64>(wide, std::numeric_limits<int>::max() / 2));
    horizontalScrollBar()->setPageStep(viewport()->width());
    horizontalScrollBar()->setSingleStep(charWidth * 4);
    horizontalScrollBar()->setRange(0, std::max(0, width - viewport()->width()));
    viewport()->update();
}

void LineView::paintEvent(QPaintEvent*) {
    QPainter painter(viewport());
    shown_.clear();
    if (!index_)
        return;
    const QFontMetrics metrics = fontMetrics();
    const int step = metrics.lineSpacing();
    shown_ = index_->lines(firstVisibleLine(), static_cast<std::size_t>(visibleLines() + 1));
    const int x = kMargin - horizontalScrollBar()->value();
    int y = metrics.ascent();
    painter.setPen(palette().color(QPalette::Text));
    for (const std::string& line : shown_) {
        painter.drawText(x, y, QString::fromUtf8(line.data(), static_cast<qsizetype>(line.size())));
        y += step;
    }
}

void LineView::resizeEvent(QResizeEvent* event) {
    QAbstractScrollArea::resizeEvent(event);
    updateRanges();
}

void LineView::changeEvent(QEvent* event) {
    QAbstractScrollArea::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        updateRanges();
}

void LineView::keyPressEvent(QKeyEvent* event) {
    QScrollBar* v = verticalScrollBar();
    QScrollBar* h = horizontalScrollBar();
    if (event->matches(QKeySequence::MoveToStartOfDocument))
        v->setValue(0), h->setValue(0);
    else if (event->matches(QKeySequence::MoveToEndOfDocument))
        v->setValue(v->maximum());
    else if (event->key() == Qt::Key_Home)
        h->setValue(0);
    else if (event->key() == Qt::Key_End)
        h->setValue(h->maximum());
    else
        QAbstractScrollArea::keyPressEvent(event);
}

VIEW::VIEW(app::Ui& ui, int language, QWidget* parent)
    : QMainWindow(parent, Qt::Window), ui_(ui), language_(language), view_(new LineView(this)),
      progress_(new QLabel(this)) {
    setObjectName("VIEW");
    setAttribute(Qt::WA_DeleteOnClose);
    font_ = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    view_->setFont(font_);
    view_->setIndex(&index_);
    setCentralWidget(view_);
    statusBar()->addWidget(progress_, 1);
    indexTimer_.setInterval(0);
    connect(&indexTimer_, &QTimer::timeout, this, &VIEW::indexStep);

    fileMenu_ = menuBar()->addMenu(QString());
    open_ = fileMenu_->addAction(QString(), this, [this] { chooseAndOpen(); });
    open_->setShortcut(QKeySequence::Open);
    reload_ = fileMenu_->addAction(QString(), this, [this] {
        if (!index_.path().empty())
            openPath(index_.path());
    });
    reload_->setShortcut(QKeySequence::Refresh);
    export_ = fileMenu_->addAction(
        QString(), this, [this] { exportRecording(ui_, this, index_.path(), language_); });
    report_ = fileMenu_->addAction(
        QString(), this, [this] { makeSurveyReport(ui_, this, index_.path(), language_); });
    fileMenu_->addSeparator();
    print_ = fileMenu_->addAction(QString(), this, &VIEW::printFromMenu);
    print_->setShortcut(QKeySequence::Print);
    orientationMenu_ = fileMenu_->addMenu(QString());
    auto* orientations = new QActionGroup(this);
    portrait_ = orientationMenu_->addAction(QString());
    landscape_ = orientationMenu_->addAction(QString());
    for (QAction* a : {portrait_, landscape_}) {
        a->setCheckable(true);
        orientations->addAction(a);
    }
    landscape_->setChecked(true);
    connect(portrait_, &QAction::triggered, this,
            [this] { setOrientation(QPageLayout::Portrait); });
    connect(landscape_, &QAction::triggered, this,
            [this] { setOrientation(QPageLayout::Landscape); });
    chooseFont_ = fileMenu_->addAction(QString(), this, &VIEW::chooseFont);
    fileMenu_->addSeparator();
    close_ = fileMenu_->addAction(QString(), this, &QWidget::close);
    close_->setShortcuts({QKeySequence::Close, QKeySequence(Qt::Key_Escape)});

    applyCaptions(language);
    resize(900, 560);
}

void VIEW::closeEvent(QCloseEvent* event) {
    indexTimer_.stop();
    QMainWindow::closeEvent(event);
    emit closed();
}

void VIEW::applyCaptions(int language) {
    language_ = language;
    fileMenu_->setTitle(captionText(Caption::MenuFile, language));
    open_->setText(captionText(Caption::ViewerOpen, language));
    reload_->setText(captionText(Caption::ViewerReload, language));
    export_->setText(captionText(Caption::ViewerExport, language));
    report_->setText(captionText(Caption::ReportMenu, language));
    print_->setText(captionText(Caption::PrintButton, language) + "...");
    orientationMenu_->setTitle(captionText(Caption::ViewerOrientation, language));
    portrait_->setText(captionText(Caption::ViewerPortrait, language));
    landscape_->setText(captionText(Caption::ViewerLandscape, language));
    chooseFont_->setText(captionText(Caption::ViewerFont, language));
    close_->setText(captionText(Caption::ViewerClose, language));
    const QString title = withoutMark(captionText(Caption::MenuViewFile, language));
    const QString name = QFileInfo(qs(index_.path())).fileName();
    setWindowTitle(name.isEmpty() ? title : title + " - " + name);
    if (!index_.path().empty())
        showProgress();
}

bool VIEW::chooseAndOpen() {
    const datafile::FolderResult folder = datafile::DataFolder();
    if (!folder.ok()) {
        ui_.message(folder.error, "", app::Icon::Exclamation);
        return false;
    }
    const auto path =
        ui_.openFileIn(withoutMark(captionText(Caption::MenuViewFile, language_)).toStdString(),
                       (captionText(Caption::DataFilesFilter, language_) + ";;" +
                        captionText(Caption::AllFilesFilter, language_))
                           .toStdString(),
                       datafile::joinPath(folder.path, ".txt"));
    return path && openPath(*path);
}

bool VIEW::openPath(const std::string& path) {
    indexTimer_.stop();
    if (const std::string error = index_.open(path); !error.empty()) {
        view_->setIndex(&index_);
        ui_.message(error, "", app::Icon::Exclamation);
        applyCaptions(language_);
        return false;
    }
    index_.indexMore(kFirstStepBytes);
    view_->setIndex(&index_);
    if (!index_.complete())
        indexTimer_.start();
    showProgress();
    applyCaptions(language_);
    return true;
}

void VIEW::indexStep() {
    if (index_.indexMore(kIndexStepBytes))
        indexTimer_.stop();
    view_->updateRanges();
    showProgress();
}

void VIEW::finishIndexing() {
    while (!index_.indexMore(kIndexStepBytes)) {
    }
    indexTimer_.stop();
    view_->updateRanges();
    showProgress();
}

void VIEW::showProgress() {
    // The count is grouped the same way ("12,345") on every machine, whatever the desktop's
    // language.
    const QLocale locale(QLocale::English, QLocale::UnitedStates);
    QString text = captionText(Caption::ViewerLines, language_)
                       .arg(locale.toString(static_cast<qulonglong>(index_.lineCount())));
    if (!index_.complete() && index_.fileSize() > 0)
        text += captionText(Caption::ViewerReading, language_)
                    .arg(static_cast<int>(100.0 * index_.indexedBytes() / index_.fileSize()));
    progress_->setText(text);
}

void VIEW::setViewFont(const QFont& font) {
    font_ = font;
    view_->setFont(font);
}

void VIEW::chooseFont() {
    bool ok = false;
    const QFont chosen = QFontDialog::getFont(&ok, font_, this, chooseFont_->text().remove('&'),
                                              QFontDialog::MonospacedFonts);
    if (ok)
        setViewFont(chosen);
}

void VIEW::setOrientation(QPageLayout::Orientation orientation) {
    orientation_ = orientation;
    (orientation == QPageLayout::Portrait ? portrait_ : landscape_)->setChecked(true);
}

void VIEW::preparePrinter(QPrinter& printer) const {
    printer.setPageOrientation(orientation_);
    printer.setDocName(QFileInfo(qs(index_.path())).fileName());
}

void VIEW::printFromMenu() {
    if (index_.path().empty())
        return;
    QPrinter printer(QPrinter::HighResolution);
    preparePrinter(printer);
    QPrintDialog dialog(&printer, this);
    if (dialog.exec() != QDialog::Accepted)
        return;
    setOrientation(printer.pageLayout().orientation());
    print(printer);
}

void VIEW::print(QPrinter& printer) {
    finishIndexing();
    QPainter painter;
    if (!painter.begin(&printer)) {
        ui_.message("The printer could not be started.", "", app::Icon::Exclamation);
        return;
    }
    QFont font = font_;
    painter.setFont(font);
    const QFontMetrics metrics(font, &printer);
    const int step = metrics.lineSpacing();
    const QRect page = printer.pageLayout().paintRectPixels(printer.resolution());
    const int headerHeight = 2 * step;
    const int perPage = std::max(1, (page.height() - headerHeight) / step);
    const std::uint64_t lines = index_.lineCount();
    const int pages = static_cast<int>(std::max<std::uint64_t>(1, (lines + perPage - 1) / perPage));
    const int from = printer.fromPage() > 0 ? std::min(printer.fromPage(), pages) : 1;
    const int to = printer.toPage() > 0 ? std::min(printer.toPage(), pages) : pages;
    const QString name = QFileInfo(qs(index_.path())).fileName();

    QProgressDialog progress(print_->text().remove("..."), QString(), from, to, this);
    progress.setWindowModality(Qt::WindowModal);
    progress.setMinimumDuration(500);
    progress.setCancelButtonText(QApplication::translate("QPlatformTheme", "Cancel"));
    for (int p = from; p <= to; ++p) {
        if (p > from)
            printer.newPage();
        painter.drawText(QRect(0, 0, page.width(), step), Qt::AlignLeft, name);
        painter.drawText(QRect(0, 0, page.width(), step), Qt::AlignRight,
                         QString("%1 / %2").arg(p).arg(pages));
        int y = headerHeight + metrics.ascent();
        for (const std::string& line :
             index_.lines(static_cast<std::uint64_t>(p - 1) * perPage, perPage)) {
            painter.drawText(0, y,
                             QString::fromUtf8(line.data(), static_cast<qsizetype>(line.size())));
            y += step;
        }
        progress.setValue(p);
        if (progress.wasCanceled()) {
            printer.abort();
            break;
        }
    }
    painter.end();
}

} // namespace pa::ui
