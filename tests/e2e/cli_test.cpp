// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The programs run as a user runs them, on a bare server (no display, no runtime folder):
// help and version everywhere; each command's output, or its refusal with the cause, under
// hostile conditions too (a silent instrument, a port that cannot be opened, pipes and
// devices as files, a file-size limit, an output nobody reads or a full disk, a recording
// holding terminal escapes), never harming an existing file; the manual found beside an
// installed program; the report; and the export read back by Python's csv module and
// LibreOffice.
#include "e2e/program_run.h"
#include "plot/plot_test_files.h"
#include "support/data_file_writer.h"
#include "support/test_files.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <locale.h>
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

// Runs a program without a display and without XDG_RUNTIME_DIR. fileLimit, when given, is a
// file-size limit in bytes with SIGXFSZ at its default action, as in a shell; lang, when
// given, is the locale of the whole environment.
ProgramRun run(const QString& program, const QStringList& args, Out out = Out::Read,
               long fileLimit = -1, const QString& lang = {}) {
    const auto environment = [&](QProcessEnvironment& env) {
        for (const char* name :
             {"DISPLAY", "WAYLAND_DISPLAY", "XDG_RUNTIME_DIR", "QT_QPA_PLATFORM"})
            env.remove(name);
        if (!lang.isEmpty()) {
            env.insert("LC_ALL", lang);
            env.insert("LANG", lang);
        }
    };
    return pa::testing::runProgram(program, args, 240000, environment, [out, fileLimit] {
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

ProgramRun cli(const QStringList& args, Out out = Out::Read, long fileLimit = -1) {
    return run(PA_CLI_PROGRAM, args, out, fileLimit);
}

QString q(const fs::path& p) {
    return QString::fromStdString(p.string());
}

// An expected output: the whole text when it ends with a line end, else a part of it.
void expectSaid(const QString& said, const QString& expected) {
    if (expected.endsWith('\n')) {
        EXPECT_EQ(said.toStdString(), expected.toStdString());
    } else {
        EXPECT_TRUE(said.contains(expected)) << said.left(300).toStdString();
    }
}

TEST(Cli, HelpAndVersionEverywhere) {
    const ProgramRun all = cli({"--help"});
    EXPECT_EQ(all.status, 0);
    for (const QString c : {"monitor", "pf", "plot", "record", "logger", "export", "stats",
                            "report", "manual", "ports"}) {
        SCOPED_TRACE(c.toStdString());
        EXPECT_TRUE(all.out.contains("\n  " + c)) << all.out.toStdString();
        const ProgramRun help = cli({c, "--help"});
        EXPECT_EQ(std::tie(help.status, help.err), std::tuple(0, QString()));
        EXPECT_TRUE(help.out.startsWith("usage: poweranalyzer-cli " + c)) << help.out.toStdString();
        EXPECT_EQ(cli({c, "--version"}).out, "poweranalyzer-cli 6.7\n");
    }
    const ProgramRun gui = run(PA_GUI_PROGRAM, {"--help"});
    EXPECT_EQ(std::tie(gui.status, gui.err), std::tuple(0, QString()));
    EXPECT_TRUE(gui.out.startsWith("Usage: poweranalyzer [options]")) << gui.out.toStdString();
    EXPECT_EQ(run(PA_GUI_PROGRAM, {"--version"}).out, "poweranalyzer 6.7\n");
    EXPECT_EQ(run(PA_SIM_PROGRAM, {"--version"}).out, "poweranalyzer-sim 6.7\n");
    EXPECT_EQ(run(PA_SIM_PROGRAM, {"--help"}).status, 0);
}

const QStringList kLoadB{"pf",      "--w",   "1000",   "--pf",    ".725", "--v",
                         "230",     "--a",   "6.00",   "--angle", "43.5", "--va",
                         "1380.00", "--var", "951.10", "--hz",    "50Hz"};
const QString kLoadBLines = "W: 1000\nV: 230\nIR: 4.3A\nR: 52.9\nIX: 4.1A\nX: 55.6\nL: 177.0mH\n"
                            "Hz: 50Hz\n";

// Each run's status and what it said; every run ends by itself, and the files around it are
// left as they were.
TEST(CliFaults, EachRunEndsWithItsResultOrItsReason) {
    pa::testing::TempFolder folder;
    const fs::path kept = folder.path() / "kept.txt", fifo = folder.path() / "pipe.txt",
                   rec = folder.path() / "rec.txt", limited = folder.path() / "limited.txt",
                   unread = folder.path() / "unread.txt", odd = folder.path() / "odd.txt";
    std::ofstream(kept) << "twenty records\r\n";
    std::ofstream(odd) << "1\r\n2\r\n3\r\n";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const std::string line =
        "         0, 11-15-2026,16:58:09.4,  123.4W, 0.98 PF,  230.1V,  0.547A,       11.5,"
        "     125.9VA,      25.1VAR,     0.012KWH,    8.60/month 8$0.34\r\n";
    std::string hostile = line;
    hostile.replace(hostile.find("16:58:09.4"), 10, "\x1b]0;owned\x07");
    std::ofstream(rec, std::ios::binary) << line << line << hostile;
    const QString png = q(folder.path() / "out.png"), noFolder = q(folder.path() / "no/r.pdf");
    const QStringList record{"record", "--simulate", "--interval", "0.4", "--count", "6", "--out"};
    const QStringList mqtt{"monitor", "--simulate", "--count", "1", "--mqtt", "127.0.0.1"};
    const QString noSpace = "cannot write standard output: No space left on device";
    const QString e = "poweranalyzer-cli: ";

    const QString none = "/dev/pa-none", noRead = ": No such file or directory\n";
    const struct {
        QStringList args;
        int status; // -1: any failure
        QString err, out = {};
        Out stdOut = Out::Read;
        long fileLimit = -1;
    } cases[] = {
        {{"logger", "read", "45", "--simulate"}, 0, "", "address 45: 1 (0x01)\n"},
        // The ports there are, or a line saying there are none: either way a clean end.
        {{"ports"}, 0, ""},
        {{"logger", "download", "--simulate"}, 2, e + "download needs --out FILE\n"},
        {{"logger", "download", "--out", q(folder.path() / "logger.txt"), "--simulate"},
         0,
         "",
         "10 records received"},
        {{"logger", "read", "--simulate"}, 2, e + "usage: logger read ADDRESS\n"},
        // The port's message, then the reason as the error line.
        {{"logger", "status", "--port", none},
         1,
         e + "The device does not exist: is the cable",
         none + " not available\n"},
        {{"logger", "read", "9000", "--simulate"}, 2, e + "ADDRESS takes a number from 0 to 8191"},
        // Ten farads: the notice first, on standard output, then the full compensation.
        {kLoadB + QStringList{"--target", "c", "10"}, 0, "",
         "Max. capacitance to be added is 57.2uF(PF=1)\n" + kLoadBLines +
             "PF2: 1.0\nA2: 4.35\nVA2: 1000.0\nVAR2: 0.0\nAngle2: 0.0\nC: 57.2uF\n"},
        // Refused by the calculation (1) or as a command line (2).
        {{"pf", "--w", "100", "--v", "230", "--a", ".5", "--target", "a", "0.6"},
         1,
         e + "A2 > A1, can only reduce current\n"},
        {{"pf", "--volts", "230", "--target", "pf", "1"}, 2, e},
        {{"manual", "--english"}, 2, e + "manual takes no options (got --english)\n"},
        {{"frobnicate"}, 2, e + "unknown command frobnicate (try --help)\n"},
        {{"plot", "/nonexistent.txt", "--points"}, 2, e + "cannot read /nonexistent.txt" + noRead},
        {{"export", q(odd), "--out=/nonexistent/x.csv"}, -1, e + "cannot write /nonexistent/x.csv"},
        {{"plot", q(odd), "--points"}, -1, "Inncorrect file format, proceed anyway: no (give --f"},
        {{"record", "--port", none, "--out", q(kept)}, -1, "pa-none"},
        {{"record", "--simulate", "--out", q(fifo)}, -1, "pipe.txt: it is not a regular file"},
        {{"record", "--simulate", "--count", "1", "--out", "-"}, 2, "--out - : record writes a"},
        // An empty --opt= never takes the next argument as its value.
        {{"monitor", "--simulate", "--count", "1", "--interval=", "1"}, 2, "--interval needs a"},
        {{"record", "--simulate", "--out", "/dev/full"}, -1, "/dev/full: No space left on device"},
        {{"plot", q(fifo), "--png", png}, 2, q(fifo) + ": it is not a regular"},
        {{"stats", q(rec)}, 1, noSpace, "", Out::Full},
        {{"plot", q(rec), "--pdf", "/dev/full"}, 2, "cannot write /dev/full: No space left"},
        {{"report", q(rec), "--pdf", noFolder}, 2, e + "cannot write " + noFolder},
        {{"export", q(rec), "--out", "/dev/null"}, 1, "\\x1B]0;owned\\x07"},
        // Room for the header line and a little more: the first record does not fit.
        {record + QStringList{q(limited)}, 1, "File too large", "", Out::Read, 200},
        {record + QStringList{q(unread)}, 1, "standard output: Broken pipe", "", Out::Closed},
        // A password or CA file is never a device or a pipe that fills the memory or waits for
        // a writer.
        {mqtt + QStringList{"--username", "u", "--password-file", "/dev/zero"}, -1,
         "/dev/zero: it is not a regular file"},
        {mqtt + QStringList{"--tls-ca", q(fifo)}, -1, q(fifo) + ": it is not a regular"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args.join(' ').left(120).toStdString());
        const ProgramRun r = cli(c.args, c.stdOut, c.fileLimit);
        if (c.status < 0) {
            EXPECT_GT(r.status, 0) << "a failure, never a crash";
        } else {
            EXPECT_EQ(r.status, c.status);
        }
        expectSaid(r.err, c.err);
        expectSaid(r.out, c.out);
    }
    EXPECT_FALSE(fs::exists(png.toStdString()));
    EXPECT_EQ(readFile(kept), "twenty records\r\n");
    EXPECT_TRUE(fs::is_character_file("/dev/null")) << "a device is written, never replaced";
    const std::string cut = readFile(limited);
    EXPECT_TRUE(cut.ends_with("\r\n")) << "no line cut short";
    EXPECT_LE(cut.size(), 200u);
    const std::string whole = readFile(unread);
    EXPECT_EQ(std::count(whole.begin(), whole.end(), '\n'), 7) << "the echo is not the file";

    // "-" is standard output for a chart; no temporary file is left.
    QProcess chart; // binary on standard output
    chart.start(PA_CLI_PROGRAM, {"plot", q(rec), "--png", "-"});
    ASSERT_TRUE(chart.waitForFinished(30000));
    EXPECT_EQ(chart.exitCode(), 0);
    EXPECT_TRUE(chart.readAllStandardOutput().startsWith("\x89PNG"));
    EXPECT_EQ(std::vector<fs::path>(fs::directory_iterator(folder.path()), {}).size(), 7u);
}

// manual, run from a copy of the program in a folder of its own as an installation lays it
// out, and started through a link from another folder: the manuals are looked for in "help"
// beside the program itself.
TEST(Cli, ManualListsTheSixItemsWithTheManualBesideTheProgram) {
    pa::testing::TempFolder root;
    const fs::path folder = root.path() / "lib" / "poweranalyzer";
    fs::create_directories(folder / "help");
    fs::copy_file(PA_CLI_PROGRAM, folder / "poweranalyzer-cli");
    fs::create_directories(root.path() / "bin");
    fs::create_symlink("../lib/poweranalyzer/poweranalyzer-cli",
                       root.path() / "bin" / "poweranalyzer-cli");
    const QString help = q(folder / "help");
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
        const ProgramRun r = run(q(root.path() / "bin" / "poweranalyzer-cli"), {"manual"});
        EXPECT_EQ(std::tie(r.status, r.out, r.err), std::tuple(c.status, c.out, QString()));
    }
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

// The export read back by Python's csv module and opened by LibreOffice; the JSON of stats
// and report parsed by Python's own parser; the report as a Chinese PDF written whole.
TEST(Cli, ExportReportAndJsonReadBackByRealClients) {
    if (!havePython())
        GTEST_SKIP() << "python3 is not installed (./dev.sh test installs it as root)";
    QTemporaryDir dir;
    const QString data = writeRecording(dir);
    const QString csv = dir.filePath("week.csv"), xlsx = dir.filePath("book.xlsx");
    ProgramRun r = cli({"export", data, "--out", csv, "--year", "2026"});
    ASSERT_EQ(r.status, 0) << r.err.toStdString();
    EXPECT_EQ(r.err, "42 records and 1 lost-communication lines written to " + csv + "\n");
    r = run("python3", {PA_TESTS_DIR "/e2e/check_export.py", "csv", data, csv});
    EXPECT_EQ(r.status, 0) << r.out.toStdString() << r.err.toStdString();
    EXPECT_TRUE(r.out.startsWith("43 rows, ")) << r.out.toStdString();

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
        "    first = d['period']['first'][-18:] if 'period' in d else d['all']['records']\n"
        "    print(args[0], first, ascii(d.get('file') or d['files'][0]))\n"
        "os.remove(name)\n"; // Qt cannot name it to remove it with the folder
    r = run("python3", {"-c", script, PA_CLI_PROGRAM, data, dir.path()});
    EXPECT_EQ(r.status, 0) << r.err.toStdString();
    // The name's stray byte comes back as U+FFFD; before, the JSON did not parse. Report times
    // carry milliseconds and the UTC offset.
    const QString name = " '" + dir.path() + "/caf\\ufffd.txt'\n";
    EXPECT_EQ(r.out, "stats 42" + name + "report 08:00:00.000+00:00" + name);

    const QString pdf = dir.filePath("report.pdf");
    r = cli({"report", data, "--pdf", pdf, "--lang", "zh"});
    EXPECT_EQ(r.status, 0) << r.err.toStdString();
    const QByteArray bytes = QByteArray::fromStdString(readFile(pdf.toStdString()));
    EXPECT_TRUE(bytes.startsWith("%PDF-") && bytes.trimmed().endsWith("%%EOF"));
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files),
              QStringList({"report.pdf", "week.csv", "week.txt"}));

    const QString soffice = QStandardPaths::findExecutable("soffice");
    if (soffice.isEmpty())
        GTEST_SKIP() << "LibreOffice (libreoffice-calc-nogui) is not installed; "
                        "./dev.sh test installs it when run as root";
    ASSERT_EQ(cli({"export", data, "--format", "xlsx", "--out", xlsx, "--year", "2026"}).status, 0);
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
        const QString outDir = dir.filePath(c.check);
        QStringList args{"--headless", "--convert-to", "fods", "--outdir", outDir, c.file};
        if (!c.filter.isEmpty())
            args.insert(1, c.filter);
        args.prepend("-env:UserInstallation=file://" + dir.filePath("profile"));
        const ProgramRun convert = run(soffice, args, Out::Read, -1, c.lang);
        const QString fods = outDir + "/" + QFileInfo(c.file).completeBaseName() + ".fods";
        ASSERT_TRUE(QFileInfo::exists(fods))
            << convert.out.toStdString() << convert.err.toStdString();
        r = run("python3", {PA_TESTS_DIR "/e2e/check_export.py", c.check, csv, fods});
        EXPECT_EQ(r.status, 0) << r.out.toStdString() << r.err.toStdString();
        EXPECT_TRUE(r.out.contains(c.expected)) << r.out.toStdString();
    }
}

