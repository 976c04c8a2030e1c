// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Runs one of the programs as a user runs it, to its end or a cap, and keeps what it said.
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

#include <functional>

namespace pa::testing {

struct ProgramRun {
    int status = -1; // the exit status; -1 when it crashed or did not end within the cap
    QString out, err;
};

// capMs: how long the program may take (generous: the machine may be loaded); environment:
// changes to the environment the program gets; child: run in the child before the program
// (limits, standard output replaced).
inline ProgramRun runProgram(const QString& program, const QStringList& args, int capMs = 60000,
                             const std::function<void(QProcessEnvironment&)>& environment = {},
                             const std::function<void()>& child = {}) {
    QProcess p;
    if (child)
        p.setChildProcessModifier(child);
    if (environment) {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        environment(env);
        p.setProcessEnvironment(env);
    }
    p.start(program, args);
    if (!p.waitForFinished(capMs)) {
        p.kill();
        p.waitForFinished();
    }
    return {p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1,
            QString::fromUtf8(p.readAllStandardOutput()),
            QString::fromUtf8(p.readAllStandardError())};
}

inline ProgramRun runCli(const QStringList& args, int capMs = 60000) {
    return runProgram(PA_CLI_PROGRAM, args, capMs);
}

} // namespace pa::testing
