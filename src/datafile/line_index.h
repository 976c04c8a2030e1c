#pragma once
// Random access to the lines of a large text file without reading it all into memory: the
// file is scanned in steps (so a window can show the first lines at once and keep serving
// the user while the rest is indexed), and the start of every kBlockLines-th line is kept.
// Reading lines seeks to the block start and reads forward. A million data lines take a
// few kilobytes of index.
#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

namespace pa::datafile {

class LineIndex {
  public:
    static constexpr std::uint64_t kBlockLines = 256;

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
    // The widest line found so far, in characters.
    std::size_t widestLine() const { return widest_; }

    // Up to count lines from line first (0-based), without their line ends (LF or CR LF).
    std::vector<std::string> lines(std::uint64_t first, std::size_t count) const;

  private:
    std::string path_;
    mutable std::ifstream in_;
    std::uint64_t size_ = 0, scanned_ = 0;
    std::uint64_t lines_ = 0;          // line ends seen
    std::vector<std::uint64_t> block_; // byte offset of line k * kBlockLines
    std::size_t width_ = 0, widest_ = 0;
    bool complete_ = false;
    bool endsWithLineEnd_ = true; // an empty file has no lines
};

} // namespace pa::datafile
