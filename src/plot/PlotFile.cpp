// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "plot/PlotFile.h"

#include "datafile/output_file.h"

#include "datafile/data_folder.h"
#include "ui/CaptionText.h"
#include "ui/ExportRecording.h"
#include "ui/SurveyReport.h"

#include <QActionGroup>
#include <QApplication>
#include <QBuffer>
#include <QCloseEvent>
#include <QFileInfo>
#include <QGraphicsSimpleTextItem>
#include <QLabel>
#include <QMenuBar>
#include <QPainter>
#include <QPdfWriter>
#include <QPrintDialog>
#include <QPrinter>
#include <QSet>
#include <QStatusBar>
#include <QtCharts/QCategoryAxis>
#include <QtCharts/QChart>
#include <QtCharts/QChartView>
#include <QtCharts/QLineSeries>
#include <QtCharts/QValueAxis>

namespace pa::plot {
namespace {

QString qs(const std::string& s) {
    return QString::fromUtf8(s.data(), static_cast<qsizetype>(s.size()));
}

constexpr const char* kWindowTitle = "Power Analyzer  --  Plot Data ";

// A time label as the axis shows it: without the blanks and the field's comma around it.
QString axisText(const std::string& label) {
    QString text = qs(label).trimmed();
    while (text.endsWith(','))
        text.chop(1);
    return text.trimmed();
}

QString statisticsText(const Statistics& s, int language) {
    auto n = [](double v) { return QString::number(v, 'g', 6); };
    return ui::captionText(ui::Caption::PlotStatisticsBox, language)
        .arg(s.count)
        .arg(n(s.minimum), n(s.maximum), n(s.mean), n(s.standardDeviation));
}

// A text box that stays in the top right corner of the plot area.
void addCornerText(QChart* chart, const QString& text, bool centre) {
    auto* box = new QGraphicsRectItem(chart);
    box->setBrush(QColor(255, 255, 255, 225));
    box->setPen(QPen(QColor(120, 120, 120)));
    auto* label = new QGraphicsSimpleTextItem(text, box);
    QFont font = label->font();
    font.setPointSize(10);
    label->setFont(font);
    const QRectF r = label->boundingRect().adjusted(-8, -6, 8, 6);
    box->setRect(r);
    box->setZValue(20);
    QObject::connect(chart, &QChart::plotAreaChanged, chart, [box, r, centre](const QRectF& area) {
        box->setPos(centre ? area.center() - r.center()
                           : QPointF(area.right() - r.right() - 10, area.top() - r.top() + 10));
    });
}

} // namespace

QChart* buildChart(const PlotDocument& doc, int language) {
    using ui::Caption;
    auto* chart = new QChart;
    chart->setAnimationOptions(QChart::NoAnimation);
    chart->setTitle(qs(doc.graphTitle()));
    QFont titleFont = chart->titleFont();
    titleFont.setPointSize(14);
    titleFont.setBold(true);
    chart->setTitleFont(titleFont);

    const PlotData& data = doc.data();
    const int points = static_cast<int>(data.points());
    QList<QAbstractSeries*> series;
    const QColor colours[] = {QColor(0x1f, 0x5f, 0xbf), QColor(0xc6, 0x28, 0x28)};
    for (int s = 0; s < data.setCount; ++s) {
        auto* line = new QLineSeries;
        QList<QPointF> xy;
        xy.reserve(points);
        for (int i = 0; i < points; ++i)
            xy.append(QPointF(i + 1, data.sets[s][i]));
        line->replace(xy); // all at once: appending point by point is quadratic
        line->setName(
            data.setCount == 2
                ? ui::captionText(s == 0 ? Caption::TrendMinimum : Caption::TrendMaximum, language)
                : qs(doc.yTitle()));
        line->setPen(QPen(colours[s], 1.5));
        series.append(line);
    }
    if (doc.statisticsShown() && points > 0) {
        const Statistics st = doc.currentStatistics();
        auto* mean = new QLineSeries;
        mean->replace({QPointF(1, st.mean), QPointF(std::max(points, 2), st.mean)});
        mean->setName(ui::captionText(Caption::PlotMean, language));
        mean->setPen(QPen(QColor(0x2e, 0x7d, 0x32), 1.5, Qt::DashLine));
        series.append(mean);
        addCornerText(chart, statisticsText(st, language), false);
    }
    for (auto* s : series)
        chart->addSeries(s);

    auto* x = new QCategoryAxis;
    x->setLabelsPosition(QCategoryAxis::AxisLabelsPositionOnValue);
    x->setStartValue(0);
    x->setRange(1, std::max(points, 2));
    QSet<QString> used;
    for (const AxisLabel& label : doc.xLabels()) {
        QString text = axisText(label.text);
        while (used.contains(text))
            text += QChar(0x200B); // the axis wants distinct texts
        used.insert(text);
        x->append(text, label.point);
    }
    x->setTitleText(qs(doc.xTitle()));
    x->setGridLineVisible(doc.grid() & 2);
    auto* y = new QValueAxis;
    double low = doc.yMin(), high = doc.yMax();
    if (!(high > low))
        high = low + 1;
    y->setRange(low, high);
    y->setTickCount(std::clamp(doc.yTicks(), 2, 21));
    y->setLabelFormat("%.6g");
    y->setTitleText(qs(doc.yTitle()));
    y->setGridLineVisible(doc.grid() & 1);
    y->setMinorGridLineVisible(false);
    chart->addAxis(x, Qt::AlignBottom);
    chart->addAxis(y, Qt::AlignLeft);
    for (auto* s : series) {
        s->attachAxis(x);
        s->attachAxis(y);
    }
    chart->legend()->setVisible(series.size() > 1);
    chart->legend()->setAlignment(Qt::AlignBottom);
    if (points == 0)
        addCornerText(chart, ui::captionText(Caption::PlotEmptyHint, language), true);
    return chart;
}

PlotFile::PlotFile(app::Ui& ui, QWidget* parent) : QMainWindow(parent), ui_(ui), document_(ui) {
    setObjectName("PlotFile");
    setWindowTitle(kWindowTitle);
    view_ = new QChartView(this);
    view_->setObjectName("Graph1");
    view_->setRenderHint(QPainter::Antialiasing);
    setCentralWidget(view_);
    status_ = new QLabel(this);
    statusBar()->addWidget(status_, 1);
    document_.setProgress([this](std::uint64_t bytes) {
        const qint64 total = QFileInfo(qs(document_.fileName())).size();
        status_->setText(ui::captionText(ui::Caption::PlotLoading, language_)
                             .arg(QFileInfo(qs(document_.fileName())).fileName())
                             .arg(total > 0 ? 100 * static_cast<qint64>(bytes) / total : 0));
        QApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
    });
    buildMenus();
    resize(1000, 640);
    setLanguage(1);
}

PlotFile::~PlotFile() = default;

void PlotFile::buildMenus() {
    using ui::Caption;
    // Every item is named here and captioned in the window's language by setLanguage.
    const auto add = [this](QMenu* menu, Caption text, auto slot) {
        QAction* a = menu->addAction(QString(), this, slot);
        captioned_.push_back({a, text});
        return a;
    };
    const auto addMenu = [this](QMenu* parent, Caption text) {
        QMenu* menu = parent ? parent->addMenu(QString()) : menuBar()->addMenu(QString());
        captioned_.push_back({menu->menuAction(), text});
        return menu;
    };
    QMenu* file = addMenu(nullptr, Caption::MenuFile);
    file->setObjectName("openfile");
    connect(file, &QMenu::aboutToShow, this, [this] {
        document_.openfile();
        showState();
    });
    QAction* open = add(file, Caption::PlotOpen, [this] { openfileforplot(); });
    open->setObjectName("openfileforplot");
    open->setShortcut(QKeySequence::Open);
    add(file, Caption::ViewerExport, [this] {
        ui::exportRecording(ui_, this, document_.fileName(), language_);
    })->setObjectName("exportCsv");
    add(file, Caption::ReportMenu, [this] {
        ui::makeSurveyReport(ui_, this, document_.fileName(), language_);
    })->setObjectName("surveyReport");
    file->addSeparator();
    QAction* exit = add(file, Caption::MenuExit, [this] { exit_plot(); });
    exit->setObjectName("exit_plot");
    exit->setShortcut(QKeySequence::Close);

    // The quantities keep their names in every language: they are the file's columns.
    QMenu* data = addMenu(nullptr, Caption::PlotMenuData);
    for (int i = 0; i < static_cast<int>(kQuantities.size()); ++i) {
        QAction* a = data->addAction(QString("&%1  %2").arg(i).arg(kQuantities[i].title), this,
                                     [this, i] { SelectData(i); });
        a->setObjectName(QString("SelectData_%1").arg(i));
        a->setCheckable(true);
        quantity_.append(a);
    }

    QMenu* graph = addMenu(nullptr, Caption::PlotMenuGraph);
    const Caption scale[] = {Caption::PlotFitY, Caption::PlotSetYMinimum, Caption::PlotSetYMaximum};
    for (int i = 0; i < 3; ++i)
        add(graph, scale[i], [this, i] {
            set_scale(i);
        })->setObjectName(QString("set_scale_%1").arg(i));
    graph->addSeparator();
    QMenu* grid = addMenu(graph, Caption::PlotMenuGrid);
    auto* gridGroup = new QActionGroup(this);
    const Caption grids[] = {Caption::PlotGridNone, Caption::PlotGridHorizontal,
                             Caption::PlotGridVertical, Caption::PlotGridBoth};
    for (int i = 0; i < 4; ++i) {
        QAction* a = add(grid, grids[i], [this, i] { set_grid(i); });
        a->setObjectName(QString("set_grid_%1").arg(i));
        a->setCheckable(true);
        gridGroup->addAction(a);
        grid_.append(a);
    }
    QMenu* titles = addMenu(graph, Caption::PlotMenuTitles);
    const Caption titleItems[] = {Caption::PlotSetXTitle,     Caption::PlotSetYTitle,
                                  Caption::PlotSetGraphTitle, Caption::PlotClearXTitle,
                                  Caption::PlotClearYTitle,   Caption::PlotClearGraphTitle};
    for (int i = 0; i < 6; ++i) {
        if (i == 3)
            titles->addSeparator();
        add(titles, titleItems[i], [this, i] {
            set_title(i);
        })->setObjectName(QString("set_title_%1").arg(i));
    }
    QMenu* labels = addMenu(graph, Caption::PlotMenuXLabels);
    auto* labelGroup = new QActionGroup(this);
    const Caption labelItems[] = {Caption::PlotLabelTime, Caption::PlotLabelRecord};
    for (int i = 0; i < 2; ++i) {
        QAction* a = add(labels, labelItems[i], [this, i] { set_x_label(i); });
        a->setObjectName(QString("set_x_label_%1").arg(i));
        a->setCheckable(true);
        labelGroup->addAction(a);
        xLabels_.append(a);
    }
    graph->addSeparator();
    statistics_ = add(graph, Caption::PlotStatistics, [this] { StatOption(); });
    statistics_->setObjectName("StatOption");
    statistics_->setCheckable(true);
    graph->addSeparator();
    QAction* print = add(graph, Caption::PlotPrint, [this] { Pgraphics(); });
    print->setObjectName("Pgraphics");
    print->setShortcut(QKeySequence::Print);
    add(graph, Caption::PlotSavePng, [this] { savePngAs(); });
    add(graph, Caption::PlotSavePdf, [this] { savePdfAs(); });
    graph->addSeparator();
    add(graph, Caption::PlotClear, [this] { clear_graphics(); })->setObjectName("clear_graphics");

    QAction* zoom = menuBar()->addAction(QString(), this, &PlotFile::ZoomIn);
    zoom->setObjectName("ZoomIn");
    captioned_.push_back({zoom, Caption::PlotZoom});
}

void PlotFile::setLanguage(int language) {
    language_ = language;
    for (const auto& [action, text] : captioned_)
        action->setText(ui::captionText(text, language));
    redraw();
}

void PlotFile::openfileforplot() {
    // Start where the recordings are; a file elsewhere can still be chosen.
    const datafile::FolderResult folder = datafile::DataFolder();
    if (document_.openfileforplot(folder.ok() ? datafile::joinPath(folder.path, ".txt") : ""))
        showState();
}

void PlotFile::SelectData(int entry) {
    QApplication::setOverrideCursor(Qt::WaitCursor);
    document_.SelectData(entry);
    QApplication::restoreOverrideCursor();
    redraw();
}

// Each graph command changes the document, then the chart is drawn again.
void PlotFile::set_scale(int entry) {
    document_.set_scale(entry), redraw();
}
void PlotFile::set_grid(int entry) {
    document_.set_grid(entry), redraw();
}
void PlotFile::set_title(int entry) {
    document_.set_title(entry), redraw();
}
void PlotFile::set_x_label(int entry) {
    document_.set_x_label(entry), redraw();
}
void PlotFile::ZoomIn() {
    document_.ZoomIn(), redraw();
}
void PlotFile::StatOption() {
    document_.StatOption(), redraw();
}
void PlotFile::clear_graphics() {
    document_.clear_graphics(), redraw();
}

void PlotFile::exit_plot() {
    close();
}

void PlotFile::redraw() {
    QChart* old = view_->chart();
    view_->setChart(buildChart(document_, language_));
    delete old;
    showState();
}

void PlotFile::showState() {
    for (int i = 0; i < quantity_.size(); ++i) {
        quantity_[i]->setEnabled(document_.quantityEnabled(i));
        quantity_[i]->setChecked(i == document_.quantity() && document_.data().setCount > 0);
    }
    grid_[document_.grid()]->setChecked(true);
    xLabels_[static_cast<int>(document_.xLabelMode())]->setChecked(true);
    statistics_->setEnabled(document_.statisticsEnabled());
    statistics_->setChecked(document_.statisticsShown());

    using ui::Caption;
    const auto text_ = [this](Caption c) { return ui::captionText(c, language_); };
    QString text = text_(Caption::PlotNoFile);
    if (!document_.fileName().empty()) {
        const PlotData& d = document_.data();
        text = text_(Caption::PlotRecords).arg(qs(document_.fileName())).arg(document_.records());
        if (d.setCount == 0)
            text += text_(Caption::PlotChoose);
        else if (document_.zoomed())
            text += text_(Caption::PlotZoomRange)
                        .arg(d.firstRecord)
                        .arg(d.firstRecord + static_cast<long>(d.points()) - 1);
        else if (d.setCount == 2)
            text += text_(Caption::PlotMinMaxEvery).arg(d.step).arg(d.points());
        if (d.linesNotPlotted > 0)
            text += text_(Caption::PlotNotPlotted).arg(d.linesNotPlotted);
    }
    status_->setText(text);
}

void PlotFile::renderChart(QPainter& painter, const QRectF& target, QSize logical) const {
    QChartView view(buildChart(document_, language_));
    view.setRenderHint(QPainter::Antialiasing);
    view.setFrameShape(QFrame::NoFrame);
    view.setAttribute(Qt::WA_DontShowOnScreen);
    view.resize(logical);
    view.show();
    QApplication::processEvents(QEventLoop::ExcludeUserInputEvents); // lay the chart out
    // The scene, not the widget: vector output on PDF and printers.
    view.render(&painter, target, view.viewport()->rect());
}

std::string PlotFile::savePng(const QString& path, QSize size) const {
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::white);
    {
        QPainter painter(&image);
        renderChart(painter, QRectF(QPointF(0, 0), QSizeF(size)), size);
    }
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    if (!image.save(&buffer, "PNG"))
        return "cannot write " + path.toStdString() + ": the picture could not be encoded";
    return datafile::writeWholeFile(path.toStdString(), bytes.toStdString());
}

