// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// monitor --mqtt against a real broker (mosquitto on loopback, started by the test): what a
// Home Assistant client receives, a broker that comes late or goes away, a silent
// instrument, brokers that refuse or never answer, and options that are refused. Whatever
// the broker does, the trouble is said while the monitor runs and sampling goes on.
#include "e2e/mosquitto_broker.h"
#include "gui/gui_support.h"
#include "pty_host.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

using pa::testing::MosquittoBroker;
using pa::testing::Running;
using pa::testing::waitFor;

const QString kPrefix = QStringLiteral("test/pa");

QJsonObject json(const QString& text) {
    return QJsonDocument::fromJson(text.toUtf8()).object();
}

// The monitor's sample lines: those that begin with the clock text.
QStringList sampleLines(Running& monitor) {
    static const QRegularExpression clock("^\\d\\d:\\d\\d:\\d\\d\\.\\d\t");
    return monitor.out().split('\n').filter(clock);
}

// The Home Assistant sensor configs received.
int configs(Running& sub) {
    return sub.out().count(
        QRegularExpression("^homeassistant/sensor/", QRegularExpression::MultilineOption));
}

std::unique_ptr<Running> subscribe(const MosquittoBroker& broker) {
    return pa::testing::subscribe(broker, {kPrefix + "/#", "homeassistant/#"});
}

// monitor --simulate publishing to the address under the test's topic prefix.
std::unique_ptr<Running> monitor(const QString& address, const QStringList& more = {}) {
    return std::make_unique<Running>(
        PA_CLI_PROGRAM,
        QStringList{"monitor", "--simulate", "--mqtt", address, "--topic", kPrefix} + more);
}

