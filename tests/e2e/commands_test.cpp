// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// poweranalyzer-cli logger, pf, manual and report run as a user runs them: exit status and
// output.
#include "e2e/program_run.h"
#include "support/data_file_writer.h"
#include "support/test_files.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;
using pa::testing::ProgramRun;
using pa::testing::runCli;

const QStringList kLoadB{"pf",      "--w",   "1000",   "--pf",    ".725", "--v",
                         "230",     "--a",   "6.00",   "--angle", "43.5", "--va",
                         "1380.00", "--var", "951.10", "--hz",    "50Hz"};
const QString kLoadBLines = "W: 1000\nV: 230\nIR: 4.3A\nR: 52.9\nIX: 4.1A\nX: 55.6\nL: 177.0mH\n"
                            "Hz: 50Hz\n";

// Each run's status, standard output and standard error, whole.
TEST(Commands, ResultsAndRefusals) {
    const QString cli = "poweranalyzer-cli: ";
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
         cli + "value too large\n" + cli + "Command not send\n"},
        {{"logger", "write", "5", "2", "--simulate"}, 0, "", ""},
        {{"logger", "set", "id", "40000", "--simulate"},
         1,
         "",
         cli + "ID value too large (max. 32767).Update function canceled.\n"},
        {{"logger", "download", "--simulate"}, 2, "", cli + "download needs --out FILE\n"},
        {{"logger", "read", "--simulate"}, 2, "", cli + "usage: logger read ADDRESS\n"},
        {{"logger", "status"}, 2, "", cli + "give either --port PATH or --simulate\n"},
        // The port's message, then the reason as the error line.
        {{"logger", "status", "--port", "/dev/pa-no-such-port"},
         1,
         "/dev/pa-no-such-port not available\n",
         cli + "The device does not exist: is the cable or USB adapter plugged in?\n"},
        {{"logger", "read", "9000", "--simulate"},
         2,
         "",
         cli + "ADDRESS takes a number from 0 to 8191 (or &H0 to &H1FFF)\n"},
        {kLoadB + QStringList{"--target", "c", "10u"}, 0,
         kLoadBLines + "PF2: 0.787\nA2: 5.53\nVA2: 1271.3\nVAR2: 784.91\nAngle2: 38.1\nC: 10.0uF\n",
         ""},
        // Ten farads: the notice first, on standard output, then the full compensation.
        {kLoadB + QStringList{"--target", "c", "10"}, 0,
         "Max. capacitance to be added is 57.2uF(PF=1)\n" + kLoadBLines +
             "PF2: 1.0\nA2: 4.35\nVA2: 1000.0\nVAR2: 0.0\nAngle2: 0.0\nC: 57.2uF\n",
         ""},
        {{"pf", "--w", "100", "--v", "230", "--a", ".5", "--target", "a", "0.6"},
         1,
         "",
         cli + "A2 > A1, can only reduce current\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args.join(' ').toStdString());
        const ProgramRun r = runCli(c.args);
        EXPECT_EQ(r.status, c.status);
        EXPECT_EQ(r.out, c.out);
        EXPECT_EQ(r.err, c.err);
    }
    // Bad pf command lines: a one-line error and status 2.
    for (const QStringList& bad :
         {QStringList{"--w", "100"}, QStringList{"--target", "pf"},
          QStringList{"--target", "kw", "1"}, QStringList{"--volts", "230", "--target", "pf", "1"},
          QStringList{"--target", "pf", ""}}) {
        const ProgramRun r = runCli(QStringList{"pf"} + bad);
        EXPECT_EQ(r.status, 2) << bad.join(' ').toStdString();
        EXPECT_EQ(r.err.count('\n'), 1) << r.err.toStdString();
        EXPECT_TRUE(r.out.isEmpty());
    }
}

// A download appends to the file named, and says where the records went.
TEST(Commands, LoggerDownloadAppendsAndReports) {
    pa::testing::TempFolder folder;
    const QString path = QString::fromStdString(folder.str() + "/logger.txt");
    for (int i = 0; i < 2; ++i) {
        const ProgramRun r = runCli({"logger", "download", "--out", path, "--simulate"});
        EXPECT_EQ(r.status, 0) << r.err.toStdString();
        EXPECT_EQ(r.out, "10 records received and stored in FILE " + path + "\n");
    }
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll().count("No.,Date,Time"), 2);
}

