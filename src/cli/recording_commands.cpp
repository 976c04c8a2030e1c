// poweranalyzer-cli export and stats: recordings for spreadsheets and their statistics.
//
//   poweranalyzer-cli export FILE [--out OUT.csv] [--sep ,|;] [--year YYYY]
//   poweranalyzer-cli stats FILE [--per day|hour] [--format text|csv|json] [--price P]
//                              [--year YYYY]
//
// Both read a data file written by recording or a datalogger download file line by line, so
// memory stays flat whatever its length. A malformed line is reported on standard error as
// "FILE:LINE: reason", left out of the output, and makes the exit status 1.
#include "cli/commands.h"
#include "datafile/csv_export.h"
#include "datafile/recording_stats.h"

#include <charconv>
#include <cstdio>
#include <ctime>
#include <string>
#include <vector>

namespace pa::cli {
namespace {

int currentYear() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    return local.tm_year + 1900;
}

template <typename T> bool parseNumber(const std::string& text, T& out) {
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), out);
    return !text.empty() && ec == std::errc() && end == text.data() + text.size();
}

// The options both subcommands share: the file and a download's year. Returns the error,
// or "" with `handled` set when the option was one of these.
std::string commonOption(const std::vector<std::string>& args, std::size_t& i, std::string& file,
                         int& year, bool& handled) {
    handled = true;
    const std::string& a = args[i];
    if (a == "--year") {
        if (i + 1 >= args.size() || !parseNumber(args[++i], year) || year < 1 || year > 9999)
            return "--year takes a year such as " + std::to_string(currentYear());
        return "";
    }
    if (!a.empty() && a[0] == '-' && a != "-") {
        handled = false;
        return "";
    }
    if (!file.empty())
        return "one recording only (" + a + ")";
    file = a;
    return "";
}

void reportProblem(const std::string& file, const datafile::Entry& e) {
    std::fprintf(stderr, "poweranalyzer-cli: %s:%llu: %s\n", file.c_str(),
                 static_cast<unsigned long long>(e.lineNumber), e.problem.c_str());
}

} // namespace

int exportCommand(const std::vector<std::string>& args) {
    std::string file, out;
    datafile::ExportOptions options;
    options.downloadYear = currentYear();
    for (std::size_t i = 0; i < args.size(); ++i) {
        bool handled = false;
        if (std::string e = commonOption(args, i, file, options.downloadYear, handled); !e.empty())
            return fail(e);
        if (handled)
            continue;
        const std::string& a = args[i];
        if (a != "--out" && a != "--sep")
            return fail("unknown option " + a + " (see export --help)");
        if (i + 1 >= args.size())
            return fail(a + " needs a value");
        const std::string& v = args[++i];
        if (a == "--out") {
            out = v;
        } else if (v == "," || v == ";") {
            options.separator = v[0];
        } else {
            return fail("--sep takes , or ;");
        }
    }
    if (file.empty())
        return fail("give the recording to export (see export --help)");

    datafile::ExportSummary summary;
    const datafile::ExportCallbacks callbacks{
        [&](const datafile::Entry& e) { reportProblem(file, e); }, {}};
    const std::string error = out.empty() || out == "-"
                                  ? datafile::exportCsv(file, stdout, options, summary, callbacks)
                                  : datafile::exportCsvFile(file, out, options, summary, callbacks);
    if (!error.empty())
        return fail(error);
    if (!out.empty() && out != "-")
        std::fprintf(stderr, "%llu records and %llu lost-communication lines written to %s\n",
                     static_cast<unsigned long long>(summary.records),
                     static_cast<unsigned long long>(summary.lostLines), out.c_str());
    return summary.malformed > 0 ? 1 : 0;
}

int statsCommand(const std::vector<std::string>& args) {
    std::string file, format = "text";
    int year = currentYear();
    datafile::StatsPer per = datafile::StatsPer::Whole;
    std::optional<double> price;
    for (std::size_t i = 0; i < args.size(); ++i) {
        bool handled = false;
        if (std::string e = commonOption(args, i, file, year, handled); !e.empty())
            return fail(e);
        if (handled)
            continue;
        const std::string& a = args[i];
        if (a != "--per" && a != "--format" && a != "--price")
            return fail("unknown option " + a + " (see stats --help)");
        if (i + 1 >= args.size())
            return fail(a + " needs a value");
        const std::string& v = args[++i];
        if (a == "--per") {
            if (v != "day" && v != "hour")
                return fail("--per takes day or hour");
            per = v == "day" ? datafile::StatsPer::Day : datafile::StatsPer::Hour;
        } else if (a == "--format") {
            if (v != "text" && v != "csv" && v != "json")
                return fail("--format takes text, csv or json");
            format = v;
        } else {
            double p = 0;
            if (!parseNumber(v, p) || p < 0)
                return fail("--price takes a price per kWh such as 0.25");
            price = p;
        }
    }
    if (file.empty())
        return fail("give the recording (see stats --help)");

    datafile::RecordingStats stats(per);
    if (const std::string error = datafile::gatherStats(
            file, year, stats, [&](const datafile::Entry& e) { reportProblem(file, e); });
        !error.empty())
        return fail(error);
    if (!price)
        price = stats.filePrice();
    const std::string text = format == "csv"    ? datafile::statsCsv(stats, price)
                             : format == "json" ? datafile::statsJson(file, stats, price)
                                                : datafile::statsText(file, stats, price);
    std::fwrite(text.data(), 1, text.size(), stdout);
    return stats.malformedLines() > 0 ? 1 : 0;
}

} // namespace pa::cli
