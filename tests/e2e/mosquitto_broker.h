// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// A private MQTT broker for the end-to-end tests and the publishing benchmark, and a program
// left running with what it said.
#include "support/wait_for.h"

#include <QElapsedTimer>
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

// A TCP socket listening on 127.0.0.1 and a free port: its port, or 0 when that failed. The
// caller closes fd.
inline int listeningSocket(int& fd) {
    fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof a;
    auto* address = reinterpret_cast<sockaddr*>(&a);
    if (::bind(fd, address, sizeof a) != 0 || ::listen(fd, 8) != 0 ||
        ::getsockname(fd, address, &size) != 0)
        return 0;
    return ntohs(a.sin_port);
}

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

// A private broker: mosquitto on 127.0.0.1 and a free port, with a configuration file
// written here (anonymous, no persistence, loopback only, and the extra lines given). It can
// be stopped and started again on the same port, as a broker restarted under a client.
class MosquittoBroker {
  public:
    explicit MosquittoBroker(const QString& extra = {}) {
        // Readable by the user the broker drops to when started as root (its key files too).
        QFile::setPermissions(dir_.path(),
                              QFile::permissions(dir_.path()) | QFile::ReadOther | QFile::ExeOther);
        int fd = -1;
        port_ = listeningSocket(fd);
        ::close(fd);
        QFile file(dir_.filePath("mosquitto.conf"));
        if (file.open(QIODevice::WriteOnly))
            file.write(QStringLiteral("listener %1 127.0.0.1\nallow_anonymous true\n"
                                      "persistence false\nlog_dest stderr\n%2")
                           .arg(port_)
                           .arg(extra)
                           .toUtf8());
    }

    // Starts the broker and waits (with a cap) until it listens.
    bool start() {
        const QString program =
            QStandardPaths::findExecutable("mosquitto", {"/usr/sbin", "/usr/bin", "/sbin"});
        process_ =
            std::make_unique<Running>(program, QStringList{"-c", dir_.filePath("mosquitto.conf")});
        return port_ != 0 && process_->says(" running");
    }
    void stop() { process_.reset(); }

    int port() const { return port_; }
    QString address() const { return QStringLiteral("127.0.0.1:%1").arg(port_); }
    QString log() { return process_ ? process_->err() : QString(); }

  private:
    QTemporaryDir dir_;
    int port_ = 0;
    std::unique_ptr<Running> process_;
};

} // namespace pa::testing
