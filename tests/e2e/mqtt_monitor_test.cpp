// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// monitor --mqtt against a real broker (Debian's mosquitto on loopback, started by the
// test): what a Home Assistant client receives, a broker that comes late or goes away, a
// silent instrument, and brokers that refuse or never answer; whatever the broker does, the
// trouble is said while the monitor runs and sampling goes on. And monitor --alarms: the
// simulated load swings across a limit; the alarm is raised and cleared on standard error,
// in the log and as a Home Assistant binary sensor, while a program that fails and one that
// hangs never hold up the samples.
#include "e2e/mosquitto_broker.h"
#include "gui/gui_support.h"
#include "pty_host.h"
#include "support/test_files.h"

#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <unistd.h>

namespace {

using pa::testing::MosquittoBroker;
using pa::testing::Running;
using pa::testing::waitFor;

const QString kPrefix = QStringLiteral("test/pa");

// mosquitto_sub on the broker, printing "topic payload" per message, once it has subscribed
// (line-buffered: into a pipe it would hold its lines back).
std::unique_ptr<Running> subscribe(const MosquittoBroker& broker,
                                   const QStringList& topics = {kPrefix + "/#",
                                                                "homeassistant/#"}) {
    QStringList args{
        "-oL", "mosquitto_sub", "-h", "127.0.0.1", "-p", QString::number(broker.port()), "-v",
        "-d"};
    for (const QString& topic : topics)
        args << "-t" << topic;
    auto sub = std::make_unique<Running>("stdbuf", args);
    return sub->says("SUBACK") ? std::move(sub) : nullptr;
}

QJsonObject json(const QString& text) {
    return QJsonDocument::fromJson(text.toUtf8()).object();
}

// The monitor's sample lines: those that begin with the clock text (tab or comma after it).
QStringList sampleLines(Running& monitor) {
    static const QRegularExpression clock("^\\d\\d:\\d\\d:\\d\\d\\.\\d[\t,]");
    return monitor.out().split('\n').filter(clock);
}

// The Home Assistant sensor configs received.
int configs(Running& sub) {
    return sub.out().count(
        QRegularExpression("^homeassistant/sensor/", QRegularExpression::MultilineOption));
}

// monitor --simulate publishing to the address under the test's topic prefix.
std::unique_ptr<Running> monitor(const QString& address, const QStringList& more = {}) {
    return std::make_unique<Running>(
        PA_CLI_PROGRAM,
        QStringList{"monitor", "--simulate", "--mqtt", address, "--topic", kPrefix} + more);
}

// The monitor on the instrument, printing CSV: the header names the columns, each state holds
// the numbers it printed (an empty panel is null), the discovery configs hold what Home
// Assistant needs, the device is offline while the instrument is silent (a NO COM line is
// printed) and once the monitor ends, and a client arriving later finds "offline" and the nine
// configs kept.
TEST(MqttMonitor, PublishesWhatItPrintsAndWhenTheInstrumentIsOffline) {
    MosquittoBroker broker;
    ASSERT_TRUE(broker.start()) << "mosquitto: " << broker.log().toStdString();
    const auto sub = subscribe(broker);
    ASSERT_TRUE(sub);
    pa::sim::PtyHost instrument;
    ASSERT_TRUE(instrument.start()) << instrument.lastError();
    Running cli(PA_CLI_PROGRAM,
                {"monitor", "--port", QString::fromStdString(instrument.devicePath()), "--mqtt",
                 broker.address(), "--topic", kPrefix, "--client-id", "e2e", "--format", "csv"});
    ASSERT_TRUE(waitFor([&] { return sub->on("test/pa/state").size() >= 3; }, 30000));
    // The state's fields are the message builder's; here, that each state is the sample
    // printed, its power the simulator's.
    const QStringList states = sub->on("test/pa/state"), printed = sampleLines(cli);
    ASSERT_GE(printed.size(), 3);
    for (int i = 0; i < 3; ++i) {
        const QJsonObject state = json(states[i]);
        EXPECT_EQ(state["W"].toDouble(), printed[i].section(',', 1, 1).toDouble())
            << states[i].toStdString();
        EXPECT_NEAR(state["W"].toDouble(), 116.4, 3) << states[i].toStdString();
    }
    // The configs' fields are the message builder's; here, that the nine arrive and name the
    // state topic and the client id given.
    EXPECT_EQ(configs(*sub), 9);
    const QJsonObject energy = json(sub->on("homeassistant/sensor/test_pa/kwh/config").value(0));
    EXPECT_EQ(std::tuple(energy["state_topic"].toString(),
                         energy["device"]["identifiers"].toArray().first().toString()),
              std::tuple("test/pa/state", "e2e"));

    instrument.withInstrument([](auto& i) { i.setFault(pa::sim::Fault::Silent); });
    ASSERT_TRUE(waitFor([&] { return sub->on("test/pa/availability").size() >= 2; }, 20000));
    const auto silent = sub->on("test/pa/state").size();
    EXPECT_TRUE(cli.out().startsWith("time,W,PF,V,A,angle_deg,VA,VAR,Hz,kWh\n"));
    EXPECT_TRUE(cli.says(",NO COM\n")) << cli.out().toStdString();
    instrument.withInstrument([](auto& i) { i.setFault(pa::sim::Fault::None); });
    ASSERT_TRUE(waitFor([&] { return sub->on("test/pa/availability").size() >= 3; }, 20000));
    EXPECT_TRUE(waitFor([&] { return sub->on("test/pa/state").size() > silent; }, 20000));
    EXPECT_GE(cli.terminate(), 0);
    EXPECT_TRUE(waitFor([&] { return sub->on("test/pa/availability").size() >= 4; }, 20000));
    EXPECT_EQ(sub->on("test/pa/availability"),
              (QStringList{"online", "offline", "online", "offline"}));
    const QRegularExpression all("(\\d+) of \\1 samples published to " + broker.address() +
                                 " on test/pa/state\n");
    EXPECT_TRUE(all.match(cli.err()).hasMatch()) << cli.err().toStdString();

    // A client arriving now is given what was kept: the configs and "offline", no state.
    const auto late = subscribe(broker);
    ASSERT_TRUE(late);
    EXPECT_TRUE(waitFor([&] { return configs(*late) == 9; }, 20000)) << late->out().toStdString();
    EXPECT_EQ(late->on("test/pa/availability"), QStringList{"offline"});
    EXPECT_EQ(late->on("test/pa/state"), QStringList());
}

// As at boot, the broker comes 5 s after the monitor; later it restarts under it. Each time
// the monitor reaches it by itself (availability and discovery again), and the samples it
// could not send are counted, not waited for.
TEST(MqttMonitor, BrokerThatComesLateOrRestartsIsReached) {
    MosquittoBroker broker; // a free port, nobody listening yet
    const auto cli = monitor(broker.address());
    ASSERT_TRUE(cli->says("mqtt: cannot reach " + broker.address())) << "said at once";
    waitFor([] { return false; }, 5000);
    EXPECT_GE(sampleLines(*cli).size(), 3) << "sampling goes on meanwhile";

    for (const char* round : {"late", "restarted"}) {
        SCOPED_TRACE(round);
        ASSERT_TRUE(broker.start()) << broker.log().toStdString();
        const auto sub = subscribe(broker);
        ASSERT_TRUE(sub);
        ASSERT_TRUE(waitFor([&] { return sub->on("test/pa/state").size() >= 2; }, 60000))
            << cli->err().toStdString();
        EXPECT_EQ(configs(*sub), 9);
        EXPECT_EQ(sub->on("test/pa/availability").value(0), "online");
        // Home Assistant (re)starting announces itself: the configs are sent again.
        QProcess::execute("mosquitto_pub", {"-p", QString::number(broker.port()), "-t",
                                            "homeassistant/status", "-m", "online"});
        EXPECT_TRUE(waitFor([&] { return configs(*sub) == 18; }, 20000));
        broker.stop();
        const auto before = sampleLines(*cli).size();
        EXPECT_TRUE(waitFor([&] { return sampleLines(*cli).size() >= before + 3; }, 30000));
    }
    EXPECT_GE(cli->terminate(), 0);
    for (const char* said :
         {"mqtt: connected to ", "lost the connection to", "; reconnecting", "could not be sent"})
        EXPECT_TRUE(cli->err().contains(said)) << said << "\n" << cli->err().toStdString();
}

// A peer that takes the connection and never answers, a broker that wants a password, one
// whose certificate another authority signed: said while sampling goes on, and in the
// summary; ended while trying again, the monitor ends promptly.
TEST(MqttMonitor, RefusalsAndSilenceAreSaidAsTheyHappen) {
    QTemporaryDir dir;
    const auto certificate = [&](const QString& name) {
        QProcess::execute("openssl",
                          {"req", "-x509", "-newkey", "ec", "-pkeyopt",
                           "ec_paramgen_curve:prime256v1", "-nodes", "-days", "2", "-subj",
                           "/CN=localhost", "-addext", "subjectAltName=IP:127.0.0.1", "-keyout",
                           dir.filePath(name + ".key"), "-out", dir.filePath(name + ".pem")});
        QFile::setPermissions(dir.filePath(name + ".key"), QFile::ReadOwner | QFile::ReadOther);
        return dir.filePath(name + ".pem");
    };
    QFile::setPermissions(dir.path(), QFile::permissions(dir.path()) | QFile::ExeOther);
    const QString password = dir.filePath("password");
    std::ofstream(password.toStdString()) << "wrong\n";

    int peer = -1; // listens, never answers
    const int peerPort = pa::testing::listeningSocket(peer);
    ASSERT_NE(peerPort, 0);

    const struct {
        const char* name;
        QString config; // empty: the silent peer, no broker
        QStringList args;
        QString said, why; // said at once after "mqtt: ", and why nothing was sent
    } cases[] = {
        {"silent peer", {}, {}, "no answer from the broker at ", "no answer from the broker"},
        {"password",
         "allow_anonymous false\n",
         {"--username", "u", "--password-file", password},
         "not authorised by ",
         "not authorised"},
        {"certificate",
         QString("certfile %1\nkeyfile %2\n")
             .arg(certificate("broker"), dir.filePath("broker.key")),
         {"--tls-ca", certificate("other")},
         "TLS verification failed: the certificate of ",
         "TLS verification failed"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        MosquittoBroker broker(c.config);
        if (!c.config.isEmpty()) {
            ASSERT_TRUE(broker.start()) << broker.log().toStdString();
        }
        const QString address =
            c.config.isEmpty() ? QString("127.0.0.1:%1").arg(peerPort) : broker.address();
        const auto cli = monitor(address, c.args);
        EXPECT_TRUE(cli->says("mqtt: " + c.said + address)) << cli->err().toStdString();
        const auto before = sampleLines(*cli).size();
        EXPECT_TRUE(waitFor([&] { return sampleLines(*cli).size() >= before + 2; }, 10000));
        const qint64 took = cli->terminate();
        EXPECT_TRUE(took >= 0 && took < 5000) << took << " ms to end, or not ended with 0";
        EXPECT_TRUE(cli->err().contains("could not be sent (" + c.why + ")"))
            << cli->err().toStdString();
    }
    ::close(peer);
}

TEST(AlarmMonitor, SwingAcrossALimitRaisesAndClearsEverywhere) {
    MosquittoBroker broker;
    ASSERT_TRUE(broker.start()) << broker.log().toStdString();
    const auto sub =
        subscribe(broker, QStringList{"test/alarm/#", "homeassistant/binary_sensor/#"});
    ASSERT_TRUE(sub);

    // 116.4 W swinging by half each way over 6 s: above 140 W for about a third of it.
    Running sim(PA_SIM_PROGRAM, {"--noise", "0", "--swing", "0.5", "--swing-period", "6"});
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
    for (const char* said : {"alarm raised: high power 1", "alarm cleared: high power 1",
                             "alarm high power: false exited with status 1"})
        EXPECT_NE(err.find(said), std::string::npos) << err;
    EXPECT_EQ(err.find("sleep exited"), std::string::npos) << err;
    // The log's layout is the alarm actions'; here, that both events reach it.
    const std::string logText = pa::testing::readFile(log.toStdString());
    EXPECT_NE(logText.find(",high power,raised,"), std::string::npos) << logText;
    EXPECT_NE(logText.find(",high power,cleared,"), std::string::npos) << logText;

    // The binary sensor: discovery, then OFF, ON, OFF ... with the value's attributes.
    const QString topic = "test/alarm/alarm_high_power/";
    ASSERT_TRUE(waitFor([&] { return sub->on(topic + "state").count("OFF") >= 2; }, 20000))
        << sub->out().toStdString();
    EXPECT_EQ(sub->on(topic + "state").mid(0, 3), (QStringList{"OFF", "ON", "OFF"}));
    const QJsonObject config =
        json(sub->on("homeassistant/binary_sensor/test_alarm/alarm_high_power/config").value(0));
    const QJsonObject attributes = json(sub->on(topic + "attributes").value(0));
    EXPECT_EQ(
        QStringList({config["state_topic"].toString(), config["device_class"].toString(),
                     config["device"]["identifiers"][0].toString(), attributes["unit"].toString()}),
        QStringList({topic + "state", "problem", "test_alarm", "W"}));
    EXPECT_TRUE(attributes["value"].isDouble() && attributes["time"].toString().endsWith('Z'));
    EXPECT_FALSE(sub->out().contains("alarm_always")) << "only alarms with the mqtt action";
}

} // namespace
