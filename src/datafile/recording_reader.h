// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Reads recordings for spreadsheets and statistics: the data files that recording writes
// (a header, fixed-width record lines, lost-communication lines) and the datalogger's
// download files ("No.,Date,Time,Watts,PF,Volts,Amps" before each download's records).
// Fields are taken by their commas, not by the plotter's columns, so a value cut by the
// width rule reads as what is left of it, and a line of another width still reads.
//
// Every line comes out as one entry: a record with its time stamp and values, a
// lost-communication line with its time, a header, a blank line, or a malformed line with
// the reason. Nothing is dropped without a word.
#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace pa::datafile {

// The values of a record, in the order of the data file's fields.
enum Quantity { kQW, kQPF, kQV, kQA, kQAngle, kQVA, kQVAR, kQKWH, kQEstKWH, kQuantityCount };

// One value field: a number, an overload ("OL", "-OL"), or neither (missing or not a number).
struct FieldValue {
    std::optional<double> number;
    std::string_view text; // the number as written (blanks and unit taken off)
    bool plain = false;    // the text is plain decimal notation ("-12.5", ".980")
    bool overload = false;
};

enum class EntryKind { Blank, Header, Record, LostCommunication, Malformed };

struct Entry {
    EntryKind kind = EntryKind::Blank;
    std::uint64_t lineNumber = 0; // 1-based
    std::int64_t timeMs = 0;      // local civil time, milliseconds since 1970-01-01 00:00
    FieldValue record;
    std::array<FieldValue, kQuantityCount> values{}; // a download fills W, PF, V, A only
    std::string_view period;                         // "month", "day", "year" as written
    FieldValue hoursPerDay, cost;
    bool overload = false; // some value is an overload
    std::string problem;   // why a line is malformed
};

// "" when the file can be opened for reading, else "cannot read PATH: " and the system's
// reason ("No such file or directory", "Is a directory", "Permission denied").
std::string unreadable(const std::string& path);

// Days since 1970-01-01 of a civil date (proleptic Gregorian calendar).
std::int64_t daysFromCivil(int year, int month, int day);
// "2026-11-15T16:58:09.4": the time as ISO 8601 local time, tenths (or finer) only where
// the time has them.
std::string isoTime(std::int64_t timeMs);
void appendIsoTime(std::string& out, std::int64_t timeMs);
// The offset from UTC of local civil times in the system's time zone, in minutes east
// (60 in Berlin in winter, 120 in summer). Remembered per hour: it changes only at the zone's
// shifts, and asking the system for every line of a long file would cost more than reading it.
class UtcOffsets {
  public:
    int minutesAt(std::int64_t timeMs);

  private:
    std::int64_t hour_ = INT64_MIN;
    int minutes_ = 0;
};
// "2026-11-15T16:58:09.400+01:00": the time stamp of files made for other programs, always
// with milliseconds and the UTC offset, so that every row reads the same way.
void appendTimestamp(std::string& out, std::int64_t timeMs, UtcOffsets& offsets);
std::string timestamp(std::int64_t timeMs, UtcOffsets& offsets);
// "2026-11-15" and "2026-11-15T16" for the per-day and per-hour groups.
std::string isoDay(std::int64_t timeMs);
std::string isoHour(std::int64_t timeMs);
// A duration as "1d 02:03:04.5" (days only when there are any).
std::string durationText(std::int64_t ms);

class RecordingReader {
  public:
    // A download file holds no year: its records take this one.
    // A reader that needs only some values (statistics) leaves the other fields of a data
    // file's records unread: `wanted` holds bit 1 << q for each Quantity q to read.
    static constexpr unsigned kAllQuantities = (1u << kQuantityCount) - 1;
    explicit RecordingReader(int downloadYear, unsigned wanted = kAllQuantities)
        : downloadYear_(downloadYear), wanted_(wanted) {}

    // Reads one line (without its line end). The entry's views point into the line.
    Entry read(std::string_view line);
    // The same into an entry used again for each line (one of a long file).
    void readInto(std::string_view line, Entry& e);

    // Lines read so far; skipLines counts lines that another reader read (a piece of the file
    // read on another thread), so that the numbers of the next ones stay right.
    std::uint64_t lines() const { return lineNumber_; }
    void skipLines(std::uint64_t n) { lineNumber_ += n; }
    // Some line was a download's header or record: their dates depend on the lines before.
    bool sawDownload() const { return sawDownload_; }

  private:
    void readDataRecord(const std::string_view* fields, Entry& e);
    void readDownloadRecord(const std::string_view* fields, Entry& e);
    void readLost(const std::string_view* fields, Entry& e);
    void readTail(std::string_view tail, Entry& e);

    // A field read before, by its bytes: most fields of a recording hold the same text for
    // many lines (the power factor, the energy, the cost), and the same bytes read the same.
    // Views are kept as offsets into the field, so that they can point into a later line.
    struct Remembered {
        char bytes[32];
        std::size_t size = 0; // 0: nothing yet
        struct Value {
            FieldValue value;
            std::size_t textAt = 0;
        };
        Value values[3]; // a value field uses the first; the tail its three numbers
        std::size_t periodAt = 0, periodSize = 0;
        int rest = 0; // lines to read without looking here
        static constexpr int kRestAfterChange = 8;
        bool same(std::string_view field) const;
        void keep(std::string_view field);
    };

    int downloadYear_;
    unsigned wanted_;
    std::uint64_t lineNumber_ = 0;
    bool sawDownload_ = false;
    std::string_view fields_[12]; // the most fields a line is split into
    // A download's date never advances: a clock that goes back means the next day.
    std::int64_t downloadDayOffset_ = 0, lastDownloadTimeMs_ = INT64_MIN;
    // The last date field of a data file's record read, and its day.
    Remembered lastDate_;
    std::int64_t lastDay_ = 0;
    Remembered remembered_[kQuantityCount]; // the value fields, then the tail in the last one
};

// Reads the recording at `path` line by line (memory stays flat) and hands each line's entry
// to `each`, with the bytes read so far; `each` returns false to stop. A line longer than
// any record is a malformed entry. Returns "" or why the file cannot be read.
std::string readRecording(const std::string& path, RecordingReader& reader,
                          const std::function<bool(const Entry&, std::uint64_t)>& each);
// The same for the lines from byte `begin` up to byte `end` (a piece split at line ends).
// `offer`, when given, sees each whole line first and returns true when it took the line as a
// record of its own reading (a plain record line): the reader then only counts it.
std::string readRecordingPart(const std::string& path, std::uint64_t begin, std::uint64_t end,
                              RecordingReader& reader,
                              const std::function<bool(const Entry&, std::uint64_t)>& each,
                              const std::function<bool(std::string_view)>& offer = {});

} // namespace pa::datafile
