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
    QProcess sub;
    sub.start("stdbuf",
              {"-oL", "mosquitto_sub", "-h", "127.0.0.1", "-p", QString::number(broker.port()),
               "-v", "-t", "test/alarm/#", "-t", "homeassistant/binary_sensor/#", "-d"});
    QString received;
    const auto messages = [&] { return received += sub.readAllStandardOutput(), received; };
    ASSERT_TRUE(waitFor([&] { return messages().contains("SUBACK"); }, 20000));

    // 116.4 W swinging by half each way over 6 s: above 140 W for about a third of it.
    QProcess sim;
    sim.start(PA_SIM_PROGRAM, {"--noise", "0", "--swing", "0.5", "--swing-period", "6"});
    ASSERT_TRUE(waitFor([&] { return sim.canReadLine(); }, 10000));
    const QString device = QString::fromUtf8(sim.readLine()).trimmed();

    pa::testing::TempFolder folder;
    const QString alarms = QString::fromStdString(folder.str() + "/plant.alarms");
    const QString log = QString::fromStdString(folder.str() + "/log.csv");
    QFile file(alarms);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("[high power]\nquantity = W\nabove = 140\nhysteresis = 10\n"
               "actions = log, mqtt, run\nrun = false %n\n"
               "[always]\nquantity = V\nabove = 1\nactions = run\nrun = sleep 60\n");
    file.close();

    QProcess cli;
    QElapsedTimer took;
    took.start();
    cli.start(PA_CLI_PROGRAM,
              {"monitor", "--port", device, "--interval", "0.5", "--count", "36", "--alarms",
               alarms, "--alarm-log", log, "--mqtt", broker.address(), "--topic", "test/alarm"});
    ASSERT_TRUE(cli.waitForFinished(60000));
    const double seconds = took.elapsed() / 1000.0;
    const std::string err = cli.readAllStandardError().toStdString();
    sim.kill();
    sim.waitForFinished(5000);
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
    const QString state = "test/alarm/alarm_high_power/state ";
    ASSERT_TRUE(waitFor([&] { return messages().count(state + "OFF") >= 2; }, 20000))
        << received.toStdString();
    const QStringList lines = received.split('\n');
    QStringList states;
    QJsonObject config, attributes;
    for (const QString& line : lines) {
        if (line.startsWith(state))
            states << line.mid(state.size());
        else if (line.startsWith("homeassistant/binary_sensor/test_alarm/alarm_high_power/config "))
            config = QJsonDocument::fromJson(line.section(' ', 1).toUtf8()).object();
        else if (line.startsWith("test/alarm/alarm_high_power/attributes "))
            attributes = QJsonDocument::fromJson(line.section(' ', 1).toUtf8()).object();
    }
    ASSERT_GE(states.size(), 3) << received.toStdString();
    EXPECT_EQ(states.mid(0, 3), (QStringList{"OFF", "ON", "OFF"}));
    EXPECT_EQ(config["state_topic"].toString(), "test/alarm/alarm_high_power/state");
    EXPECT_EQ(config["device_class"].toString(), "problem");
    EXPECT_EQ(config["device"].toObject()["identifiers"].toArray().at(0).toString(), "test_alarm");
    EXPECT_EQ(attributes["unit"].toString(), "W");
    EXPECT_TRUE(attributes["value"].isDouble());
    EXPECT_TRUE(attributes["time"].toString().endsWith('Z'));
    EXPECT_FALSE(received.contains("alarm_always")) << "only alarms with the mqtt action";
    sub.kill();
    sub.waitForFinished(5000);
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
