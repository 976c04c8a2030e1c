// The command-line program against hostile conditions: a silent instrument, a port that
// cannot be opened, a pipe as the data file, a file-size limit and typed text that is not a
// number. Each run must end by itself with a message, and never harm an existing file.
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
using pa::testing::readFile;
using pa::testing::TempFolder;

struct CliRun {
    int exitCode = -1;
    bool crashed = false;
    std::string out, err;
};

// Runs the program to its end (a generous cap: the machine may be loaded). fileLimit, when
// given, is a file-size limit in bytes with SIGXFSZ at its default action, as in a shell.
CliRun runCli(const QStringList& args, long fileLimit = -1, int capMs = 30000) {
    QProcess cli;
    if (fileLimit >= 0)
        cli.setChildProcessModifier([fileLimit] {
            std::signal(SIGXFSZ, SIG_DFL);
            rlimit limit{static_cast<rlim_t>(fileLimit), static_cast<rlim_t>(fileLimit)};
            ::setrlimit(RLIMIT_FSIZE, &limit);
        });
    cli.start(PA_CLI_PROGRAM, args);
    CliRun r;
    if (!cli.waitForFinished(capMs)) {
        cli.kill();
        cli.waitForFinished();
        r.err = "did not end within the cap";
        return r;
    }
    r.crashed = cli.exitStatus() != QProcess::NormalExit;
    r.exitCode = cli.exitCode();
    r.out = cli.readAllStandardOutput().toStdString();
    r.err = cli.readAllStandardError().toStdString();
    return r;
}

QString q(const fs::path& p) {
    return QString::fromStdString(p.string());
}

TEST(CliFaults, MonitorCountEndsAndShowsNoComWhenTheInstrumentIsSilent) {
    pa::sim::PtyHost silent;
    ASSERT_TRUE(silent.start());
    silent.withInstrument([](pa::sim::Instrument& i) { i.setFault(pa::sim::Fault::Silent); });
    const CliRun r =
        runCli({"monitor", "--port", QString::fromStdString(silent.devicePath()), "--count", "2"});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    QStringList lines = QString::fromStdString(r.out).split('\n', Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 3) << r.out;
    EXPECT_TRUE(lines.takeFirst().startsWith("time\tW\t")) << "the header line comes first";
    for (const QString& line : lines)
        EXPECT_TRUE(line.endsWith("\tNO COM")) << line.toStdString();
}

// Refused at once, with the reason and the path, before any file is made or changed.
TEST(CliFaults, RefusalsSayWhyAndTouchNoFile) {
    TempFolder folder;
    const fs::path kept = folder.path() / "kept.txt", fifo = folder.path() / "pipe.txt";
    std::ofstream(kept) << "twenty records\r\n";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const QString out = q(folder.path() / "x.txt"), png = q(folder.path() / "out.png");
    const QStringList record{"record", "--simulate", "--out", out};
    const struct {
        QStringList args;
        int exitCode; // -1: any failure
        std::string error;
    } cases[] = {
        {{"record", "--port", "/dev/pa-no-such-port", "--out", q(kept)}, -1, "pa-no-such-port"},
        {{"record", "--simulate", "--out", q(fifo), "--count", "1"},
         -1,
         "pipe.txt: it is not a regular file"},
        {record + QStringList{"--hours", "5\r\nFAKE, 1, 2, 3"}, 2, "--hours takes a number"},
        {record + QStringList{"--price", "0.5$"}, 2, "--price takes a number"},
        {{"plot", q(folder.path()), "--png", png},
         2,
         folder.str() + ": it is a folder, not a file"},
        {{"plot", q(fifo), "--png", png}, 2, fifo.string() + ": it is not a regular file"},
        {{"plot", "/dev/zero", "--png", png}, 2, "/dev/zero: it is not a regular file"},
        {{"plot", q(folder.path() / "missing.txt"), "--png", png},
         2,
         (folder.path() / "missing.txt").string() + ": No such file or directory"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args.join(' ').toStdString());
        const CliRun r = runCli(c.args);
        if (c.exitCode < 0)
            EXPECT_NE(r.exitCode, 0);
        else
            EXPECT_EQ(r.exitCode, c.exitCode);
        EXPECT_NE(r.err.find(c.error), std::string::npos) << r.err;
        EXPECT_FALSE(fs::exists(out.toStdString()) || fs::exists(png.toStdString()));
    }
    EXPECT_EQ(readFile(kept.string()), "twenty records\r\n");
}

