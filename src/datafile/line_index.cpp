// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "datafile/line_index.h"

#include "datafile/data_folder.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <limits>

namespace pa::datafile {

std::string LineIndex::cutNote(std::uint64_t characters) {
    return " ... (" + std::to_string(characters) + " characters)";
}

std::string LineIndex::open(const std::string& path) {
    *this = LineIndex{};
    path_ = path;
    if (const std::string why = notAFileReason(path); !why.empty())
        return "Cannot open " + path + ": " + why + ".";
    errno = 0;
    in_.open(pathFromUtf8(path), std::ios::binary);
    if (!in_)
        return "Cannot open " + path + ": " +
               (errno ? systemReason(errno) : std::string("the file cannot be read")) + ".";
    in_.seekg(0, std::ios::end);
    size_ = static_cast<std::uint64_t>(in_.tellg());
    in_.seekg(0);
    block_.push_back(0);
    complete_ = size_ == 0;
    return "";
}

void LineIndex::lineEnded(std::uint64_t next) {
    if (width_ > kLongestShownLine) {
        long_[lines_] = {width_, next};
        widest_ = std::max(widest_, kLongestShownLine + cutNote(width_).size());
    } else {
        widest_ = std::max(widest_, static_cast<std::size_t>(width_));
    }
    width_ = 0;
}

bool LineIndex::indexMore(std::size_t maxBytes) {
    if (complete_)
        return true;
    std::vector<char> buffer(std::min<std::uint64_t>(maxBytes, size_ - scanned_));
    in_.seekg(static_cast<std::streamoff>(scanned_));
    in_.read(buffer.data(), static_cast<std::streamsize>(buffer.size()));
    const auto got = static_cast<std::size_t>(in_.gcount());
    for (std::size_t i = 0; i < got; ++i) {
        const char c = buffer[i];
        if (c == '\n') {
            lineEnded(scanned_ + i + 1);
            if (++lines_ % kBlockLines == 0)
                block_.push_back(scanned_ + i + 1);
        } else if (c != '\r' && (static_cast<unsigned char>(c) & 0xC0) != 0x80) {
            ++width_; // a character starts here
        }
    }
    if (got > 0)
        endsWithLineEnd_ = buffer[got - 1] == '\n';
    scanned_ += got;
    if (got == 0 || scanned_ >= size_) {
        if (!endsWithLineEnd_)
            lineEnded(scanned_);
        complete_ = true;
        in_.close();
    }
    return complete_;
}

std::uint64_t LineIndex::lineCount() const {
    return lines_ + (complete_ && !endsWithLineEnd_ ? 1 : 0);
}

std::vector<std::string> LineIndex::lines(std::uint64_t first, std::size_t count) const {
    std::vector<std::string> out;
    const std::uint64_t total = lineCount();
    if (first >= total || count == 0)
        return out;
    count = static_cast<std::size_t>(std::min<std::uint64_t>(count, total - first));
    std::ifstream in(pathFromUtf8(path_), std::ios::binary);
    in.seekg(static_cast<std::streamoff>(block_[first / kBlockLines]));
    // Reads one line, cut at kLongestShownLine characters when it is a long one (then the
    // rest is skipped by a seek, not read).
    const auto readLine = [&](std::uint64_t number, std::string* line) {
        if (const auto found = long_.find(number); found != long_.end()) {
            if (line) {
                std::string& text = *line;
                std::size_t characters = 0;
                for (char c; characters <= kLongestShownLine && in.get(c);) {
                    if ((static_cast<unsigned char>(c) & 0xC0) != 0x80 && c != '\r' &&
                        ++characters > kLongestShownLine)
                        break;
                    if (c != '\r')
                        text.push_back(c);
                }
                text += cutNote(found->second.characters);
            }
            in.clear();
            in.seekg(static_cast<std::streamoff>(found->second.next));
            return static_cast<bool>(in) || number + 1 == total;
        }
        if (!line) {
            in.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
            return static_cast<bool>(in);
        }
        if (!std::getline(in, *line))
            return false;
        if (!line->empty() && line->back() == '\r')
            line->pop_back();
        return true;
    };
    std::uint64_t number = first - first % kBlockLines;
    for (; number < first; ++number)
        if (!readLine(number, nullptr))
            return out;
    for (; out.size() < count; ++number) {
        std::string line;
        if (!readLine(number, &line))
            break;
        out.push_back(std::move(line));
    }
    return out;
}

} // namespace pa::datafile