// The same bytes whatever the locale of the environment: run under C, and under Spanish and
// German (which write numbers with a decimal comma), every command's output and every file
// it writes are identical; of the live commands' readings, which move between runs, all but
// the digits.
TEST(CliLocale, EveryCommandGivesTheSameBytesInEveryLocale) {
    const char* const locales[] = {"C", "es_ES.UTF-8", "de_DE.UTF-8"};
    for (const char* locale : locales) // one that is missing would fall back to C
        ASSERT_NE(newlocale(LC_ALL_MASK, locale, nullptr), nullptr)
            << locale << " is not installed: ./dev.sh test generates it (package locales)";
    QTemporaryDir temp;
    const QString plotFile = QString::fromStdString(pa::testing::recordsFile(
        "pa_cli_locale_plot.txt", 40, [](long i) { return 1000 + 0.37 * i * i - 9.8 * i; }));
    const QString rec = temp.filePath("rec.txt");
    const struct {
        QStringList args;
        QString file;
        bool masked;          // digits masked: live readings
        const char* expected; // a part of the C output, to be sure the run said something
    } cases[] = {
        {{"monitor", "--simulate", "--count", "1", "--interval", "0.5"}, {}, true, "  .###\t"},
        {{"record", "--simulate", "--out", rec, "--count", "1", "--interval", "0.5", "--price",
          "0.25", "--hours", "8"},
         rec,
         true,
         "VA,"},
        {kLoadB + QStringList{"--target", "pf", "0.95"}, {}, false, "PF2: 0.95"},
        {{"plot", plotFile, "--points"}, {}, false, "1,1,990.6,"},
        {{"logger", "status", "--simulate"}, {}, false, "state: "},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args.join(' ').toStdString());
        QString reference;
        for (const char* locale : locales) {
            fs::remove(c.file.toStdString());
            const ProgramRun r = run(PA_CLI_PROGRAM, c.args, Out::Read, -1, locale);
            QString out = r.out + "\n--\n" + QString::fromStdString(readFile(c.file.toStdString()));
            if (c.masked)
                out.replace(QRegularExpression("[0-9]"), "#");
            EXPECT_EQ(r.status, 0) << locale;
            if (reference.isEmpty()) {
                EXPECT_TRUE((reference = out).contains(c.expected)) << out.toStdString();
            }
            EXPECT_EQ(out.toStdString(), reference.toStdString()) << locale;
        }
    }
}

} // namespace
