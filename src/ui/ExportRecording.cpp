// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "ui/ExportRecording.h"

#include "datafile/csv_export.h"
#include "ui/CaptionText.h"

#include <QApplication>
#include <QDate>
#include <QLocale>
#include <QProgressDialog>

namespace pa::ui {
namespace {

// Problems shown in the closing message; the count says how many there were in all.
constexpr int kProblemsShown = 5;
constexpr int kProgressSteps = 1000;

} // namespace

bool exportRecording(app::Ui& ui, QWidget* parent, const std::string& dataPath, int language) {
    auto text = [language](Caption c) { return captionText(c, language); };
    const std::string title = caption(Caption::ExportTitle, language);
    if (dataPath.empty()) {
        ui.message(caption(Caption::ExportOpenFirst, language), title, app::Icon::Exclamation);
        return false;
    }
    const auto out = ui.saveFileAt(
        title, (text(Caption::CsvFilesFilter) + ";;" + text(Caption::AllFilesFilter)).toStdString(),
        datafile::csvNameFor(dataPath));
    if (!out)
        return false;

    datafile::ExportOptions options;
    const bool decimalComma = QLocale().decimalPoint() == QStringLiteral(",");
    options.separator = decimalComma ? ';' : ',';
    options.downloadYear = QDate::currentDate().year();

    QProgressDialog progress(text(Caption::ExportRunning).arg(QString::fromStdString(dataPath)),
                             text(Caption::AlarmCancel), 0, kProgressSteps, parent);
    progress.setWindowTitle(QString::fromStdString(title));
    progress.setWindowModality(Qt::WindowModal);
    progress.setMinimumDuration(500);
    std::string problems;
    datafile::ExportSummary summary;
    datafile::ExportCallbacks callbacks;
    callbacks.problem = [&](const datafile::Entry& e) {
        if (summary.malformed <= kProblemsShown)
            problems +=
                text(Caption::ExportLine).arg(e.lineNumber).toStdString() + ": " + e.problem + "\n";
    };
    callbacks.progress = [&](std::uint64_t done, std::uint64_t total) {
        progress.setValue(total > 0 ? static_cast<int>(done * kProgressSteps / total) : 0);
        QApplication::processEvents();
        return !progress.wasCanceled();
    };
    const std::string error = datafile::exportCsvFile(dataPath, *out, options, summary, callbacks);
    progress.reset();
    if (!error.empty()) {
        ui.message(error, title, app::Icon::Exclamation);
        return false;
    }
    std::string report = text(Caption::ExportDone)
                             .arg(summary.records)
                             .arg(summary.lostLines)
                             .arg(QString::fromStdString(*out))
                             .toStdString() +
                         (decimalComma ? caption(Caption::ExportCommas, language) : "") + ".";
    if (summary.malformed > 0)
        report += "\n\n" + text(Caption::ExportLeftOut).arg(summary.malformed).toStdString() +
                  "\n" + problems;
    ui.message(report, title,
               summary.malformed > 0 ? app::Icon::Exclamation : app::Icon::Information);
    return true;
}

} // namespace pa::ui