TEST(CliFaults, AFileSizeLimitIsReportedAndLeavesWholeLines) {
    TempFolder folder;
    const fs::path out = folder.path() / "limited.txt";
    // Room for the header line and a little more: the first record does not fit.
    const CliRun r =
        runCli({"record", "--simulate", "--out", q(out), "--interval", "0.5", "--count", "3"}, 200);
    EXPECT_FALSE(r.crashed) << "killed by the file-size signal";
    EXPECT_EQ(r.exitCode, 1) << r.err;
    EXPECT_NE(r.err.find("File too large"), std::string::npos) << r.err;
    const std::string text = readFile(out.string());
    EXPECT_TRUE(text.ends_with("\r\n")) << "no line cut short";
    EXPECT_LE(text.size(), 200u);
}

// Standard output replaced before the program starts: a pipe nobody reads (| head -1 that
// has ended), or a full device.
CliRun runWithStdout(const QStringList& args, bool closedPipe) {
    QProcess cli;
    cli.setChildProcessModifier([closedPipe] {
        int fd = -1;
        if (closedPipe) {
            int ends[2];
            if (::pipe(ends) == 0)
                ::close(ends[0]), fd = ends[1];
        } else {
            fd = ::open("/dev/full", O_WRONLY);
        }
        ::dup2(fd, 1);
    });
    cli.start(PA_CLI_PROGRAM, args);
    CliRun r;
    cli.waitForFinished(30000);
    r.crashed = cli.exitStatus() != QProcess::NormalExit;
    r.exitCode = cli.exitCode();
    r.err = cli.readAllStandardError().toStdString();
    return r;
}

TEST(CliFaults, ARecordingDoesNotDependOnWhoReadsItsEcho) {
    TempFolder folder;
    const fs::path out = folder.path() / "r.txt";
    const CliRun r = runWithStdout(
        {"record", "--simulate", "--out", q(out), "--interval", "0.4", "--count", "6"}, true);
    EXPECT_FALSE(r.crashed) << "killed by SIGPIPE";
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_NE(r.err.find("cannot write standard output: Broken pipe"), std::string::npos) << r.err;
    const std::string text = readFile(out.string());
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 7) << "header and six records";
}

TEST(CliFaults, OutputsThatCannotBeWrittenOrReplacedEndWithTheReason) {
    TempFolder folder;
    const fs::path rec = folder.path() / "rec.txt";
    const std::string record =
        "         0, 11-15-2026,16:58:09.4,  123.4W, 0.98 PF,  230.1V,  0.547A,       11.5,"
        "     125.9VA,      25.1VAR,     0.012KWH,    8.60/month 8$0.34\r\n";
    std::string hostile = record;
    hostile.replace(hostile.find("16:58:09.4"), 10, "\x1b]0;owned\x07");
    std::ofstream(rec, std::ios::binary) << record << record << hostile;
    const struct {
        QStringList args;
        bool toFullDevice;
        int exitCode;
        std::string error;
    } cases[] = {
        {{"stats", q(rec)}, true, 1, "cannot write standard output: No space left on device"},
        {{"export", q(rec)}, true, 2, "cannot write standard output: No space left on device"},
        {{"plot", q(rec), "--pdf", "/dev/full"},
         false,
         2,
         "cannot write /dev/full: No space left on device"},
        {{"plot", q(rec), "--png", q(folder.path())}, false, 2, "it is a folder"},
        {{"export", q(rec), "--out", "/dev/null"}, false, 1, "\\x1B]0;owned\\x07"},
    };
    for (const auto& c : cases) {
        const CliRun r = c.toFullDevice ? runWithStdout(c.args, false) : runCli(c.args);
        EXPECT_EQ(r.exitCode, c.exitCode) << c.args.join(' ').toStdString() << "\n" << r.err;
        EXPECT_NE(r.err.find(c.error), std::string::npos) << r.err;
    }
    EXPECT_TRUE(fs::is_character_file("/dev/null")) << "a device is written, never replaced";
    // "-" is standard output, for a chart as for a CSV.
    const CliRun png = runCli({"plot", q(rec), "--png", "-"});
    EXPECT_EQ(png.exitCode, 0) << png.err;
    EXPECT_EQ(png.out.substr(0, 4), "\x89PNG");
    EXPECT_EQ(std::vector<fs::path>(fs::directory_iterator(folder.path()), {}).size(), 1u)
        << "no temporary file left";
}

} // namespace
