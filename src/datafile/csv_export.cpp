// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "datafile/csv_export.h"

#include "datafile/data_folder.h"
#include "datafile/output_file.h"
#include "plot/line_reader.h"

#include <charconv>
#include <cstring>
#include <filesystem>
#include <vector>

namespace pa::datafile {
namespace {

constexpr const char* kColumns[] = {"time",          "record", "W",     "PF",  "V",       "A",
                                    "angle_deg",     "VA",     "VAR",   "kWh", "est_kWh", "period",
                                    "hours_per_day", "cost",   "status"};
constexpr std::size_t kFlushBytes = 1 << 20;

// A number as the recording wrote it when that is already plain decimal notation (a "0" put
// before a leading point); otherwise (an exponent) in fixed notation with the fewest digits
// that read back to the same value. With ';' the decimal mark is a comma.
void appendNumber(std::string& out, const FieldValue& v, char separator) {
    if (!v.number)
        return;
    const std::size_t start = out.size();
    if (v.plain) {
        const bool negative = v.text.front() == '-';
        std::string_view digits = v.text.substr(negative ? 1 : 0);
        if (negative)
            out += '-';
        if (digits.front() == '.')
            out += '0';
        out += digits;
    } else {
        char buffer[400];
        const auto r =
            std::to_chars(buffer, buffer + sizeof buffer, *v.number, std::chars_format::fixed);
        if (r.ec != std::errc())
            return;
        out.append(buffer, r.ptr);
    }
    if (separator == ';')
        for (std::size_t i = start; i < out.size(); ++i)
            if (out[i] == '.')
                out[i] = ',';
}

// A spreadsheet takes a cell that begins with one of these as a formula (=HYPERLINK(...) in a
// file made to be opened by one); a leading apostrophe keeps such a cell text.
bool looksLikeFormula(std::string_view text) {
    return !text.empty() &&
           std::string_view("=+-@\t\r").find(text.front()) != std::string_view::npos;
}

void appendText(std::string& out, std::string_view text, char separator) {
    if (looksLikeFormula(text)) {
        std::string quoted = "'";
        quoted += text;
        return appendText(out, quoted, separator);
    }
    if (text.find_first_of(std::string{separator, '"', '\r', '\n'}) == std::string_view::npos) {
        out += text;
        return;
    }
    out += '"';
    for (char c : text) {
        if (c == '"')
            out += '"';
        out += c;
    }
    out += '"';
}

void appendRow(std::string& out, const Entry& e, char sep, UtcOffsets& offsets) {
    appendTimestamp(out, e.timeMs, offsets);
    out += sep;
    if (e.kind == EntryKind::LostCommunication) {
        out.append(13, sep);
        out += "no_com\r\n";
        return;
    }
    appendNumber(out, e.record, sep);
    // The window works VA and VAR out of an overloaded reading as if it were 0: that is no
    // measurement, and the cell stays empty as for the overload itself.
    const bool noVA = !e.values[kQV].number || !e.values[kQA].number;
    const bool noVAR = noVA || !e.values[kQW].number;
    for (int q = 0; q < kQuantityCount; ++q) {
        out += sep;
        if (!(q == kQVA && noVA) && !(q == kQVAR && noVAR))
            appendNumber(out, e.values[q], sep);
    }
    out += sep;
    appendText(out, e.period, sep);
    out += sep;
    appendNumber(out, e.hoursPerDay, sep);
    out += sep;
    appendNumber(out, e.cost, sep);
    out += sep;
    out += e.overload ? "overload\r\n" : "ok\r\n";
}

} // namespace

std::string csvHeader(char separator) {
    std::string header;
    for (const char* c : kColumns) {
        if (!header.empty())
            header += separator;
        header += c;
    }
    return header;
}

std::string exportCsv(const std::string& inPath, OutputFile& out, const ExportOptions& options,
                      ExportSummary& summary, const ExportCallbacks& callbacks) {
    const std::int64_t length = plot::fileLength(inPath);
    // Each piece's rows are made on a thread of its own and written in the file's order.
    struct Piece {
        std::string rows;
        ExportSummary summary;
        UtcOffsets offsets;
    };
    std::vector<Piece> pieces(pieceSlots(options.pieces));
    auto piece = [&](std::size_t i) -> Piece& { return pieces[i % pieces.size()]; };
    std::string stopped;
    if (!out.write(csvHeader(options.separator) + "\r\n"))
        stopped = out.error();
    const std::string error =
        !stopped.empty()
            ? ""
            : readInPieces(
                  inPath, options.downloadYear, RecordingReader::kAllQuantities, options.pieces,
                  {[&](std::size_t i) {
                       Piece& p = piece(i);
                       p.rows.clear();
                       p.summary = {};
                   },
                   [&](std::size_t i, const Entry& e) {
                       Piece& p = piece(i);
                       ++p.summary.lines;
                       if (e.kind == EntryKind::Record) {
                           ++p.summary.records;
                           p.summary.overloads += e.overload;
                           appendRow(p.rows, e, options.separator, p.offsets);
                       } else if (e.kind == EntryKind::LostCommunication) {
                           ++p.summary.lostLines;
                           appendRow(p.rows, e, options.separator, p.offsets);
                       } else if (e.kind == EntryKind::Malformed) {
                           ++p.summary.malformed;
                       }
                   },
                   [&](std::size_t i, std::uint64_t position) {
                       Piece& p = piece(i);
                       summary.lines += p.summary.lines;
                       summary.records += p.summary.records;
                       summary.overloads += p.summary.overloads;
                       summary.lostLines += p.summary.lostLines;
                       summary.malformed += p.summary.malformed;
                       if (!out.write(p.rows))
                           stopped = out.error();
                       else if (callbacks.progress &&
                                !callbacks.progress(position, static_cast<std::uint64_t>(length)))
                           stopped = "export cancelled";
                       if (p.rows.capacity() > 2 * kFlushBytes)
                           std::string().swap(p.rows); // a piece of long lines
                       return stopped.empty();
                   },
                   callbacks.problem});
    if (!error.empty() || !stopped.empty()) {
        out.abandon(error.empty() ? stopped : error);
        return out.error();
    }
    return out.commit();
}

std::string exportCsvFile(const std::string& inPath, const std::string& outPath,
                          const ExportOptions& options, ExportSummary& summary,
                          const ExportCallbacks& callbacks) {
    // The recording is looked at first: a missing input must not cost the old output.
    if (std::string problem = unreadable(inPath); !problem.empty())
        return problem;
    OutputFile out(outPath);
    if (!out.ok())
        return out.error();
    return exportCsv(inPath, out, options, summary, callbacks);
}

std::string csvNameFor(const std::string& inPath) {
    std::filesystem::path p = pathFromUtf8(inPath);
    p.replace_extension(".csv");
    const std::u8string s = p.u8string();
    return std::string(s.begin(), s.end());
}

} // namespace pa::datafile
