// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The PF improvement window offscreen, on fixed readouts. (Opened from the main window: the
// manual's screenshots and the pause tests.)
#include "pfimprove/ImprovePF.h"

#include "gui_support.h"
#include "pfimprove/PfPictures.h"

#include <QKeyEvent>
#include <QPrinter>

namespace {

using pa::pfimprove::ImprovePF;
using pa::pfimprove::kEnterKey;
using pa::testing::shown;

std::array<QString, 6> boxTexts(const ImprovePF& w) {
    std::array<QString, 6> texts;
    for (int i = 0; i < 6; ++i)
        texts[i] = w.box(i)->text();
    return texts;
}

QColor boxColour(const ImprovePF& w, int i) {
    return w.box(i)->palette().color(QPalette::Base);
}

// The window reading fixed texts as the main window shows them.
class ImprovePFAlone : public ::testing::Test {
  protected:
    void SetUp() override { window.show(); }
    void enter(int box, const char* text) {
        window.box(box)->setText(text);
        window.Text1_KeyPress(box, kEnterKey);
    }
    // The simulator's reading: 230 V, .55 A, PF .92.
    pa::pfimprove::ReadoutTexts readouts{" 116.4", "  .920", "  230", "  .550",
                                         "23.1",   "126.50", "49.53", "50Hz"};
    pa::testing::ScriptedUi ui;
    ImprovePF window{ui, [this] { return readouts; }};
};

// Update reads the present state and the circuit from the readouts; a typed target is
// calculated (the edited box marked), too much capacitance is capped with a notice. Only Enter
// calculates; a refusal empties the boxes and drops the improved state, an empty box says
// nothing. It prints.
TEST_F(ImprovePFAlone, CalculatesCapsRefusesAndPrints) {
    window.findChild<QPushButton*>("UpdateP")->click();
    EXPECT_EQ(QStringList({shown(&window, "Current_0"), shown(&window, "Current_3"),
                           shown(&window, "Circuit_2"), shown(&window, "Circuit_7")}),
              QStringList({"  .920", "49.53", "506.1mA", "50Hz"}));
    window.box(0)->setText("0.95");
    QKeyEvent press(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, "\r");
    QApplication::sendEvent(window.box(0), &press);
    EXPECT_EQ(boxTexts(window),
              (std::array<QString, 6>{"0.95", "0.53", "122.5", "38.26", "18.2", "678.2nF"}));
    EXPECT_EQ(std::make_pair(boxColour(window, 0), boxColour(window, 5)),
              std::make_pair(QColor(0, 255, 255), QColor(Qt::white)));
    EXPECT_TRUE(ui.messages.empty());

    enter(5, "10");
    EXPECT_EQ(
        std::make_tuple(pa::testing::messageTexts(ui), window.box(0)->text(), window.box(5)->text(),
                        boxColour(window, 5)),
        std::make_tuple(std::vector<std::string>{"Max. capacitance to be added is 3.0uF(PF=1)"},
                        QString("1.0"), QString("3.0uF"), QColor(0, 255, 255)));

    window.box(1)->setText("0.4");
    window.Text1_KeyPress(1, 'A'); // not Enter: nothing happens
    EXPECT_EQ(std::make_pair(ui.messages.size(), window.box(5)->text()),
              std::make_pair(std::size_t{1}, QString("3.0uF")));
    window.Text1_KeyPress(1, kEnterKey);
    window.Text1_KeyPress(2, kEnterKey); // an empty box: nothing, not even a message
    EXPECT_EQ(std::make_tuple(ui.messages.size(), ui.messages.back().icon, boxTexts(window),
                              window.calculator().hasImproved()),
              std::make_tuple(std::size_t{2}, pa::app::Icon::Exclamation, std::array<QString, 6>{},
                              false));

    QPrinter printer(QPrinter::HighResolution);
    printer.setOutputFormat(QPrinter::PdfFormat);
    const QString pdf = pa::testing::screenshotPath("improvepf_print.pdf");
    printer.setOutputFileName(pdf);
    window.printTo(printer);
    EXPECT_EQ(pa::testing::pdfPages(pdf), 1);
    window.findChild<QPushButton*>("Exit_Improve_PF")->click();
    EXPECT_FALSE(window.isVisible());
}

// On a nearly flat triangle, small and large, the diagram fills its frame in both states'
// colours and keeps its labels apart, the improved angle on its arc. A resize refreshes the
// present state: the same reading keeps the result, another one drops it from the pictures.
// In Chinese the labels keep a readable size (every text translated: the Chinese walk).
TEST_F(ImprovePFAlone, PicturesScaleKeepLabelsApartAndDropAStaleResult) {
    readouts = {" 121.4", "  .960", "  230", "  .550", "16.3", "126.50", "35.54", "50Hz"};
    window.UpdateP();
    enter(0, "0.99");
    auto* diagram = window.findChild<pa::pfimprove::PhaseDiagram*>("PhaseDiagram");
    const auto angle = [](const auto& l) { return l.first == QString("φ 8.1°"); };
    for (QSize size : {QSize(760, 520), QSize(1500, 1000)}) {
        window.resize(size);
        QApplication::processEvents();
        const QImage image = diagram->grab().toImage();
        int present = 0, improved = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x) {
                present += image.pixelColor(x, y) == pa::pfimprove::kPresentColour;
                improved += image.pixelColor(x, y) == pa::pfimprove::kImprovedColour;
            }
        const auto& labels = diagram->labels();
        EXPECT_TRUE(present > image.height() / 4 && improved > image.height() / 4 &&
                    diagram->width() > size.width() / 3 &&
                    std::any_of(labels.begin(), labels.end(), angle))
            << size.width() << ": " << present << " " << improved << " " << diagram->width();
        for (std::size_t i = 0; i < labels.size(); ++i)
            for (std::size_t j = i + 1; j < labels.size(); ++j)
                EXPECT_FALSE(labels[i].second.intersects(labels[j].second))
                    << labels[i].first.toStdString() << " / " << labels[j].first.toStdString();
    }
    readouts[pa::live::kW] = "200";
    window.resize(800, 560);
    QApplication::processEvents();
    diagram->repaint();
    EXPECT_EQ(
        std::make_tuple(shown(&window, "Circuit_0"), window.calculator().hasImproved(),
                        std::any_of(diagram->labels().begin(), diagram->labels().end(), angle)),
        std::make_tuple(QString("200"), false, false));
    window.applyCaptions(2);
    EXPECT_EQ(window.findChild<QLabel*>("Label1_0")->font().pointSize(), 12);
}

} // namespace
