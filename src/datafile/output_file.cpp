// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "datafile/output_file.h"

#include "datafile/data_folder.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <random>
#include <sys/stat.h>
#include <system_error>

#ifdef _WIN32
#include <io.h>
#include <process.h>
#else
#include <unistd.h>
#endif

namespace pa::datafile {
namespace fs = std::filesystem;

namespace {

using PathChar = fs::path::value_type;

// The temporary files being written, for the signal handler to remove: a fixed table, since a
// handler may neither allocate nor lock. This is the one piece of process-wide state here.
constexpr std::size_t kSlots = 16;
constexpr std::size_t kPathChars = 4096;
struct Slot {
    std::atomic<bool> claimed{false}; // taken by a writer
    std::atomic<bool> ready{false};   // its path is whole: the handler may remove it
    PathChar path[kPathChars];
};
std::array<Slot, kSlots> pending;

void removePending(int sig) {
    for (Slot& s : pending)
        if (s.ready.load())
#ifdef _WIN32
            ::_wunlink(s.path);
#else
            ::unlink(s.path);
#endif
    std::signal(sig, SIG_DFL);
    std::raise(sig);
}

// Takes over Ctrl-C and SIGTERM where nothing else has: a program with its own handler stops
// in its own time and the destructor removes the file.
void handleStopSignals() {
    static std::atomic<bool> done{false};
    if (done.exchange(true))
        return;
    for (const int sig : {SIGINT, SIGTERM}) {
        const auto previous = std::signal(sig, removePending);
        if (previous != SIG_DFL && previous != SIG_ERR)
            std::signal(sig, previous);
    }
}

Slot* remember(const fs::path& path) {
    const auto& native = path.native();
    if (native.size() >= kPathChars)
        return nullptr;
    for (Slot& s : pending) {
        if (bool expected = false; !s.claimed.compare_exchange_strong(expected, true))
            continue;
        std::memcpy(s.path, native.c_str(), (native.size() + 1) * sizeof(PathChar));
        s.ready = true;
        return &s;
    }
    return nullptr;
}

void forget(const fs::path& path) {
    for (Slot& s : pending)
        if (s.ready.load() && path.native() == s.path) {
            s.ready = false;
            s.claimed = false;
        }
}

#ifdef _WIN32
using StatBuffer = struct _stat64;
int statPath(const fs::path& p, StatBuffer& st) {
    return ::_wstat64(p.c_str(), &st);
}
bool isCharacterDevice(int mode) {
    return (mode & _S_IFMT) == _S_IFCHR;
}
bool isPipe(int mode) {
    return (mode & _S_IFMT) == _S_IFIFO;
}
#else
using StatBuffer = struct stat;
int statPath(const fs::path& p, StatBuffer& st) {
    return ::stat(p.c_str(), &st);
}
bool isCharacterDevice(int mode) {
    return S_ISCHR(mode);
}
bool isPipe(int mode) {
    return S_ISFIFO(mode);
}
#endif

bool isRegular(int mode) {
    return (mode & S_IFMT) == S_IFREG;
}

bool isDirectoryMode(int mode) {
    return (mode & S_IFMT) == S_IFDIR;
}

int writeSome(int fd, const char* data, std::size_t size) {
#ifdef _WIN32
    return ::_write(fd, data, static_cast<unsigned>(std::min<std::size_t>(size, 1u << 30)));
#else
    return static_cast<int>(::write(fd, data, std::min<std::size_t>(size, 1u << 30)));
#endif
}

// Asks the system to start writing the bytes from `from` to `to` to the disk now, without
// waiting: the flush at the end of a long file then has little left to do, and the disk works
// while the rest of the file is made.
void startWriting(int fd, std::uint64_t from, std::uint64_t to) {
#if defined(__linux__)
    ::sync_file_range(fd, static_cast<off_t>(from), static_cast<off_t>(to - from),
                      SYNC_FILE_RANGE_WRITE);
#else
    (void)fd, (void)from, (void)to;
#endif
}

// Flushes a regular file to the disk; devices and pipes have nothing to flush.
bool syncToDisk(int fd) {
#ifdef _WIN32
    return ::_commit(fd) == 0;
#elif defined(__APPLE__)
    return ::fsync(fd) == 0;
#else
    return ::fdatasync(fd) == 0;
#endif
}

std::string uniqueSuffix() {
    static std::atomic<unsigned> counter{0};
    std::random_device random;
#ifdef _WIN32
    const int pid = ::_getpid();
#else
    const int pid = static_cast<int>(::getpid());
#endif
    return "." + std::to_string(pid) + "-" + std::to_string(counter++) + "-" +
           std::to_string(random() % 1000000) + ".part";
}

} // namespace

OutputFile::OutputFile(std::string path) : path_(std::move(path)) {
    if (path_ == "-") {
#ifdef _WIN32
        ::_setmode(1, _O_BINARY);
#endif
        fd_ = 1;
        return;
    }
    if (path_.empty() || path_.find('\0') != std::string::npos) {
        error_ = "cannot write \"" + path_ + "\": not a file name";
        return;
    }
    const fs::path p = pathFromUtf8(path_);
    StatBuffer st{};
    if (statPath(p, st) != 0) {
        const int why = errno;
        std::error_code ec;
        if (why == ENOENT && fs::is_symlink(fs::symlink_status(p, ec))) {
            error_ = "cannot write " + path_ + ": it is a symbolic link to nothing";
            return;
        }
        if (why != ENOENT) {
            fail(why);
            return;
        }
        openTemporary(path_, -1);
        return;
    }
    const int mode = static_cast<int>(st.st_mode);
    if (isRegular(mode)) {
        std::error_code ec;
        // A link to a file stays a link: its file is the one replaced.
        const fs::path real = fs::is_symlink(fs::symlink_status(p, ec)) ? fs::canonical(p, ec) : p;
        if (ec) {
            fail(ec.value());
            return;
        }
        openTemporary(utf8FromPath(real), mode & 07777);
        return;
    }
    if (isDirectoryMode(mode)) {
        error_ = "cannot write " + path_ + ": it is a folder";
        return;
    }
    if (!isCharacterDevice(mode) && !isPipe(mode)) {
        error_ = "cannot write " + path_ + ": it is not a file, a pipe or a character device";
        return;
    }
#ifdef _WIN32
    fd_ = ::_wopen(p.c_str(), _O_WRONLY | _O_BINARY | _O_NOINHERIT);
#else
    // A pipe without a reader would hold the program in open(): refused instead.
    fd_ = ::open(p.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd_ < 0 && errno == ENXIO) {
        error_ = "cannot write " + path_ + ": no program reads from the pipe";
        return;
    }
    if (fd_ >= 0)
        ::fcntl(fd_, F_SETFL, ::fcntl(fd_, F_GETFL) & ~O_NONBLOCK);
#endif
    if (fd_ < 0)
        fail(errno);
    ownsDescriptor_ = fd_ >= 0;
}

void OutputFile::openTemporary(const std::string& target, int keepMode) {
    const fs::path targetPath = pathFromUtf8(target);
    for (int attempt = 0; attempt < 100 && fd_ < 0; ++attempt) {
        fs::path temporary = targetPath;
        temporary += uniqueSuffix();
#ifdef _WIN32
        fd_ = ::_wopen(temporary.c_str(), _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY | _O_NOINHERIT,
                       _S_IREAD | _S_IWRITE);
#else
        fd_ = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
#endif
        if (fd_ >= 0) {
            temporary_ = utf8FromPath(temporary);
            handleStopSignals();
            remember(temporary);
        } else if (errno != EEXIST) {
            break;
        }
    }
    if (fd_ < 0) {
        fail(errno);
        return;
    }
    ownsDescriptor_ = true;
    target_ = target;
#ifndef _WIN32
    if (keepMode >= 0)
        (void)!::fchmod(fd_, static_cast<mode_t>(keepMode));
#else
    (void)keepMode;
#endif
}

OutputFile::~OutputFile() {
    if (!committed_)
        abandon("");
}

bool OutputFile::fail(int error) {
    if (error_.empty())
        error_ = "cannot write " + (path_ == "-" ? std::string("standard output") : path_) + ": " +
                 systemReason(error);
    return false;
}

bool OutputFile::write(std::string_view bytes) {
    if (!error_.empty())
        return false;
    while (!bytes.empty()) {
        const int n = writeSome(fd_, bytes.data(), bytes.size());
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return fail(n == 0 ? ENOSPC : errno);
        bytes.remove_prefix(static_cast<std::size_t>(n));
        written_ += static_cast<std::uint64_t>(n);
    }
    if (!temporary_.empty() && written_ - started_ >= kStartWritingBytes) {
        startWriting(fd_, started_, written_);
        started_ = written_;
    }
    return true;
}

void OutputFile::closeDescriptor() {
    if (fd_ >= 0 && ownsDescriptor_) {
#ifdef _WIN32
        const int result = ::_close(fd_);
#else
        const int result = ::close(fd_);
#endif
        if (result != 0)
            fail(errno);
    }
    fd_ = -1;
}

std::string OutputFile::commit() {
    if (committed_ || !error_.empty()) {
        abandon("");
        return error_;
    }
    if (!temporary_.empty() && !syncToDisk(fd_))
        fail(errno);
    closeDescriptor();
    if (error_.empty() && !temporary_.empty()) {
        std::error_code ec;
        fs::rename(pathFromUtf8(temporary_), pathFromUtf8(target_), ec);
        if (ec)
            fail(ec.value());
    }
    if (!error_.empty()) {
        abandon("");
        return error_;
    }
    forget(pathFromUtf8(temporary_));
    committed_ = true;
    return error_;
}

void OutputFile::abandon(std::string message) {
    if (error_.empty() && !message.empty())
        error_ = std::move(message);
    closeDescriptor();
    if (!temporary_.empty()) {
        const fs::path temporary = pathFromUtf8(temporary_);
        std::error_code ec;
        fs::remove(temporary, ec);
        forget(temporary);
        temporary_.clear();
    }
    committed_ = true;
}

std::string writeWholeFile(const std::string& path, std::string_view bytes) {
    OutputFile out(path);
    out.write(bytes);
    return out.commit();
}

} // namespace pa::datafile
