// File > Report... of the file viewer and the plot window: the options dialog (defaults shown,
// a bad value refused), the PDF written beside the recording and opened, and in Chinese.
#include "plot/PlotFile.h"
#include "support/data_file_writer.h"
#include "support/scripted_ui.h"
#include "support/test_files.h"
#include "ui/SurveyReport.h"
#include "ui/VIEW.h"

#include <QApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QTimer>
#include <gtest/gtest.h>

#include <functional>

namespace {

using pa::testing::ScriptedUi;

// Runs `act` on the options dialog once it is open.
void whenDialogOpens(const std::function<void(QDialog*)>& act) {
    QTimer::singleShot(0, [act] {
        auto* d = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (d && d->objectName() == "surveyOptions")
            return act(d);
        whenDialogOpens(act);
    });
}

void press(QDialog* d, QDialogButtonBox::StandardButton b) {
    d->findChild<QDialogButtonBox*>()->button(b)->click();
}

QAction* item(QMainWindow& w, const QString& text) {
    for (QAction* a : w.menuBar()->actions().first()->menu()->actions())
        if (a->text() == text)
            return a;
    return nullptr;
}

TEST(ReportMenu, OptionsDialogShowsDefaultsAndRefusesBadValues) {
    pa::report::SurveyOptions defaults;
    QStringList shown;
    whenDialogOpens([&](QDialog* d) {
        for (const char* name : {"price", "nominal", "targetPf", "hz"})
            shown << d->findChild<QLineEdit*>(name)->text();
        d->findChild<QLineEdit*>("targetPf")->setText("1.5");
        press(d, QDialogButtonBox::Ok); // refused: the dialog stays
        EXPECT_TRUE(d->isVisible());
        d->findChild<QLineEdit*>("targetPf")->setText("0.9");
        d->findChild<QLineEdit*>("price")->setText("0.3");
        press(d, QDialogButtonBox::Ok);
    });
    const auto chosen = pa::ui::askSurveyOptions(nullptr, 1, defaults);
    EXPECT_EQ(shown, QStringList({"", "230", "0.95", "50"}));
    ASSERT_TRUE(chosen);
    EXPECT_EQ(chosen->targetPf, 0.9);
    EXPECT_EQ(*chosen->price, 0.3);
}

TEST(ReportMenu, ViewerAndPlotWindowWriteAndOpenThePdf) {
    pa::testing::TempFolder dir;
    const std::string data = (dir.path() / "load.txt").string();
    {
        pa::testing::DataFileWriter w(data);
        w.line(pa::testing::headerLine());
        for (long i = 0; i < 1200; ++i) {
            pa::testing::RecordTexts r;
            r.number = i, r.clock = pa::testing::clockFor(i);
            w.line(pa::testing::recordLine(r));
        }
        w.line("a line of nothing");
    }
    ScriptedUi ui;
    pa::ui::VIEW viewer(ui, 2);
    ASSERT_TRUE(viewer.openPath(data));
    QAction* report = item(viewer, QString::fromUtf8("負載報告(&R)..."));
    ASSERT_NE(report, nullptr);
    const std::string pdf = (dir.path() / "chosen.pdf").string();
    ui.files.push_back(pdf);
    whenDialogOpens([](QDialog* d) { press(d, QDialogButtonBox::Ok); });
    report->trigger();
    ASSERT_EQ(ui.saveStartPaths.size(), 1u);
    EXPECT_EQ(ui.saveStartPaths[0], (dir.path() / "load-report.pdf").string());
    EXPECT_EQ(pa::testing::readFile(pdf).substr(0, 5), "%PDF-");
    EXPECT_EQ(ui.documents, std::vector<std::string>{pdf});
    ASSERT_EQ(ui.messages.size(), 1u); // the line left out, with its number
    EXPECT_NE(ui.messages[0].text.find("1202: "), std::string::npos) << ui.messages[0].text;

    // Cancelling the options asks nothing more and writes nothing.
    whenDialogOpens([](QDialog* d) { press(d, QDialogButtonBox::Cancel); });
    report->trigger();
    EXPECT_EQ(ui.saveStartPaths.size(), 1u);

    pa::plot::PlotFile window(ui);
    QAction* plotReport = item(window, "&Report...");
    ASSERT_NE(plotReport, nullptr);
    plotReport->trigger();
    EXPECT_EQ(ui.messages.back().text, "Open a data file first.");
}

} // namespace
