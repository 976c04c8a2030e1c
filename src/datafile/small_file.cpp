// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "datafile/small_file.h"

#include "datafile/data_folder.h"

#include <algorithm>
#include <cerrno>
#include <fstream>

#ifndef _WIN32
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace pa::datafile {
namespace {

std::string tooLarge(std::size_t limit) {
    return "it is larger than " + sizeText(limit) + ", too large for what it should hold";
}

} // namespace

std::string sizeText(std::size_t bytes) {
    if (bytes >= 1024 * 1024 && bytes % (1024 * 1024) == 0)
        return std::to_string(bytes / (1024 * 1024)) + " MiB";
    if (bytes >= 1024 && bytes % 1024 == 0)
        return std::to_string(bytes / 1024) + " KiB";
    return std::to_string(bytes) + " bytes";
}

SmallFile readSmallFile(const std::string& path, std::size_t limit) {
    SmallFile file;
#ifndef _WIN32
    // O_NONBLOCK: opening a pipe does not wait for a writer, nor a device for its line.
    const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (fd < 0) {
        file.error = systemReason(errno);
        return file;
    }
    struct stat st {};
    if (::fstat(fd, &st) != 0) {
        file.error = systemReason(errno);
    } else if (S_ISDIR(st.st_mode)) {
        file.error = "it is a folder, not a file";
    } else if (!S_ISREG(st.st_mode)) {
        file.error = "it is not a regular file (a pipe, device or socket)";
    } else if (static_cast<unsigned long long>(st.st_size) > limit) {
        file.error = tooLarge(limit);
    } else {
        // One byte more than its size tells a file that grew since fstat.
        file.bytes.resize(static_cast<std::size_t>(st.st_size) + 1);
        std::size_t got = 0;
        while (got <= limit) {
            if (got == file.bytes.size())
                file.bytes.resize(std::min(limit + 1, got * 2));
            const ssize_t n = ::read(fd, file.bytes.data() + got, file.bytes.size() - got);
            if (n < 0 && errno == EINTR)
                continue;
            if (n < 0) {
                file.error = systemReason(errno);
                break;
            }
            if (n == 0)
                break;
            got += static_cast<std::size_t>(n);
        }
        file.bytes.resize(got);
        if (file.error.empty() && got > limit)
            file.error = tooLarge(limit);
    }
    ::close(fd);
#else
    // Windows has no pipes in the file system to wait on; its devices (NUL, COM1) are
    // refused by the same look at the path.
    if (std::string reason = notAFileReason(path); !reason.empty()) {
        file.error = reason;
        return file;
    }
    std::ifstream in(pathFromUtf8(path), std::ios::binary);
    if (!in) {
        file.error = systemReason(errno ? errno : ENOENT);
        return file;
    }
    file.bytes.resize(limit + 1);
    in.read(file.bytes.data(), static_cast<std::streamsize>(file.bytes.size()));
    file.bytes.resize(static_cast<std::size_t>(in.gcount()));
    if (file.bytes.size() > limit)
        file.error = tooLarge(limit);
#endif
    if (!file.error.empty())
        file.bytes.clear();
    return file;
}

} // namespace pa::datafile
