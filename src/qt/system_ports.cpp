// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "qt/system_ports.h"

#include <QDir>
#include <QFileInfo>
#include <QSerialPortInfo>

namespace pa::qt {
namespace {

// Linux names each USB serial device after its vendor, product and serial number here; the
// link stays the same when the adapter comes back as another ttyUSBn.
constexpr const char* kByIdFolder = "/dev/serial/by-id";

QString byIdNameOf(const QString& device) {
    const QDir folder(kByIdFolder);
    for (const QFileInfo& link :
         folder.entryInfoList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot))
        if (link.isSymLink() && QFileInfo(link.symLinkTarget()).canonicalFilePath() ==
                                    QFileInfo(device).canonicalFilePath())
            return link.fileName();
    return {};
}

} // namespace

std::vector<app::SystemPort> listSystemPorts() {
    std::vector<app::SystemPort> ports;
    for (const QSerialPortInfo& info : QSerialPortInfo::availablePorts()) {
        const bool usb = info.hasVendorIdentifier() || info.portName().contains("USB") ||
                         info.portName().contains("ACM") || info.portName().contains("usb");
        app::SystemPort port{info.portName().toStdString(), info.systemLocation().toStdString(),
                             usb};
        port.byIdName = byIdNameOf(info.systemLocation()).toStdString();
        if (!port.byIdName.empty())
            port.stableId = "by-id:" + port.byIdName;
        else if (info.hasVendorIdentifier() && info.hasProductIdentifier() &&
                 !info.serialNumber().isEmpty())
            port.stableId = QString("usb:%1:%2:%3")
                                .arg(info.vendorIdentifier(), 4, 16, QChar('0'))
                                .arg(info.productIdentifier(), 4, 16, QChar('0'))
                                .arg(info.serialNumber())
                                .toStdString();
        ports.push_back(std::move(port));
    }
    return app::comMenuOrder(std::move(ports));
}

bool isWindows() {
#ifdef Q_OS_WIN
    return true;
#else
    return false;
#endif
}

} // namespace pa::qt
