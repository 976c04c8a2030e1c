// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The plot window: one quantity of a data file against the record number, drawn with Qt
// Charts from a PlotDocument. Every chart call of the program lives in this file pair, so the
// command line's PNG/PDF output uses the same drawing.
#include "app/ui.h"
#include "plot/plot_document.h"
#include "ui/captions.h"

#include <QMainWindow>
#include <QSize>
#include <memory>
#include <utility>
#include <vector>

class QAction;
class QActionGroup;
class QChart;
class QChartView;
class QLabel;
class QMenu;
class QPainter;
class QPrinter;

namespace pa::plot {

class PlotFile : public QMainWindow {
    Q_OBJECT
  public:
    explicit PlotFile(app::Ui& ui, QWidget* parent = nullptr);
    ~PlotFile() override;

    PlotDocument& document() { return document_; }
    // Captions the menus, the status line, the dialogs and the chart (1 English, 2 Chinese).
    // The quantities, the window's title and the document's prompts stay as they are.
    void setLanguage(int language);
    QChartView* chartView() const { return view_; }

    // The window's commands.
    void openfileforplot();
    void SelectData(int entry);
    void set_scale(int entry);
    void set_grid(int entry);
    void set_title(int entry);
    void set_x_label(int entry);
    void ZoomIn();
    void StatOption();
    void Pgraphics();
    void clear_graphics();
    void exit_plot();
    void savePngAs();
    void savePdfAs();

    // The chart as shown, at a size of its own (the command line's output).
    // "" or why the file could not be written.
    std::string savePng(const QString& path, QSize size = {1280, 720}) const;
    std::string savePdf(const QString& path) const;
    void print(QPrinter& printer) const;
    // Rebuilds the chart from the document.
    void redraw();

  signals:
    void closed();

  protected:
    void closeEvent(QCloseEvent* event) override;

  private:
    void buildMenus();
    void showState();
    void renderChart(QPainter& painter, const QRectF& target, QSize logical) const;

    app::Ui& ui_;
    PlotDocument document_;
    QChartView* view_ = nullptr;
    QLabel* status_ = nullptr;
    QList<QAction*> quantity_;
    QList<QAction*> grid_;
    QList<QAction*> xLabels_;
    QAction* statistics_ = nullptr;
    std::vector<std::pair<QAction*, ui::Caption>> captioned_;
    int language_ = 1;
};

// A chart of the document's state (owned by the caller), its own texts in the language.
QChart* buildChart(const PlotDocument& document, int language = 1);

} // namespace pa::plot
