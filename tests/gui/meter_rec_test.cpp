// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The main window offscreen against the simulator on a pseudo-terminal.
#include "logger/Logger.h"
#include "pfimprove/ImprovePF.h"
#include "plot/PlotFile.h"
#include "report/load_survey.h"
#include "trend/TrendChart.h"
#include "ui/MeterRec.h"
#include "ui/SurveyReport.h"
#include "ui/help_about.h"

#include "gui_support.h"

#include <QComboBox>
#include <QGroupBox>
#include <QMenu>
#include <QMenuBar>
#include <QPrinter>
#include <QPushButton>
#include <QRegularExpression>
#include <QTextDocumentFragment>

namespace {

using pa::ui::MeterRec;

using namespace pa::testing;

// The main window on the simulator's terminal, its COM menu listing an absent adapter first.
class MeterRecTest : public ::testing::Test {
  protected:
    void SetUp() override {
        window.setPorts({{"ttyUSB0", "/dev/pa-test-absent", true},
                         {"simulated instrument", rig.sim.devicePath(), false}},
                        false);
    }

    ScriptedUi ui;
    PtyRig rig{ui};
    MeterRec& window = rig.window;
};

// Start-up asks for a port; a port without a device is refused with its reason on the port
// line; the simulator's gives readings, also after a baud chosen from the menu. The period
// list restarts at month with each language.
TEST_F(MeterRecTest, StartsUpAsksForThePortAndShowsLiveReadings) {
    window.startup();
    // The port is asked for; nothing runs before a port is chosen.
    EXPECT_EQ(std::pair(ui.messages.size(), window.timer1().isActive()),
              std::pair(std::size_t{1}, false));
    window.show();
    menuItem(&window, "COM 1   (ttyUSB0)")->trigger();
    const QString portState = shown(&window, "PortState"); // the reason is shown here instead
    EXPECT_TRUE(portState.startsWith("no port open  -  ") && portState.size() > 20)
        << portState.toStdString();
    EXPECT_FALSE(window.timer2().isActive());

    menuItem(&window, "COM 2   (simulated instrument)")->trigger();
    EXPECT_TRUE(window.timer1().isActive() && window.timer2().isActive());
    ASSERT_TRUE(waitFor([&] { return window.panel(pa::live::kVA)->text() == "126.50"; }))
        << window.panel(pa::live::kVA)->text().toStdString();
    window.findChild<QAction*>("baud_rate_2")->trigger(); // the readings keep coming
    EXPECT_EQ(window.findChild<QMenu*>("baud")->title(), "Baud rate (2400)");
    const int before = rig.sim.framesSent();
    ASSERT_TRUE(waitFor([&] { return rig.sim.framesSent() > before + 2; }));
    EXPECT_FALSE(window.cycle().readouts().warningVisible);

    menuItem(&window, "Chinese")->trigger();
    auto* period = window.findChild<QComboBox*>("Combo1");
    const QString chinese = period->currentText();
    period->setCurrentIndex(2);
    const double year = window.cycle().energy().periodHours();
    menuItem(&window, "英文")->trigger();
    EXPECT_EQ(std::make_tuple(chinese, year, period->currentText(),
                              window.cycle().energy().periodHours()),
              std::make_tuple(QString("每月"), 8640.0, QString("month"), 720.0));
}

// The menu tree as text: each item, "(off)" after one that is disabled, its sub-menu in
// brackets, "-" for a separator; the device shown beside a COM number is left out.
QString menuTree(const QList<QAction*>& actions) {
    QStringList items;
    for (QAction* a : actions) {
        QString item = a->isSeparator() ? "-" : a->text().section("   (", 0, 0);
        if (!a->isSeparator() && !a->isEnabled())
            item += " (off)";
        if (a->menu())
            item += "[" + menuTree(a->menu()->actions()) + "]";
        items << item;
    }
    return items.join(", ");
}

// The whole menu bar in both languages, the version last; the port numbers, baud rates, manual
// languages and the version stay in English.
TEST_F(MeterRecTest, MenuTreeInBothLanguages) {
    window.startup();
    const auto ports = [](const std::string& other) {
        return "COM[COM 1, COM 2, COM 3, COM 4, COM 5, COM 6, COM 7, COM 8, COM 9, COM 10, "
               "COM 11, COM 12, COM 13, COM 14, COM 15, COM 16, -, " +
               other + "], Baud Rate (9600)[9600, 4800, 2400, 1200]";
    };
    const std::string manuals = "[English, French, German, Spanish, Italian, Portuguese]";
    const auto shownTree = [&] { return menuTree(window.menuBar()->actions()).toStdString(); };
    EXPECT_EQ(shownTree(),
              "&File[&Create Data File, &Start Recording (off)[Now(Auto), Manually], "
              "&End Recording (off), -, &View File, &Plot Data from File, -, Printer &Setup, -, "
              "E&xit], &Improve PF, &Datalogger, &Option[&Sample Rate, " +
                  ports("Other port...") + ", Language[English, Chinese], &Alarms...], " +
                  "Help[User Manual" + manuals + ", About], V6.7 (off)");
    menuItem(&window, "Chinese")->trigger();
    EXPECT_EQ(shownTree(), "檔案[建立檔案名稱, 開始記錄(&S) (off)[自動, 手動], "
                           "停止記錄(&E) (off), -, 瀏覽檔案(&V), 從檔案作圖(&D), -, "
                           "設定印表機, -, 結束(&X)], 功因改善篇, 記錄器, 選擇[取樣時間(&S), " +
                               ports("其他連接埠...") + ", 語言[英文, 中文], 警報設定(&A)...], " +
                               "幫助[使用者手冊" + manuals + ", 關於], V6.7 (off)");
    EXPECT_FALSE(window.findChild<QWidget*>("Record")->isVisibleTo(&window));
}

// Help opens the two manuals there are beside the program and shows About; the window prints
// on one page.
TEST_F(MeterRecTest, HelpOpensManualsAndAboutAndTheWindowPrints) {
    window.startup();
    for (int item = 0; item < 6; ++item)
        window.findChild<QAction*>(QString("manual_%1").arg(item))->trigger();
    const std::string help = QCoreApplication::applicationDirPath().toStdString() + "/help/";
    EXPECT_EQ(ui.documents, (std::vector<std::string>{help + "KV2260-SW-HELP-EN_V6.7.pdf",
                                                      help + "KV2260-SW-AYUDA-ES_V6.7.pdf"}));
    window.findChild<QAction*>("about")->trigger();
    EXPECT_EQ(ui.messages.back().text, pa::ui::aboutText());
    window.show();
    const QString pdf = screenshotPath("meterrec_print.pdf");
    QPrinter printer(QPrinter::HighResolution);
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(pdf);
    window.printWindow(printer);
    EXPECT_EQ(pdfPages(pdf), 1) << "the window on one page";
}

} // namespace

