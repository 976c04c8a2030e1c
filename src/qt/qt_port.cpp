// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "qt/qt_port.h"

#include "app/line_settings.h"

namespace pa::qt {
namespace {

std::string openFailureText(QSerialPort::SerialPortError error, const QString& detail) {
    switch (error) {
    case QSerialPort::DeviceNotFoundError:
        return "The device does not exist: is the cable or USB adapter plugged in?";
    case QSerialPort::PermissionError:
#ifdef Q_OS_LINUX
        return "The port is busy (another program has it open) or you may not use it: "
               "add yourself to the dialout group (sudo usermod -aG dialout $USER), then log "
               "in again.";
#else
        return "The port is busy (another program has it open) or access was denied.";
#endif
    case QSerialPort::OpenError:
        return "The port is already open.";
    default:
        return detail.toStdString();
    }
}

} // namespace

namespace {
constexpr qint64 kReadBufferBytes = 64 * 1024;
} // namespace

QtPort::QtPort() {
    // A flooding line must not grow the program: beyond this much unread, the oldest bytes
    // are dropped as they come. Every exchange reads far less between two reads of the port
    // (a frame is 21 bytes, a whole logger memory 8 KB).
    QObject::connect(&port_, &QSerialPort::readyRead, [this] {
        if (const qint64 excess = port_.bytesAvailable() - kReadBufferBytes; excess > 0)
            port_.skip(excess);
    });
    QObject::connect(&port_, &QSerialPort::errorOccurred,
                     [this](QSerialPort::SerialPortError e) { onError(e); });
}

QtPort::~QtPort() {
    close();
}

bool QtPort::setPortName(const std::string& name) {
    if (port_.isOpen())
        return false;
    name_ = name;
    port_.setPortName(QString::fromStdString(name));
    return true;
}

void QtPort::setSettings(const std::string& settings) {
    settings_ = settings;
    if (port_.isOpen())
        applySettings();
}

void QtPort::applySettings() {
    const auto s = app::parseLineSettings(settings_).value_or(app::LineSettings{});
    port_.setBaudRate(s.baud);
    port_.setDataBits(static_cast<QSerialPort::DataBits>(s.dataBits));
    switch (s.parity) {
    case 'e':
        port_.setParity(QSerialPort::EvenParity);
        break;
    case 'o':
        port_.setParity(QSerialPort::OddParity);
        break;
    case 'm':
        port_.setParity(QSerialPort::MarkParity);
        break;
    case 's':
        port_.setParity(QSerialPort::SpaceParity);
        break;
    default:
        port_.setParity(QSerialPort::NoParity);
        break;
    }
    port_.setStopBits(s.stopBits == 2     ? QSerialPort::TwoStop
                      : s.stopBits == 1.5 ? QSerialPort::OneAndHalfStop
                                          : QSerialPort::OneStop);
    port_.setFlowControl(QSerialPort::NoFlowControl);
}

bool QtPort::open() {
    lastError_.clear();
    if (port_.isOpen()) {
        lastError_ = "The port is already open.";
        return false;
    }
    if (name_.empty()) {
        lastError_ = "No port chosen.";
        return false;
    }
    if (!port_.open(QIODevice::ReadWrite)) {
        lastError_ = openFailureText(port_.error(), port_.errorString());
        port_.clearError();
        return false;
    }
    applySettings();
    return true;
}

void QtPort::close() {
    if (port_.isOpen())
        port_.close();
    port_.clearError();
}

void QtPort::write(const std::string& bytes) {
    if (!port_.isOpen())
        return;
    port_.write(bytes.data(), static_cast<qint64>(bytes.size()));
    port_.flush(); // out now: busy waits between protocol steps serve no events
}

int QtPort::bytesWaiting() {
    if (!port_.isOpen())
        return 0;
    // Pull in what the driver holds, so that the count is right even inside a busy wait.
    port_.waitForReadyRead(0);
    return port_.isOpen() ? static_cast<int>(port_.bytesAvailable()) : 0;
}

std::string QtPort::readAll() {
    if (!port_.isOpen())
        return {};
    port_.waitForReadyRead(0);
    if (!port_.isOpen()) // an error while waiting closed it; Qt would warn on a read
        return {};
    const QByteArray data = port_.readAll();
    return std::string(data.constData(), static_cast<std::size_t>(data.size()));
}

void QtPort::onError(QSerialPort::SerialPortError error) {
    // A time-out only means no data yet (waitForReadyRead(0) above).
    if (error == QSerialPort::NoError || error == QSerialPort::TimeoutError) {
        return;
    }
    if (port_.isOpen()) {
        lastError_ = port_.errorString().toStdString();
        port_.close();
    }
}

} // namespace pa::qt
