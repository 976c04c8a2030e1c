// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "logger/record_converter.h"

#include "live/frame_decoder.h"
#include "logger/status_block.h"
#include "text/leading_number.h"
#include "text/mask_format.h"

#include <algorithm>

namespace pa::logger {

namespace {

constexpr long kTenthsPerMinute = 600;
constexpr long kTenthsPerHour = 60 * kTenthsPerMinute;
constexpr long kTenthsPerDay = 24 * kTenthsPerHour;
// The first record word sits after STX and the status block.
constexpr std::size_t kFirstRecordIndex = 1 + kStatusBytes;

long pairAt(const std::string& text, std::size_t at) {
    return at < text.size() ? static_cast<long>(text::leadingNumber(text.substr(at, 2))) : 0;
}

} // namespace

TimeStamp TimeStamp::fromBox(const std::string& hhmmss) {
    return {((pairAt(hhmmss, 0) * 60 + pairAt(hhmmss, 3)) * 60 + pairAt(hhmmss, 6)) * 10};
}

void TimeStamp::advance(long intervalTenths) {
    tenths = (tenths + intervalTenths) % kTenthsPerDay;
}

std::string TimeStamp::text() const {
    const long h = tenths / kTenthsPerHour;
    const long m = tenths % kTenthsPerHour / kTenthsPerMinute;
    const double s = static_cast<double>(tenths % kTenthsPerMinute) / 10.0;
    return text::formatMask(static_cast<double>(h), "00") + ":" +
           text::formatMask(static_cast<double>(m), "00") + ":" + text::formatMask(s, "00.0");
}

std::string recordValueText(std::string_view word) {
    live::BlockReading reading; // a record word has no function code: its sign is its own
    live::DecodeBlockValue(word, reading);
    const std::string& v = reading.value;
    if (std::none_of(v.begin(), v.end(), [](char c) { return c >= '0' && c <= '9'; }))
        return v;
    return text::formatMask(text::leadingNumber(v), "0.0");
}

ConvertedRecords convertRecords(std::string_view stream, int wordCount, const std::string& date,
                                const std::string& timeBox, long intervalTenths,
                                const std::function<void(int)>& progress) {
    ConvertedRecords out;
    out.recordsPromised = wordCount / 4;
    TimeStamp stamp = TimeStamp::fromBox(timeBox);
    std::string timeText = timeBox;
    // Index within the record (0 W, 1 A, 2 V, 3 PF) and the texts kept so far.
    std::string values[4];
    int within = 0;
    bool first = true;
    for (int k = 1; k <= wordCount; ++k) {
        if (progress)
            progress(k);
        const std::size_t at = kFirstRecordIndex + 2 * static_cast<std::size_t>(k - 1);
        if (at + 2 > stream.size())
            continue; // beyond the received data
        if (within == 0) {
            if (!first) {
                stamp.advance(intervalTenths);
                timeText = stamp.text();
            }
            if (first)
                out.lines.emplace_back(kDownloadHeader);
            first = false;
        }
        values[within] = recordValueText(stream.substr(at, 2));
        if (++within == 4) {
            ++out.recordsWritten;
            // The line's order is W, PF, V, A; the record's is W, A, V, PF.
            out.lines.push_back(std::to_string(out.recordsWritten) + "," + date + "," + timeText +
                                "," + values[0] + "," + values[3] + "," + values[2] + "," +
                                values[1]);
            within = 0;
        }
    }
    return out;
}

} // namespace pa::logger
