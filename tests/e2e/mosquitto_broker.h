// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// A private MQTT broker for a test: Debian's mosquitto on 127.0.0.1 and a free port, with a
// configuration file written here (anonymous, no persistence, loopback only, and the extra
// lines given). It can be stopped and started again on the same port, as a broker restarted
// under a client. Also: a program left running (the monitor, a subscriber) and what it said.
#include "support/wait_for.h"

#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <arpa/inet.h>
#include <csignal>
#include <memory>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace pa::testing {

// A TCP socket on 127.0.0.1:port (0: any free port) that listens, or connects when asked;
// its port, or 0 when that failed. The caller closes fd.
inline int loopbackSocket(int& fd, int port, bool connect) {
    fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    a.sin_port = htons(static_cast<uint16_t>(port));
    socklen_t size = sizeof a;
    auto* address = reinterpret_cast<sockaddr*>(&a);
    if (connect)
        return ::connect(fd, address, sizeof a) == 0 ? port : 0;
    if (::bind(fd, address, sizeof a) != 0 || ::listen(fd, 8) != 0 ||
        ::getsockname(fd, address, &size) != 0)
        return 0;
    return ntohs(a.sin_port);
}

class MosquittoBroker {
  public:
    explicit MosquittoBroker(const QString& extra = {}) {
        // Readable by the user the broker drops to when started as root (its key files too).
        QFile::setPermissions(dir_.path(),
                              QFile::permissions(dir_.path()) | QFile::ReadOther | QFile::ExeOther);
        int fd = -1;
        port_ = loopbackSocket(fd, 0, false);
        ::close(fd);
        config_ = dir_.filePath("mosquitto.conf");
        QFile file(config_);
        if (file.open(QIODevice::WriteOnly))
            file.write(QStringLiteral("listener %1 127.0.0.1\nallow_anonymous true\n"
                                      "persistence false\nlog_dest stderr\n%2")
                           .arg(port_)
                           .arg(extra)
                           .toUtf8());
    }
    ~MosquittoBroker() { stop(); }

    // Starts the broker and waits (with a cap) until it takes connections.
    bool start() {
        const QString program =
            QStandardPaths::findExecutable("mosquitto", {"/usr/sbin", "/usr/bin", "/sbin"});
        if (program.isEmpty() || port_ == 0)
            return false;
        process_.setProcessChannelMode(QProcess::MergedChannels);
        process_.start(program, {"-c", config_});
        const auto accepts = [&] {
            int fd = -1;
            const bool connected = loopbackSocket(fd, port_, true) != 0;
            ::close(fd);
            return connected;
        };
        return process_.waitForStarted(10000) &&
               waitFor([&] { return accepts() || process_.state() != QProcess::Running; }, 20000) &&
               process_.state() == QProcess::Running;
    }
    void stop() {
        if (process_.state() == QProcess::NotRunning)
            return;
        process_.terminate();
        if (!process_.waitForFinished(10000)) {
            process_.kill();
            process_.waitForFinished(5000);
        }
    }

    int port() const { return port_; }
    QString address() const { return QStringLiteral("127.0.0.1:%1").arg(port_); }
    QString log() { return QString::fromUtf8(process_.readAll()); }

  private:
    QTemporaryDir dir_;
    QString config_;
    int port_ = 0;
    QProcess process_;
};

// A program left running until the test ends it (or it ends), with what it printed so far.
class Running {
  public:
    Running(const QString& program, const QStringList& args) { p_.start(program, args); }
    ~Running() {
        p_.kill();
        p_.waitForFinished(5000);
    }
    QString out() { return (read(), out_); }
    QString err() { return (read(), err_); }
    // Waits (with a cap) until it has said this on either output.
    bool says(const QString& text, int capMs = 20000) {
        return waitFor([&] { return out().contains(text) || err_.contains(text); }, capMs);
    }
    // The payloads of the lines "topic payload" (as mosquitto_sub -v prints them), in order.
    QStringList on(const QString& topic) {
        QStringList payloads;
        for (const QString& line : out().split('\n'))
            if (line.startsWith(topic + ' '))
                payloads << line.mid(topic.size() + 1);
        return payloads;
    }
    // SIGTERM; how long it took to end with status 0 (ms), or -1.
    qint64 terminate() {
        QElapsedTimer took;
        took.start();
        ::kill(static_cast<pid_t>(p_.processId()), SIGTERM);
        if (!p_.waitForFinished(10000) || p_.exitCode() != 0)
            return -1;
        return took.elapsed();
    }

  private:
    void read() {
        out_ += QString::fromUtf8(p_.readAllStandardOutput());
        err_ += QString::fromUtf8(p_.readAllStandardError());
    }
    QProcess p_;
    QString out_, err_;
};

// mosquitto_sub on the broker, printing "topic payload" per message, once it has subscribed
// (line-buffered: into a pipe it would hold its lines back).
inline std::unique_ptr<Running> subscribe(const MosquittoBroker& broker,
                                          const QStringList& topics) {
    QStringList args{
        "-oL", "mosquitto_sub", "-h", "127.0.0.1", "-p", QString::number(broker.port()), "-v",
        "-d"};
    for (const QString& topic : topics)
        args << "-t" << topic;
    auto sub = std::make_unique<Running>("stdbuf", args);
    return sub->says("SUBACK") ? std::move(sub) : nullptr;
}

} // namespace pa::testing
