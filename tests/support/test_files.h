// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Small helpers for tests that make files: a fresh temporary folder and whole-file reads.
#include "datafile/data_folder.h"

#ifdef _WIN32
#include <process.h>
#else
#include <sys/resource.h>
#include <unistd.h>
#endif

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace pa::testing {

inline int processId() {
#ifdef _WIN32
    return ::_getpid();
#else
    return static_cast<int>(::getpid());
#endif
}

// A new empty folder under the system's temporary folder, removed with the object.
class TempFolder {
  public:
    TempFolder() {
        static int serial = 0;
        path_ = std::filesystem::temp_directory_path() /
                ("pa-datafile-" + std::to_string(processId()) + "-" + std::to_string(++serial));
        std::filesystem::remove_all(path_);
        std::filesystem::create_directories(path_);
    }
    ~TempFolder() {
        std::error_code ec;
        std::filesystem::remove_all(path_, ec);
    }
    const std::filesystem::path& path() const { return path_; }
    std::string str() const { return datafile::utf8FromPath(path_); } // the program's UTF-8

  private:
    std::filesystem::path path_;
};

inline std::string readFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream all;
    all << in.rdbuf();
    return all.str();
}

// Writes the lines, each ended by CR LF as a recording's are.
inline void writeLines(const std::filesystem::path& path, const std::vector<std::string>& lines) {
    std::ofstream out(path, std::ios::binary);
    for (const std::string& line : lines)
        out << line << "\r\n";
}

// The lines of a CR LF file, without their line ends.
inline std::vector<std::string> readLines(const std::filesystem::path& path) {
    const std::string all = readFile(path);
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < all.size();) {
        const std::size_t end = all.find("\r\n", at);
        if (end == std::string::npos) {
            lines.push_back(all.substr(at) + "<no CR LF>");
            break;
        }
        lines.push_back(all.substr(at, end - at));
        at = end + 2;
    }
    return lines;
}

// Sets the process's time zone (a TZ value such as "UTC0" or "CET-1CEST"), so that local
// times get the same UTC offset on every machine.
inline void useTimeZone(const char* tz) {
#ifdef _WIN32
    ::_putenv_s("TZ", tz);
    ::_tzset();
#else
    ::setenv("TZ", tz, 1);
    ::tzset();
#endif
}

#ifndef _WIN32
#define PA_TEST_FILE_SIZE_LIMIT 1 // Windows has no per-process file size limit

// A disk that fills: while the object lives, no file of this process may grow past `bytes`
// (a write past it fails with "File too large" instead of killing the process).
class FileSizeLimit {
  public:
    explicit FileSizeLimit(std::uint64_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
        ::getrlimit(RLIMIT_FSIZE, &previous_);
        rlimit limit = previous_;
        limit.rlim_cur = bytes;
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &previous_);
        std::signal(SIGXFSZ, handler_);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

  private:
    void (*handler_)(int);
    rlimit previous_{};
};
#endif

// A data file line cut after each comma, the comma kept with its field: a record line gives
// twelve fields, of which the first eleven have fixed widths.
inline std::vector<std::string> splitFields(const std::string& line) {
    std::vector<std::string> fields;
    std::size_t at = 0;
    for (std::size_t comma; (comma = line.find(',', at)) != std::string::npos; at = comma + 1)
        fields.push_back(line.substr(at, comma + 1 - at));
    fields.push_back(line.substr(at));
    return fields;
}

} // namespace pa::testing
