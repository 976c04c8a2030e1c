// poweranalyzer-cli pf, run as a user runs it.
#include "e2e/program_run.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <gtest/gtest.h>

namespace {

using pa::testing::ProgramRun;

QString cliPath() {
    return QString(PA_CLI_PROGRAM);
}

ProgramRun runPf(const QStringList& args) {
    return pa::testing::runCli(QStringList{"pf"} + args);
}

const QStringList kLoadB{"--w",     "1000", "--pf", ".725",    "--v",   "230",    "--a",  "6.00",
                         "--angle", "43.5", "--va", "1380.00", "--var", "951.10", "--hz", "50Hz"};

TEST(PfCli, CalculatesRefusesAndCaps) {
    if (!QFileInfo::exists(cliPath()))
        GTEST_SKIP() << "poweranalyzer-cli not built";

    ProgramRun r = runPf(kLoadB + QStringList{"--target", "c", "10u"});
    EXPECT_EQ(r.status, 0) << r.err.toStdString();
    EXPECT_EQ(r.out, "W: 1000\nV: 230\nIR: 4.3A\nR: 52.9\nIX: 4.1A\nX: 55.6\nL: 177.0mH\n"
                     "Hz: 50Hz\nPF2: 0.787\nA2: 5.53\nVA2: 1271.3\nVAR2: 784.91\nAngle2: 38.1\n"
                     "C: 10.0uF\n");
    EXPECT_TRUE(r.err.isEmpty());

    // Ten farads: the notice first, on standard output, then the full compensation.
    r = runPf(kLoadB + QStringList{"--target", "c", "10"});
    EXPECT_EQ(r.status, 0);
    EXPECT_TRUE(r.out.startsWith("Max. capacitance to be added is 57.2uF(PF=1)\n"))
        << r.out.toStdString();
    EXPECT_TRUE(r.out.endsWith("PF2: 1.0\nA2: 4.35\nVA2: 1000.0\nVAR2: 0.0\nAngle2: 0.0\n"
                               "C: 57.2uF\n"));

    r = runPf({"--w", "100", "--v", "230", "--a", ".5", "--target", "a", "0.6"});
    EXPECT_EQ(r.status, 1);
    EXPECT_TRUE(r.out.isEmpty());
    EXPECT_EQ(r.err, "poweranalyzer-cli: A2 > A1, can only reduce current\n");

    // Bad command lines: a one-line error and status 2.
    for (const QStringList& bad :
         {QStringList{"--w", "100"}, QStringList{"--target", "pf"},
          QStringList{"--target", "kw", "1"}, QStringList{"--volts", "230", "--target", "pf", "1"},
          QStringList{"--target", "pf", ""}}) {
        r = runPf(bad);
        EXPECT_EQ(r.status, 2) << bad.join(' ').toStdString();
        EXPECT_EQ(r.err.count('\n'), 1) << r.err.toStdString();
        EXPECT_TRUE(r.out.isEmpty());
    }
}

} // namespace
