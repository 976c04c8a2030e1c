// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The programs run as a user runs them: help and version everywhere (the desktop program's
// without a display), errors that name their cause, the monitor's header and formats, and the
// export read back by real clients: Python's csv module and LibreOffice.
#include "e2e/program_run.h"
#include "support/data_file_writer.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

using pa::testing::ProgramRun;

// Runs a program without a display and without XDG_RUNTIME_DIR, as on a bare server.
ProgramRun run(const QString& program, const QStringList& args, int timeoutMs = 60000,
               const QString& lang = {}) {
    return pa::testing::runProgram(program, args, timeoutMs, [&](QProcessEnvironment& env) {
        for (const char* name :
             {"DISPLAY", "WAYLAND_DISPLAY", "XDG_RUNTIME_DIR", "QT_QPA_PLATFORM"})
            env.remove(name);
        if (!lang.isEmpty()) {
            env.remove("LC_ALL");
            env.insert("LANG", lang);
        }
    });
}

ProgramRun cli(const QStringList& args, int timeoutMs = 60000) {
    return run(PA_CLI_PROGRAM, args, timeoutMs);
}

TEST(Cli, HelpAndVersionEverywhere) {
    const QStringList commands{"monitor", "pf",    "plot",   "record", "logger",
                               "export",  "stats", "report", "manual", "ports"};
    ProgramRun r = cli({"--help"});
    EXPECT_EQ(r.status, 0);
    for (const QString& c : commands) {
        SCOPED_TRACE(c.toStdString());
        EXPECT_TRUE(r.out.contains("\n  " + c)) << r.out.toStdString();
        const ProgramRun help = cli({c, "--help"});
        EXPECT_EQ(help.status, 0);
        EXPECT_TRUE(help.out.startsWith("usage: poweranalyzer-cli " + c)) << help.out.toStdString();
        EXPECT_TRUE(help.out.contains("\nOptions:\n  -h,--help")) << help.out.toStdString();
        EXPECT_EQ(help.err, "");
        EXPECT_EQ(cli({c, "--version"}).out, "poweranalyzer-cli 6.7\n");
    }
    EXPECT_EQ(cli({"--version"}).out, "poweranalyzer-cli 6.7\n");
    r = run(PA_GUI_PROGRAM, {"--help"});
    EXPECT_EQ(r.status, 0) << r.err.toStdString();
    EXPECT_TRUE(r.out.startsWith("Usage: poweranalyzer [options]")) << r.out.toStdString();
    EXPECT_TRUE(r.out.contains("--simulate")) << r.out.toStdString();
    EXPECT_EQ(r.err, "");
    EXPECT_EQ(run(PA_GUI_PROGRAM, {"--version"}).out, "poweranalyzer 6.7\n");
    EXPECT_EQ(run(PA_SIM_PROGRAM, {"--version"}).out, "poweranalyzer-sim 6.7\n");
    EXPECT_EQ(run(PA_SIM_PROGRAM, {"--help"}).status, 0);
}

TEST(Cli, ErrorsNameTheirCause) {
    QTemporaryDir dir;
    const QString odd = dir.filePath("odd.txt");
    pa::testing::DataFileWriter(odd.toStdString()).raw("1\r\n2\r\n3\r\n");
    const QString noFile = "cannot read /nonexistent.txt: No such file or directory";
    const struct {
        QStringList args;
        QString error;
    } cases[] = {
        {{"plot", "/nonexistent.txt", "--points"}, noFile},
        {{"export", "--", "/nonexistent.txt"}, noFile},
        {{"stats", dir.path()}, "cannot read " + dir.path() + ": it is a folder, not a file"},
        {{"export", odd, "--out=/nonexistent/x.csv"},
         "cannot write /nonexistent/x.csv: No such file or directory"},
        {{"stats", odd, "--per=week"}, "--per takes day or hour"},
        {{"monitor", "--simulate", "--format", "xml"}, "--format takes tsv or csv"},
        {{"plot", odd, "--points"},
         "Inncorrect file format, proceed anyway: no (give --force to plot it anyway)"},
        {{"ports", "--all"}, "ports takes no options (got --all)"},
        {{"frobnicate"}, "unknown command frobnicate (try --help)"},
    };
    for (const auto& c : cases) {
        const ProgramRun r = cli(c.args);
        EXPECT_NE(r.status, 0) << c.args.join(' ').toStdString();
        EXPECT_EQ(r.err, "poweranalyzer-cli: " + c.error + "\n") << c.args.join(' ').toStdString();
    }
}

