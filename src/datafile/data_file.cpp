// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "datafile/data_file.h"

#include "datafile/data_folder.h"
#include "text/escaped_text.h"
#include "text/mask_format.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>

#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

namespace pa::datafile {
namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kBlanks = "          "; // ten
constexpr std::string_view kLostNotice = "NO COM, DATA LOST, !, !,!,!,!,!,!,!";

bool isContinuationByte(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

// Byte offset at which the last n code points of s begin (0 when s is shorter).
std::size_t lastCharactersStart(std::string_view s, int n) {
    std::size_t at = s.size();
    while (at > 0 && n > 0) {
        --at;
        if (!isContinuationByte(s[at]))
            --n;
    }
    while (at > 0 && isContinuationByte(s[at])) // never start inside a character
        --at;
    return n > 0 ? 0 : at;
}

// Byte offset just after the first n code points of s (its size when s is shorter).
std::size_t firstCharactersEnd(std::string_view s, int n) {
    int seen = 0;
    for (std::size_t at = 0; at < s.size(); ++at) {
        if (!isContinuationByte(s[at]) && seen++ == n)
            return at;
    }
    return s.size();
}

std::size_t characterCount(std::string_view s) {
    std::size_t n = 0;
    for (char c : s)
        n += !isContinuationByte(c);
    return n;
}

// One open file descriptor, closed on every path.
class File {
  public:
    File(const std::string& path, int flags) : path_(path) {
        // A NUL would make the system see a shorter name than the one reported; line ends,
        // tabs and the like make names that cannot be typed or listed again.
        const std::size_t nameStart = path.find_last_of("/\\") + 1;
        if (std::any_of(path.begin() + static_cast<std::ptrdiff_t>(nameStart), path.end(),
                        isControl) ||
            path.find('\0') != std::string::npos) {
            path_ = text::printable(path);
            error_ = "Cannot open the data file " + path_ +
                     ": the name holds a control character (a line end, tab or the like), "
                     "which file names cannot have.";
            return;
        }
#ifdef _WIN32
        if (isLink(path)) {
            error_ = linkRefusal();
            return;
        }
        // _O_NOINHERIT: a program started meanwhile must not hold the file open.
        fd_ = ::_wopen(pathFromUtf8(path).c_str(), flags | _O_BINARY | _O_NOINHERIT,
                       _S_IREAD | _S_IWRITE);
#else
        // A link put where the data file goes is not followed (it could lead anywhere), and a
        // pipe without a reader must not hold the program in open().
        fd_ = ::open(path.c_str(), flags | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0666);
        if (fd_ < 0 && errno == ELOOP) {
            error_ = linkRefusal();
            return;
        }
        if (fd_ < 0 && errno == ENXIO) {
            error_ = notAFile();
            return;
        }
#endif
        if (fd_ < 0) {
            error_ = failure("Cannot open");
            return;
        }
        // Devices (a full one, the null one) take lines as a file does; pipes, sockets and
        // folders do not.
        if (const int kind = fileType(); kind == S_IFIFO || kind == S_IFDIR
#ifdef S_IFSOCK
                                         || kind == S_IFSOCK
#endif
        ) {
            error_ = notAFile();
            closeFile();
            return;
        }
#ifndef _WIN32
        ::fcntl(fd_, F_SETFL, ::fcntl(fd_, F_GETFL) & ~O_NONBLOCK);
#endif
    }
    ~File() {
        if (fd_ >= 0)
            closeFile();
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    // Writes all bytes, flushes them to the disk and closes; the first failure wins.
    std::string writeAndClose(std::string_view bytes) {
        if (!error_.empty())
            return error_;
        const long long before = size();
        // A file whose last line was cut short (a power cut in the middle of a write) gets
        // its line end first: the new lines must not be glued onto the broken one.
        std::string ended;
        if (before > 0 && lastByte(before) != '\n') {
            ended.reserve(kLineEnd.size() + bytes.size());
            ended.append(kLineEnd).append(bytes);
            bytes = ended;
        }
        for (std::size_t done = 0; done < bytes.size();) {
#ifdef _WIN32
            const int n =
                ::_write(fd_, bytes.data() + done, static_cast<unsigned>(bytes.size() - done));
#else
            const ssize_t n = ::write(fd_, bytes.data() + done, bytes.size() - done);
#endif
            if (n < 0 && errno == EINTR)
                continue;
            if (n <= 0) {
                if (n == 0)
                    errno = ENOSPC;
                error_ = failure("Cannot write");
                truncateTo(before);
                return error_;
            }
            done += static_cast<std::size_t>(n);
        }
        if (!flush()) {
            error_ = failure("Cannot write");
            truncateTo(before);
            return error_;
        }
        if (!closeFile())
            error_ = failure("Cannot close");
        return error_;
    }

  private:
    std::string linkRefusal() const {
        return "Cannot open the data file " + path_ +
               ": it is a symbolic link, which is not followed. Choose another name.";
    }
    std::string notAFile() const {
        return "Cannot open the data file " + path_ +
               ": it is not a regular file (a pipe, socket or folder).";
    }
    static bool isControl(char c) {
        return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
    }
#ifdef _WIN32
    static bool isLink(const std::string& path) {
        std::error_code ec;
        return std::filesystem::is_symlink(pathFromUtf8(path), ec);
    }
#endif
    int fileType() const {
#ifdef _WIN32
        struct _stat64 st;
        return ::_fstat64(fd_, &st) == 0 ? (st.st_mode & _S_IFMT) : 0;
#else
        struct stat st;
        return ::fstat(fd_, &st) == 0 ? static_cast<int>(st.st_mode & S_IFMT) : 0;
#endif
    }
    std::string failure(const char* what) const {
        return std::string(what) + " the data file " + path_ + ": " + systemReason(errno) + ".";
    }
    long long size() const {
#ifdef _WIN32
        struct _stat64 st;
        return ::_fstat64(fd_, &st) == 0 ? st.st_size : -1;
#else
        struct stat st;
        return ::fstat(fd_, &st) == 0 ? static_cast<long long>(st.st_size) : -1;
#endif
    }
    // The file's last byte, or '\n' when it cannot be read (a device).
    char lastByte(long long size) const {
        char c = '\n';
#ifdef _WIN32
        if (::_lseeki64(fd_, size - 1, SEEK_SET) != size - 1 || ::_read(fd_, &c, 1) != 1)
            c = '\n';
#else
        if (::pread(fd_, &c, 1, size - 1) != 1)
            c = '\n';
#endif
        return c;
    }
    // Takes back a line cut short, so that the file ends with its last whole line.
    void truncateTo(long long length) {
        if (length < 0)
            return;
        const int saved = errno;
#ifdef _WIN32
        (void)::_chsize_s(fd_, length);
#else
        (void)!::ftruncate(fd_, length);
#endif
        errno = saved;
    }
    bool flush() {
#ifdef _WIN32
        return ::_commit(fd_) == 0; // any failure may have lost the bytes just written
#else
#ifdef __APPLE__
        const int result = ::fsync(fd_); // macOS has no fdatasync
#else
        const int result = ::fdatasync(fd_);
#endif
        // Devices and pipes cannot be synced; that is no loss of data.
        return result == 0 || errno == EINVAL || errno == EROFS || errno == ENOTSUP;
#endif
    }
    bool closeFile() {
#ifdef _WIN32
        const int result = ::_close(fd_);
#else
        const int result = ::close(fd_);
#endif
        fd_ = -1;
        return result == 0;
    }

    std::string path_;
    int fd_ = -1;
    std::string error_;
};

#ifdef _WIN32
constexpr int kCreateIfMissing = _O_CREAT;
constexpr int kCreateFlags = _O_WRONLY | _O_CREAT | _O_TRUNC;
constexpr int kAppendFlags = _O_RDWR | _O_APPEND; // read: how the last line ends
#else
constexpr int kCreateIfMissing = O_CREAT;
constexpr int kCreateFlags = O_WRONLY | O_CREAT | O_TRUNC;
constexpr int kAppendFlags = O_RDWR | O_APPEND; // read: how the last line ends
#endif

} // namespace

std::string fixedField(std::string_view text, std::string_view suffix, int width) {
    std::string field;
    field.reserve(kBlanks.size() + text.size() + suffix.size());
    field.append(kBlanks).append(text).append(suffix);
    return field.substr(lastCharactersStart(field, width));
}

std::string headerLine(std::string_view period) {
    std::string line;
    line += fixedField("No.s", ",", 11);
    line += fixedField("Date", ",", 12);
    line += fixedField("Time", ",", 11);
    line += fixedField("Wattage", ",", 9);
    line += fixedField("PF", ",", 9);
    line += fixedField("Voltage", ",", 9);
    line += fixedField("Current", ",", 9);
    line += fixedField("Phase angle", ",", 12);
    line += fixedField("VA", ",", 12);
    line += fixedField("VAR", ",", 14);
    line += fixedField("KWH", ",", 14);
    line += fixedField("KWH/" + std::string(period), "", 14);
    line += " Cost";
    return line;
}

std::string recordLine(double number, const RecordTexts& t) {
    std::string line;
    line += fixedField(text::formatGeneral(number), ",", kNumberFieldWidth);
    line += fixedField(t.date, ",", 12);
    line += fixedField(t.clock, ",", 11);
    line += fixedField(t.watts, "W,", 9);
    line += fixedField(t.powerFactor, " PF,", 9);
    line += fixedField(t.volts, "V,", 9);
    line += fixedField(t.amps, "A,", 9);
    line += fixedField(t.angle, ",", 12);
    line += fixedField(t.voltAmps, "VA,", 12);
    line += fixedField(t.vars, "VAR,", 14);
    line += fixedField(t.kwh, "KWH,", 14);
    line += fixedField(t.energyPerPeriod + "/" + t.period, "", 14);
    // The hours per day and the cost stand together after one blank; readers expect it.
    line += " " + t.hoursPerDay + t.cost;
    return line;
}

std::string lostCommunicationLine(std::string_view date, std::string_view clock) {
    std::string line = fixedField(date, ",", 12);
    line.append(clock).append(", ").append(kLostNotice);
    const std::size_t length = characterCount(line);
    if (length < kLostCommunicationLength)
        return line.append(kLostCommunicationLength - length, ' ');
    return line.substr(0, firstCharactersEnd(line, kLostCommunicationLength));
}

std::string dateText(int year, int month, int day) {
    return text::formatMask(month, "00") + "-" + text::formatMask(day, "00") + "-" +
           text::formatMask(year, "0000");
}

std::string dropCharacters(std::string_view line, int n) {
    return std::string(line.substr(firstCharactersEnd(line, n)));
}

std::string normaliseFileName(std::string_view typed) {
    if (const std::size_t sep = typed.find_last_of("/\\:"); sep != std::string_view::npos)
        typed.remove_prefix(sep + 1);
    typed = typed.substr(0, typed.find('.'));
    if (typed.find_first_not_of(' ') == std::string_view::npos)
        return "";
    return std::string(typed) + ".txt";
}

std::string createWithHeader(const std::string& path, std::string_view period) {
    std::error_code ec;
    const bool existed = std::filesystem::exists(pathFromUtf8(path), ec);
    std::string error =
        File(path, kCreateFlags).writeAndClose(headerLine(period) + std::string(kLineEnd));
    // A file that could not take its header is not left behind empty, as if it had been made.
    if (!error.empty() && !existed && std::filesystem::is_regular_file(pathFromUtf8(path), ec) &&
        std::filesystem::file_size(pathFromUtf8(path), ec) == 0)
        std::filesystem::remove(pathFromUtf8(path), ec);
    return error;
}

std::string appendLine(const std::string& path, std::string_view line) {
    std::string bytes;
    bytes.reserve(line.size() + kLineEnd.size());
    bytes.append(line).append(kLineEnd);
    return File(path, kAppendFlags).writeAndClose(bytes);
}

std::string appendLines(const std::string& path, const std::vector<std::string>& lines) {
    std::string bytes;
    for (const std::string& line : lines)
        bytes.append(line).append(kLineEnd);
    return File(path, kAppendFlags | kCreateIfMissing).writeAndClose(bytes);
}

} // namespace pa::datafile
