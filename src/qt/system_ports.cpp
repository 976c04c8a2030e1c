#include "qt/system_ports.h"

#include <QSerialPortInfo>

namespace pa::qt {

std::vector<app::SystemPort> listSystemPorts() {
    std::vector<app::SystemPort> ports;
    for (const QSerialPortInfo& info : QSerialPortInfo::availablePorts()) {
        const bool usb = info.hasVendorIdentifier() || info.portName().contains("USB") ||
                         info.portName().contains("ACM") || info.portName().contains("usb");
        ports.push_back({info.portName().toStdString(), info.systemLocation().toStdString(), usb});
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
