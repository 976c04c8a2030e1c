// monitor --mqtt against a real broker (mosquitto on loopback, started by the test): the
// discovery configs, one state message per sample with the values the monitor printed, the
// retained availability, and a broker that goes away and comes back mid-run.
#include "e2e/mosquitto_broker.h"
#include "gui/gui_support.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QStringList>
#include <csignal>
#include <gtest/gtest.h>

namespace {

using pa::testing::MosquittoBroker;
using pa::testing::waitFor;

const QString kPrefix = QStringLiteral("test/pa");

// mosquitto_sub printing "topic payload" per message (and, with -d, when it has subscribed);
// the messages gathered so far.
class Subscriber {
  public:
    Subscriber(const MosquittoBroker& broker, QStringList extra = {}) {
        QStringList args = {"-h",
                            "127.0.0.1",
                            "-p",
                            QString::number(broker.port()),
                            "-v",
                            "-t",
                            kPrefix + "/#",
                            "-t",
                            "homeassistant/#",
                            "-d"};
        // Line-buffered: into a pipe mosquitto_sub would hold its lines back.
        process_.start("stdbuf", QStringList{"-oL", "mosquitto_sub"} + args + extra);
        process_.waitForStarted(10000);
    }
    ~Subscriber() {
        process_.kill();
        process_.waitForFinished(5000);
    }
    // Waits (with a cap) until the broker has acknowledged the subscription.
    bool subscribed() {
        return waitFor([&] { return (read(), raw_.contains("SUBACK")); }, 20000);
    }
    // Payloads published on the topic, in order.
    QStringList on(const QString& topic) {
        read();
        QStringList payloads;
        for (const QString& line : raw_.split('\n'))
            if (line.startsWith(topic + ' '))
                payloads << line.mid(topic.size() + 1);
        return payloads;
    }
    QStringList topicsUnder(const QString& root) {
        read();
        QStringList topics;
        for (const QString& line : raw_.split('\n'))
            if (line.startsWith(root))
                topics << line.section(' ', 0, 0);
        return topics;
    }

