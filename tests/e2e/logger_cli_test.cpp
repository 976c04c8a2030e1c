// poweranalyzer-cli logger against its own simulated instrument: exit status and output.
#include "e2e/program_run.h"
#include <QDir>
#include <QFile>

#include <QProcess>
#include <gtest/gtest.h>

namespace {

using pa::testing::ProgramRun;

ProgramRun cli(const QStringList& args) {
    return pa::testing::runCli(args);
}

TEST(LoggerCli, ResultsAndRefusals) {
    const struct {
        QStringList args;
        int status;
        QString out, err;
    } cases[] = {
        {{"logger", "read", "45", "--simulate"}, 0, "address 45: 1 (0x01)\n", ""},
        {{"logger", "read", "&H12D", "--simulate"},
         0,
         "address 301 (reaches the logger as 45): 1 (0x01)\n",
         ""},
        {{"logger", "write", "5", "256", "--simulate"},
         1,
         "",
         "poweranalyzer-cli: value too large\npoweranalyzer-cli: Command not send\n"},
        {{"logger", "write", "5", "2", "--simulate"}, 0, "", ""},
        {{"logger", "set", "id", "40000", "--simulate"},
         1,
         "",
         "poweranalyzer-cli: ID value too large (max. 32767).Update function canceled.\n"},
        {{"logger", "download", "--simulate"},
         2,
         "",
         "poweranalyzer-cli: download needs --out FILE\n"},
        {{"logger", "read", "--simulate"},
         2,
         "",
         "poweranalyzer-cli: usage: logger read ADDRESS\n"},
        {{"logger", "status"}, 2, "", "poweranalyzer-cli: give either --port PATH or --simulate\n"},
        // The port's message, then the reason as the error line.
        {{"logger", "status", "--port", "/dev/pa-no-such-port"},
         1,
         "/dev/pa-no-such-port not available\n",
         "poweranalyzer-cli: The device does not exist: is the cable or USB adapter plugged "
         "in?\n"},
        {{"logger", "read", "9000", "--simulate"},
         2,
         "",
         "poweranalyzer-cli: ADDRESS takes a number from 0 to 8191 (or &H0 to &H1FFF)\n"},
    };
    for (const auto& c : cases) {
        const ProgramRun r = cli(c.args);
        EXPECT_EQ(r.status, c.status) << c.args.join(' ').toStdString();
        EXPECT_EQ(r.out, c.out) << c.args.join(' ').toStdString();
        EXPECT_EQ(r.err, c.err) << c.args.join(' ').toStdString();
    }
}

TEST(LoggerCli, DownloadAppendsAndReports) {
    const QString path = QDir::tempPath() + "/pa_logger_cli.txt";
    QFile::remove(path);
    for (int i = 0; i < 2; ++i) {
        const ProgramRun r = cli({"logger", "download", "--out", path, "--simulate"});
        EXPECT_EQ(r.status, 0) << r.err.toStdString();
        EXPECT_EQ(r.out, "10 records received and stored in FILE " + path + "\n");
    }
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll().count("No.,Date,Time"), 2);
}

} // namespace