// The monitor on the instrument: each state holds the numbers it printed (an empty panel is
// null), the discovery configs hold what Home Assistant needs, the device is offline while
// the instrument is silent (NO COM) and once the monitor ends, and a client arriving later
// finds "offline" and the nine configs kept.
TEST(MqttMonitor, PublishesWhatItPrintsAndWhenTheInstrumentIsOffline) {
    MosquittoBroker broker;
    ASSERT_TRUE(broker.start()) << "mosquitto: " << broker.log().toStdString();
    const auto sub = subscribe(broker);
    ASSERT_TRUE(sub);
    pa::sim::PtyHost instrument;
    ASSERT_TRUE(instrument.start()) << instrument.lastError();
    Running cli(PA_CLI_PROGRAM,
                {"monitor", "--port", QString::fromStdString(instrument.devicePath()), "--mqtt",
                 broker.address(), "--topic", kPrefix, "--client-id", "e2e"});
    ASSERT_TRUE(waitFor([&] { return sub->on("test/pa/state").size() >= 3; }, 30000));
    const QStringList states = sub->on("test/pa/state"), printed = sampleLines(cli);
    ASSERT_GE(printed.size(), 3);
    const char* keys[] = {"W", "PF", "V", "A", "angle", "VA", "VAR", "Hz", "kWh"};
    for (int i = 0; i < 3; ++i) {
        SCOPED_TRACE(states[i].toStdString());
        const QJsonObject state = json(states[i]);
        const QStringList columns = printed[i].split('\t');
        ASSERT_EQ(columns.size(), 10) << printed[i].toStdString();
        for (int k = 0; k < 9; ++k) {
            const QString shown = columns[k + 1].trimmed().remove("Hz");
            EXPECT_EQ(state[keys[k]].isNull(), shown.isEmpty()) << keys[k];
            EXPECT_DOUBLE_EQ(state[keys[k]].toDouble(), shown.toDouble()) << keys[k];
        }
        EXPECT_NEAR(state["W"].toDouble(), 116.4, 3) << "the simulator's load";
        EXPECT_TRUE(state["time"].toString().endsWith('Z'));
    }

    EXPECT_EQ(configs(*sub), 9);
    const QJsonObject energy = json(sub->on("homeassistant/sensor/test_pa/kwh/config").value(0));
    const QJsonObject power = json(sub->on("homeassistant/sensor/test_pa/w/config").value(0));
    EXPECT_EQ(energy["device_class"].toString(), "energy");
    EXPECT_EQ(energy["unit_of_measurement"].toString(), "kWh");
    EXPECT_EQ(energy["state_class"].toString(), "total_increasing");
    EXPECT_EQ(energy["state_topic"].toString(), "test/pa/state");
    EXPECT_EQ(energy["availability_topic"].toString(), "test/pa/availability");
    EXPECT_EQ(energy["unique_id"].toString(), "test_pa_kwh");
    EXPECT_EQ(energy["value_template"].toString(), "{{ value_json.kWh }}");
    EXPECT_EQ(energy["device"]["identifiers"].toArray().first().toString(), "e2e");
    EXPECT_EQ(power["device_class"].toString(), "power");
    EXPECT_EQ(power["state_class"].toString(), "measurement");
    // Home Assistant also greys out a reading when no newer one comes.
    EXPECT_EQ(power["expire_after"].toInt(), 30);

    const auto fault = [&](pa::sim::Fault f) {
        instrument.withInstrument([f](pa::sim::Instrument& i) { i.setFault(f); });
    };
    fault(pa::sim::Fault::Silent);
    ASSERT_TRUE(waitFor([&] { return sub->on("test/pa/availability").size() >= 2; }, 20000));
    const auto silent = sub->on("test/pa/state").size();
    fault(pa::sim::Fault::None);
    ASSERT_TRUE(waitFor([&] { return sub->on("test/pa/availability").size() >= 3; }, 20000));
    EXPECT_TRUE(waitFor([&] { return sub->on("test/pa/state").size() > silent; }, 20000));
    EXPECT_GE(cli.terminate(), 0);
    EXPECT_TRUE(waitFor([&] { return sub->on("test/pa/availability").size() >= 4; }, 20000));
    EXPECT_EQ(sub->on("test/pa/availability"),
              (QStringList{"online", "offline", "online", "offline"}));
    const QRegularExpression all("(\\d+) of \\1 samples published to " + broker.address() +
                                 " on test/pa/state\n");
    EXPECT_TRUE(all.match(cli.err()).hasMatch()) << cli.err().toStdString();

    QProcess retained;
    retained.start("mosquitto_sub",
                   {"-h", "127.0.0.1", "-p", QString::number(broker.port()), "-v",
                    "--retained-only", "-t", kPrefix + "/#", "-t", "homeassistant/#", "-W", "5"});
    ASSERT_TRUE(retained.waitForFinished(20000));
    const QStringList kept =
        QString::fromUtf8(retained.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
    EXPECT_EQ(kept.size(), 10) << kept.join('\n').toStdString();
    EXPECT_TRUE(kept.contains("test/pa/availability offline"));
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
    QFile password(dir.filePath("password"));
    ASSERT_TRUE(password.open(QIODevice::WriteOnly) && password.write("wrong\n") == 6);
    password.close();

    int peer = -1; // listens, never answers
    const int peerPort = pa::testing::loopbackSocket(peer, 0, false);
    ASSERT_NE(peerPort, 0);

    const struct {
        const char* name;
        QString config; // empty: the silent peer, no broker
        QStringList args;
        QString said, summary;
    } cases[] = {
        {"silent peer",
         {},
         {},
         "mqtt: no answer from the broker at ",
         "could not be sent (no answer from the broker)"},
        {"password",
         "allow_anonymous false\n",
         {"--username", "u", "--password-file", password.fileName()},
         "mqtt: not authorised by ",
         "could not be sent (not authorised)"},
        {"certificate",
         QString("certfile %1\nkeyfile %2\n")
             .arg(certificate("broker"), dir.filePath("broker.key")),
         {"--tls-ca", certificate("other")},
         "mqtt: TLS verification failed: the certificate of ",
         "could not be sent (TLS verification failed)"},
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
        EXPECT_TRUE(cli->says(c.said + address)) << cli->err().toStdString();
        const auto before = sampleLines(*cli).size();
        EXPECT_TRUE(waitFor([&] { return sampleLines(*cli).size() >= before + 2; }, 10000));
        const qint64 took = cli->terminate();
        EXPECT_GE(took, 0);
        EXPECT_LT(took, 5000);
        EXPECT_TRUE(cli->err().contains(c.summary)) << cli->err().toStdString();
    }
    ::close(peer);
}

// Bad options are refused before anything starts; a password or CA file is never a device
// or a pipe that fills the memory or waits for a writer.
TEST(MqttMonitor, RefusesBadOptions) {
    QTemporaryDir dir;
    const QString fifo = dir.filePath("fifo"), empty = dir.filePath("empty");
    ASSERT_EQ(::mkfifo(fifo.toLocal8Bit().constData(), 0600), 0);
    QFile(empty).open(QIODevice::WriteOnly);
    const QStringList user{"--mqtt", "127.0.0.1", "--username", "u", "--password-file"};
    const struct {
        QStringList args;
        QString error;
    } cases[] = {
        {{"--mqtt", "host:0"}, "a port from 1 to 65535"},
        {{"--mqtt", "host:99999"}, "a port from 1 to 65535"},
        {{"--mqtt", ":1883"}, "--mqtt takes HOST"},
        {{"--topic", "a/b"}, "need --mqtt"},
        {{"--mqtt", "127.0.0.1", "--topic", "a\nb"}, "--topic: the topic prefix holds a control"},
        {{"--mqtt", "127.0.0.1", "--topic", QString(70000, 'a')}, "is 70000 bytes long"},
        {{"--mqtt", "127.0.0.1", "--client-id", QString(70000, 'c')},
         "--client-id: the client id is 70000 bytes long"},
        {{"--mqtt", "127.0.0.1", "--password-file", "/nonexistent"},
         "--password-file needs --username"},
        {user + QStringList{"/nonexistent/pw"},
         "--password-file /nonexistent/pw: No such file or directory"},
        {user + QStringList{empty}, "--password-file " + empty + ": the file is empty"},
        {user + QStringList{"/dev/zero"}, "/dev/zero: it is not a regular file"},
        {user + QStringList{fifo}, fifo + ": it is not a regular file"},
        {{"--mqtt", "127.0.0.1", "--tls-ca", fifo}, "--tls-ca " + fifo + ": it is not a regular"},
        {{"--mqtt", "127.0.0.1", "--tls-ca", "/nonexistent/ca.pem"},
         "--tls-ca /nonexistent/ca.pem"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args.join(' ').left(80).toStdString());
        QProcess cli;
        cli.start(PA_CLI_PROGRAM, QStringList{"monitor", "--simulate", "--count", "1"} + c.args);
        ASSERT_TRUE(cli.waitForFinished(10000));
        EXPECT_NE(cli.exitCode(), 0);
        const QString error = QString::fromUtf8(cli.readAllStandardError());
        EXPECT_TRUE(error.contains(c.error)) << error.left(300).toStdString();
    }
}

} // namespace
