// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// poweranalyzer-cli export and stats: recordings for spreadsheets and their statistics.
//
//   poweranalyzer-cli export FILE [--out OUT.csv] [--sep ,|;] [--year YYYY]
//   poweranalyzer-cli stats FILE [--per day|hour] [--format text|csv|json] [--price P]
//                              [--year YYYY]
//   poweranalyzer-cli report FILE... [--pdf OUT.pdf] [--format text|json] [--lang en|zh] ...
//
// Both read a data file written by recording or a datalogger download file line by line, so
// memory stays flat whatever its length. A malformed line is reported on standard error as
// "FILE:LINE: reason", left out of the output, and makes the exit status 1.
#include "cli/commands.h"
#include "cli/xlsx_export.h"
#include "cmdline/command_options.h"
#include "datafile/csv_export.h"
#include "datafile/recording_stats.h"
#include "report/SurveyPdf.h"
#include "report/load_survey.h"
#include "text/escaped_text.h"

#include <cstdio>
#include <ctime>
#include <string>
#include <vector>

namespace pa::cli {

using namespace pa::cmdline;
namespace {

int currentYear() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    return local.tm_year + 1900;
}

void reportProblem(const std::string& file, const datafile::Entry& e) {
    std::fprintf(stderr, "poweranalyzer-cli: %s:%llu: %s\n", text::printable(file).c_str(),
                 static_cast<unsigned long long>(e.lineNumber), text::printable(e.problem).c_str());
}

} // namespace

int exportCommand(const std::vector<std::string>& args) {
    ExportArgs o;
    if (const std::string error = parseExport(args, o, currentYear()); !error.empty())
        return fail(error);
    const std::string &file = o.file, &out = o.out;
    const datafile::ExportOptions& options = o.options;

    datafile::ExportSummary summary;
    const datafile::ExportCallbacks callbacks{
        [&](const datafile::Entry& e) { reportProblem(file, e); }, {}};
    const std::string error =
        o.xlsx
            ? exportXlsx(file, out, options.downloadYear, summary, callbacks)
            : datafile::exportCsvFile(file, out.empty() ? "-" : out, options, summary, callbacks);
    if (!error.empty())
        return fail(error);
    if (!out.empty() && out != "-")
        std::fprintf(stderr, "%llu records and %llu lost-communication lines written to %s\n",
                     static_cast<unsigned long long>(summary.records),
                     static_cast<unsigned long long>(summary.lostLines), out.c_str());
    return summary.malformed > 0 ? 1 : 0;
}

int statsCommand(const std::vector<std::string>& args) {
    StatsArgs o;
    if (const std::string error = parseStats(args, o, currentYear()); !error.empty())
        return fail(error);
    const std::string& file = o.file;
    std::optional<double> price = o.price;

    datafile::RecordingStats stats(o.per);
    if (const std::string error = datafile::gatherStats(
            file, o.year, stats, [&](const datafile::Entry& e) { reportProblem(file, e); });
        !error.empty())
        return fail(error);
    if (stats.ungroupedCounts() > 0)
        std::fprintf(stderr,
                     "poweranalyzer-cli: %s: more than %zu %ss; the lines of the further ones "
                     "are counted in the whole file's figures only\n",
                     text::printable(file).c_str(), datafile::RecordingStats::kMostGroups,
                     o.per == datafile::StatsPer::Day ? "day" : "hour");
    if (!price)
        price = stats.filePrice();
    const std::string text = o.format == "csv"    ? datafile::statsCsv(stats, price)
                             : o.format == "json" ? datafile::statsJson(file, stats, price)
                                                  : datafile::statsText(file, stats, price);
    std::fwrite(text.data(), 1, text.size(), stdout);
    return stats.malformedLines() > 0 ? 1 : 0;
}

int reportCommand(const std::vector<std::string>& args) {
    ReportArgs o;
    if (const std::string error = parseReport(args, o, currentYear()); !error.empty())
        return fail(error);
    report::Survey survey;
    const report::SurveyCallbacks callbacks{
        [](const std::string& file, const datafile::Entry& e) { reportProblem(file, e); }, {}};
    if (const std::string error = report::gatherSurvey(o.files, o.options, survey, callbacks);
        !error.empty())
        return fail(error);
    if (!o.pdf.empty()) {
        if (const std::string error = report::writeSurveyPdf(survey, o.pdf, o.lang, PA_VERSION);
            !error.empty())
            return fail(error);
        if (o.pdf != "-")
            std::fprintf(stderr, "report written to %s\n", o.pdf.c_str());
    } else {
        const std::string text =
            o.format == "json" ? report::surveyJson(survey) : report::surveyText(survey);
        std::fwrite(text.data(), 1, text.size(), stdout);
    }
    return survey.malformedLines > 0 ? 1 : 0;
}

} // namespace pa::cli
