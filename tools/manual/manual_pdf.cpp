// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// poweranalyzer-manual: turns a Markdown manual into a printable PDF (A4 portrait, title and
// page numbers in the margins, pictures fitted to the page). Run by the build for each
// manual in docs/manual; not installed.
//
//   poweranalyzer-manual INPUT.md OUTPUT.pdf
//
// Any failure (a missing input or picture, an unwritable output) is one line on standard
// error and exit status 1, and leaves no partial PDF behind.
#include "markdown_document.h"
#include "pdf_pages.h"

#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QSaveFile>
#include <cstdio>

namespace {

// Keeps a failure to one line: a build run without a login session has no runtime folder,
// which Qt notes on every start although the tool never uses one.
void quietRuntimeFolderNote(QtMsgType type, const QMessageLogContext& context,
                            const QString& message) {
    if (type == QtWarningMsg && message.startsWith("QStandardPaths: XDG_RUNTIME_DIR"))
        return;
    std::fprintf(stderr, "%s\n", qPrintable(qFormatLogMessage(type, context, message)));
}

int fail(const QString& message) {
    std::fprintf(stderr, "poweranalyzer-manual: %s\n", qPrintable(message));
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    // Fonts need a GUI application; the build has no display.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler(quietRuntimeFolderNote);
    QGuiApplication app(argc, argv);
    const QStringList args = app.arguments().mid(1);
    if (args.size() != 2) {
        std::fputs("usage: poweranalyzer-manual INPUT.md OUTPUT.pdf\n", stderr);
        return 2;
    }
    const QString input = args[0], output = args[1];

    pa::manual::LoadResult manual =
        pa::manual::loadMarkdown(input, pa::manual::columnWidthPoints());
    if (!manual.error.isEmpty())
        return fail(manual.error);
    const QString title =
        manual.title.isEmpty() ? QFileInfo(input).completeBaseName() : manual.title;

    QDir().mkpath(QFileInfo(output).absolutePath());
    QSaveFile file(output);
    if (!file.open(QIODevice::WriteOnly))
        return fail("cannot write " + output + ": " + file.errorString());
    QString error;
    if (pa::manual::writePdf(*manual.document, title, file, error) == 0)
        return fail(output + ": " + error);
    if (!file.commit())
        return fail("cannot write " + output + ": " + file.errorString());
    return 0;
}
