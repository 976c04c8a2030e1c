// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// Arbitrary file contents through the spreadsheet export (both separators) and the statistics
// (per hour, in all three output forms). The readers take files by path, so each input is
// written to a scratch file first (under /dev/shm where there is one). Nothing may be dropped
// without a word: every line of the file is counted once, the CSV holds the header and one
// row of 15 fields for each record and lost-communication line, and the statistics count
// the same records, lost lines and malformed lines as the export.
#include "datafile/csv_export.h"
#include "datafile/recording_stats.h"

#include "scratch_file.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

void check(bool ok) {
    if (!ok)
        std::abort();
}

// Lines as the readers count them: each ended by LF, and a last one without.
std::uint64_t linesIn(const std::uint8_t* data, std::size_t size) {
    std::uint64_t lines = 0;
    for (std::size_t i = 0; i < size; ++i)
        lines += data[i] == '\n';
    return lines + (size > 0 && data[size - 1] != '\n');
}

// Reads the CSV back as RFC 4180: rows end in CR LF outside quotes; checks that each row
// has `fields` fields and returns the number of rows.
std::uint64_t csvRows(std::FILE* csv, char separator, int fields) {
    std::rewind(csv);
    std::uint64_t rows = 0;
    int field = 1;
    bool quoted = false;
    for (int c = std::fgetc(csv), previous = 0; c != EOF; previous = c, c = std::fgetc(csv)) {
        if (c == '"')
            quoted = !quoted; // a doubled quote toggles twice
        else if (!quoted && c == separator)
            ++field;
        else if (!quoted && c == '\n') {
            check(previous == '\r');
            check(field == fields);
            ++rows;
            field = 1;
        }
    }
    check(!quoted && field == 1); // the last row is ended too
    return rows;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string path = pa::fuzzing::scratchPath("export");
    std::FILE* f = std::fopen(path.c_str(), "wb");
    if (!f)
        return 0;
    std::fwrite(data, 1, size, f);
    std::fclose(f);

    pa::datafile::ExportSummary exported;
    for (const char separator : {',', ';'}) {
        static const std::string csv = pa::fuzzing::scratchPath("export-csv");
        pa::datafile::ExportSummary summary;
        check(pa::datafile::exportCsvFile(path, csv, {separator, 2026}, summary).empty());
        std::FILE* out = std::fopen(csv.c_str(), "rb");
        if (!out)
            return 0;
        check(summary.lines == linesIn(data, size));
        check(csvRows(out, separator, 15) == 1 + summary.records + summary.lostLines);
        std::fclose(out);
        exported = summary;
    }
    pa::datafile::RecordingStats stats(pa::datafile::StatsPer::Hour);
    check(pa::datafile::gatherStats(path, 2026, stats, {}).empty());
    check(stats.whole().records == exported.records);
    check(stats.whole().lostLines == exported.lostLines);
    check(stats.malformedLines() == exported.malformed);
    const auto price = stats.filePrice();
    pa::datafile::statsText(path, stats, price);
    pa::datafile::statsCsv(stats, price);
    pa::datafile::statsJson(path, stats, price);
    return 0;
}
