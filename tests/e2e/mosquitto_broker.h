#pragma once
// A private MQTT broker for a test: Debian's mosquitto on 127.0.0.1 and a free port, with a
// configuration file written here (anonymous, no persistence, loopback only, and the extra
// lines given). It can be stopped and started again on the same port, as a broker restarted
// under a client.
#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace pa::testing {

class MosquittoBroker {
  public:
    explicit MosquittoBroker(const QString& extra = {}) {
        // Readable by the user the broker drops to when started as root (its key files too).
        QFile::setPermissions(dir_.path(),
                              QFile::permissions(dir_.path()) | QFile::ReadOther | QFile::ExeOther);
        port_ = freePort();
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

    static QString program() {
        return QStandardPaths::findExecutable("mosquitto", {"/usr/sbin", "/usr/bin", "/sbin"});
    }

    // Starts the broker and waits (with a cap) until it takes connections.
    bool start() {
        if (program().isEmpty() || port_ == 0)
            return false;
        process_.setProcessChannelMode(QProcess::MergedChannels);
        process_.start(program(), {"-c", config_});
        if (!process_.waitForStarted(10000))
            return false;
        QElapsedTimer waited;
        waited.start();
        while (waited.elapsed() < 20000) {
            if (accepts())
                return true;
            if (process_.state() != QProcess::Running)
                return false;
            QThread::msleep(20);
        }
        return false;
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
    QString filePath(const QString& name) const { return dir_.filePath(name); }
    QString address() const { return QStringLiteral("127.0.0.1:%1").arg(port_); }
    QString log() { return QString::fromUtf8(process_.readAll()); }

  private:
    static int freePort() {
        const int s = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof a;
        int port = 0;
        if (::bind(s, reinterpret_cast<sockaddr*>(&a), sizeof a) == 0 &&
            ::getsockname(s, reinterpret_cast<sockaddr*>(&a), &size) == 0)
            port = ntohs(a.sin_port);
        ::close(s);
        return port;
    }
    bool accepts() const {
        const int s = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        a.sin_port = htons(static_cast<uint16_t>(port_));
        const bool ok = ::connect(s, reinterpret_cast<sockaddr*>(&a), sizeof a) == 0;
        ::close(s);
        return ok;
    }

    QTemporaryDir dir_;
    QString config_;
    int port_ = 0;
    QProcess process_;
};

} // namespace pa::testing
