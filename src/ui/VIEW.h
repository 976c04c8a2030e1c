// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The file viewer: shows a data file as lines in a fixed-width font. Only the lines in view
// are read from the file (through a line index built in steps while the window serves the
// user), so a file of a million lines opens at once. Its own menu prints the file with the
// chosen page orientation and font. The main window pauses the live cycle while it is open.
#include "app/ui.h"
#include "datafile/line_index.h"

#include <QAbstractScrollArea>
#include <QFont>
#include <QMainWindow>
#include <QPageLayout>
#include <QTimer>

class QAction;
class QLabel;
class QMenu;
class QPrinter;

namespace pa::ui {

// The lines of an indexed file, painted as they scroll into view; one scroll step per line.
class LineView : public QAbstractScrollArea {
  public:
    explicit LineView(QWidget* parent = nullptr);
    void setIndex(const datafile::LineIndex* index);
    // The index found more lines: the scroll ranges follow.
    void updateRanges();
    std::uint64_t firstVisibleLine() const;
    int visibleLines() const;
    // The lines painted at the last paint, for a look at what the user sees.
    const std::vector<std::string>& shownLines() const { return shown_; }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void changeEvent(QEvent* event) override;

  private:
    const datafile::LineIndex* index_ = nullptr;
    std::vector<std::string> shown_;
};

class VIEW : public QMainWindow {
    Q_OBJECT
  public:
    VIEW(app::Ui& ui, int language, QWidget* parent = nullptr);

    // Asks for a file in the data folder and opens it; false when cancelled or refused.
    bool chooseAndOpen();
    // Opens a file; false (after saying why) when it cannot be read.
    bool openPath(const std::string& path);
    // Runs the line index to the end of the file at once.
    void finishIndexing();

    // Sets the window's orientation and the file name on a printer, then prints every page
    // (or the printer's page range) in the window's font.
    void preparePrinter(QPrinter& printer) const;
    void print(QPrinter& printer);

    void applyCaptions(int language);
    void setViewFont(const QFont& font);
    QFont viewFont() const { return font_; }
    void setOrientation(QPageLayout::Orientation orientation);
    QPageLayout::Orientation orientation() const { return orientation_; }
    const datafile::LineIndex& index() const { return index_; }
    LineView* lineView() const { return view_; }

  signals:
    // The user closed the window (not sent when the window goes with the program).
    void closed();

  protected:
    void closeEvent(QCloseEvent* event) override;

  private:
    void indexStep();
    void showProgress();
    void printFromMenu();
    void chooseFont();

    app::Ui& ui_;
    int language_;
    datafile::LineIndex index_;
    LineView* view_;
    QLabel* progress_;
    QTimer indexTimer_;
    QFont font_;
    QPageLayout::Orientation orientation_ = QPageLayout::Landscape;

    QMenu* fileMenu_ = nullptr;
    QMenu* orientationMenu_ = nullptr;
    QAction* open_ = nullptr;
    QAction* reload_ = nullptr;
    QAction* export_ = nullptr;
    QAction* report_ = nullptr;
    QAction* print_ = nullptr;
    QAction* portrait_ = nullptr;
    QAction* landscape_ = nullptr;
    QAction* chooseFont_ = nullptr;
    QAction* close_ = nullptr;
};

} // namespace pa::ui
