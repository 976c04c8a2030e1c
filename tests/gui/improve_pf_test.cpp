// The PF improvement window offscreen: opened from the main window against the simulator on
// a pseudo-terminal (one Get Hz, 5.5 s), and on its own with fixed readouts.
#include "pfimprove/ImprovePF.h"

#include "gui_support.h"
#include "pfimprove/PfPictures.h"
#include "pty_host.h"
#include "qt/qt_clock.h"
#include "qt/qt_port.h"
#include "support/scripted_ui.h"
#include "ui/MeterRec.h"

#include <QApplication>
#include <QFileInfo>
#include <QGroupBox>
#include <QKeyEvent>
#include <QLabel>
#include <QPrinter>
#include <filesystem>
#include <gtest/gtest.h>

namespace {

using pa::pfimprove::ImprovePF;

using pa::testing::screenshotPath;
using pa::testing::waitFor;

std::array<QString, 6> boxTexts(const ImprovePF& w) {
    std::array<QString, 6> texts;
    for (int i = 0; i < 6; ++i)
        texts[i] = w.box(i)->text();
    return texts;
}

QColor boxColour(const ImprovePF& w, int i) {
    return w.box(i)->palette().color(QPalette::Base);
}

QString labelText(const QWidget& w, const char* name) {
    const auto* label = w.findChild<QLabel*>(name);
    return label ? label->text() : QString("<no %1>").arg(name);
}

TEST(ImprovePFWindow, OpensFromTheMainWindowAndCalculates) {
    pa::sim::Load load;
    load.noise = 0;
    pa::sim::PtyHost sim(load);
    ASSERT_TRUE(sim.start());
    const pa::testing::InFolder inTemp(::testing::TempDir(), false);
    pa::app::ProgramState state;
    pa::qt::QtPort port;
    pa::qt::QtClock clock;
    pa::testing::ScriptedUi ui;
    pa::ui::MeterRec main(state, port, clock, ui);
    main.startup();
    main.show();
    main.openPort(sim.devicePath());
    ASSERT_TRUE(waitFor([&] { return main.panel(pa::live::kVAR)->text() == "49.53"; }))
        << main.panel(pa::live::kVAR)->text().toStdString();
    ui.messages.clear();

    // The menu item runs Get Hz, shows the wait box, then opens the window.
    QAction* item = main.findChild<QAction*>("showPF");
    ASSERT_TRUE(item);
    EXPECT_TRUE(item->isEnabled());
    item->trigger();
    EXPECT_EQ(ui.statusCaptionText, "Getting Hz");
    EXPECT_EQ(ui.statusTextNow, "   Wait...");
    EXPECT_FALSE(ui.statusVisible);
    EXPECT_TRUE(ui.messages.empty()) << ui.messages[0].text;
    EXPECT_EQ(main.panel(pa::live::kHz)->text(), "50Hz");
    EXPECT_TRUE(main.timer2().isActive()) << "the live cycle runs again";
    ImprovePF* pf = main.improvePF();
    ASSERT_TRUE(pf);
    ASSERT_TRUE(pf->isVisible());
    EXPECT_EQ(pf->windowTitle(), "Improve PF (as reference for inductance load)");

    // Present state and circuit fields from the main window's readouts.
    EXPECT_EQ(labelText(*pf, "Current_0"), "  .920");
    EXPECT_EQ(labelText(*pf, "Current_3"), "49.53");
    EXPECT_EQ(labelText(*pf, "Current_4"), "23.1");
    EXPECT_EQ(labelText(*pf, "Circuit_0"), " 116.4");
    EXPECT_EQ(labelText(*pf, "Circuit_2"), "506.1mA"); // 116.4 W / 230 V
    EXPECT_EQ(labelText(*pf, "Circuit_7"), "50Hz");

    // A PF target typed and entered.
    pf->box(0)->setText("0.95");
    QKeyEvent press(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, "\r");
    QApplication::sendEvent(pf->box(0), &press);
    EXPECT_EQ(boxTexts(*pf),
              (std::array<QString, 6>{"0.95", "0.53", "122.5", "38.26", "18.2", "678.2nF"}));
    EXPECT_EQ(boxColour(*pf, 0), QColor(0, 255, 255));
    EXPECT_EQ(boxColour(*pf, 5), QColor(Qt::white));
    EXPECT_TRUE(ui.messages.empty());
    QApplication::processEvents();
    const QString png = screenshotPath("improvepf_en.png");
    ASSERT_TRUE(pf->grab().save(png)); // the pictures themselves: PicturesScaleWithTheWindow

    // Too much capacitance: capped with the notice, no icon; box 5 is the edited one now.
    pf->box(5)->setText("10");
    pf->Text1_KeyPress(5, pa::pfimprove::kEnterKey);
    ASSERT_EQ(ui.messages.size(), 1u);
    EXPECT_EQ(ui.messages[0].text, "Max. capacitance to be added is 3.0uF(PF=1)");
    EXPECT_EQ(ui.messages[0].icon, pa::app::Icon::None);
    EXPECT_EQ(pf->box(0)->text(), "1.0");
    EXPECT_EQ(pf->box(5)->text(), "3.0uF");
    EXPECT_EQ(boxColour(*pf, 0), QColor(Qt::white));
    EXPECT_EQ(boxColour(*pf, 5), QColor(0, 255, 255));

    // Print to a PDF file; Exit hides the window.
    QPrinter printer(QPrinter::HighResolution);
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(screenshotPath("improvepf_print.pdf"));
    pf->printTo(printer);
    EXPECT_EQ(pa::testing::pdfPages(screenshotPath("improvepf_print.pdf")), 1);
    pf->findChild<QPushButton*>("Exit_Improve_PF")->click();
    EXPECT_FALSE(pf->isVisible());
}

// The window on its own, reading fixed texts as the main window would show them.
class ImprovePFAlone : public ::testing::Test {
  protected:
    ImprovePFAlone() {
        readouts = {" 100.0", "  .870", "  230", "  .500", "  29.6", "115.00", " 56.79", "50Hz"};
    }
    pa::pfimprove::ReadoutTexts readouts;
    pa::testing::ScriptedUi ui;
    ImprovePF window{ui, [this] { return readouts; }};
};

TEST_F(ImprovePFAlone, RefusalsEmptyTheBoxesAndOtherKeysDoNothing) {
    window.show();
    window.UpdateP();
    window.box(1)->setText("0.4");
    window.box(3)->setText("something left");
    window.Text1_KeyPress(1, 'A'); // not Enter: nothing happens
    EXPECT_TRUE(ui.messages.empty());
    EXPECT_EQ(window.box(3)->text(), "something left");

    window.Text1_KeyPress(1, pa::pfimprove::kEnterKey);
    ASSERT_EQ(ui.messages.size(), 1u);
    EXPECT_EQ(ui.messages[0].text, "A2 < IR1, can not reduce active current");
    EXPECT_EQ(ui.messages[0].icon, pa::app::Icon::Exclamation);
    EXPECT_EQ(boxTexts(window), (std::array<QString, 6>{}));

    // An empty box: nothing, not even a message.
    window.Text1_KeyPress(2, pa::pfimprove::kEnterKey);
    EXPECT_EQ(ui.messages.size(), 1u);

    // A reading that went over range: unknown PF.
    readouts[pa::live::kPF] = "OL";
    window.findChild<QPushButton*>("UpdateP")->click();
    EXPECT_EQ(labelText(window, "Current_0"), "OL");
    window.box(0)->setText("0.95");
    window.Text1_KeyPress(0, pa::pfimprove::kEnterKey);
    EXPECT_EQ(ui.messages.back().text, "Unknown PF");
    EXPECT_FALSE(window.calculator().hasImproved());
    window.grab().save(screenshotPath("improvepf_no_target.png"));
}

TEST_F(ImprovePFAlone, RefreshesOnResizeAndSpeaksChinese) {
    window.show();
    readouts[pa::live::kW] = "200";
    window.resize(window.width() + 40, window.height());
    QApplication::processEvents();
    EXPECT_EQ(labelText(window, "Circuit_0"), "200") << "a resize refreshes the present state";

    window.applyCaptions(2);
    EXPECT_EQ(window.windowTitle(), "功因改善篇(電感負載參考用)");
    EXPECT_EQ(labelText(window, "Label1_0"), "現有->");
    EXPECT_EQ(window.findChild<QLabel*>("Label1_0")->font().pointSize(), 12);
    EXPECT_EQ(window.findChild<QGroupBox*>("Frame_diagram")->title(), "電力相位圖");
    EXPECT_EQ(window.findChild<QPushButton*>("Exit_Improve_PF")->text(), "離開(&X)");
    window.box(4)->setText("10");
    window.Text1_KeyPress(4, pa::pfimprove::kEnterKey);
    EXPECT_EQ(window.box(4)->text(), "10.0");
    QApplication::processEvents();
    window.grab().save(screenshotPath("improvepf_zh.png"));
    window.applyCaptions(1);
    EXPECT_EQ(labelText(window, "Label1_2"),
              "Type in target value and hit return to calculate needed capacitance");
}

TEST_F(ImprovePFAlone, PicturesScaleWithTheWindow) {
    window.show();
    window.box(2)->setText("105");
    window.Text1_KeyPress(2, pa::pfimprove::kEnterKey);
    ASSERT_TRUE(window.calculator().hasImproved());
    // Small and large: the diagram fills its frame and draws in both states' colours.
    for (QSize size : {QSize(760, 520), QSize(1500, 1000)}) {
        window.resize(size);
        QApplication::processEvents();
        auto* diagram = window.findChild<QWidget*>("PhaseDiagram");
        const QImage image = diagram->grab().toImage();
        int present = 0, improved = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x) {
                const QColor c = image.pixelColor(x, y);
                present += c == pa::pfimprove::kPresentColour;
                improved += c == pa::pfimprove::kImprovedColour;
            }
        EXPECT_GT(present, image.height() / 4) << size.width();
        EXPECT_GT(improved, image.height() / 4) << size.width();
        EXPECT_GT(diagram->width(), size.width() / 3);
    }
    window.grab().save(screenshotPath("improvepf_large.png"));
}

} // namespace