TEST(Cli, MonitorNamesItsColumns) {
    const ProgramRun r = cli({"monitor", "--simulate", "--count=2", "--format", "csv"}, 120000);
    ASSERT_EQ(r.status, 0) << r.err.toStdString();
    const QStringList lines = r.out.split('\n', Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 3) << r.out.toStdString();
    EXPECT_EQ(lines[0], "time,W,PF,V,A,angle_deg,VA,VAR,Hz,kWh");
    for (const QString& l : lines.mid(1))
        EXPECT_EQ(l.split(',').size(), 10) << l.toStdString();
    // Nothing from Qt about the missing runtime folder or anything else.
    EXPECT_EQ(r.err, "");
}

// The ports, each a line beginning with the name to give --port, or a line saying there are
// none.
TEST(Cli, PortsListsTheSerialPorts) {
    const ProgramRun r = cli({"ports"});
    EXPECT_EQ(r.status, 0) << r.err.toStdString();
    EXPECT_TRUE(r.out.endsWith('\n')) << r.out.toStdString();
    for (const QString& line : r.out.split('\n', Qt::SkipEmptyParts))
        EXPECT_TRUE(line.startsWith("/dev/") || line.startsWith("no serial ports found: plug in"))
            << line.toStdString();
}

// A recording with every kind of line a spreadsheet user meets.
QString writeRecording(const QTemporaryDir& dir) {
    const QString path = dir.filePath("week.txt");
    pa::testing::DataFileWriter w(path.toStdString());
    w.line(pa::testing::headerLine());
    for (long i = 0; i < 40; ++i) {
        pa::testing::RecordTexts r;
        r.number = i;
        r.clock = pa::testing::clockFor(i);
        r.watt = std::to_string(100 + i * 37 % 900) + "." + std::to_string(i % 10);
        r.pf = i % 2 ? ".980" : "0.75";
        r.hours = "8";
        r.cost = "$" + std::to_string(i) + ".25";
        if (i == 7)
            r.watt = "OL";
        if (i == 9)
            r.watt = "12345.67"; // cut to 2345.67 by the width rule
        if (i == 11)
            r.va = "1.2E-03";
        w.line(pa::testing::recordLine(r));
        if (i == 20)
            w.line(pa::testing::lostCommunicationLine("11-15-2026", "08:00:21.0"));
    }
    w.line("No.,Date,Time,Watts,PF,Volts,Amps");
    w.line("1,11-16,23:59:59,123.4,0.9,230.0,0.5");
    w.line("2,11-16,00:00:09.0,-OL,0.9,230.0,0.5");
    return path;
}

bool havePython() {
    return !QStandardPaths::findExecutable("python3").isEmpty();
}