namespace chinese_walk {

// The texts a user reads in a window and its children: titles, labels, buttons, menu items,
// list entries and tooltips.
QStringList textsOf(QWidget* root) {
    QStringList texts{root->windowTitle()};
    for (QWidget* w : root->findChildren<QWidget*>()) {
        texts << w->toolTip();
        if (auto* label = qobject_cast<QLabel*>(w))
            texts << QTextDocumentFragment::fromHtml(label->text()).toPlainText();
        if (auto* button = qobject_cast<QAbstractButton*>(w))
            texts << button->text();
        if (auto* box = qobject_cast<QGroupBox*>(w))
            texts << box->title();
        if (auto* combo = qobject_cast<QComboBox*>(w))
            for (int i = 0; i < combo->count(); ++i)
                texts << combo->itemText(i);
    }
    for (QAction* a : root->findChildren<QAction*>())
        texts << a->text();
    for (QMenu* m : root->findChildren<QMenu*>())
        texts << m->title();
    return texts;
}

// An English text left among Chinese ones: ASCII letters only, once units, numbers, file
// names and the items named in English on purpose (ports, baud rates, manual languages, the
// model and version) are taken out.
bool untranslated(const QString& text) {
    static const QRegularExpression allowed(
        R"(COM\s*\d*(\s*\(.*\))?|/dev/\S*|\d+,[neo],\d,\d|[\w.-]+\.(txt|csv|png|pdf)|\*\.\w+|)"
        R"([-+\d.]+\s*[munkKM]?(A|V|W|Hz|H|F|SEC)?\b|KV2260|V\d+(\.\d+)*|Baud Rate|)"
        R"(\b(W|PF|V|A|VA|VAR|Hz|KWH|kWh|CSV|PNG|PDF|OL|IR|IX|R|X|L|s|ms|min|h)\b|)"
        R"(English|French|German|Spanish|Italian|Portuguese|RS-232)");
    QString rest = text;
    rest.remove(allowed);
    bool ascii = true, letters = false;
    for (QChar c : rest) {
        ascii &= c.unicode() < 128;
        letters |= c.isLetter();
    }
    return ascii && letters;
}

// The texts the datalogger and plot windows keep in English in both languages, as the
// instrument's own software names them, and the quantities of the data file.
bool englishByDesign(const QString& text) {
    static const QStringList names =
        QString("Datalogger|&File|&Data Dump|&Diagnostic|E&xit|DATALOGGER SETUP|"
                "LOGGING INFORMATION|Recording Mode|Power-on Baud Rate|Mode|Interval (sec.)|"
                "Sampling (sec.)|Time (HH:MM:SS)|Date (MM-DD)|ID|Status|Memory|Memory Size|"
                "Last Record|Write Counts|"
                "Press to get logging info. and logger setup in the power analyzer|"
                "Type in data and press ENTER to update|Power Analyzer -- Plot Data|Normal|Max|"
                "Min|Disabled|Continuously|One Shot|"
                "Press to read the data in the datalogger and save in a file|"
                "Refer to manual for command's format|Address|Data (dec)|Data (hex)")
            .split('|');
    static const QRegularExpression quantity(R"(&\d  (Watt|PF|Volt|Ampere|Phase Angle|VA|VAR|)"
                                             R"(KWH|Est\. KWH))");
    return names.contains(text.simplified()) || quantity.match(text).hasMatch();
}

// The texts of the modal dialog that opens when `open` runs, which is then closed.
QStringList textsOfDialog(const std::function<void()>& open) {
    QStringList texts;
    pa::testing::whenModal([&](QWidget* dialog) {
        texts = textsOf(dialog);
        dialog->close();
    });
    open();
    return texts;
}

} // namespace chinese_walk

