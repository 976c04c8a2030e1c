// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// monitor --alarms end to end: the simulated instrument's load swings across a limit; the
// alarm is raised and cleared on standard error, in the log and as a Home Assistant binary
// sensor on a real mosquitto, while a program that fails and one that hangs never hold up
// the samples.
#include "e2e/mosquitto_broker.h"
#include "gui/gui_support.h"
#include "support/test_files.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <fstream>
#include <gtest/gtest.h>

namespace {

using pa::testing::MosquittoBroker;
using pa::testing::waitFor;

TEST(AlarmMonitor, SwingAcrossALimitRaisesAndClearsEverywhere) {
    MosquittoBroker broker;
    ASSERT_TRUE(broker.start()) << broker.log().toStdString();
    const auto sub =
        pa::testing::subscribe(broker, {"test/alarm/#", "homeassistant/binary_sensor/#"});
    ASSERT_TRUE(sub);

    // 116.4 W swinging by half each way over 6 s: above 140 W for about a third of it.
    pa::testing::Running sim(PA_SIM_PROGRAM,
                             {"--noise", "0", "--swing", "0.5", "--swing-period", "6"});
    ASSERT_TRUE(sim.says("\n", 10000));
    const QString device = sim.out().section('\n', 0, 0).trimmed();

    pa::testing::TempFolder folder;
    const QString alarms = QString::fromStdString(folder.str() + "/plant.alarms");
    const QString log = QString::fromStdString(folder.str() + "/log.csv");
    std::ofstream(alarms.toStdString()) << "[high power]\nquantity = W\nabove = 140\n"
                                           "hysteresis = 10\nactions = log, mqtt, run\n"
                                           "run = false %n\n[always]\nquantity = V\nabove = 1\n"
                                           "actions = run\nrun = sleep 60\n";

    QProcess cli;
    QElapsedTimer took;
    took.start();
    cli.start(PA_CLI_PROGRAM,
              {"monitor", "--port", device, "--interval", "0.5", "--count", "36", "--alarms",
               alarms, "--alarm-log", log, "--mqtt", broker.address(), "--topic", "test/alarm"});
    ASSERT_TRUE(cli.waitForFinished(60000));
    const double seconds = took.elapsed() / 1000.0;
    const std::string err = cli.readAllStandardError().toStdString();
    ASSERT_EQ(cli.exitCode(), 0) << err;
    // 36 samples at 0.5 s, though "sleep 60" still runs: nothing waited for it.
    EXPECT_LT(seconds, 30) << err;
    EXPECT_NE(err.find("alarm raised: high power 1"), std::string::npos) << err;
    EXPECT_NE(err.find("alarm cleared: high power 1"), std::string::npos) << err;
    EXPECT_NE(err.find("alarm high power: false exited with status 1"), std::string::npos) << err;
    EXPECT_EQ(err.find("sleep exited"), std::string::npos) << err;

    const std::string logText = pa::testing::readFile(log.toStdString());
    EXPECT_TRUE(logText.starts_with("time,alarm,event,value,unit\n")) << logText;
    EXPECT_NE(logText.find(",high power,raised,"), std::string::npos) << logText;
    EXPECT_NE(logText.find(",high power,cleared,"), std::string::npos) << logText;

    // The binary sensor: discovery, then OFF, ON, OFF ... with the value's attributes.
    const QString topic = "test/alarm/alarm_high_power/";
    ASSERT_TRUE(waitFor([&] { return sub->on(topic + "state").count("OFF") >= 2; }, 20000))
        << sub->out().toStdString();
    EXPECT_EQ(sub->on(topic + "state").mid(0, 3), (QStringList{"OFF", "ON", "OFF"}));
    const auto json = [&](const QString& topic) {
        return QJsonDocument::fromJson(sub->on(topic).value(0).toUtf8()).object();
    };
    const QJsonObject config =
        json("homeassistant/binary_sensor/test_alarm/alarm_high_power/config");
    const QJsonObject attributes = json(topic + "attributes");
    EXPECT_EQ(config["state_topic"].toString(), topic + "state");
    EXPECT_EQ(config["device_class"].toString(), "problem");
    EXPECT_EQ(config["device"]["identifiers"][0].toString(), "test_alarm");
    EXPECT_EQ(attributes["unit"].toString(), "W");
    EXPECT_TRUE(attributes["value"].isDouble());
    EXPECT_TRUE(attributes["time"].toString().endsWith('Z'));
    EXPECT_FALSE(sub->out().contains("alarm_always")) << "only alarms with the mqtt action";
}

TEST(AlarmMonitor, AFileWithAMistakeIsRefusedWithItsLine) {
    pa::testing::TempFolder folder;
    const std::string path = folder.str() + "/bad.alarms";
    std::ofstream(path) << "[a]\nquantity = W\nabove = 1e999\n";
    QProcess cli;
    cli.start(PA_CLI_PROGRAM, {"monitor", "--simulate", "--alarms", QString::fromStdString(path)});
    ASSERT_TRUE(cli.waitForFinished(20000));
    EXPECT_EQ(cli.exitCode(), 2);
    EXPECT_EQ(cli.readAllStandardError().toStdString(),
              "poweranalyzer-cli: " + path +
                  ":3: above takes a number such as 12.5, not \"1e999\"\n");
}

} // namespace
