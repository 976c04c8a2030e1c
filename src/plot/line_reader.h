// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Reads a text file line by line in large blocks, keeping of each line only its first bytes
// (the plotter never looks past column 136) and its full length. Memory stays bounded by the
// block size whatever the file holds: a binary file, one enormous line, a file that grows or
// shrinks while it is read (it is read up to the length it had when opened). Lines end at LF; a CR
// before the LF is dropped. A last line without a line end still counts.
#include <cstdint>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>

namespace pa::plot {

class LineReader {
  public:
    static constexpr std::size_t kBlockBytes = 1 << 20;
    static constexpr std::size_t kLeastBlockBytes = 4096;
    // Enough for 136 columns of four-byte characters.
    static constexpr std::size_t kKeepBytes = 600;

    // False when the file cannot be opened for reading.
    bool open(const std::string& path);
    // Only the bytes from `begin` up to `end` (a piece of a file split at line ends, so that
    // several threads read one file); position() counts from the file's start.
    bool open(const std::string& path, std::uint64_t begin, std::uint64_t end);

    // The next line: its first kKeepBytes bytes (valid until the next call) and its length
    // in bytes without the line end. False at the end of the file.
    bool next(std::string_view& head, std::uint64_t& length);

    // Bytes consumed so far (for progress).
    std::uint64_t position() const { return consumed_; }

  private:
    bool fill();
    void reserveBlock(std::size_t bytes);

    std::ifstream in_;
    // Not a vector: a fresh megabyte would be zero-filled for each piece of a file read.
    std::unique_ptr<char[]> block_;
    std::size_t blockSize_ = 0;
    std::size_t pos_ = 0, end_ = 0;
    std::string carry_;
    std::uint64_t consumed_ = 0;
    std::uint64_t unread_ = 0; // of the length the file had when opened
};

// Length of a file in bytes, or -1 when it cannot be read.
std::int64_t fileLength(const std::string& path);

// The slice of a line from a 1-based character column, width characters long, shorter (or
// empty) where the line ends first. Characters are UTF-8 code points.
std::string_view columnSlice(std::string_view line, int startColumn, int width);

// Number of characters (code points) in a text.
std::size_t characterCount(std::string_view text);

// The leading number of a slice, 0 when there is none (see text::leadingNumber).
double sliceValue(std::string_view slice);

} // namespace pa::plot
