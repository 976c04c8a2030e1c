// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The pictures of the user manual: each window in the state the manual describes, grabbed
// offscreen into the build's screenshots/manual folder. `./dev.sh shots` runs these tests and
// copies the pictures into docs/manual/images.
#include "gui_support.h"
#include "logger/Logger.h"
#include "logger/diag.h"
#include "pfimprove/ImprovePF.h"
#include "plot/PlotFile.h"

#include <QComboBox>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <cmath>

namespace {

namespace fs = std::filesystem;
using namespace pa::testing;

void enter(QLineEdit* box, const QString& text) {
    box->setText(text);
    emit box->returnPressed();
}

// The main window on the simulated instrument measuring a household load, with a cost
// estimate; from it the Improve PF window, a short recording and the file viewer.
TEST(ManualScreenshots, MainWindowImprovePfAndViewer) {
    pa::sim::Load load;
    load.amps = 2.6;
    load.powerFactor = 0.78;
    load.noise = 0;
    ScriptedUi ui;
    PtyRig rig(ui, load);
    pa::ui::MeterRec& window = rig.window;
    // A USB adapter is named beside its COM number by its stable by-id name.
    window.setPorts({{"ttyUSB0", rig.sim.devicePath(), true, "by-id:A5", "usb-FTDI_A5-port0"}},
                    false);
    window.startup();
    window.show();
    menuItem(&window, "COM 1   (ttyUSB0, usb-FTDI_A5-port0)")->trigger();
    enter(window.findChild<QLineEdit*>("set_d_per_kwh"), "0.25");
    enter(window.findChild<QLineEdit*>("set_hrs_per_day"), "6");
    ASSERT_TRUE(waitFor([&] { return !window.panel(pa::live::kKWH)->text().isEmpty(); }));
    ASSERT_TRUE(waitFor([&] { return !window.cycle().readouts().clockText.empty(); }));

    // Improve PF: Get Hz, then a target PF of 0.95.
    window.findChild<QAction*>("showPF")->trigger();
    pa::pfimprove::ImprovePF* pf = window.improvePF();
    ASSERT_TRUE(pf && pf->isVisible());
    enter(pf->box(0), "0.95");
    saveShot(*pf, "improvepf.png");
    pf->findChild<QPushButton*>("Exit_Improve_PF")->click();
    saveShot(window, "meterrec.png"); // now with the frequency Get Hz measured
    menuItem(&window, "Chinese")->trigger();
    ASSERT_TRUE(waitFor([&] { return !window.panel(pa::live::kW)->text().isEmpty(); }));
    saveShot(window, "meterrec-zh.png");
    menuItem(&window, "英文")->trigger();

    // Eight records at half-second sampling, then File > View File on them.
    window.cycle().applySamplingTime("0.5");
    ui.inputs.push_back("kitchen");
    window.findChild<QAction*>("FileCreate")->trigger();
    emit window.findChild<QMenu*>("FileStart")->aboutToShow();
    menuItem(&window, "Now(Auto)")->trigger();
    ASSERT_TRUE(waitFor([&] { return window.recorder().recordsWritten() == 8; }, 12000));
    window.findChild<QAction*>("FileEnd")->trigger();
    ui.files.push_back(rig.dataFile("kitchen.txt").string());
    window.viewFile();
    pa::ui::VIEW* viewer = window.viewer();
    ASSERT_TRUE(viewer);
    viewer->resize(1100, 300);
    viewer->finishIndexing();
    saveShot(*viewer, "viewer.png");
    viewer->close();
}

// Half an hour of a refrigerator, one record a second: the compressor starts with a surge,
// runs about six minutes and rests about four.
std::string refrigeratorFile() {
    const auto watt = [](long i) {
        const long inCycle = (i + 200) % 600;
        return inCycle >= 360 ? 2.5
                              : 96 + 14 * std::exp(-inCycle / 90.0) +
                                    180 * std::exp(-inCycle / 3.0) + 1.5 * std::sin(i * 0.7);
    };
    return writeRecording(fs::path(::testing::TempDir()) / "refrigerator.txt", 1800, watt);
}

TEST(ManualScreenshots, PlotWindowOnARecordedFile) {
    ScriptedUi ui;
    pa::plot::PlotFile window(ui);
    window.resize(1000, 620);
    window.show();
    ui.files.push_back(refrigeratorFile());
    window.openfileforplot();
    window.SelectData(0);
    ui.inputs = {"Refrigerator", "Time of day"};
    window.set_title(2);
    window.set_title(0);
    window.set_grid(1);
    window.StatOption();
    saveShot(window, "plotfile.png");
}

// The datalogger holding a morning's records, opened from the main window: Read Status fills
// it and hands the live cycle back; a choice in a list (after its note), Enter in the sampling
// box and a console command reach the logger. Then its self-test results.
TEST(ManualScreenshots, LoggerAndSelfTest) {
    SimRig rig;
    const pa::sim::Load load{230, 2.6, 0.78, 50, 0};
    rig.meter.setLoad(load);
    pa::sim::LoggerModel& memory = rig.meter.logger();
    rig.window.openPort("SIM");
    rig.state.baudCode = 9;
    memory.fillRecords(240, load);
    rig.window.findChild<QAction*>("datalogger")->trigger();
    auto* logger = rig.window.findChild<pa::logger::Logger*>("Logger");
    ASSERT_TRUE(logger && logger->isVisible());
    logger->findChild<QPushButton*>("Read_Status")->click();
    EXPECT_EQ(shown(logger, "Label1_7"), "240") << "the records held";
    EXPECT_TRUE(rig.window.timer2().isActive()) << "the live cycle is handed back";
    saveShot(*logger, "logger.png");

    auto* output = logger->findChild<QComboBox*>("Combo3");
    output->setCurrentIndex(2); // "One Shot"
    emit output->activated(2);
    enter(logger->findChild<QLineEdit*>("Text1_3"), "3");
    enter(logger->findChild<QLineEdit*>("Text2"), "W 7 42");
    // Written, the sampling shown rounded, the list's note given and the console's reply shown.
    EXPECT_EQ(std::make_tuple(memory.at(59), memory.word(18), memory.at(7),
                              logger->findChild<QLineEdit*>("Text1_3")->text(),
                              rig.ui.messages.size(), shown(logger, "Label1_40")),
              std::make_tuple(2, 8, 42, QString("3.2   "), std::size_t{1}, QString("2A")));

    memory.setWord(41, 0); // no write failures
    memory.setWord(43, 0);
    logger->findChild<QAction*>("show_diag")->trigger();
    auto* d = logger->findChild<pa::logger::diag*>("diag");
    ASSERT_TRUE(d);
    d->findChild<QPushButton*>("diag_read")->click();
    EXPECT_EQ(shown(d, "Panel2_1"), "PASS");
    saveShot(*d, "diag.png");
}

} // namespace
