// File > Export to CSV of the plot window and the file viewer: where it sits in the menu,
// what it asks, what it writes (with the separator of the system's number format) and what
// it says.
#include "plot/PlotFile.h"
#include "support/data_file_writer.h"
#include "support/scripted_ui.h"
#include "support/test_files.h"
#include "ui/VIEW.h"

#include <QAction>
#include <QLocale>
#include <QMenu>
#include <QMenuBar>
#include <gtest/gtest.h>

namespace {

using pa::testing::ScriptedUi;

std::string recording(const pa::testing::TempFolder& dir) {
    const std::string path = (dir.path() / "load.txt").string();
    pa::testing::DataFileWriter w(path);
    w.line(pa::testing::headerLine());
    for (long i = 0; i < 5; ++i) {
        pa::testing::RecordTexts r;
        r.number = i;
        r.clock = pa::testing::clockFor(i);
        w.line(pa::testing::recordLine(r));
    }
    w.line(pa::testing::lostCommunicationLine("11-15-2026", "08:00:05.0"));
    w.line("a line of nothing");
    return path;
}

QMenu* fileMenu(QMainWindow& window) {
    return window.menuBar()->actions().first()->menu();
}

QStringList texts(QMenu* menu) {
    QStringList out;
    for (QAction* a : menu->actions())
        out << (a->isSeparator() ? "-" : a->text());
    return out;
}

QAction* item(QMenu* menu, const QString& text) {
    for (QAction* a : menu->actions())
        if (a->text() == text)
            return a;
    return nullptr;
}

TEST(ExportMenu, PlotWindowExportsItsFile) {
    pa::testing::TempFolder dir;
    const std::string data = recording(dir);
    ScriptedUi ui;
    pa::plot::PlotFile window(ui);
    QMenu* file = fileMenu(window);
    // The additions sit between the window's own two items, which keep their order.
    EXPECT_EQ(texts(file),
              QStringList({"&Open Data File...", "&Export to CSV...", "&Report...", "-", "E&xit"}));

    QAction* exportItem = item(file, "&Export to CSV...");
    ASSERT_NE(exportItem, nullptr);
    exportItem->trigger();
    ASSERT_EQ(ui.messages.size(), 1u);
    EXPECT_EQ(ui.messages[0].text, "Open a data file first.");
    EXPECT_TRUE(ui.saveStartPaths.empty()) << "nothing to export: no dialog";

    window.document().setFileName(data);
    const std::string out = (dir.path() / "chosen.csv").string();
    ui.files.push_back(out);
    exportItem->trigger();
    ASSERT_EQ(ui.saveStartPaths.size(), 1u);
    EXPECT_EQ(ui.saveStartPaths[0], (dir.path() / "load.csv").string());
    const auto lines = pa::testing::readLines(out);
    ASSERT_EQ(lines.size(), 7u);
    // The desktop's decimal mark chooses the form: a decimal comma gets semicolons.
    const std::string sep = QLocale().decimalPoint() == QStringLiteral(",") ? ";" : ",";
    EXPECT_EQ(lines[0].substr(0, 12), "time" + sep + "record" + sep);
    EXPECT_EQ(lines[6].substr(lines[6].size() - 7), sep + "no_com");
    ASSERT_EQ(ui.messages.size(), 2u);
    EXPECT_EQ(ui.messages[1].icon, pa::app::Icon::Exclamation) << "a line was left out";
    EXPECT_NE(
        ui.messages[1].text.find("5 records and 1 lost-communication lines written to " + out),
        std::string::npos)
        << ui.messages[1].text;
    EXPECT_NE(ui.messages[1].text.find("line 8: not a record"), std::string::npos)
        << ui.messages[1].text;

    // Cancelling the dialog writes nothing and says nothing.
    ui.files.push_back(std::nullopt);
    exportItem->trigger();
    EXPECT_EQ(ui.messages.size(), 2u);
}

TEST(ExportMenu, ViewerExportsWithTheSystemsDecimalMark) {
    pa::testing::TempFolder dir;
    const std::string data = recording(dir);
    ScriptedUi ui;
    pa::ui::VIEW viewer(ui, 1);
    ASSERT_TRUE(viewer.openPath(data));
    QMenu* file = fileMenu(viewer);
    const QStringList items = texts(file);
    ASSERT_GE(items.size(), 3) << items.join("|").toStdString();
    EXPECT_EQ(items.mid(0, 3), QStringList({"&Open...", "&Reload", "&Export to CSV..."}));

    // Where the decimal mark is a comma, the spreadsheet there wants semicolons.
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    const std::string out = (dir.path() / "de.csv").string();
    ui.files.push_back(out);
    item(file, "&Export to CSV...")->trigger();
    QLocale::setDefault(before);
    const auto lines = pa::testing::readLines(out);
    ASSERT_EQ(lines.size(), 7u);
    EXPECT_EQ(lines[1].substr(0, 44), "2026-11-15T08:00:00.000+00:00;0;123,4;0,98;2");
    EXPECT_NE(ui.messages.back().text.find("(semicolons, decimal commas)"), std::string::npos);

    viewer.applyCaptions(2);
    EXPECT_NE(item(file, QString::fromUtf8("匯出為 CSV 檔(&E)...")), nullptr);
}

} // namespace