// In Chinese no window reached from the main window shows a text of ours in English: the
// main window, the trend, the viewer, Improve PF, the datalogger, the plot window and the
// alarm and report dialogs.
TEST_F(MeterRecTest, ChineseReachesEveryOwnText) {
    window.startup();
    window.show();
    window.openPort(rig.sim.devicePath());
    ASSERT_TRUE(waitFor([&] { return !window.cycle().readouts().clockText.empty(); }));
    menuItem(&window, "Chinese")->trigger();
    window.findChild<QPushButton*>("trend")->click();
    ASSERT_TRUE(waitFor([&] { return window.trendChart()->store().size() > 1; }));
    window.showPF();
    ui.files.push_back(writeRecording(std::filesystem::path(::testing::TempDir()) / "walk.txt", 2));
    window.viewFile();
    ASSERT_TRUE(window.viewer() && window.improvePF());
    QStringList texts;
    const auto walk = [&](const QString& name, const QStringList& shownTexts) {
        for (const QString& t : shownTexts)
            texts << name + ": " + t;
    };
    for (QWidget* w : std::initializer_list<QWidget*>{&window, window.trendChart(), window.viewer(),
                                                      window.improvePF(), window.openLogger()})
        walk(w->objectName(), chinese_walk::textsOf(w));
    window.viewer()->close();
    window.findChild<QAction*>("PlotData")->trigger();
    auto* plot = window.findChild<pa::plot::PlotFile*>();
    ASSERT_TRUE(plot);
    walk("PlotFile", chinese_walk::textsOf(plot));
    plot->close();
    walk("Alarms", chinese_walk::textsOfDialog([&] { window.editAlarms(); }));
    walk("Report", chinese_walk::textsOfDialog(
                       [&] { pa::ui::askSurveyOptions(&window, 2, pa::report::SurveyOptions{}); }));
    ASSERT_GT(texts.size(), 100) << "every window was walked";
    QStringList found;
    for (const QString& t : texts) {
        const QString text = t.section(": ", 1);
        if (chinese_walk::untranslated(text) && !chinese_walk::englishByDesign(text))
            found << t;
    }
    found.removeDuplicates();
    EXPECT_TRUE(found.isEmpty()) << found.join(" | ").toStdString();
}
