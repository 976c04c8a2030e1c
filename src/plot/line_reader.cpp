// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "plot/line_reader.h"

#include "datafile/data_folder.h"
#include "text/leading_number.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <system_error>

namespace pa::plot {
namespace {

bool isContinuation(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

// Byte offset of the character at 0-based index `column` (or the end of the text).
std::size_t byteOfColumn(std::string_view text, std::size_t column) {
    std::size_t chars = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (isContinuation(text[i]))
            continue;
        if (chars == column)
            return i;
        ++chars;
    }
    return text.size();
}

} // namespace

bool LineReader::open(const std::string& path) {
    if (!datafile::notAFileReason(path).empty())
        return false; // a folder reads as nothing, and a pipe would hold the reader waiting
    in_.open(datafile::pathFromUtf8(path), std::ios::binary);
    if (!in_)
        return false;
    // A small file gets a block of its size: zero-filling a megabyte for a page of text costs
    // more than reading it. A file that grows while it is read only takes more blocks.
    const std::int64_t length = fileLength(path);
    reserveBlock(length < 0 ? kBlockBytes
                            : std::clamp<std::size_t>(static_cast<std::size_t>(length) + 1,
                                                      kLeastBlockBytes, kBlockBytes));
    pos_ = end_ = 0;
    consumed_ = 0;
    // A file still being written (a recording in progress) is read up to the length it had
    // now; otherwise a reader of a file that grows as fast as it is read would never end.
    unread_ = length < 0 ? UINT64_MAX : static_cast<std::uint64_t>(length);
    return true;
}

void LineReader::reserveBlock(std::size_t bytes) {
    if (bytes != blockSize_)
        block_ = std::make_unique_for_overwrite<char[]>(bytes);
    blockSize_ = bytes;
}

bool LineReader::fill() {
    if (!in_ || unread_ == 0)
        return false;
    in_.read(block_.get(),
             static_cast<std::streamsize>(std::min<std::uint64_t>(blockSize_, unread_)));
    end_ = static_cast<std::size_t>(in_.gcount());
    unread_ -= end_;
    pos_ = 0;
    return end_ > 0;
}

bool LineReader::next(std::string_view& head, std::uint64_t& length) {
    if (pos_ == end_ && !fill())
        return false;
    const char* start = block_.get() + pos_;
    if (const void* nl = std::memchr(start, '\n', end_ - pos_)) {
        // The common case: the whole line lies in the block.
        std::size_t n = static_cast<const char*>(nl) - start;
        pos_ += n + 1;
        consumed_ += n + 1;
        if (n > 0 && start[n - 1] == '\r')
            --n;
        length = n;
        head = std::string_view(start, std::min(n, kKeepBytes));
        return true;
    }
    // The line runs past the block: keep its head and count the rest.
    std::size_t n = end_ - pos_;
    carry_.assign(start, std::min(n, kKeepBytes));
    length = n;
    char last = n ? start[n - 1] : '\0';
    consumed_ += n;
    pos_ = end_;
    while (fill()) {
        const void* nl = std::memchr(block_.get(), '\n', end_);
        const std::size_t m = nl ? static_cast<const char*>(nl) - block_.get() : end_;
        if (carry_.size() < kKeepBytes)
            carry_.append(block_.get(), std::min(m, kKeepBytes - carry_.size()));
        if (m > 0)
            last = block_[m - 1];
        length += m;
        pos_ = nl ? m + 1 : end_;
        consumed_ += pos_;
        if (nl)
            break;
    }
    if (length > 0 && last == '\r') {
        --length;
        if (carry_.size() > length)
            carry_.resize(length);
    }
    head = carry_;
    return true;
}

bool LineReader::open(const std::string& path, std::uint64_t begin, std::uint64_t end) {
    if (!open(path) || !in_.seekg(static_cast<std::streamoff>(begin)))
        return false;
    unread_ = end > begin ? std::min(unread_, end) - std::min(unread_, begin) : 0;
    reserveBlock(std::clamp<std::size_t>(static_cast<std::size_t>(unread_) + 1, kLeastBlockBytes,
                                         kBlockBytes));
    consumed_ = begin;
    return true;
}

std::int64_t fileLength(const std::string& path) {
    std::error_code error;
    const auto size = std::filesystem::file_size(datafile::pathFromUtf8(path), error);
    return error ? -1 : static_cast<std::int64_t>(size);
}

namespace {

// True when no byte of the n at p has its top bit set (plain ASCII), looked at eight at a time:
// every line of a long file is checked up to its column.
bool isAscii(const char* p, std::size_t n) {
    std::uint64_t any = 0;
    std::size_t i = 0;
    for (; i + 8 <= n; i += 8) {
        std::uint64_t word;
        std::memcpy(&word, p + i, 8);
        any |= word;
    }
    for (; i < n; ++i)
        any |= static_cast<unsigned char>(p[i]);
    return (any & 0x8080808080808080ULL) == 0;
}

} // namespace

std::string_view columnSlice(std::string_view line, int startColumn, int width) {
    const std::size_t first = static_cast<std::size_t>(std::max(startColumn, 1) - 1);
    const std::size_t past = first + static_cast<std::size_t>(std::max(width, 0));
    const std::size_t scan = std::min(past, line.size());
    if (isAscii(line.data(), scan)) {
        if (first >= line.size())
            return {};
        return line.substr(first, past - first);
    }
    const std::size_t from = byteOfColumn(line, first);
    const std::size_t to = byteOfColumn(line, past);
    return line.substr(from, to - from);
}

std::size_t characterCount(std::string_view text) {
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return !isContinuation(c); }));
}

double sliceValue(std::string_view slice) {
    // Fast path for the shape the recorder writes: blanks, a sign, digits with one point,
    // then a unit or a comma. Anything else (blanks inside, exponents, "&H") goes the long
    // way. Up to 15 digits over a power of ten up to 1e22 divides exactly as strtod rounds.
    std::size_t i = 0;
    const std::size_t n = slice.size();
    while (i < n && slice[i] == ' ')
        ++i;
    bool negative = false;
    if (i < n && (slice[i] == '-' || slice[i] == '+'))
        negative = slice[i++] == '-';
    std::uint64_t mantissa = 0;
    int digits = 0, decimals = 0;
    bool point = false;
    for (; i < n; ++i) {
        const char c = slice[i];
        if (c >= '0' && c <= '9') {
            mantissa = mantissa * 10 + static_cast<unsigned>(c - '0');
            ++digits;
            decimals += point;
        } else if (c == '.' && !point) {
            point = true;
        } else {
            break;
        }
    }
    bool plain = digits > 0 && digits <= 15;
    if (plain && i < n) {
        // What follows must not continue the number once blanks are skipped.
        std::size_t j = i;
        while (j < n && slice[j] == ' ')
            ++j;
        if (j < n) {
            const char c = slice[j];
            plain = !((c >= '0' && c <= '9') || c == '.' || c == 'E' || c == 'e' || c == 'D' ||
                      c == 'd' || c == '\t' || c == '\r' || c == '\n');
        }
    }
    if (!plain)
        return text::leadingNumber(slice);
    static constexpr double kPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                         1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                         1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
    const double value = static_cast<double>(mantissa) / kPowers[decimals];
    if (value == 0)
        return 0;
    return negative ? -value : value;
}

} // namespace pa::plot
