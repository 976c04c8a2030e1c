// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Random access to the lines of a large text file without reading it all into memory: the
// file is scanned in steps (so a window can show the first lines at once and keep serving
// the user while the rest is indexed), and the start of every kBlockLines-th line is kept.
// Reading lines seeks to the block start and reads forward. A million data lines take a
// few kilobytes of index. A line longer than kLongestShownLine characters is given cut, with
// a note of its length, and its end is kept in the index, so that a file of one huge line
// costs neither memory nor time. Only regular files are opened: a folder, pipe or device
// is refused with the reason, so nothing can hold the viewer waiting.
#include <cstdint>
#include <fstream>
#include <map>
#include <string>
#include <vector>

namespace pa::datafile {

class LineIndex {
  public:
    static constexpr std::uint64_t kBlockLines = 256;
    static constexpr std::size_t kLongestShownLine = 4096; // characters

    // The note that ends a line given cut: " ... (N characters)".
    static std::string cutNote(std::uint64_t characters);

    // Starts indexing a file: "" on success, else a message naming the file and the reason.
    std::string open(const std::string& path);
    // Scans up to maxBytes more of the file; true once the whole file is indexed.
    bool indexMore(std::size_t maxBytes);
    bool complete() const { return complete_; }

    const std::string& path() const { return path_; }
    std::uint64_t fileSize() const { return size_; }
    std::uint64_t indexedBytes() const { return scanned_; }
    // Lines found so far; a last line without a line end counts once the scan is complete.
    std::uint64_t lineCount() const;
    // The widest line found so far, in characters, as given by lines() (cut lines count
    // with their note).
    std::size_t widestLine() const { return widest_; }

    // Up to count lines from line first (0-based), without their line ends (LF or CR LF).
    std::vector<std::string> lines(std::uint64_t first, std::size_t count) const;

  private:
    // A line ends (its line end, or the end of the file): notes its width; next is where
    // the following line starts.
    void lineEnded(std::uint64_t next);

    std::string path_;
    mutable std::ifstream in_;
    std::uint64_t size_ = 0, scanned_ = 0;
    std::uint64_t lines_ = 0;          // line ends seen
    std::vector<std::uint64_t> block_; // byte offset of line k * kBlockLines
    // Lines longer than kLongestShownLine: line number -> its length in characters and the
    // byte offset of the next line.
    struct LongLine {
        std::uint64_t characters, next;
    };
    std::map<std::uint64_t, LongLine> long_;
    std::uint64_t width_ = 0;
    std::size_t widest_ = 0;
    bool complete_ = false;
    bool endsWithLineEnd_ = true; // an empty file has no lines
};

} // namespace pa::datafile
