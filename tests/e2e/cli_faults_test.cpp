// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The command-line program against hostile conditions: a silent instrument, a port that
// cannot be opened, pipes and devices as files, a file-size limit, an output nobody reads
// or a full disk, typed text that is not a number and a recording holding terminal escapes.
// Each run ends by itself with the reason, and never harms an existing file.
#include "e2e/program_run.h"
#include "pty_host.h"
#include "support/test_files.h"

#include <QProcess>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using pa::testing::ProgramRun;
using pa::testing::readFile;

// Where standard output goes: a pipe the test reads, a pipe nobody reads (| head -1 that
// has ended), or a full device.
enum class Out { Read, Closed, Full };

// Runs the program to its end. fileLimit, when given, is a file-size limit in bytes with
// SIGXFSZ at its default action, as in a shell.
ProgramRun runCli(const QStringList& args, Out out = Out::Read, long fileLimit = -1) {
    return pa::testing::runProgram(PA_CLI_PROGRAM, args, 30000, {}, [out, fileLimit] {
        if (fileLimit >= 0) {
            std::signal(SIGXFSZ, SIG_DFL);
            rlimit limit{static_cast<rlim_t>(fileLimit), static_cast<rlim_t>(fileLimit)};
            ::setrlimit(RLIMIT_FSIZE, &limit);
        }
        int ends[2];
        if (out == Out::Closed && ::pipe(ends) == 0) {
            ::close(ends[0]);
            ::dup2(ends[1], 1);
        } else if (out == Out::Full) {
            ::dup2(::open("/dev/full", O_WRONLY), 1);
        }
    });
}

QString q(const fs::path& p) {
    return QString::fromStdString(p.string());
}

// A silent instrument: --count still ends, every sample line says NO COM.
TEST(CliFaults, MonitorCountEndsAndShowsNoComWhenTheInstrumentIsSilent) {
    pa::sim::PtyHost silent;
    ASSERT_TRUE(silent.start());
    silent.withInstrument([](pa::sim::Instrument& i) { i.setFault(pa::sim::Fault::Silent); });
    const ProgramRun r = runCli({"monitor", "--port", q(silent.devicePath()), "--count", "2"});
    ASSERT_EQ(r.status, 0) << r.err.toStdString();
    QStringList lines = r.out.split('\n', Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 3) << r.out.toStdString();
    EXPECT_TRUE(lines.takeFirst().startsWith("time\tW\t")) << "the header line comes first";
    for (const QString& line : lines)
        EXPECT_TRUE(line.endsWith("\tNO COM")) << line.toStdString();
}

