// The command-line program gives the same bytes whatever the locale of the environment: run
// under C, and under Spanish and German (which write numbers with a decimal comma), every
// command's output and every file it writes are identical; of the live commands' readings,
// which move between runs, all but the digits.
#include "plot/plot_test_files.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <clocale>
#include <cstdlib>
#include <gtest/gtest.h>

namespace {

const char* const kLocales[] = {"C", "es_ES.UTF-8", "de_DE.UTF-8"};

struct Output {
    int exitCode = -1;
    QByteArray out, file;
};

// Runs the program with LC_ALL set; `file`, when given, is removed first and read after.
Output runIn(const char* locale, const QStringList& args, const QString& file = {}) {
    if (!file.isEmpty())
        QFile::remove(file);
    QProcess p;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("LC_ALL", locale);
    env.insert("LANG", locale);
    p.setProcessEnvironment(env);
    p.start(PA_CLI_PROGRAM, args);
    p.waitForFinished(60000);
    Output o{p.exitCode(), p.readAllStandardOutput(), {}};
    if (!file.isEmpty()) {
        QFile f(file);
        if (f.open(QIODevice::ReadOnly))
            o.file = f.readAll();
    }
    return o;
}

// Live readings: which frame a sample catches depends on timing, so every digit is masked
// and the rest (decimal points, field widths, separators, units) must match byte for byte.
QByteArray digitsMasked(QByteArray text) {
    for (char& c : text)
        if (c >= '0' && c <= '9')
            c = '#';
    return text;
}

bool installed(const char* locale) {
    const std::string saved = std::setlocale(LC_ALL, nullptr);
    const bool ok = std::setlocale(LC_ALL, locale) != nullptr;
    std::setlocale(LC_ALL, saved.c_str());
    return ok;
}

TEST(CliLocale, EveryCommandGivesTheSameBytesInEveryLocale) {
    for (const char* locale : kLocales)
        ASSERT_TRUE(installed(locale))
            << locale << " is not installed: ./dev.sh test generates it (package locales)";

    const QString temp =
        QDir::tempPath() + "/pa_cli_locale_" + QString::number(QCoreApplication::applicationPid());
    QDir().mkpath(temp);
    const QString plotFile = QString::fromStdString(pa::testing::recordsFile(
        "pa_cli_locale_plot.txt", 40, [](long i) { return 1000 + 0.37 * i * i - 9.8 * i; }));
    const struct {
        const char* name;
        QStringList args;
        QString file;
        bool masked;          // digits masked
        const char* expected; // a part of the C output, to be sure the run said something
    } cases[] = {
        {"monitor",
         {"monitor", "--simulate", "--count", "1", "--interval", "0.5"},
         {},
         true,
         "  .###\t"},
        {"record",
         {"record", "--simulate", "--out", temp + "/rec.txt", "--count", "1", "--interval", "0.5",
          "--price", "0.25", "--hours", "8"},
         temp + "/rec.txt",
         true,
         "VA,"},
        {"pf",
         {"pf",     "--w",  "1000",    "--pf",     ".725", "--v",     "230",
          "--a",    "6.00", "--angle", "43.5",     "--va", "1380.00", "--var",
          "951.10", "--hz", "50Hz",    "--target", "pf",   "0.95"},
         {},
         false,
         "PF2: 0.95"},
        {"plot --points", {"plot", plotFile, "--points"}, {}, false, "1,1,990.6,"},
        {"plot --stats", {"plot", plotFile, "--stats"}, {}, false, "mean "},
        {"logger status", {"logger", "status", "--simulate"}, {}, false, "state: "},
        {"logger download",
         {"logger", "download", "--out", temp + "/download.txt", "--simulate"},
         temp + "/download.txt",
         false,
         "10 records"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Output reference = runIn("C", c.args, c.file);
        ASSERT_EQ(reference.exitCode, 0);
        if (c.masked) {
            reference.out = digitsMasked(reference.out);
            reference.file = digitsMasked(reference.file);
        }
        EXPECT_TRUE(reference.out.contains(c.expected) || reference.file.contains(c.expected))
            << reference.out.toStdString();
        for (const char* locale : {kLocales[1], kLocales[2]}) {
            Output o = runIn(locale, c.args, c.file);
            if (c.masked) {
                o.out = digitsMasked(o.out);
                o.file = digitsMasked(o.file);
            }
            EXPECT_EQ(o.exitCode, 0) << locale;
            EXPECT_EQ(o.out.toStdString(), reference.out.toStdString()) << locale;
            EXPECT_EQ(o.file.toStdString(), reference.file.toStdString()) << locale;
        }
    }
    QDir(temp).removeRecursively();
}

// A rerun of the tests under a named locale must really have that locale: one that is not
// installed would fall back to C and prove nothing.
TEST(CliLocale, TheTestsRunInTheLocaleTheEnvironmentNames) {
    const char* named = std::getenv("LC_ALL");
    if (!named || !*named)
        named = std::getenv("LANG");
    const std::string name = named ? named : "";
    if (name.rfind("es_ES", 0) != 0 && name.rfind("de_DE", 0) != 0)
        GTEST_SKIP() << "not a decimal-comma run";
    EXPECT_STREQ(std::localeconv()->decimal_point, ",") << name << " is not installed";
}

} // namespace
