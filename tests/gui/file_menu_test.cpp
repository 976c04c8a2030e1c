// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// File > Export to CSV... and File > Report... of the plot window and the file viewer: where
// they sit in the menu, what they ask, what they write (the CSV with the separator of the
// system's number format, the report as a PDF beside the recording, opened) and what they say.
#include "plot/PlotFile.h"
#include "ui/SurveyReport.h"
#include "ui/VIEW.h"

#include "gui_support.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QLineEdit>
#include <QLocale>
#include <QMenu>
#include <QMenuBar>

namespace {

using namespace pa::testing;

// n records, then a lost-communication line when asked, then a line that is no record.
std::string recording(const TempFolder& dir, long n, bool lost) {
    std::vector<std::string> after{"a line of nothing"};
    if (lost)
        after.insert(after.begin(), lostCommunicationLine("11-15-2026", "08:00:05.0"));
    return writeRecording(dir.path() / "load.txt", n, {}, after);
}

QStringList fileMenuTexts(QMainWindow& window) {
    QStringList out;
    for (QAction* a : window.menuBar()->actions().first()->menu()->actions())
        out << (a->isSeparator() ? "-" : a->text());
    return out;
}

// Runs act on the report options dialog once it is open.
void whenOptionsOpen(const std::function<void(QDialog*)>& act) {
    whenModal([act](QWidget* w) { act(qobject_cast<QDialog*>(w)); });
}

void press(QDialog* d, QDialogButtonBox::StandardButton b) {
    d->findChild<QDialogButtonBox*>()->button(b)->click();
}

// The plot window's File menu has Export and Report between its own two items; without a
// file they say so, with one the CSV is proposed beside it and written in the form of the
// desktop's decimal mark (a comma gets semicolons), the line left out named; a cancelled
// dialog writes and says nothing. The viewer's menu has the same export.
TEST(ExportMenu, PlotWindowAndViewerExportTheirFile) {
    TempFolder dir;
    ScriptedUi ui;
    pa::plot::PlotFile window(ui);
    EXPECT_EQ(fileMenuTexts(window),
              QStringList({"&Open Data File...", "&Export to CSV...", "&Report...", "-", "E&xit"}));
    QAction* exportItem = menuItem(&window, "&Export to CSV...");
    for (QAction* item : {exportItem, menuItem(&window, "&Report...")}) {
        item->trigger();
        EXPECT_EQ(ui.messages.back().text, "Open a data file first.");
    }
    EXPECT_TRUE(ui.saveStartPaths.empty()) << "nothing to export: no dialog";

    window.document().setFileName(recording(dir, 5, true));
    const std::string out = (dir.path() / "chosen.csv").string();
    ui.files = {out, std::nullopt}; // the second export is cancelled
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    exportItem->trigger();
    QLocale::setDefault(before);
    EXPECT_EQ(ui.saveStartPaths, std::vector<std::string>{(dir.path() / "load.csv").string()});
    // Written in the German form; a line was left out, said with a warning.
    const auto lines = readLines(out);
    EXPECT_EQ(std::tuple(lines.size(), lines.at(1).substr(0, 44), ui.messages.size(),
                         ui.messages.at(2).icon),
              std::tuple(std::size_t{7}, "2026-11-15T08:00:00.000+00:00;0;123,4;0,98;2",
                         std::size_t{3}, pa::app::Icon::Exclamation));
    for (const char* part : {"line 8: not a record", "(semicolons, decimal commas)"})
        EXPECT_NE(ui.messages[2].text.find(part), std::string::npos) << ui.messages[2].text;
    exportItem->trigger(); // cancelled: writes nothing and says nothing
    EXPECT_EQ(ui.messages.size(), 3u);

    pa::ui::VIEW viewer(ui, 1);
    ASSERT_TRUE(viewer.openPath(recording(dir, 5, true)));
    EXPECT_EQ(fileMenuTexts(viewer).mid(0, 3),
              QStringList({"&Open...", "&Reload", "&Export to CSV..."}));
    ui.files.push_back((dir.path() / "viewer.csv").string());
    menuItem(&viewer, "&Export to CSV...")->trigger();
    EXPECT_EQ(readLines(dir.path() / "viewer.csv").size(), 7u);
}

// The options dialog shows the defaults and refuses a bad value (it stays open).
TEST(ReportMenu, OptionsDialogShowsDefaultsAndRefusesBadValues) {
    QStringList shown;
    whenOptionsOpen([&](QDialog* d) {
        for (const char* name : {"price", "nominal", "targetPf", "hz"})
            shown << d->findChild<QLineEdit*>(name)->text();
        d->findChild<QLineEdit*>("targetPf")->setText("1.5");
        press(d, QDialogButtonBox::Ok);
        EXPECT_TRUE(d->isVisible());
        d->findChild<QLineEdit*>("targetPf")->setText("0.9");
        d->findChild<QLineEdit*>("price")->setText("0.3");
        press(d, QDialogButtonBox::Ok);
    });
    const auto chosen = pa::ui::askSurveyOptions(nullptr, 1, pa::report::SurveyOptions{});
    EXPECT_EQ(shown, QStringList({"", "230", "0.95", "50"}));
    ASSERT_TRUE(chosen);
    EXPECT_EQ(std::make_pair(chosen->targetPf, *chosen->price), std::make_pair(0.9, 0.3));
}

// The report is written beside the recording (in Chinese here) and opened, the line left out
// named; cancelling the options asks nothing more.
TEST(ReportMenu, ViewerWritesAndOpensThePdf) {
    TempFolder dir;
    ScriptedUi ui;
    pa::ui::VIEW viewer(ui, 2);
    ASSERT_TRUE(viewer.openPath(recording(dir, 1200, false)));
    QAction* report = menuItem(&viewer, QString::fromUtf8("負載報告(&R)..."));
    ASSERT_NE(report, nullptr);
    const std::string pdf = (dir.path() / "chosen.pdf").string();
    ui.files.push_back(pdf);
    whenOptionsOpen([](QDialog* d) { press(d, QDialogButtonBox::Ok); });
    report->trigger();
    EXPECT_EQ(ui.saveStartPaths,
              std::vector<std::string>{(dir.path() / "load-report.pdf").string()});
    EXPECT_EQ(std::tuple(readFile(pdf).substr(0, 5), ui.documents, ui.messages.size()),
              std::tuple("%PDF-", std::vector<std::string>{pdf}, std::size_t{1}));
    EXPECT_NE(ui.messages[0].text.find("1202: "), std::string::npos) << ui.messages[0].text;

    whenOptionsOpen([](QDialog* d) { press(d, QDialogButtonBox::Cancel); });
    report->trigger();
    EXPECT_EQ(ui.saveStartPaths.size(), 1u);
}

} // namespace
