// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "datafile/recording_reader.h"

#include "datafile/data_folder.h"
#include "datafile/recorder_line.h"
#include "plot/line_reader.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>

namespace pa::datafile {
namespace {

constexpr std::int64_t kMsPerDay = 86'400'000;
constexpr std::string_view kLostNotice = "NO COM, DATA LOST";
// A download line: number, date, time, watts, PF, volts, amps.
constexpr int kDownloadFields = 7;

std::string_view trim(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t'))
        s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\r'))
        s.remove_suffix(1);
    return s;
}

// Plain decimals ("-123.45", ".980") are most of what recordings hold: read at once, as
// an exact whole number divided by an exact power of ten, which rounds as from_chars does.
constexpr double kPowersOfTen[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                   1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};

// Sets out and returns true when s is one; the value is not handed back in an optional, which
// costs a store-forwarding stall for each of the dozen fields of every line.
bool plainDecimal(std::string_view s, double& out) {
    const char* p = s.data();
    const char* const end = p + s.size();
    const bool negative = p != end && *p == '-';
    p += negative;
    const char* const first = p;
    const char* point = nullptr;
    std::uint64_t whole = 0; // wraps past 19 digits, but then the digit count refuses it
    for (; p != end; ++p) {
        const unsigned digit = static_cast<unsigned char>(*p) - unsigned{'0'};
        if (digit < 10)
            whole = whole * 10 + digit;
        else if (*p == '.' && !point)
            point = p;
        else
            return false;
    }
    const auto digitCount = (end - first) - (point ? 1 : 0);
    if (digitCount == 0 || digitCount > kPlainDigits)
        return false;
    double v = static_cast<double>(whole);
    if (point && point + 1 != end)
        v /= kPowersOfTen[end - point - 1];
    out = negative ? -v : v;
    return true;
}

// The whole text as a number in C notation, or nothing.
std::optional<double> number(std::string_view s) {
    s = trim(s);
    if (s.empty())
        return std::nullopt;
    double v = 0;
    if (plainDecimal(s, v))
        return v;
    const auto [end, ec] = std::from_chars(s.data(), s.data() + s.size(), v);
    // "inf" and "nan" are no reading (and no JSON number).
    if (ec != std::errc() || end != s.data() + s.size() || !std::isfinite(v))
        return std::nullopt;
    return v;
}

bool isOverload(std::string_view s) {
    s = trim(s);
    return s.starts_with("OL") || s.starts_with("-OL");
}

// The recorder's own value field in one pass: blanks, a plain decimal, blanks, the unit (or
// none), blanks. Reads as the general way below does; false (v untouched) for anything else.
bool readPlainField(std::string_view text, std::string_view suffix, FieldValue& v) {
    const char* p = text.data();
    const char* const end = p + text.size();
    // The blanks before a right-aligned number, eight at a time.
    if constexpr (std::endian::native == std::endian::little) {
        while (end - p >= 8) {
            std::uint64_t word;
            std::memcpy(&word, p, 8);
            // The top bit of each byte that is a space or a tab.
            constexpr std::uint64_t kTops = 0x8080808080808080ULL;
            const std::uint64_t blank =
                zeroBytes(word ^ 0x2020202020202020ULL) | zeroBytes(word ^ 0x0909090909090909ULL);
            if (blank == kTops) {
                p += 8;
                continue;
            }
            p += std::countr_one(blank >> 7 | ~0x0101010101010101ULL) / 8;
            break;
        }
    }
    while (p != end && (*p == ' ' || *p == '\t'))
        ++p;
    const char* const start = p;
    const bool negative = p != end && *p == '-';
    p += negative;
    const char* point = nullptr;
    std::uint64_t whole = 0;
    int digitCount = 0;
    for (; p != end; ++p) {
        const unsigned digit = static_cast<unsigned char>(*p) - unsigned{'0'};
        if (digit < 10)
            whole = whole * 10 + digit, ++digitCount;
        else if (*p == '.' && !point)
            point = p;
        else
            break;
    }
    if (digitCount == 0 || digitCount > kPlainDigits)
        return false;
    const char* const numberEnd = p;
    while (p != end && (*p == ' ' || *p == '\t' || *p == '\r'))
        ++p;
    const char* rest = end;
    while (rest != p && (rest[-1] == ' ' || rest[-1] == '\t' || rest[-1] == '\r'))
        --rest;
    if (rest != p && std::string_view(p, static_cast<std::size_t>(rest - p)) != suffix)
        return false;
    double value = static_cast<double>(whole);
    if (point && point + 1 != numberEnd)
        value /= kPowersOfTen[numberEnd - point - 1];
    v.number = negative ? -value : value;
    v.text = std::string_view(start, static_cast<std::size_t>(numberEnd - start));
    v.plain = true;
    return true;
}

// Any other value field (numbers in other notations, overloads, cut or missing values).
[[gnu::noinline]] void readOtherField(std::string_view text, std::string_view suffix,
                                      FieldValue& v) {
    text = trim(text);
    if (!suffix.empty() && text.ends_with(suffix))
        text = trim(text.substr(0, text.size() - suffix.size())); // " 0.98 PF"
    if (text.empty())
        return;
    if (double plain = 0; plainDecimal(text, plain)) {
        v.number = plain;
        v.text = text;
        v.plain = true;
        return;
    }
    v.overload = isOverload(text);
    if (!v.overload)
        v.number = number(text);
    if (v.number)
        v.text = text;
}

// Reads one value field into v, which is as default-constructed; filled in place, as copying
// a returned FieldValue would stall on its just-written parts.
void readField(std::string_view text, std::string_view suffix, FieldValue& v) {
    if (!readPlainField(text, suffix, v))
        readOtherField(text, suffix, v);
}

// Splits at the first `count - 1` commas; the last piece keeps any further commas.
// Returns the number of pieces found.
int splitFields(std::string_view line, std::string_view* out, int count) {
    int n = 0;
    const char* p = line.data();
    const char* const end = p + line.size();
    while (n < count - 1) {
        const char* comma = static_cast<const char*>(std::memchr(p, ',', end - p));
        if (!comma)
            break;
        out[n++] = std::string_view(p, comma - p);
        p = comma + 1;
    }
    out[n++] = std::string_view(p, end - p);
    return n;
}

// A whole number of one to nine digits and nothing else.
bool digits(std::string_view s, int& out) {
    if (s.empty() || s.size() > 9)
        return false;
    int n = 0;
    for (const char c : s) {
        const unsigned digit = static_cast<unsigned char>(c) - unsigned{'0'};
        if (digit >= 10)
            return false;
        n = n * 10 + static_cast<int>(digit);
    }
    out = n;
    return true;
}

// "mm-dd-yyyy" (a data file) or "mm-dd" (a download, with the year given).
std::optional<std::int64_t> parseDate(std::string_view s, int yearIfMissing) {
    s = trim(s);
    int month = 0, day = 0, year = yearIfMissing;
    if (s.size() < 5 || s[2] != '-' || !digits(s.substr(0, 2), month) ||
        !digits(s.substr(3, 2), day))
        return std::nullopt;
    if (s.size() > 5 && (s[5] != '-' || !digits(s.substr(6), year)))
        return std::nullopt;
    if (month < 1 || month > 12 || day < 1 || day > 31)
        return std::nullopt;
    return daysFromCivil(year, month, day);
}

// "hh:mm:ss", "hh:mm:ss.s": milliseconds since midnight.
std::optional<std::int64_t> parseClock(std::string_view s) {
    if (const auto ms = recorderClock(s))
        return ms;
    s = trim(s);
    if (const auto ms = recorderClock(s))
        return ms;
    const auto c1 = s.find(':');
    const auto c2 = c1 == std::string_view::npos ? c1 : s.find(':', c1 + 1);
    int h = 0, m = 0;
    if (c2 == std::string_view::npos || !digits(s.substr(0, c1), h) ||
        !digits(s.substr(c1 + 1, c2 - c1 - 1), m))
        return std::nullopt;
    const auto seconds = number(s.substr(c2 + 1));
    if (!seconds || h < 0 || h > 23 || m < 0 || m > 59 || *seconds < 0 || *seconds >= 60)
        return std::nullopt;
    return (h * 3600 + m * 60) * std::int64_t{1000} +
           static_cast<std::int64_t>(*seconds * 1000 + 0.5);
}

void civilFromDays(std::int64_t z, int& y, int& m, int& d) {
    z += 719468;
    const std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
    const auto doe = static_cast<unsigned>(z - era * 146097);
    const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const unsigned mp = (5 * doy + 2) / 153;
    d = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
    m = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
    y = static_cast<int>(yoe + era * 400 + (m <= 2));
}

std::int64_t floorDiv(std::int64_t a, std::int64_t b) {
    return a / b - ((a % b != 0) && ((a < 0) != (b < 0)));
}

// Writes n as `width` digits with leading zeros.
char* putDigits(char* p, int n, int width) {
    for (int i = width - 1; i >= 0; --i, n /= 10)
        p[i] = static_cast<char>('0' + n % 10);
    return p + width;
}

// "yyyy-mm-dd" into p, returns the end.
char* putDay(char* p, std::int64_t timeMs) {
    int y = 0, m = 0, d = 0;
    civilFromDays(floorDiv(timeMs, kMsPerDay), y, m, d);
    p = putDigits(p, y, 4);
    *p++ = '-';
    p = putDigits(p, m, 2);
    *p++ = '-';
    return putDigits(p, d, 2);
}

} // namespace

std::string unreadable(const std::string& path) {
    // Looked at before opening: a pipe would hold the reader waiting for a writer.
    if (const std::string why = notAFileReason(path); !why.empty())
        return "cannot read " + path + ": " + why;
    if (std::ifstream in(pathFromUtf8(path), std::ios::binary); !in)
        return "cannot read " + path + ": " + systemReason(errno);
    return "";
}

std::int64_t daysFromCivil(int year, int month, int day) {
    year -= month <= 2;
    const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
    const auto yoe = static_cast<unsigned>(year - era * 400);
    const unsigned doy = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + static_cast<std::int64_t>(doe) - 719468;
}

void appendIsoTime(std::string& out, std::int64_t timeMs) {
    char buffer[32];
    char* p = putDay(buffer, timeMs);
    std::int64_t ms = timeMs - floorDiv(timeMs, kMsPerDay) * kMsPerDay;
    *p++ = 'T';
    p = putDigits(p, static_cast<int>(ms / 3'600'000), 2);
    *p++ = ':';
    p = putDigits(p, static_cast<int>(ms / 60'000 % 60), 2);
    *p++ = ':';
    p = putDigits(p, static_cast<int>(ms / 1000 % 60), 2);
    if (int fraction = static_cast<int>(ms % 1000); fraction != 0) {
        *p++ = '.';
        int width = 3;
        while (fraction % 10 == 0)
            fraction /= 10, --width;
        p = putDigits(p, fraction, width);
    }
    out.append(buffer, p);
}

int UtcOffsets::minutesAt(std::int64_t timeMs) {
    const std::int64_t hour = floorDiv(timeMs, 3'600'000);
    if (hour == hour_)
        return minutes_;
    hour_ = hour;
    int y = 0, m = 0, d = 0;
    civilFromDays(floorDiv(timeMs, kMsPerDay), y, m, d);
    const std::int64_t msOfDay = timeMs - floorDiv(timeMs, kMsPerDay) * kMsPerDay;
    std::tm local{};
    local.tm_year = y - 1900;
    local.tm_mon = m - 1;
    local.tm_mday = d;
    local.tm_hour = static_cast<int>(msOfDay / 3'600'000);
    local.tm_isdst = -1; // the zone's rule decides
    const std::time_t utc = std::mktime(&local);
    // The civil time the system made of it (a time in a spring-forward gap moves on).
    const std::int64_t civil =
        (daysFromCivil(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday) * 24 +
         local.tm_hour) *
            3600 +
        local.tm_min * 60 + local.tm_sec;
    minutes_ = utc == static_cast<std::time_t>(-1)
                   ? 0
                   : static_cast<int>((civil - static_cast<std::int64_t>(utc)) / 60);
    return minutes_;
}

void appendTimestamp(std::string& out, std::int64_t timeMs, UtcOffsets& offsets) {
    char buffer[40];
    char* p = putDay(buffer, timeMs);
    const std::int64_t ms = timeMs - floorDiv(timeMs, kMsPerDay) * kMsPerDay;
    *p++ = 'T';
    p = putDigits(p, static_cast<int>(ms / 3'600'000), 2);
    *p++ = ':';
    p = putDigits(p, static_cast<int>(ms / 60'000 % 60), 2);
    *p++ = ':';
    p = putDigits(p, static_cast<int>(ms / 1000 % 60), 2);
    *p++ = '.';
    p = putDigits(p, static_cast<int>(ms % 1000), 3);
    const int offset = offsets.minutesAt(timeMs);
    *p++ = offset < 0 ? '-' : '+';
    p = putDigits(p, std::abs(offset) / 60, 2);
    *p++ = ':';
    p = putDigits(p, std::abs(offset) % 60, 2);
    out.append(buffer, p);
}

std::string timestamp(std::int64_t timeMs, UtcOffsets& offsets) {
    std::string text;
    appendTimestamp(text, timeMs, offsets);
    return text;
}

std::string isoTime(std::int64_t timeMs) {
    std::string text;
    appendIsoTime(text, timeMs);
    return text;
}

std::string isoDay(std::int64_t timeMs) {
    char buffer[16];
    return std::string(buffer, putDay(buffer, timeMs));
}

std::string isoHour(std::int64_t timeMs) {
    std::string day = isoDay(timeMs);
    const std::int64_t ms = timeMs - floorDiv(timeMs, kMsPerDay) * kMsPerDay;
    char hour[3];
    putDigits(hour, static_cast<int>(ms / 3'600'000), 2);
    return day + "T" + std::string(hour, 2);
}

std::string durationText(std::int64_t ms) {
    const std::int64_t days = ms / kMsPerDay;
    ms %= kMsPerDay;
    char buffer[48];
    char* p = buffer;
    if (days > 0)
        p = std::to_chars(p, buffer + 20, days).ptr, *p++ = 'd', *p++ = ' ';
    p = putDigits(p, static_cast<int>(ms / 3'600'000), 2);
    *p++ = ':';
    p = putDigits(p, static_cast<int>(ms / 60'000 % 60), 2);
    *p++ = ':';
    p = putDigits(p, static_cast<int>(ms / 1000 % 60), 2);
    *p++ = '.';
    p = putDigits(p, static_cast<int>(ms % 1000 / 100), 1);
    return std::string(buffer, p);
}

Entry RecordingReader::read(std::string_view line) {
    Entry e;
    readInto(line, e);
    return e;
}

void RecordingReader::readInto(std::string_view line, Entry& e) {
    // Set back field by field: a whole new entry is cleared with a slow string instruction.
    e.kind = EntryKind::Blank;
    e.timeMs = 0;
    e.record = {};
    for (FieldValue& v : e.values)
        v = {};
    e.period = {};
    e.hoursPerDay = e.cost = {};
    e.overload = false;
    e.problem.clear();
    e.lineNumber = ++lineNumber_;
    if (!line.empty() && line.back() == '\r')
        line.remove_suffix(1);
    std::string_view* const fields = fields_; // not cleared for each line
    int n = kDataFields;
    // A line of the recorder's layout is neither blank nor a download's header, and its first
    // field tells whether it is the recording's header: the whole line need not be trimmed.
    const bool fixed = splitFixed(line, fields);
    if (!fixed || fields[0].ends_with("No.s")) {
        const std::string_view text = trim(line);
        if (text.empty())
            return;
        if (text.starts_with("No.s,")) {
            e.kind = EntryKind::Header;
            return;
        }
        if (text.starts_with("No.,Date,Time")) {
            e.kind = EntryKind::Header;
            sawDownload_ = true;
            lastDownloadTimeMs_ = INT64_MIN;
            downloadDayOffset_ = 0;
            return;
        }
    }
    if (!fixed) {
        n = splitFields(line, fields, kDataFields);
        // A record glued onto a line cut short (a power cut in the middle of a write) has more
        // fields than any line: it is reported, not read with its values in the wrong columns.
        if (n == kDataFields)
            n += static_cast<int>(std::count(fields[n - 1].begin(), fields[n - 1].end(), ','));
    }
    // " mm-dd-yyyy,hh:mm:ss.s, NO COM, DATA LOST, !, ..."
    // (A clock field ends in a digit: only a field that ends otherwise can hold the notice.)
    const char last = n == kDataFields && !fields[2].empty() ? fields[2].back() : '\0';
    const bool maybeLost = !fixed || last == 'M' || last == ' ' || last == '\t' || last == '\r';
    if (n == kDataFields && maybeLost && trim(fields[2]) == kLostNotice.substr(0, 6) &&
        trim(fields[3]).starts_with(kLostNotice.substr(8))) {
        readLost(fields, e);
        return;
    }
    if (n == kDataFields) {
        readDataRecord(fields, e);
        return;
    }
    if (n == kDownloadFields) {
        readDownloadRecord(fields, e);
        return;
    }
    e.kind = EntryKind::Malformed;
    e.problem = "not a record, header or lost-communication line (" + std::to_string(n) +
                " comma-separated fields; a record has " + std::to_string(kDataFields) +
                ", a download record " + std::to_string(kDownloadFields) + ")";
}

namespace {

// Fills the time from a date and a clock field; false (with the problem) when either is
// not one.
bool readTime(Entry& e, std::string_view date, std::string_view clock, int yearIfMissing,
              std::optional<std::int64_t> day = std::nullopt) {
    if (!day)
        day = parseDate(date, yearIfMissing);
    if (!day) {
        e.problem = "\"" + std::string(trim(date)) + "\" is not a date (mm-dd-yyyy)";
        return false;
    }
    const auto ms = parseClock(clock);
    if (!ms) {
        e.problem = "\"" + std::string(trim(clock)) + "\" is not a time of day (hh:mm:ss.s)";
        return false;
    }
    e.timeMs = *day * kMsPerDay + *ms;
    return true;
}

void malformed(Entry& e) {
    e.kind = EntryKind::Malformed;
}

} // namespace

void RecordingReader::readDataRecord(const std::string_view* f, Entry& e) {
    // A recording holds thousands of lines of each date: the last one is remembered.
    std::optional<std::int64_t> day;
    if (lastDate_.same(f[1]))
        day = lastDay_;
    else if ((day = parseDate(f[1], 0))) {
        lastDate_.keep(f[1]);
        lastDay_ = *day;
    }
    if (!readTime(e, f[1], f[2], 0, day))
        return malformed(e);
    readField(f[0], "", e.record);
    if (!e.record.number) {
        e.problem = "\"" + std::string(trim(f[0])) + "\" is not a record number";
        return malformed(e);
    }
    for (int q = kQW; q <= kQKWH; ++q) {
        if (!(wanted_ & (1u << q)))
            continue;
        Remembered& r = remembered_[q];
        const std::string_view field = f[3 + q];
        // A field that changed on the last line (the power of a 1-s recording) likely changes
        // again: it is read for a few lines without being compared and kept.
        if (r.rest > 0) {
            --r.rest;
            readField(field, kDataSuffix[q], e.values[q]);
            continue;
        }
        if (!r.same(field)) {
            r.values[0].value = {};
            readField(field, kDataSuffix[q], r.values[0].value);
            r.keep(field);
            r.rest = Remembered::kRestAfterChange;
        }
        e.values[q] = r.values[0].value;
        if (!e.values[q].text.empty())
            e.values[q].text = field.substr(r.values[0].textAt, e.values[q].text.size());
    }
    readTail(f[11], e);
    for (const FieldValue& v : e.values)
        e.overload = e.overload || v.overload;
    e.kind = EntryKind::Record;
}

// "8.60/month 8$0.34": energy per period, period, then hours per day glued to the cost.
void RecordingReader::readTail(std::string_view tail, Entry& e) {
    Remembered& r = remembered_[kQEstKWH];
    if (!r.same(tail)) {
        for (Remembered::Value& v : r.values)
            v.value = {};
        r.periodSize = 0;
        std::string_view rest = tail;
        const auto slash = rest.find('/');
        readField(rest.substr(0, slash), "", r.values[0].value);
        if (slash != std::string_view::npos) {
            rest.remove_prefix(slash + 1);
            const auto blank = rest.find(' ');
            const std::string_view period = trim(rest.substr(0, blank));
            r.periodAt = static_cast<std::size_t>(period.data() - tail.data());
            r.periodSize = period.size();
            if (blank != std::string_view::npos) {
                const std::string_view last = rest.substr(blank + 1);
                const auto dollar = last.rfind('$');
                readField(last.substr(0, dollar), "", r.values[1].value);
                if (dollar != std::string_view::npos)
                    readField(last.substr(dollar + 1), "", r.values[2].value);
            }
        }
        r.keep(tail);
    }
    FieldValue* const into[3] = {&e.values[kQEstKWH], &e.hoursPerDay, &e.cost};
    for (int i = 0; i < 3; ++i) {
        *into[i] = r.values[i].value;
        if (!into[i]->text.empty())
            into[i]->text = tail.substr(r.values[i].textAt, into[i]->text.size());
    }
    if (r.periodSize != 0)
        e.period = tail.substr(r.periodAt, r.periodSize);
}

bool RecordingReader::Remembered::same(std::string_view field) const {
    return sameField(field, bytes, size);
}

void RecordingReader::Remembered::keep(std::string_view field) {
    // A field too long to keep is read again each time.
    size = field.size() <= sizeof bytes ? field.size() : 0;
    if (size != 0) // an empty view may have no bytes at all to copy from
        std::memcpy(bytes, field.data(), size);
    for (Value& v : values)
        v.textAt =
            v.value.text.empty() ? 0 : static_cast<std::size_t>(v.value.text.data() - field.data());
}

void RecordingReader::readDownloadRecord(const std::string_view* f, Entry& e) {
    sawDownload_ = true;
    if (trim(f[1]).size() != 5) {
        e.problem = "\"" + std::string(trim(f[1])) + "\" is not a download date (mm-dd)";
        return malformed(e);
    }
    if (!readTime(e, f[1], f[2], downloadYear_))
        return malformed(e);
    readField(f[0], "", e.record);
    if (!e.record.number) {
        e.problem = "\"" + std::string(trim(f[0])) + "\" is not a record number";
        return malformed(e);
    }
    // The logger keeps one date for a whole download: past midnight its clock starts again.
    e.timeMs += downloadDayOffset_ * kMsPerDay;
    if (lastDownloadTimeMs_ != INT64_MIN && e.timeMs < lastDownloadTimeMs_) {
        ++downloadDayOffset_;
        e.timeMs += kMsPerDay;
    }
    lastDownloadTimeMs_ = e.timeMs;
    // Watts, PF, volts, amps: plain numbers with the mask "0.0", or an overload text.
    constexpr Quantity order[] = {kQW, kQPF, kQV, kQA};
    for (int i = 0; i < 4; ++i) {
        readField(f[3 + i], "", e.values[order[i]]);
        e.overload = e.overload || e.values[order[i]].overload;
    }
    e.kind = EntryKind::Record;
}

void RecordingReader::readLost(const std::string_view* f, Entry& e) {
    if (!readTime(e, f[0], f[1], 0))
        return malformed(e);
    e.kind = EntryKind::LostCommunication;
}

namespace {

std::string readLines(plot::LineReader& lines, RecordingReader& reader,
                      const std::function<bool(const Entry&, std::uint64_t)>& each,
                      const std::function<bool(std::string_view)>& offer = {}) {
    std::string_view head;
    std::uint64_t size = 0;
    Entry e;
    while (lines.next(head, size)) {
        if (offer && size == head.size() && offer(head)) {
            reader.skipLines(1);
            continue;
        }
        reader.readInto(head, e);
        if (size > head.size()) {
            e.kind = EntryKind::Malformed;
            e.problem = "a line of " + std::to_string(size) + " bytes, longer than any record";
        }
        if (!each(e, lines.position()))
            break;
    }
    return "";
}

} // namespace

std::string readRecording(const std::string& path, RecordingReader& reader,
                          const std::function<bool(const Entry&, std::uint64_t)>& each) {
    plot::LineReader lines;
    if (std::string problem = unreadable(path); !problem.empty() || !lines.open(path))
        return problem.empty() ? "cannot read " + path : problem;
    return readLines(lines, reader, each);
}

std::string readRecordingPart(const std::string& path, std::uint64_t begin, std::uint64_t end,
                              RecordingReader& reader,
                              const std::function<bool(const Entry&, std::uint64_t)>& each,
                              const std::function<bool(std::string_view)>& offer) {
    plot::LineReader lines;
    if (!lines.open(path, begin, end))
        return "cannot read " + path + ": " + systemReason(errno);
    return readLines(lines, reader, each, offer);
}

} // namespace pa::datafile
