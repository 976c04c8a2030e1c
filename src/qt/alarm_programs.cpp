// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "qt/alarm_programs.h"

#include <QProcess>
#include <QTimer>

namespace pa::qt {

AlarmPrograms::AlarmPrograms(std::function<void(const std::string&)> report, QObject* parent)
    : QObject(parent), report_(std::move(report)) {}

AlarmPrograms::~AlarmPrograms() {
    // Programs still running are left to finish on their own.
    for (QProcess* p : findChildren<QProcess*>()) {
        p->disconnect();
        p->setParent(nullptr);
        connect(p, &QProcess::finished, p, &QObject::deleteLater);
    }
}

void AlarmPrograms::start(const std::vector<std::string>& arguments, const std::string& label) {
    if (arguments.empty())
        return;
    const std::string program = arguments.front();
    const std::string who = "alarm " + label + ": " + program;
    if (running_ >= kMaxRunning) {
        report_(who + " not started: " + std::to_string(kMaxRunning) +
                " alarm programs are still running");
        return;
    }
    auto* process = new QProcess(this);
    QStringList args;
    for (std::size_t i = 1; i < arguments.size(); ++i)
        args << QString::fromStdString(arguments[i]);
    process->setProgram(QString::fromStdString(program));
    process->setArguments(args);
    process->setStandardInputFile(QProcess::nullDevice());
    process->setStandardOutputFile(QProcess::nullDevice());
    process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    auto* limit = new QTimer(process);
    limit->setSingleShot(true);
    connect(limit, &QTimer::timeout, process, [this, process, who] {
        report_(who + " still running after " + std::to_string(kTimeLimitMs / 1000) + " s; ended");
        process->kill();
    });
    connect(process, &QProcess::errorOccurred, this,
            [this, process, who](QProcess::ProcessError e) {
                if (e != QProcess::FailedToStart)
                    return;
                report_(who + " could not be started: " + process->errorString().toStdString());
                --running_;
                process->deleteLater();
            });
    connect(process, &QProcess::finished, this,
            [this, process, who](int code, QProcess::ExitStatus status) {
                if (status == QProcess::CrashExit)
                    report_(who + " ended abnormally");
                else
                    report_(who + " exited with status " + std::to_string(code));
                --running_;
                process->deleteLater();
            });
    ++running_;
    limit->start(kTimeLimitMs);
    process->start();
}

} // namespace pa::qt
