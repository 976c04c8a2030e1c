// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "datafile/recorder_line.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace pa::datafile {
namespace {

// The number of commas in n bytes, sixteen (or eight) at a time: a recorder's line is checked
// for commas inside its fields in a few steps instead of one call per field.
std::size_t commaCount(const char* p, std::size_t n) {
    std::size_t count = 0, i = 0;
#if defined(__SSE2__)
    // Each block's matches (0xff, that is -1) are taken from per-byte counters, which are
    // added up once at the end: at most 255 blocks fit in them, far more than a line holds.
    const __m128i commas = _mm_set1_epi8(',');
    __m128i counters = _mm_setzero_si128();
    for (; i + 16 <= n && i < 255 * 16; i += 16) {
        const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i));
        counters = _mm_sub_epi8(counters, _mm_cmpeq_epi8(block, commas));
    }
    const __m128i sums = _mm_sad_epu8(counters, _mm_setzero_si128());
    count = static_cast<std::size_t>(_mm_cvtsi128_si32(sums)) +
            static_cast<std::size_t>(_mm_cvtsi128_si32(_mm_srli_si128(sums, 8)));
#endif
    constexpr std::uint64_t kCommas = 0x2c2c2c2c2c2c2c2cULL;
    for (; i + 8 <= n; i += 8) {
        std::uint64_t word;
        std::memcpy(&word, p + i, 8);
        // One bit per comma, at the bottom of its byte; the multiplication adds the bytes up
        // in the top one (a library call for popcount on processors without the instruction).
        const std::uint64_t ones = zeroBytes(word ^ kCommas) >> 7;
        count += static_cast<std::size_t>((ones * 0x0101010101010101ULL) >> 56);
    }
    for (; i < n; ++i)
        count += p[i] == ',';
    return count;
}

// Where the recorder puts the eleven commas of a record line (0-based bytes): its fields have
// fixed widths, so a line of plain ASCII text is split without looking for them.
constexpr int kFixedCommas[kDataFields - 1] = {10, 22, 33, 42, 51, 60, 69, 81, 93, 107, 121};

#if defined(__SSE2__)
// The fixed commas as a bit mask of the line's first 128 bytes, sixteen bits a block.
constexpr std::size_t kMaskedBytes = 128;
constexpr auto kFixedCommaMask = [] {
    std::array<int, kMaskedBytes / 16> mask{};
    for (const int at : kFixedCommas)
        mask[static_cast<std::size_t>(at / 16)] |= 1 << (at % 16);
    return mask;
}();
#endif

// True when the line has commas at the fixed places and nowhere else.
bool fixedCommas(std::string_view line) {
#if defined(__SSE2__)
    // Each block's commas as a mask, compared with where they belong: no count, no branch.
    if (line.size() >= kMaskedBytes) {
        const __m128i commas = _mm_set1_epi8(',');
        int differ = 0;
        for (std::size_t k = 0; k < kFixedCommaMask.size(); ++k) {
            const __m128i block =
                _mm_loadu_si128(reinterpret_cast<const __m128i*>(line.data() + 16 * k));
            differ |= _mm_movemask_epi8(_mm_cmpeq_epi8(block, commas)) ^ kFixedCommaMask[k];
        }
        // No comma after them: the last block ends with the line, its bytes already looked
        // at shifted out.
        for (std::size_t i = kMaskedBytes; i < line.size(); i += 16) {
            const std::size_t at = std::min(i, line.size() - 16);
            const __m128i block =
                _mm_loadu_si128(reinterpret_cast<const __m128i*>(line.data() + at));
            differ |= _mm_movemask_epi8(_mm_cmpeq_epi8(block, commas)) >> (i - at);
        }
        return differ == 0;
    }
#endif
    for (const int at : kFixedCommas)
        if (line[static_cast<std::size_t>(at)] != ',')
            return false;
    return commaCount(line.data(), line.size()) == kDataFields - 1;
}

} // namespace

// Splits a line of the recorder's own layout at its fixed commas; false (nothing touched) for
// any other line, which then goes the general way.
bool splitFixed(std::string_view line, std::string_view* out) {
    constexpr std::size_t kLastStart = kFixedCommas[kDataFields - 2] + 1;
    if (line.size() < kLastStart || !fixedCommas(line))
        return false;
    std::size_t start = 0;
    for (int i = 0; i < kDataFields - 1; ++i) {
        const auto at = static_cast<std::size_t>(kFixedCommas[i]);
        out[i] = std::string_view(line.data() + start, at - start);
        start = at + 1;
    }
    out[kDataFields - 1] = std::string_view(line.data() + start, line.size() - start);
    return true;
}