// Drawn into memory and written whole: a full disk or a cut write is reported, never left as
// a PDF cut short.
std::string PlotFile::savePdf(const QString& path) const {
    QByteArray bytes;
    {
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::WriteOnly);
        QPdfWriter writer(&buffer);
        writer.setPageSize(QPageSize(QPageSize::A4));
        writer.setPageOrientation(QPageLayout::Landscape);
        writer.setTitle(kWindowTitle);
        QPainter painter;
        if (!painter.begin(&writer))
            return "cannot write " + path.toStdString() + ": the PDF could not be started";
        const QRect page = painter.viewport();
        renderChart(painter, page, QSize(1280, 1280 * page.height() / std::max(page.width(), 1)));
        if (!painter.end())
            return "cannot write " + path.toStdString() + ": the PDF could not be finished";
    }
    return datafile::writeWholeFile(path.toStdString(), bytes.toStdString());
}

void PlotFile::print(QPrinter& printer) const {
    QPainter painter(&printer);
    const QRect page = painter.viewport();
    renderChart(painter, page, QSize(1280, 1280 * page.height() / std::max(page.width(), 1)));
}

void PlotFile::Pgraphics() {
    QPrinter printer(QPrinter::HighResolution);
    printer.setPageOrientation(QPageLayout::Landscape);
    QPrintDialog dialog(&printer, this);
    if (dialog.exec() == QDialog::Accepted)
        print(printer);
}

void PlotFile::savePngAs() {
    auto path = ui_.saveFile(ui::caption(ui::Caption::PlotSavePngTitle, language_),
                             ui::caption(ui::Caption::PngFilter, language_));
    if (!path || path->empty())
        return;
    QString file = qs(*path);
    if (QFileInfo(file).suffix().isEmpty())
        file += ".png";
    if (const std::string error = savePng(file, view_->size().expandedTo(QSize(640, 400)));
        !error.empty())
        ui_.message(error, "", app::Icon::Exclamation);
}

void PlotFile::savePdfAs() {
    auto path = ui_.saveFile(ui::caption(ui::Caption::PlotSavePdfTitle, language_),
                             ui::caption(ui::Caption::PdfFilter, language_));
    if (!path || path->empty())
        return;
    QString file = qs(*path);
    if (QFileInfo(file).suffix().isEmpty())
        file += ".pdf";
    if (const std::string error = savePdf(file); !error.empty())
        ui_.message(error, "", app::Icon::Exclamation);
}

void PlotFile::closeEvent(QCloseEvent* event) {
    event->accept();
    emit closed();
}

} // namespace pa::plot