// manual, run from a copy of the program in a folder of its own as an installation lays it
// out, and started through a link from another folder: the manuals are looked for in "help"
// beside the program itself.
TEST(Commands, ManualListsTheSixItemsWithTheManualBesideTheProgram) {
    pa::testing::TempFolder root;
    const fs::path folder = root.path() / "lib" / "poweranalyzer";
    fs::create_directories(folder / "help");
    fs::copy_file(PA_CLI_PROGRAM, folder / "poweranalyzer-cli");
    fs::create_directories(root.path() / "bin");
    fs::create_symlink("../lib/poweranalyzer/poweranalyzer-cli",
                       root.path() / "bin" / "poweranalyzer-cli");
    const auto run = [&](const fs::path& program, const QStringList& args) {
        return pa::testing::runProgram(QString::fromStdString(program.string()), args);
    };
    const QString help = QString::fromStdString((folder / "help").string());
    const QString en = "English: " + help + "/KV2260-SW-HELP-EN_V6.7.pdf";
    const QString es = "\nFrench:\nGerman:\nSpanish: " + help + "/KV2260-SW-AYUDA-ES_V6.7.pdf";
    const struct {
        const char* added; // a manual put in help/ before the run
        int status;
        QString out;
    } cases[] = {
        {nullptr, 1, en + " (missing)" + es + " (missing)\nItalian:\nPortuguese:\n"},
        {"KV2260-SW-HELP-EN_V6.7.pdf", 1, en + es + " (missing)\nItalian:\nPortuguese:\n"},
        {"KV2260-SW-AYUDA-ES_V6.7.pdf", 0, en + es + "\nItalian:\nPortuguese:\n"},
    };
    for (const auto& c : cases) {
        if (c.added)
            std::ofstream(folder / "help" / c.added) << "%PDF-1.4\n";
        const ProgramRun r = run(root.path() / "bin" / "poweranalyzer-cli", {"manual"});
        EXPECT_EQ(r.status, c.status) << r.err.toStdString();
        EXPECT_EQ(r.out, c.out);
        EXPECT_TRUE(r.err.isEmpty()) << r.err.toStdString();
    }
    const ProgramRun bad = run(folder / "poweranalyzer-cli", {"manual", "--english"});
    EXPECT_EQ(bad.status, 2);
    EXPECT_EQ(bad.err, "poweranalyzer-cli: manual takes no options (got --english)\n");
    EXPECT_TRUE(bad.out.isEmpty());
}

// report: JSON that Python's own parser reads, with its figures; an English and a Chinese
// PDF written whole; an unwritable target said, with nothing half-written left beside.
TEST(Commands, ReportJsonAndPdfInBothLanguages) {
    QTemporaryDir dir;
    const QString data = dir.filePath("run.txt");
    {
        pa::testing::DataFileWriter w(data.toStdString());
        w.line(pa::testing::headerLine());
        for (long i = 0; i < 1200; ++i) {
            pa::testing::RecordTexts r;
            r.number = i, r.clock = pa::testing::clockFor(i), r.pf = "0.80", r.var = "92.6";
            w.line(pa::testing::recordLine(r));
        }
    }
    ProgramRun r = runCli({"report", data, "--format", "json"});
    ASSERT_EQ(r.status, 0) << r.err.toStdString();
    QProcess python;
    python.start("python3", {"-c", "import json,sys; d=json.load(sys.stdin); "
                                   "print(d['demand']['intervals'], d['period']['records'], "
                                   "d['period']['first'][-18:])"});
    python.write(r.out.toUtf8());
    python.closeWriteChannel();
    python.waitForFinished();
    // 08:00 to 08:20: one whole interval; times with milliseconds and the UTC offset.
    EXPECT_EQ(python.readAllStandardOutput(), "1 1200 08:00:00.000+00:00\n");

    for (const QString lang : {"en", "zh"}) {
        const QString pdf = dir.filePath("report-" + lang + ".pdf");
        r = runCli({"report", data, "--pdf", pdf, "--lang", lang});
        EXPECT_EQ(r.status, 0) << r.err.toStdString();
        QFile f(pdf);
        ASSERT_TRUE(f.open(QIODevice::ReadOnly));
        const QByteArray bytes = f.readAll();
        EXPECT_TRUE(bytes.startsWith("%PDF-") && bytes.trimmed().endsWith("%%EOF"))
            << lang.toStdString();
    }
    const QString bad = dir.filePath("missing/r.pdf");
    r = runCli({"report", data, "--pdf", bad});
    EXPECT_EQ(r.status, 2);
    EXPECT_TRUE(r.err.startsWith("poweranalyzer-cli: cannot write " + bad)) << r.err.toStdString();
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files),
              QStringList({"report-en.pdf", "report-zh.pdf", "run.txt"}));
}

} // namespace
