// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// Alarms in the main window over the real serial path: Option > Alarms... refuses a set with
// a mistake (the cursor on its line) and puts a correct one in use, named in the status line;
// the banner lists the alarm raised with its value, beeps once, marks the trend, logs beside
// the set, and keeps a cleared alarm listed until acknowledged. Also the manual's picture of
// the banner.
#include "alarms/AlarmBanner.h"
#include "alarms/AlarmEditor.h"
#include "gui_support.h"
#include "trend/TrendChart.h"

#include <QPlainTextEdit>
#include <QPushButton>
#include <QTextBlock>

namespace {

using namespace pa::testing;

// Named for `./dev.sh shots`, which re-grabs the banner picture with the other manual pictures.
TEST(ManualScreenshotsAlarm, EditorBannerAcknowledgeLogAndMark) {
    ScriptedUi ui;
    PtyRig rig(ui);
    const std::string file = rig.profile.str() + "/plant.alarms";
    pa::ui::MeterRec& window = rig.window;
    window.resize(1000, 600);
    window.show();
    window.openPort(rig.sim.devicePath());
    window.cycle().applySamplingTime("0.5");
    QAction* item = menuItem(&window, "&Alarms...");
    ASSERT_NE(item, nullptr);

    // The first text has a mistake on line 3; the second is saved under a new name.
    ui.files.push_back(file);
    int line = 0;
    QTimer::singleShot(0, [&] {
        auto* editor = qobject_cast<pa::alarms::AlarmEditor*>(QApplication::activeModalWidget());
        ASSERT_NE(editor, nullptr);
        editor->text()->setPlainText("[motor]\nquantity = W\nabove = 1,5\n");
        editor->saveAndUse();
        line = editor->text()->textCursor().blockNumber() + 1;
        editor->text()->setPlainText("[motor]\nquantity = W\nabove = 100\nhysteresis = 5\n"
                                     "actions = banner, beep, mark, log\n");
        editor->saveAndUse();
    });
    item->trigger();
    EXPECT_EQ(std::tuple(messageTexts(ui), line, shown(&window, "AlarmSet"),
                         readFile(file).starts_with("[motor]\n")),
              std::tuple(std::vector<std::string>{"(new):3: above takes a number such as 12.5, not "
                                                  "\"1,5\""},
                         3, QString("Alarms: plant.alarms (1)"), true));

    pa::alarms::AlarmBanner* banner = window.alarmBanner();
    ASSERT_TRUE(waitFor([&] { return banner->isVisible(); }, 20000));
    EXPECT_TRUE(banner->lines().size() == 1 &&
                banner->lines()[0].startsWith("ALARM  motor  116.4 W  "))
        << banner->lines().join(" | ").toStdString();
    const auto& marks = window.trendChart()->marks();
    EXPECT_EQ(std::tuple(ui.beeps, marks.size(), marks.at(0).raised),
              std::tuple(1, std::size_t{1}, true));

    waitFor([&] { return !window.cycle().readouts().Panel3D2[pa::live::kKWH].empty(); });
    saveShot(window, "alarm-banner.png");

    // The load drops below the band: still listed, as cleared, until acknowledged.
    rig.load.amps = 0.3;
    rig.sim.withInstrument([&](pa::sim::Instrument& i) { i.setLoad(rig.load); });
    ASSERT_TRUE(waitFor([&] { return banner->lines().value(0).endsWith("(cleared)"); }, 20000));
    banner->findChild<QPushButton*>("AlarmAcknowledge")->click();
    EXPECT_EQ(std::pair(window.trendChart()->marks().size(), banner->isVisible()),
              std::pair(std::size_t{2}, false));
    const std::string log = readFile(rig.profile.path() / "plant-alarms.csv");
    for (const char* event : {",motor,raised,116.4,W\n", ",motor,cleared,", ",acknowledged,"})
        EXPECT_NE(log.find(event), std::string::npos) << event << " in " << log;
    EXPECT_EQ(ui.beeps, 1);
}

} // namespace