TEST(Cli, ExportAndJsonReadBackByPython) {
    if (!havePython())
        GTEST_SKIP() << "python3 is not installed (./dev.sh test installs it as root)";
    QTemporaryDir dir;
    const QString data = writeRecording(dir);
    const QString out = dir.filePath("week.csv");
    ProgramRun r = cli({"export", data, "--out", out, "--year", "2026"});
    ASSERT_EQ(r.status, 0) << r.err.toStdString();
    EXPECT_EQ(r.err, "42 records and 1 lost-communication lines written to " + out + "\n");
    r = run("python3", {PA_TESTS_DIR "/e2e/check_export.py", "csv", data, out});
    EXPECT_EQ(r.status, 0) << r.out.toStdString() << r.err.toStdString();
    EXPECT_TRUE(r.out.startsWith("43 rows, ")) << r.out.toStdString();

    // Standard output, and the same figures from stats.
    r = cli({"export", data, "--year", "2026"});
    EXPECT_EQ(r.status, 0);
    EXPECT_TRUE(
        r.out.contains("\r\n2026-11-17T00:00:09.000+00:00,2,,0.9,230.0,0.5,,,,,,,,,overload\r\n"))
        << r.out.toStdString();
    r = cli({"stats", data, "--year", "2026", "--format", "json"});
    EXPECT_EQ(r.status, 0) << r.err.toStdString();
    EXPECT_TRUE(r.out.contains("\"records\": 42")) << r.out.toStdString();
    EXPECT_TRUE(r.out.contains("\"lost_lines\": 1"));
    EXPECT_TRUE(r.out.contains("\"max\": 2345.67, \"max_time\": \"2026-11-15T08:00:09.000+00:00\""))
        << r.out.toStdString();

    // JSON stays valid UTF-8 for a file with a Latin-1 name. Python hands the name over as the
    // bytes a Latin-1 system writes: "café" with 0xE9.
    const char* script =
        "import json, os, shutil, subprocess, sys\n"
        "cli, data, folder = sys.argv[1:4]\n"
        "name = os.path.join(os.fsencode(folder), b'caf\\xe9.txt')\n"
        "shutil.copyfile(data, name)\n"
        "for args in (['stats', name, '--format', 'json'], ['report', name, '--format', 'json']):\n"
        "    out = subprocess.run([cli] + args, capture_output=True).stdout\n"
        "    d = json.loads(out.decode('utf-8'))\n"
        "    print(args[0], ascii(d.get('file') or d['files'][0]))\n"
        "os.remove(name)\n"; // Qt cannot name it to remove it with the folder
    r = run("python3", {"-c", script, PA_CLI_PROGRAM, data, dir.path()});
    EXPECT_EQ(r.status, 0) << r.err.toStdString();
    // The name's stray byte comes back as U+FFFD; before, the JSON did not parse.
    for (const char* command : {"stats", "report"})
        EXPECT_TRUE(r.out.contains(QString(command) + " '" + dir.path() + "/caf\\ufffd.txt'"))
            << r.out.toStdString();
}

TEST(Cli, ExportOpensAsNumbersInLibreOffice) {
    const QString soffice = QStandardPaths::findExecutable("soffice");
    if (soffice.isEmpty() || !havePython())
        GTEST_SKIP() << "LibreOffice (libreoffice-calc-nogui) or python3 is not installed; "
                        "./dev.sh test installs them when run as root";
    QTemporaryDir dir;
    const QString data = writeRecording(dir), csv = dir.filePath("week.csv");
    const QString xlsx = dir.filePath("book.xlsx");
    ASSERT_EQ(cli({"export", data, "--out", csv}).status, 0);
    ASSERT_EQ(cli({"export", data, "--format", "xlsx", "--out", xlsx}).status, 0);
    // Comma, double quote, UTF-8, from row 1, numbers in English notation (language 1033):
    // the plain RFC 4180 reading of the CSV, whatever the desktop's own language; and the
    // workbook on a German desktop: the same numbers, as numbers, and dates as dates.
    const struct {
        QString file, filter, lang, check, expected;
    } cases[] = {
        {csv, "--infilter=CSV:44,34,76,1,,1033", {}, "fods", "numbers read as numbers"},
        {xlsx, {}, "de_DE.UTF-8", "xlsx", "43 time stamps read as dates"},
    };
    for (const auto& c : cases) {
        const QString out = dir.filePath(c.check);
        QStringList args{"-env:UserInstallation=file://" + dir.filePath("profile"),
                         "--headless",
                         "--convert-to",
                         "fods",
                         "--outdir",
                         out,
                         c.file};
        if (!c.filter.isEmpty())
            args.insert(2, c.filter);
        const ProgramRun convert = run(soffice, args, 240000, c.lang);
        const QString fods = out + "/" + QFileInfo(c.file).completeBaseName() + ".fods";
        ASSERT_TRUE(QFileInfo::exists(fods))
            << convert.out.toStdString() << convert.err.toStdString();
        const ProgramRun r =
            run("python3", {PA_TESTS_DIR "/e2e/check_export.py", c.check, csv, fods});
        EXPECT_EQ(r.status, 0) << r.out.toStdString() << r.err.toStdString();
        EXPECT_TRUE(r.out.contains(c.expected)) << r.out.toStdString();
    }
}

} // namespace
