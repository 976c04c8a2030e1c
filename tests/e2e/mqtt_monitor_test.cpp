// monitor --mqtt against a real broker (mosquitto on loopback, started by the test): the
// discovery configs, one state message per sample with the values the monitor printed, the
// retained availability, a broker that goes away and comes back mid-run or comes only after
// the monitor, a silent instrument, and brokers that refuse or never answer: the trouble is
// said while the monitor runs, and sampling goes on.
#include "e2e/mosquitto_broker.h"
#include "gui/gui_support.h"
#include "pty_host.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QStringList>
#include <QTemporaryDir>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/stat.h>

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

// A monitor left running until the test ends it, with what it has printed so far.
class RunningMonitor {
  public:
    explicit RunningMonitor(const QStringList& args) { cli_.start(PA_CLI_PROGRAM, args); }
    ~RunningMonitor() {
        cli_.kill();
        cli_.waitForFinished(5000);
    }
    bool says(const QString& text, int capMs) {
        return waitFor([&] { return err().contains(text); }, capMs);
    }
    int samples() { return (read(), sampleLines(out_.toUtf8()).size()); }
    QString err() { return (read(), err_); }
    // SIGTERM; how long it took to end (ms), or -1 when it did not end within 10 s.
    qint64 terminate() {
        QElapsedTimer took;
        took.start();
        ::kill(static_cast<pid_t>(cli_.processId()), SIGTERM);
        if (!cli_.waitForFinished(10000))
            return -1;
        read();
        return cli_.exitCode() == 0 ? took.elapsed() : -1;
    }

  private:
    void read() {
        out_ += QString::fromUtf8(cli_.readAllStandardOutput());
        err_ += QString::fromUtf8(cli_.readAllStandardError());
    }
    QProcess cli_;
    QString out_, err_;
};

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
    cli.start(PA_CLI_PROGRAM, monitorArgs(broker, {"--count", "5", "--client-id", "pa-e2e"}));
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
    EXPECT_EQ(energy["default_entity_id"].toString(), "sensor.test_pa_kwh");
    EXPECT_FALSE(energy.contains("object_id")) << "deprecated";
    const QJsonObject device = energy["device"].toObject(), origin = energy["origin"].toObject();
    EXPECT_EQ(device["identifiers"].toArray().first().toString(), "pa-e2e") << "--client-id";
    EXPECT_EQ(device["name"].toString(), "Power Analyzer " + kPrefix);
    EXPECT_EQ(device["manufacturer"].toString(), "Power Analyzer project");
    EXPECT_EQ(device["model"].toString(), "single-phase power analyzer");
    EXPECT_EQ(origin["name"].toString(), "poweranalyzer-cli");
    EXPECT_FALSE(origin["sw_version"].toString().isEmpty());
    EXPECT_EQ(device["sw_version"], origin["sw_version"]);
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

TEST(MqttMonitor, BrokerStartedAfterTheMonitorIsReached) {
    MosquittoBroker broker; // a free port, nobody listening yet
    RunningMonitor monitor(monitorArgs(broker, {}));
    ASSERT_TRUE(monitor.says("mqtt: cannot reach " + broker.address(), 20000)) << "said at once";
    waitFor([] { return false; }, 5000); // as at boot, the broker comes later
    EXPECT_GE(monitor.samples(), 3) << "sampling goes on meanwhile";

    ASSERT_TRUE(broker.start()) << broker.log().toStdString();
    Subscriber sub(broker);
    ASSERT_TRUE(sub.subscribed());
    ASSERT_TRUE(waitFor([&] { return sub.on(kPrefix + "/state").size() >= 2; }, 40000))
        << monitor.err().toStdString();
    EXPECT_EQ(sub.topicsUnder("homeassistant/sensor/").size(), 9);
    EXPECT_EQ(sub.on(kPrefix + "/availability").value(0), "online");
    // Home Assistant (re)starting announces itself: the configs are sent again.
    QProcess::execute("mosquitto_pub", {"-p", QString::number(broker.port()), "-t",
                                        "homeassistant/status", "-m", "online"});
    EXPECT_TRUE(
        waitFor([&] { return sub.topicsUnder("homeassistant/sensor/").size() == 18; }, 20000));
    EXPECT_GE(monitor.terminate(), 0);
    EXPECT_TRUE(monitor.err().contains("mqtt: connected to " + broker.address()));
    EXPECT_TRUE(monitor.err().contains("could not be sent")) << "the samples before it came";
}

