// poweranalyzer-cli report as a user runs it: JSON that a real client reads, an English and a
// Chinese PDF written whole, and a clear message when the PDF cannot be written.
#include "support/data_file_writer.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

QProcess* start(const QStringList& args) {
    auto* p = new QProcess;
    p->start(PA_CLI_PROGRAM, args);
    p->waitForFinished(60000);
    return p;
}

TEST(ReportCli, JsonAndPdfInBothLanguages) {
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
    // The JSON is read by Python's own parser, and its figures are there.
    std::unique_ptr<QProcess> p(start({"report", data, "--format", "json"}));
    ASSERT_EQ(p->exitCode(), 0) << p->readAllStandardError().toStdString();
    QProcess python;
    python.start("python3", {"-c", "import json,sys; d=json.load(sys.stdin); "
                                   "print(d['demand']['intervals'], d['period']['records'], "
                                   "d['period']['first'][-18:])"});
    python.write(p->readAllStandardOutput());
    python.closeWriteChannel();
    python.waitForFinished();
    // 08:00 to 08:20: one whole interval; times with milliseconds and the UTC offset
    EXPECT_EQ(python.readAllStandardOutput(), "1 1200 08:00:00.000+00:00\n");

    for (const QString lang : {"en", "zh"}) {
        const QString pdf = dir.filePath("report-" + lang + ".pdf");
        p.reset(start({"report", data, "--pdf", pdf, "--lang", lang}));
        EXPECT_EQ(p->exitCode(), 0) << p->readAllStandardError().toStdString();
        QFile f(pdf);
        ASSERT_TRUE(f.open(QIODevice::ReadOnly));
        const QByteArray bytes = f.readAll();
        EXPECT_TRUE(bytes.startsWith("%PDF-")) << lang.toStdString();
        EXPECT_TRUE(bytes.trimmed().endsWith("%%EOF")) << lang.toStdString();
    }
    // An unwritable target: a message, and nothing half-written left beside the reports.
    const QString bad = dir.filePath("missing/r.pdf");
    p.reset(start({"report", data, "--pdf", bad}));
    EXPECT_EQ(p->exitCode(), 2);
    EXPECT_TRUE(
        p->readAllStandardError().startsWith("poweranalyzer-cli: cannot write " + bad.toUtf8()));
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files),
              QStringList({"report-en.pdf", "report-zh.pdf", "run.txt"}));
}

} // namespace