bool sameField(std::string_view field, const char* kept, std::size_t keptSize) {
    if (keptSize == 0 || field.size() != keptSize)
        return false;
    if (keptSize < 8 || keptSize > 16)
        return std::memcmp(kept, field.data(), keptSize) == 0;
    // The first and the last eight bytes (overlapping): a field of the recorder's.
    std::uint64_t a[2], b[2];
    std::memcpy(&a[0], kept, 8);
    std::memcpy(&a[1], kept + keptSize - 8, 8);
    std::memcpy(&b[0], field.data(), 8);
    std::memcpy(&b[1], field.data() + keptSize - 8, 8);
    return ((a[0] ^ b[0]) | (a[1] ^ b[1])) == 0;
}

// The recorder's own "hh:mm:ss.s", its first eight bytes taken as one word.
std::optional<std::int64_t> recorderClock(std::string_view s) {
    if (s.size() != 10 || s[8] != '.' || static_cast<unsigned char>(s[9] - '0') >= 10)
        return std::nullopt;
    std::uint64_t word;
    std::memcpy(&word, s.data(), 8);
    if constexpr (std::endian::native == std::endian::big) {
        word = 0; // the first byte lowest, as on the processors users have
        for (int i = 0; i < 8; ++i)
            word |= std::uint64_t{static_cast<unsigned char>(s[static_cast<std::size_t>(i)])}
                    << 8 * i;
    }
    constexpr std::uint64_t kColonBytes = 0xff0000ff0000ULL, kColons = 0x3a00003a0000ULL;
    constexpr std::uint64_t kZeros = 0x3030303030303030ULL, kHigh = 0xf0f0f0f0f0f0f0f0ULL;
    // The colons made zeros, then each byte a digit: "0" to "9" and past "9" after + 6.
    const std::uint64_t d = (word & ~kColonBytes) | (kZeros & kColonBytes);
    if ((word & kColonBytes) != kColons || (d & kHigh) != kZeros ||
        ((d + 0x0606060606060606ULL) & kHigh) != kZeros)
        return std::nullopt;
    // Each byte's digit times ten plus the next: hours, minutes, seconds in bytes 0, 3 and 6.
    const std::uint64_t v = d - kZeros, pairs = v * 10 + (v >> 8);
    const unsigned h = pairs & 0xff, m = pairs >> 24 & 0xff, sec = pairs >> 48 & 0xff;
    if (h >= 24 || m >= 60 || sec >= 60)
        return std::nullopt;
    return ((h * 60 + m) * 60 + sec) * std::int64_t{1000} +
           static_cast<unsigned char>(s[9] - '0') * 100;
}

namespace {

constexpr std::int64_t kMsPerDay = 86'400'000;

// Blanks, a plain decimal ("-" first, one to kPlainDigits digits, at most one point), blanks,
// then exactly `unit` to the field's end: the decimal's text, or false. The units are a few
// letters, compared here rather than by a library call.
inline bool plainText(std::string_view field, std::string_view unit, std::string_view& text) {
    if (field.size() < unit.size())
        return false;
    const char* p = field.data();
    const char* end = p + field.size() - unit.size();
    for (std::size_t i = 0; i < unit.size(); ++i)
        if (end[i] != unit[i])
            return false;
    while (p != end && *p == ' ')
        ++p;
    while (end != p && end[-1] == ' ')
        --end;
    const char* const start = p;
    p += p != end && *p == '-';
    int digits = 0, points = 0;
    for (; p != end; ++p) {
        if (static_cast<unsigned char>(*p - '0') < 10)
            ++digits;
        else if (*p == '.')
            ++points;
        else
            return false;
    }
    if (digits == 0 || digits > kPlainDigits || points > 1)
        return false;
    text = std::string_view(start, static_cast<std::size_t>(end - start));
    return true;
}

#if defined(__SSE2__)
// The same as plainText for a field of at most 15 bytes with 16 bytes readable from its start,
// without a branch per byte: the blanks, digits, points and minus signs found as bit masks. The
// widths of the blanks and digits change from line to line, and a byte loop mispredicts on them.
bool plainText16(std::string_view field, std::string_view unit, std::string_view& text) {
    const auto width = static_cast<unsigned>(field.size());
    const auto body = width - static_cast<unsigned>(unit.size());
    if (width > 15 || body > width)
        return false;
    for (std::size_t i = 0; i < unit.size(); ++i)
        if (field[body + i] != unit[i])
            return false;
    const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(field.data()));
    auto mask = [](__m128i m) { return static_cast<unsigned>(_mm_movemask_epi8(m)); };
    const unsigned blank = mask(_mm_cmpeq_epi8(x, _mm_set1_epi8(' ')));
    const unsigned digit = mask(_mm_and_si128(_mm_cmpgt_epi8(x, _mm_set1_epi8('0' - 1)),
                                              _mm_cmplt_epi8(x, _mm_set1_epi8('9' + 1))));
    const unsigned point = mask(_mm_cmpeq_epi8(x, _mm_set1_epi8('.')));
    const unsigned minus = mask(_mm_cmpeq_epi8(x, _mm_set1_epi8('-')));
    const unsigned filled = ~blank & ((1u << body) - 1);
    if (filled == 0)
        return false;
    const int first = std::countr_zero(filled), last = std::bit_width(filled) - 1;
    // Between the first and the last byte that is not blank: digits, at most one point, and a
    // minus sign only first.
    const unsigned number = (2u << last) - (1u << first);
    const unsigned allowed = digit | point | (minus & (1u << first));
    const unsigned points = point & number;
    if ((allowed & number) != number || (digit & number) == 0 || (points & (points - 1)) != 0)
        return false;
    text =
        field.substr(static_cast<std::size_t>(first), static_cast<std::size_t>(last + 1 - first));
    return true;
}
#endif