TEST(MqttMonitor, PeerThatNeverAnswersIsSaidWhileSamplingGoesOn) {
    // A plain listening socket: the system takes the connection, nobody ever answers.
    const int peer = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof a;
    ASSERT_EQ(::bind(peer, reinterpret_cast<sockaddr*>(&a), sizeof a), 0);
    ASSERT_EQ(::listen(peer, 8), 0);
    ASSERT_EQ(::getsockname(peer, reinterpret_cast<sockaddr*>(&a), &size), 0);
    const QString address = QString("127.0.0.1:%1").arg(ntohs(a.sin_port));

    RunningMonitor monitor({"monitor", "--simulate", "--mqtt", address, "--topic", kPrefix});
    EXPECT_TRUE(monitor.says("mqtt: no answer from the broker at " + address, 20000))
        << monitor.err().toStdString();
    const int before = monitor.samples();
    EXPECT_TRUE(waitFor([&] { return monitor.samples() >= before + 2; }, 10000));
    // Ended while it is trying again: promptly, with the reason in the summary.
    const qint64 took = monitor.terminate();
    EXPECT_GE(took, 0);
    EXPECT_LT(took, 5000);
    EXPECT_TRUE(monitor.err().contains("could not be sent (no answer from the broker)"))
        << monitor.err().toStdString();
    ::close(peer);
}

TEST(MqttMonitor, RefusalsAreSaidAsTheyHappen) {
    QTemporaryDir dir;
    const auto certificate = [&](const QString& name) {
        QProcess openssl;
        openssl.start("openssl",
                      {"req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1",
                       "-nodes", "-days", "2", "-subj", "/CN=localhost", "-addext",
                       "subjectAltName=IP:127.0.0.1", "-keyout", dir.filePath(name + ".key"),
                       "-out", dir.filePath(name + ".pem")});
        openssl.waitForFinished(20000);
        QFile::setPermissions(dir.filePath(name + ".key"), QFile::ReadOwner | QFile::ReadOther);
        return dir.filePath(name + ".pem");
    };
    const QString brokerCert = certificate("broker"), otherCa = certificate("other");
    QFile::setPermissions(dir.path(), QFile::permissions(dir.path()) | QFile::ExeOther);
    QFile password(dir.filePath("password"));
    ASSERT_TRUE(password.open(QIODevice::WriteOnly) && password.write("wrong\n") == 6);
    password.close();

    const struct {
        QString config;
        QStringList args;
        QString said, summary;
    } cases[] = {
        {"allow_anonymous false\n",
         {"--username", "u", "--password-file", password.fileName()},
         "mqtt: not authorised by ",
         "(not authorised)"},
        {QString("certfile %1\nkeyfile %2\n").arg(brokerCert, dir.filePath("broker.key")),
         {"--tls-ca", otherCa},
         "mqtt: TLS verification failed: the certificate of ",
         "(TLS verification failed)"},
    };
    for (const auto& c : cases) {
        MosquittoBroker broker(c.config);
        ASSERT_TRUE(broker.start()) << broker.log().toStdString();
        RunningMonitor monitor(monitorArgs(broker, c.args));
        EXPECT_TRUE(monitor.says(c.said, 20000)) << monitor.err().toStdString();
        EXPECT_TRUE(waitFor([&] { return monitor.samples() >= 1; }, 10000));
        EXPECT_GE(monitor.terminate(), 0);
        EXPECT_TRUE(monitor.err().contains(c.summary)) << monitor.err().toStdString();
    }
}