  private:
    void read() { raw_ += QString::fromUtf8(process_.readAllStandardOutput()); }
    QProcess process_;
    QString raw_;
};

QJsonObject json(const QString& text) {
    return QJsonDocument::fromJson(text.toUtf8()).object();
}

// The monitor's sample lines: those that begin with the clock text.
QStringList sampleLines(const QByteArray& out) {
    static const QRegularExpression clock("^\\d\\d:\\d\\d:\\d\\d\\.\\d\t");
    return QString::fromUtf8(out).split('\n').filter(clock);
}

QStringList monitorArgs(const MosquittoBroker& broker, QStringList more) {
    return QStringList{"monitor", "--simulate", "--mqtt", broker.address(), "--topic", kPrefix} +
           more;
}

TEST(MqttMonitor, PublishesDiscoveryStatesAndRetainedAvailability) {
    MosquittoBroker broker;
    ASSERT_TRUE(broker.start()) << "mosquitto: " << broker.log().toStdString();
    Subscriber sub(broker);
    ASSERT_TRUE(sub.subscribed());

    QProcess cli;
    cli.start(PA_CLI_PROGRAM, monitorArgs(broker, {"--count", "5"}));
    ASSERT_TRUE(cli.waitForFinished(60000));
    const std::string err = cli.readAllStandardError().toStdString();
    ASSERT_EQ(cli.exitCode(), 0) << err;
    EXPECT_NE(err.find("5 of 5 samples published to " + broker.address().toStdString()),
              std::string::npos)
        << err;
    EXPECT_EQ(err.find("could not be sent"), std::string::npos) << err;
    const QStringList printed = sampleLines(cli.readAllStandardOutput());
    ASSERT_EQ(printed.size(), 5);

    ASSERT_TRUE(waitFor([&] { return sub.on(kPrefix + "/availability").size() >= 2; }, 20000));
    EXPECT_EQ(sub.on(kPrefix + "/availability"), (QStringList{"online", "offline"}));

    // Each state holds the numbers the monitor printed for that sample.
    const QStringList states = sub.on(kPrefix + "/state");
    ASSERT_EQ(states.size(), 5);
    const char* keys[] = {"W", "PF", "V", "A", "angle", "VA", "VAR", "Hz", "kWh"};
    for (int i = 0; i < 5; ++i) {
        const QJsonObject state = json(states[i]);
        const QStringList columns = printed[i].split('\t');
        ASSERT_EQ(columns.size(), 10) << printed[i].toStdString();
        for (int k = 0; k < 9; ++k) {
            // Hz is shown only after Get Hz: an empty panel is null, never 0.
            const QString shown = columns[k + 1].trimmed().remove("Hz");
            if (shown.isEmpty()) {
                EXPECT_TRUE(state[keys[k]].isNull()) << keys[k] << ": " << states[i].toStdString();
                continue;
            }
            EXPECT_TRUE(state[keys[k]].isDouble()) << keys[k] << ": " << states[i].toStdString();
            EXPECT_DOUBLE_EQ(state[keys[k]].toDouble(), shown.toDouble())
                << keys[k] << " of sample " << i;
        }
        EXPECT_TRUE(state["time"].toString().endsWith('Z')) << states[i].toStdString();
        // The simulator's load: 230 V, 0.55 A, PF 0.92, with a little noise.
        EXPECT_NEAR(state["V"].toDouble(), 230, 3);
        EXPECT_NEAR(state["A"].toDouble(), 0.55, 0.02);
        EXPECT_NEAR(state["PF"].toDouble(), 0.92, 0.02);
        EXPECT_NEAR(state["W"].toDouble(), 230 * 0.55 * 0.92, 3);
    }

    // Discovery: one config per quantity, energy fit for the energy dashboard.
    const QString config = "homeassistant/sensor/test_pa/%1/config";
    EXPECT_EQ(sub.topicsUnder("homeassistant/").size(), 9);
    const QJsonObject energy = json(sub.on(config.arg("kwh")).value(0));
    EXPECT_EQ(energy["device_class"].toString(), "energy");
    EXPECT_EQ(energy["unit_of_measurement"].toString(), "kWh");
    EXPECT_EQ(energy["state_class"].toString(), "total_increasing");
    EXPECT_EQ(energy["state_topic"].toString(), kPrefix + "/state");
    EXPECT_EQ(energy["availability_topic"].toString(), kPrefix + "/availability");
    const QJsonObject power = json(sub.on(config.arg("w")).value(0));
    EXPECT_EQ(power["device_class"].toString(), "power");
    EXPECT_EQ(power["state_class"].toString(), "measurement");

    // What a client arriving later finds kept: "offline" and the nine configs.
    QProcess retained;
    retained.start("mosquitto_sub",
                   {"-h", "127.0.0.1", "-p", QString::number(broker.port()), "-v",
                    "--retained-only", "-t", kPrefix + "/#", "-t", "homeassistant/#", "-W", "5"});
    ASSERT_TRUE(retained.waitForFinished(20000));
    const QStringList kept =
        QString::fromUtf8(retained.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
    EXPECT_EQ(kept.size(), 10) << kept.join('\n').toStdString();
    EXPECT_TRUE(kept.contains(kPrefix + "/availability offline"));
}

TEST(MqttMonitor, BrokerRestartLosesSamplesAndPublishingResumes) {
    MosquittoBroker broker;
    ASSERT_TRUE(broker.start()) << broker.log().toStdString();
    auto sub = std::make_unique<Subscriber>(broker);
    ASSERT_TRUE(sub->subscribed());

    QProcess cli;
    cli.start(PA_CLI_PROGRAM, monitorArgs(broker, {}));
    ASSERT_TRUE(waitFor([&] { return sub->on(kPrefix + "/state").size() >= 2; }, 30000));

    // The broker goes away for a few samples: the monitor goes on printing them.
    sub.reset();
    broker.stop();
    auto printedLines = [&, text = QString()]() mutable {
        text += QString::fromUtf8(cli.readAllStandardOutput());
        return text.count('\n');
    };
    const int before = printedLines();
    ASSERT_TRUE(waitFor([&] { return printedLines() >= before + 3; }, 30000));

    ASSERT_TRUE(broker.start()) << broker.log().toStdString();
    sub = std::make_unique<Subscriber>(broker);
    ASSERT_TRUE(sub->subscribed());
    // Reconnected by itself: availability and discovery again, then samples.
    ASSERT_TRUE(waitFor([&] { return sub->on(kPrefix + "/state").size() >= 2; }, 60000));
    EXPECT_EQ(sub->on(kPrefix + "/availability").value(0), "online");
    EXPECT_EQ(sub->topicsUnder("homeassistant/").size(), 9);

    ::kill(static_cast<pid_t>(cli.processId()), SIGTERM);
    ASSERT_TRUE(cli.waitForFinished(20000));
    EXPECT_EQ(cli.exitCode(), 0);
    const std::string err = cli.readAllStandardError().toStdString();
    EXPECT_NE(err.find("lost the connection to"), std::string::npos) << err;
    EXPECT_NE(err.find("; reconnecting"), std::string::npos) << err;
    const auto summary = err.find(" samples published to ");
    ASSERT_NE(summary, std::string::npos) << err;
    EXPECT_NE(err.find("could not be sent", summary), std::string::npos) << err;
    ASSERT_TRUE(
        waitFor([&] { return sub->on(kPrefix + "/availability").contains("offline"); }, 20000));
}

TEST(MqttMonitor, BrokerNotUpCostsNoSample) {
    MosquittoBroker broker; // a free port, nobody listening
    QProcess cli;
    cli.start(PA_CLI_PROGRAM, monitorArgs(broker, {"--count", "3"}));
    ASSERT_TRUE(cli.waitForFinished(60000));
    const std::string err = cli.readAllStandardError().toStdString();
    EXPECT_EQ(cli.exitCode(), 0) << err;
    EXPECT_EQ(sampleLines(cli.readAllStandardOutput()).size(), 3);
    EXPECT_NE(err.find("cannot reach " + broker.address().toStdString()), std::string::npos) << err;
    EXPECT_NE(err.find("0 of 3 samples published"), std::string::npos) << err;
    EXPECT_NE(err.find("3 could not be sent"), std::string::npos) << err;
}

TEST(MqttMonitor, RefusesBadOptions) {
    const struct {
        QStringList args;
        const char* error;
    } cases[] = {
        {{"--mqtt", "host:0"}, "a port from 1 to 65535"},
        {{"--mqtt", "host:99999"}, "a port from 1 to 65535"},
        {{"--mqtt", ":1883"}, "--mqtt takes HOST"},
        {{"--mqtt"}, "--mqtt needs a value"},
        {{"--topic", "a/b"}, "need --mqtt"},
        {{"--mqtt", "127.0.0.1", "--topic", "a/#"}, "wildcard"},
        {{"--mqtt", "127.0.0.1", "--password-file", "/nonexistent"},
         "--password-file needs --username"},
        {{"--mqtt", "127.0.0.1", "--username", "u", "--password-file", "/nonexistent/pw"},
         "cannot read the password file /nonexistent/pw"},
        {{"--mqtt", "127.0.0.1", "--tls-ca", "/nonexistent/ca.pem"},
         "--tls-ca /nonexistent/ca.pem"},
    };
    for (const auto& c : cases) {
        QProcess cli;
        cli.start(PA_CLI_PROGRAM, QStringList{"monitor", "--simulate", "--count", "1"} + c.args);
        ASSERT_TRUE(cli.waitForFinished(20000));
        EXPECT_NE(cli.exitCode(), 0) << c.args.join(' ').toStdString();
        const std::string error = cli.readAllStandardError().toStdString();
        EXPECT_NE(error.find(c.error), std::string::npos) << error;
    }
}

} // namespace
