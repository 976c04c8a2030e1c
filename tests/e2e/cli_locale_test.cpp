// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The command-line program gives the same bytes whatever the locale of the environment: run
// under C, and under Spanish and German (which write numbers with a decimal comma), every
// command's output and every file it writes are identical; of the live commands' readings,
// which move between runs, all but the digits.
#include "e2e/program_run.h"
#include "plot/plot_test_files.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <clocale>
#include <cstdlib>
#include <gtest/gtest.h>
#include <locale.h>

namespace {

TEST(CliLocale, EveryCommandGivesTheSameBytesInEveryLocale) {
    const char* const locales[] = {"C", "es_ES.UTF-8", "de_DE.UTF-8"};
    for (const char* locale : locales) // one that is missing would fall back to C
        ASSERT_NE(newlocale(LC_ALL_MASK, locale, nullptr), nullptr)
            << locale << " is not installed: ./dev.sh test generates it (package locales)";
    const QString temp =
        QDir::tempPath() + "/pa_cli_locale_" + QString::number(QCoreApplication::applicationPid());
    QDir().mkpath(temp);
    const QString plotFile = QString::fromStdString(pa::testing::recordsFile(
        "pa_cli_locale_plot.txt", 40, [](long i) { return 1000 + 0.37 * i * i - 9.8 * i; }));
    const QString rec = temp + "/rec.txt", download = temp + "/download.txt";
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
        {{"pf",     "--w",  "1000",    "--pf",     ".725", "--v",     "230",
          "--a",    "6.00", "--angle", "43.5",     "--va", "1380.00", "--var",
          "951.10", "--hz", "50Hz",    "--target", "pf",   "0.95"},
         {},
         false,
         "PF2: 0.95"},
        {{"plot", plotFile, "--points"}, {}, false, "1,1,990.6,"},
        {{"plot", plotFile, "--stats"}, {}, false, "mean "},
        {{"logger", "status", "--simulate"}, {}, false, "state: "},
        {{"logger", "download", "--out", download, "--simulate"}, download, false, "10 records"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args.join(' ').toStdString());
        QString reference;
        for (const char* locale : locales) {
            QFile::remove(c.file);
            const auto r = pa::testing::runProgram(PA_CLI_PROGRAM, c.args, 60000, [&](auto& env) {
                env.insert("LC_ALL", locale);
                env.insert("LANG", locale);
            });
            QFile file(c.file);
            QString out =
                r.out + "\n--\n" + (file.open(QIODevice::ReadOnly) ? QString(file.readAll()) : "");
            if (c.masked)
                out.replace(QRegularExpression("[0-9]"), "#");
            EXPECT_EQ(r.status, 0) << locale;
            if (reference.isEmpty()) {
                EXPECT_TRUE((reference = out).contains(c.expected)) << out.toStdString();
            }
            EXPECT_EQ(out.toStdString(), reference.toStdString()) << locale;
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
