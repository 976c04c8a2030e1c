// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "datafile/csv_export.h"

#include "datafile/data_folder.h"
#include "datafile/output_file.h"
#include "datafile/recorder_line.h"
#include "plot/line_reader.h"

#include <algorithm>
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

// A record's row, the long way (numbers in any notation, a period that needs quoting).
void appendRow(std::string& out, const Entry& e, char sep, UtcOffsets& offsets) {
    appendTimestamp(out, e.timeMs, offsets);
    out += sep;
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

// What the rows of a piece are written into: one block, filled through a pointer, grown only
// when a row might not fit. Rows of plain numbers are copied from the recording's own texts
// (most rows); a row with a number in another notation is made by appendRow.
struct RowBlock {
    std::string bytes; // bytes[0, used) are rows
    std::size_t used = 0;
    UtcOffsets offsets;
    std::int64_t day = INT64_MIN, hour = INT64_MIN;
    char dayText[10] = {}, offsetText[6] = {};

    char* room(std::size_t n) {
        if (bytes.size() < used + n)
            bytes.resize(std::max(2 * bytes.size(), used + n + kFlushBytes));
        return bytes.data() + used;
    }
    void clear() {
        used = 0;
        if (bytes.size() > 4 * kFlushBytes)
            std::string().swap(bytes); // a piece of long lines
    }
};

// Room for any row of plain numbers: every text is a view into the line (at most
// LineReader::kKeepBytes), each number may get a leading "0" and the period doubled quotes.
constexpr std::size_t kRowRoom = 2 * plot::LineReader::kKeepBytes + 128;

char* putDigits(char* p, unsigned n, int width) {
    for (int i = width - 1; i >= 0; --i, n /= 10)
        p[i] = static_cast<char>('0' + n % 10);
    return p + width;
}

// The time stamp as appendTimestamp writes it, the date and the UTC offset kept per day and hour.
char* putTimestamp(char* p, std::int64_t timeMs, RowBlock& b) {
    constexpr std::int64_t kMsPerDay = 86'400'000;
    const std::int64_t day = timeMs / kMsPerDay - (timeMs % kMsPerDay < 0);
    const std::int64_t hour = timeMs / 3'600'000 - (timeMs % 3'600'000 < 0);
    if (hour != b.hour) {
        std::string text;
        appendTimestamp(text, timeMs, b.offsets); // "yyyy-mm-ddThh:mm:ss.mmm+hh:mm"
        std::memcpy(b.dayText, text.data(), 10);
        std::memcpy(b.offsetText, text.data() + text.size() - 6, 6);
        b.day = day;
        b.hour = hour;
    }
    const auto ms = static_cast<unsigned>(timeMs - day * kMsPerDay);
    std::memcpy(p, b.dayText, 10);
    p[10] = 'T';
    p = putDigits(p + 11, ms / 3'600'000, 2);
    *p++ = ':';
    p = putDigits(p, ms / 60'000 % 60, 2);
    *p++ = ':';
    p = putDigits(p, ms / 1000 % 60, 2);
    *p++ = '.';
    p = putDigits(p, ms % 1000, 3);
    std::memcpy(p, b.offsetText, 6);
    return p + 6;
}

// Copies n bytes; most texts of a row are a few bytes long, copied here in two overlapping
// moves instead of a library call each.
void copyShort(char* to, const char* from, std::size_t n) {
    if (n >= 8 && n <= 16) {
        std::uint64_t a, b;
        std::memcpy(&a, from, 8);
        std::memcpy(&b, from + n - 8, 8);
        std::memcpy(to, &a, 8);
        std::memcpy(to + n - 8, &b, 8);
    } else if (n >= 4 && n < 8) {
        std::uint32_t a, b;
        std::memcpy(&a, from, 4);
        std::memcpy(&b, from + n - 4, 4);
        std::memcpy(to, &a, 4);
        std::memcpy(to + n - 4, &b, 4);
    } else if (n < 4) {
        for (std::size_t i = 0; i < n; ++i)
            to[i] = from[i];
    } else {
        std::memcpy(to, from, n);
    }
}

// A plain number's text, as appendNumber writes it; nothing for an empty text.
char* putPlain(char* p, std::string_view text, char separator) {
    if (text.empty())
        return p;
    if (text.front() == '-')
        *p++ = '-', text.remove_prefix(1);
    if (text.front() == '.')
        *p++ = '0';
    copyShort(p, text.data(), text.size());
    if (separator == ';')
        if (auto* point = static_cast<char*>(std::memchr(p, '.', text.size())))
            *point = ',';
    return p + text.size();
}

bool plainRow(const Entry& e, char separator) {
    for (const FieldValue* v : {&e.record, &e.hoursPerDay, &e.cost})
        if (v->number && !v->plain)
            return false;
    for (const FieldValue& v : e.values)
        if (v.number && !v.plain)
            return false;
    if (looksLikeFormula(e.period))
        return false;
    // One look at each character (find_first_of would look each one up in the list).
    return std::none_of(e.period.begin(), e.period.end(), [separator](char c) {
        return c == '"' || c == '\r' || c == '\n' || c == separator;
    });
}

// A row of plain numbers, copied from their texts (an empty text is an empty cell).
void writePlainRow(RowBlock& b, const PlainRecord& r, bool overload, char sep) {
    char* const start = b.room(kRowRoom);
    char* p = putTimestamp(start, r.timeMs, b);
    *p++ = sep;
    p = putPlain(p, r.record, sep);
    for (const std::string_view value : r.values) {
        *p++ = sep;
        p = putPlain(p, value, sep);
    }
    *p++ = sep;
    p = std::copy(r.period.begin(), r.period.end(), p); // an empty period has no bytes at all
    *p++ = sep;
    p = putPlain(p, r.hoursPerDay, sep);
    *p++ = sep;
    p = putPlain(p, r.cost, sep);
    *p++ = sep;
    const std::string_view status = overload ? "overload\r\n" : "ok\r\n";
    std::memcpy(p, status.data(), status.size());
    b.used += static_cast<std::size_t>(p + status.size() - start);
}

std::string_view textOf(const FieldValue& v) {
    return v.number ? v.text : std::string_view();
}

void writeRow(RowBlock& b, const Entry& e, char sep) {
    if (e.kind == EntryKind::Record && !plainRow(e, sep)) {
        std::string row;
        appendRow(row, e, sep, b.offsets);
        std::memcpy(b.room(row.size()), row.data(), row.size());
        b.used += row.size();
        return;
    }
    if (e.kind == EntryKind::LostCommunication) {
        char* const start = b.room(kRowRoom);
        char* p = putTimestamp(start, e.timeMs, b);
        constexpr std::string_view kLost = "no_com\r\n";
        std::memset(p, sep, 14);
        p = std::copy(kLost.begin(), kLost.end(), p + 14);
        b.used += static_cast<std::size_t>(p - start);
        return;
    }
    PlainRecord r;
    r.timeMs = e.timeMs;
    r.record = textOf(e.record);
    // As in appendRow: no VA or VAR worked out of an overload.
    const bool noVA = !e.values[kQV].number || !e.values[kQA].number;
    const bool noVAR = noVA || !e.values[kQW].number;
    for (int q = 0; q < kQuantityCount; ++q)
        if (!(q == kQVA && noVA) && !(q == kQVAR && noVAR))
            r.values[static_cast<std::size_t>(q)] = textOf(e.values[static_cast<std::size_t>(q)]);
    r.period = e.period;
    r.hoursPerDay = textOf(e.hoursPerDay);
    r.cost = textOf(e.cost);
    writePlainRow(b, r, e.overload, sep);
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
        RowBlock rows;
        ExportSummary summary;
        PlainRecordReader plain;
        PlainRecord record; // one for every line: a new one is cleared with a string instruction
    };
    PieceSlots<Piece> piece(options.pieces);
    std::string stopped;
    if (!out.write(csvHeader(options.separator) + "\r\n"))
        stopped = out.error();
    const std::string error =
        !stopped.empty()
            ? ""
            : readInPieces(
                  inPath, options.downloadYear, RecordingReader::kAllQuantities, options.pieces,
                  {[&](std::size_t i) {
                       Piece& p = piece[i];
                       p.rows.clear();
                       p.summary = {};
                       p.plain = {};
                   },
                   [&](std::size_t i, const Entry& e) {
                       Piece& p = piece[i];
                       ++p.summary.lines;
                       if (e.kind == EntryKind::Record) {
                           ++p.summary.records;
                           p.summary.overloads += e.overload;
                           writeRow(p.rows, e, options.separator);
                       } else if (e.kind == EntryKind::LostCommunication) {
                           ++p.summary.lostLines;
                           writeRow(p.rows, e, options.separator);
                       } else if (e.kind == EntryKind::Malformed) {
                           ++p.summary.malformed;
                       }
                   },
                   [&](std::size_t i, std::uint64_t position) {
                       Piece& p = piece[i];
                       summary.lines += p.summary.lines;
                       summary.records += p.summary.records;
                       summary.overloads += p.summary.overloads;
                       summary.lostLines += p.summary.lostLines;
                       summary.malformed += p.summary.malformed;
                       if (!out.write(std::string_view(p.rows.bytes.data(), p.rows.used)))
                           stopped = out.error();
                       else if (callbacks.progress &&
                                !callbacks.progress(position, static_cast<std::uint64_t>(length)))
                           stopped = "export cancelled";
                       return stopped.empty();
                   },
                   callbacks.problem,
                   // Most lines: a plain record line of the recorder's, copied field by field.
                   [&](std::size_t i, std::string_view line) {
                       Piece& p = piece[i];
                       if (!p.plain.read(line, p.record))
                           return false;
                       ++p.summary.lines;
                       ++p.summary.records;
                       writePlainRow(p.rows, p.record, false, options.separator);
                       return true;
                   }});
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
