#include "ui/ExportRecording.h"

#include "datafile/csv_export.h"

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

bool exportRecording(app::Ui& ui, QWidget* parent, const std::string& dataPath) {
    if (dataPath.empty()) {
        ui.message("Open a data file first.", "Export to CSV", app::Icon::Exclamation);
        return false;
    }
    const auto out = ui.saveFileAt("Export to CSV", "CSV files (*.csv);;All files (*)",
                                   datafile::csvNameFor(dataPath));
    if (!out)
        return false;

    datafile::ExportOptions options;
    const bool decimalComma = QLocale().decimalPoint() == QStringLiteral(",");
    options.separator = decimalComma ? ';' : ',';
    options.downloadYear = QDate::currentDate().year();

    QProgressDialog progress("Exporting " + QString::fromStdString(dataPath) + " ...", "Cancel", 0,
                             kProgressSteps, parent);
    progress.setWindowTitle("Export to CSV");
    progress.setWindowModality(Qt::WindowModal);
    progress.setMinimumDuration(500);
    std::string problems;
    datafile::ExportSummary summary;
    datafile::ExportCallbacks callbacks;
    callbacks.problem = [&](const datafile::Entry& e) {
        if (summary.malformed <= kProblemsShown)
            problems += "line " + std::to_string(e.lineNumber) + ": " + e.problem + "\n";
    };
    callbacks.progress = [&](std::uint64_t done, std::uint64_t total) {
        progress.setValue(total > 0 ? static_cast<int>(done * kProgressSteps / total) : 0);
        QApplication::processEvents();
        return !progress.wasCanceled();
    };
    const std::string error = datafile::exportCsvFile(dataPath, *out, options, summary, callbacks);
    progress.reset();
    if (!error.empty()) {
        ui.message(error, "Export to CSV", app::Icon::Exclamation);
        return false;
    }
    std::string report = std::to_string(summary.records) + " records and " +
                         std::to_string(summary.lostLines) +
                         " lost-communication lines written to " + *out +
                         (decimalComma ? " (semicolons, decimal commas)." : ".");
    if (summary.malformed > 0)
        report += "\n\n" + std::to_string(summary.malformed) +
                  " lines could not be read and were left out:\n" + problems;
    ui.message(report, "Export to CSV",
               summary.malformed > 0 ? app::Icon::Exclamation : app::Icon::Information);
    return true;
}

} // namespace pa::ui