// A value field of a line that ends at lineEnd, as plainText reads it.
bool fieldText(std::string_view field, std::string_view unit, const char* lineEnd,
               std::string_view& text) {
#if defined(__SSE2__)
    if (field.size() <= 15 && lineEnd - field.data() >= 16)
        return plainText16(field, unit, text);
#else
    (void)lineEnd;
#endif
    return plainText(field, unit, text);
}

// Where c is first in s, or s.size(): the tail is short, a loop is quicker than a library call.
std::size_t indexOf(std::string_view s, char c) {
    std::size_t i = 0;
    while (i < s.size() && s[i] != c)
        ++i;
    return i;
}

// "mm-dd-yyyy" between blanks: days since 1970-01-01.
std::optional<std::int64_t> recorderDate(std::string_view s) {
    while (!s.empty() && s.front() == ' ')
        s.remove_prefix(1);
    while (!s.empty() && s.back() == ' ')
        s.remove_suffix(1);
    if (s.size() != 10 || s[2] != '-' || s[5] != '-')
        return std::nullopt;
    int n[10] = {};
    for (std::size_t i : {0, 1, 3, 4, 6, 7, 8, 9}) {
        n[i] = s[i] - '0';
        if (n[i] < 0 || n[i] > 9)
            return std::nullopt;
    }
    const int month = n[0] * 10 + n[1], day = n[3] * 10 + n[4];
    if (month < 1 || month > 12 || day < 1 || day > 31)
        return std::nullopt;
    return daysFromCivil(n[6] * 1000 + n[7] * 100 + n[8] * 10 + n[9], month, day);
}

// "  600.00/month 8$0.30": the energy per period, the period (letters), one blank, the hours
// per day, "$", the cost.
bool plainTail(std::string_view tail, PlainRecord& out) {
    const std::size_t slash = indexOf(tail, '/');
    if (slash == tail.size() || !plainText(tail.substr(0, slash), "", out.values[kQEstKWH]))
        return false;
    const std::string_view rest = tail.substr(slash + 1);
    std::size_t letters = 0;
    while (letters < rest.size() && static_cast<unsigned char>((rest[letters] | 0x20) - 'a') < 26)
        ++letters;
    if (letters == 0 || letters == rest.size() || rest[letters] != ' ')
        return false;
    out.period = rest.substr(0, letters);
    const std::string_view last = rest.substr(letters + 1);
    const std::size_t dollar = indexOf(last, '$');
    return dollar != last.size() && plainText(last.substr(0, dollar), "", out.hoursPerDay) &&
           plainText(last.substr(dollar + 1), "", out.cost);
}

} // namespace

bool PlainRecordReader::read(std::string_view line, PlainRecord& out) {
    if (!line.empty() && line.back() == '\r')
        line.remove_suffix(1);
    std::string_view* const f = fields_; // not cleared for each line
    const char* const end = line.data() + line.size();
    if (!splitFixed(line, f) || !fieldText(f[0], "", end, out.record))
        return false;
    if (!sameField(f[1], lastDate_, lastDateSize_)) {
        const auto day = recorderDate(f[1]);
        if (!day || f[1].size() > sizeof lastDate_)
            return false;
        std::memcpy(lastDate_, f[1].data(), f[1].size());
        lastDateSize_ = f[1].size();
        lastDay_ = *day;
    }
    const auto clock = recorderClock(f[2]);
    if (!clock)
        return false;
    out.timeMs = lastDay_ * kMsPerDay + *clock;
    for (int q = kQW; q <= kQKWH; ++q)
        if (!fieldText(f[3 + q], kDataSuffix[q], end, out.values[static_cast<std::size_t>(q)]))
            return false;
    return plainTail(f[kDataFields - 1], out);
}

} // namespace pa::datafile
