// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The PF improvement window offscreen, on fixed readouts. (Opened from the main window: the
// manual's screenshots and the pause tests.)
#include "pfimprove/ImprovePF.h"

#include "gui_support.h"
#include "pfimprove/PfPictures.h"

#include <QApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QPrinter>
#include <gtest/gtest.h>

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

// The present state and the circuit come from the readouts; a typed target is calculated
// (the edited box marked), too much capacitance is capped with a notice, and it prints.
TEST_F(ImprovePFAlone, CalculatesCapsAndPrints) {
    window.UpdateP();
    EXPECT_EQ(window.windowTitle(), "Improve PF (as reference for inductance load)");
    const struct {
        const char *label, *text;
    } fields[] = {{"Current_0", "  .920"}, {"Current_3", "49.53"},   {"Current_4", "23.1"},
                  {"Circuit_0", " 116.4"}, {"Circuit_2", "506.1mA"}, {"Circuit_7", "50Hz"}};
    for (const auto& f : fields)
        EXPECT_EQ(shown(&window, f.label), f.text) << f.label;
    window.box(0)->setText("0.95");
    QKeyEvent press(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, "\r");
    QApplication::sendEvent(window.box(0), &press);
    EXPECT_EQ(boxTexts(window),
              (std::array<QString, 6>{"0.95", "0.53", "122.5", "38.26", "18.2", "678.2nF"}));
    EXPECT_EQ(boxColour(window, 0), QColor(0, 255, 255));
    EXPECT_EQ(boxColour(window, 5), QColor(Qt::white));
    EXPECT_TRUE(ui.messages.empty());

    enter(5, "10");
    ASSERT_EQ(ui.messages.size(), 1u);
    EXPECT_EQ(ui.messages[0].text, "Max. capacitance to be added is 3.0uF(PF=1)");
    EXPECT_EQ(ui.messages[0].icon, pa::app::Icon::None);
    EXPECT_EQ(window.box(0)->text(), "1.0");
    EXPECT_EQ(window.box(5)->text(), "3.0uF");
    EXPECT_EQ(boxColour(window, 5), QColor(0, 255, 255));

    QPrinter printer(QPrinter::HighResolution);
    printer.setOutputFormat(QPrinter::PdfFormat);
    const QString pdf = pa::testing::screenshotPath("improvepf_print.pdf");
    printer.setOutputFileName(pdf);
    window.printTo(printer);
    EXPECT_EQ(pa::testing::pdfPages(pdf), 1);
    window.findChild<QPushButton*>("Exit_Improve_PF")->click();
    EXPECT_FALSE(window.isVisible());
}

TEST_F(ImprovePFAlone, RefusalsEmptyTheBoxesAndOtherKeysDoNothing) {
    window.UpdateP();
    window.box(1)->setText("0.4");
    window.box(3)->setText("something left");
    window.Text1_KeyPress(1, 'A'); // not Enter: nothing happens
    EXPECT_TRUE(ui.messages.empty());
    EXPECT_EQ(window.box(3)->text(), "something left");
    window.Text1_KeyPress(1, kEnterKey);
    ASSERT_EQ(ui.messages.size(), 1u);
    EXPECT_EQ(ui.messages[0].text, "A2 < IR1, can not reduce active current");
    EXPECT_EQ(ui.messages[0].icon, pa::app::Icon::Exclamation);
    EXPECT_EQ(boxTexts(window), (std::array<QString, 6>{}));
    window.Text1_KeyPress(2, kEnterKey); // an empty box: nothing, not even a message
    EXPECT_EQ(ui.messages.size(), 1u);

    // A reading that went over range: unknown PF.
    readouts[pa::live::kPF] = "OL";
    window.findChild<QPushButton*>("UpdateP")->click();
    EXPECT_EQ(shown(&window, "Current_0"), "OL");
    enter(0, "0.95");
    EXPECT_EQ(ui.messages.back().text, "Unknown PF");
    EXPECT_FALSE(window.calculator().hasImproved());
}

// A resize refreshes the present state. In Chinese the labels keep a readable size (every
// text translated: the main window's Chinese walk).
TEST_F(ImprovePFAlone, RefreshesOnResizeAndSpeaksChinese) {
    readouts[pa::live::kW] = "200";
    window.resize(window.width() + 40, window.height());
    QApplication::processEvents();
    EXPECT_EQ(shown(&window, "Circuit_0"), "200");
    window.applyCaptions(2);
    EXPECT_EQ(shown(&window, "Label1_0"), "現有->");
    EXPECT_EQ(window.findChild<QLabel*>("Label1_0")->font().pointSize(), 12);
    window.applyCaptions(1);
    EXPECT_EQ(shown(&window, "Label1_2"),
              "Type in target value and hit return to calculate needed capacitance");
}

// Small and large, the diagram fills its frame and draws in both states' colours.
TEST_F(ImprovePFAlone, PicturesScaleWithTheWindow) {
    enter(2, "120");
    ASSERT_TRUE(window.calculator().hasImproved());
    for (QSize size : {QSize(760, 520), QSize(1500, 1000)}) {
        window.resize(size);
        QApplication::processEvents();
        auto* diagram = window.findChild<QWidget*>("PhaseDiagram");
        const QImage image = diagram->grab().toImage();
        int present = 0, improved = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x) {
                present += image.pixelColor(x, y) == pa::pfimprove::kPresentColour;
                improved += image.pixelColor(x, y) == pa::pfimprove::kImprovedColour;
            }
        EXPECT_GT(present, image.height() / 4) << size.width();
        EXPECT_GT(improved, image.height() / 4) << size.width();
        EXPECT_GT(diagram->width(), size.width() / 3);
    }
}

// After Update with another reading, and after a refused target, the pictures show no
// improved state; a nearly flat triangle keeps its labels apart, the improved angle on its
// arc.
TEST_F(ImprovePFAlone, NoStaleResultAndReadableLabels) {
    readouts = {" 121.4", "  .960", "  230", "  .550", "16.3", "126.50", "35.54", "50Hz"};
    window.resize(900, 640);
    QApplication::processEvents();
    window.UpdateP();
    auto* diagram = window.findChild<pa::pfimprove::PhaseDiagram*>("PhaseDiagram");
    enter(0, "0.99");
    ASSERT_TRUE(window.calculator().hasImproved());
    diagram->repaint();
    const auto& labels = diagram->labels();
    for (std::size_t i = 0; i < labels.size(); ++i)
        for (std::size_t j = i + 1; j < labels.size(); ++j)
            EXPECT_FALSE(labels[i].second.intersects(labels[j].second))
                << labels[i].first.toStdString() << " / " << labels[j].first.toStdString();
    const auto angle = [](const auto& l) { return l.first == QString("φ 8.1°"); };
    EXPECT_TRUE(std::any_of(labels.begin(), labels.end(), angle)) << "the improved angle";

    window.UpdateP(); // the same reading keeps the result; another one drops it
    EXPECT_TRUE(window.calculator().hasImproved());
    readouts = {" 100.0", "  .800", "  230", "  .550", "36.9", "125.00", "75.00", "50Hz"};
    window.findChild<QPushButton*>("UpdateP")->click();
    EXPECT_FALSE(window.calculator().hasImproved());
    diagram->repaint();
    EXPECT_FALSE(std::any_of(diagram->labels().begin(), diagram->labels().end(), angle));

    enter(0, "0.95");
    ASSERT_TRUE(window.calculator().hasImproved());
    enter(0, "0.5");
    ASSERT_EQ(ui.messages.back().text, "PF2 < PF1, can only improve PF");
    EXPECT_FALSE(window.calculator().hasImproved());
}

} // namespace