TEST(CliFaults, EachFaultEndsWithItsReasonAndHarmsNoFile) {
    pa::testing::TempFolder folder;
    const fs::path kept = folder.path() / "kept.txt", fifo = folder.path() / "pipe.txt",
                   rec = folder.path() / "rec.txt", limited = folder.path() / "limited.txt",
                   unread = folder.path() / "unread.txt";
    std::ofstream(kept) << "twenty records\r\n";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const std::string record =
        "         0, 11-15-2026,16:58:09.4,  123.4W, 0.98 PF,  230.1V,  0.547A,       11.5,"
        "     125.9VA,      25.1VAR,     0.012KWH,    8.60/month 8$0.34\r\n";
    std::string hostile = record;
    hostile.replace(hostile.find("16:58:09.4"), 10, "\x1b]0;owned\x07");
    std::ofstream(rec, std::ios::binary) << record << record << hostile;
    const QString out = q(folder.path() / "x.txt"), png = q(folder.path() / "out.png");
    const QStringList sim{"record", "--simulate", "--out", out};
    const QStringList sample{"--interval", "0.4", "--count", "6"};
    const std::string noSpace = "cannot write standard output: No space left on device";

    const struct {
        QStringList args;
        Out stdOut;
        int exitCode; // -1: any failure
        std::string error;
        long fileLimit = -1;
    } cases[] = {
        {{"record", "--port", "/dev/pa-no-such-port", "--out", q(kept)},
         Out::Read,
         -1,
         "pa-no-such-port"},
        {{"record", "--simulate", "--out", q(fifo), "--count", "1"},
         Out::Read,
         -1,
         "pipe.txt: it is not a regular file"},
        {{"record", "--simulate"}, Out::Read, -1, "--out"},
        {{"record", "--out", out}, Out::Read, -1, "--port PATH or --simulate"},
        {sim + QStringList{"--hours", "5\r\nFAKE, 1, 2, 3"}, Out::Read, 2,
         "--hours takes a number"},
        {sim + QStringList{"--price", "0.5$"}, Out::Read, 2, "--price takes a number"},
        {sim + QStringList{"--period", "week"}, Out::Read, -1, "month, day or year"},
        {sim + QStringList{"--count", "0"}, Out::Read, -1, "--count"},
        {sim + QStringList{"--start", "abc"}, Out::Read, -1, "--start"},
        {sim + QStringList{"--rotate", "weekly"}, Out::Read, -1, "--rotate takes daily"},
        {{"record", "--simulate", "--out", "/dev/full"},
         Out::Read,
         -1,
         "/dev/full: No space left on device"},
        {{"plot", q(folder.path()), "--png", png},
         Out::Read,
         2,
         folder.str() + ": it is a folder, not a file"},
        {{"plot", q(fifo), "--png", png}, Out::Read, 2, fifo.string() + ": it is not a regular"},
        {{"plot", "/dev/zero", "--png", png}, Out::Read, 2, "/dev/zero: it is not a regular file"},
        {{"plot", q(folder.path() / "missing.txt"), "--png", png},
         Out::Read,
         2,
         "missing.txt: No such file or directory"},
        {{"stats", q(rec)}, Out::Full, 1, noSpace},
        {{"export", q(rec)}, Out::Full, 2, noSpace},
        {{"plot", q(rec), "--pdf", "/dev/full"},
         Out::Read,
         2,
         "cannot write /dev/full: No space left on device"},
        {{"plot", q(rec), "--png", q(folder.path())}, Out::Read, 2, "it is a folder"},
        {{"export", q(rec), "--out", "/dev/null"}, Out::Read, 1, "\\x1B]0;owned\\x07"},
        // Room for the header line and a little more: the first record does not fit.
        {QStringList{"record", "--simulate", "--out", q(limited)} + sample, Out::Read, 1,
         "File too large", 200},
        {QStringList{"record", "--simulate", "--out", q(unread)} + sample, Out::Closed, 1,
         "cannot write standard output: Broken pipe"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args.join(' ').toStdString());
        const ProgramRun r = runCli(c.args, c.stdOut, c.fileLimit);
        if (c.exitCode < 0) {
            EXPECT_GT(r.status, 0) << "a failure, never a crash";
        } else {
            EXPECT_EQ(r.status, c.exitCode);
        }
        EXPECT_TRUE(r.err.contains(QString::fromStdString(c.error))) << r.err.toStdString();
    }
    EXPECT_FALSE(fs::exists(out.toStdString()) || fs::exists(png.toStdString()));
    EXPECT_EQ(readFile(kept.string()), "twenty records\r\n");
    EXPECT_TRUE(fs::is_character_file("/dev/null")) << "a device is written, never replaced";
    const std::string cut = readFile(limited.string());
    EXPECT_TRUE(cut.ends_with("\r\n")) << "no line cut short";
    EXPECT_LE(cut.size(), 200u);
    const std::string whole = readFile(unread.string());
    EXPECT_EQ(std::count(whole.begin(), whole.end(), '\n'), 7) << "the echo is not the file";

    // "-" is standard output, for a chart as for a CSV; no temporary file is left.
    QProcess chart; // binary on standard output
    chart.start(PA_CLI_PROGRAM, {"plot", q(rec), "--png", "-"});
    ASSERT_TRUE(chart.waitForFinished(30000));
    EXPECT_EQ(chart.exitCode(), 0);
    EXPECT_TRUE(chart.readAllStandardOutput().startsWith("\x89PNG"));
    EXPECT_EQ(std::vector<fs::path>(fs::directory_iterator(folder.path()), {}).size(), 5u);
}

} // namespace