TEST(MqttMonitor, SilentInstrumentIsOfflineUntilItAnswers) {
    MosquittoBroker broker;
    ASSERT_TRUE(broker.start()) << broker.log().toStdString();
    Subscriber sub(broker);
    ASSERT_TRUE(sub.subscribed());
    pa::sim::PtyHost instrument;
    ASSERT_TRUE(instrument.start()) << instrument.lastError();
    RunningMonitor monitor({"monitor", "--port", QString::fromStdString(instrument.devicePath()),
                            "--mqtt", broker.address(), "--topic", kPrefix});
    ASSERT_TRUE(waitFor([&] { return sub.on(kPrefix + "/state").size() >= 1; }, 30000));

    const auto fault = [&](pa::sim::Fault f) {
        instrument.withInstrument([f](pa::sim::Instrument& i) { i.setFault(f); });
    };
    fault(pa::sim::Fault::Silent);
    ASSERT_TRUE(waitFor([&] { return sub.on(kPrefix + "/availability").size() >= 2; }, 20000));
    const int states = sub.on(kPrefix + "/state").size();
    fault(pa::sim::Fault::None);
    ASSERT_TRUE(waitFor([&] { return sub.on(kPrefix + "/availability").size() >= 3; }, 20000));
    EXPECT_EQ(sub.on(kPrefix + "/availability"), (QStringList{"online", "offline", "online"}));
    EXPECT_TRUE(waitFor([&] { return sub.on(kPrefix + "/state").size() > states; }, 20000));
    // Home Assistant also shows a reading as unavailable when no newer one comes.
    const QJsonObject power = json(sub.on("homeassistant/sensor/test_pa/w/config").value(0));
    EXPECT_EQ(power["expire_after"].toInt(), 30);
    EXPECT_GE(monitor.terminate(), 0);
}

TEST(MqttMonitor, RefusesBadOptions) {
    QTemporaryDir dir;
    const QString fifo = dir.filePath("fifo"), empty = dir.filePath("empty");
    ASSERT_EQ(::mkfifo(fifo.toLocal8Bit().constData(), 0600), 0);
    QFile(empty).open(QIODevice::WriteOnly);
    const struct {
        QStringList args;
        QString error;
    } cases[] = {
        {{"--mqtt", "host:0"}, "a port from 1 to 65535"},
        {{"--mqtt", "host:99999"}, "a port from 1 to 65535"},
        {{"--mqtt", ":1883"}, "--mqtt takes HOST"},
        {{"--mqtt"}, "--mqtt needs a value"},
        {{"--topic", "a/b"}, "need --mqtt"},
        {{"--mqtt", "127.0.0.1", "--topic", "a/#"}, "wildcard"},
        {{"--mqtt", "127.0.0.1", "--topic", "a\nb"}, "--topic: the topic prefix holds a control"},
        {{"--mqtt", "127.0.0.1", "--topic", QString(70000, 'a')}, "is 70000 bytes long"},
        {{"--mqtt", "127.0.0.1", "--client-id", QString(70000, 'c')},
         "--client-id: the client id is 70000 bytes long"},
        {{"--mqtt", "127.0.0.1", "--password-file", "/nonexistent"},
         "--password-file needs --username"},
        {{"--mqtt", "127.0.0.1", "--username", "u", "--password-file", "/nonexistent/pw"},
         "--password-file /nonexistent/pw: No such file or directory"},
        {{"--mqtt", "127.0.0.1", "--username", "u", "--password-file", empty},
         "--password-file " + empty + ": the file is empty"},
        // Neither fills the memory nor waits for a writer.
        {{"--mqtt", "127.0.0.1", "--username", "u", "--password-file", "/dev/zero"},
         "/dev/zero: it is not a regular file"},
        {{"--mqtt", "127.0.0.1", "--username", "u", "--password-file", fifo},
         fifo + ": it is not a regular file"},
        {{"--mqtt", "127.0.0.1", "--tls-ca", fifo}, "--tls-ca " + fifo + ": it is not a regular"},
        {{"--mqtt", "127.0.0.1", "--tls-ca", "/nonexistent/ca.pem"},
         "--tls-ca /nonexistent/ca.pem"},
    };
    for (const auto& c : cases) {
        QProcess cli;
        cli.start(PA_CLI_PROGRAM, QStringList{"monitor", "--simulate", "--count", "1"} + c.args);
        ASSERT_TRUE(cli.waitForFinished(10000)) << c.args.join(' ').left(80).toStdString();
        EXPECT_NE(cli.exitCode(), 0) << c.args.join(' ').left(80).toStdString();
        const QString error = QString::fromUtf8(cli.readAllStandardError());
        EXPECT_TRUE(error.contains(c.error)) << error.left(300).toStdString();
    }
}

} // namespace
