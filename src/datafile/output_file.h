// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Every file the programs write whole (a CSV export, a chart's PNG or PDF, a report, the
// trend's saves) goes through here, so that a write never leaves a half file and never
// replaces what the target really is:
//
// - "-" is standard output, written in place;
// - a pipe (with a reader) or a character device (/dev/null, a terminal, /dev/stdout) is
//   written in place: it cannot be replaced, and there is nothing to keep whole;
// - a folder, a socket, a block device or a link to nothing is refused with the reason;
// - a regular file, or a name that is not there yet, is written under a temporary name
//   beside it (created exclusively, links not followed) and put in place only when complete.
//   The old file keeps its permissions; a link to a file stays a link, and its file is
//   replaced. The temporary file is removed on every other way out: a failure, a discarded
//   write, Ctrl-C or SIGTERM.
#include <cstdint>
#include <string>
#include <string_view>

namespace pa::datafile {

class OutputFile {
  public:
    // Opens the target; error() says why it cannot be written.
    explicit OutputFile(std::string path);
    // Anything not committed is discarded: the temporary file goes, the target stays as it was.
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    bool ok() const { return error_.empty(); }
    // "" or "cannot write PATH: reason" (the first failure).
    const std::string& error() const { return error_; }
    bool write(std::string_view bytes);
    // Flushes everything to the disk and puts the file in place. Returns error().
    std::string commit();
    // Fails the write with this message (a cancel, or a reader's failure): nothing is put in place.
    void abandon(std::string message);

  private:
    bool fail(int error);
    void openTemporary(const std::string& target, int keepMode);
    void closeDescriptor();

    std::string path_;   // as the user named it
    std::string target_; // the file that is replaced (a link's file), empty when in place
    std::string temporary_;
    int fd_ = -1;
    bool ownsDescriptor_ = false;
    bool committed_ = false;
    std::string error_;
    // Bytes written, and those the disk was asked to take so far.
    std::uint64_t written_ = 0, started_ = 0;
    static constexpr std::uint64_t kStartWritingBytes = std::uint64_t{8} << 20;
};

// Writes bytes as the whole content of path. Returns "" or "cannot write PATH: reason".
std::string writeWholeFile(const std::string& path, std::string_view bytes);

} // namespace pa::datafile
