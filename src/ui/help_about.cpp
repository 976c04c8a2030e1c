// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "ui/help_about.h"

#include "datafile/data_folder.h"

#include <filesystem>
#include <system_error>

namespace pa::ui {
namespace {

#ifdef _WIN32
constexpr char kSeparator = '\\';
#else
constexpr char kSeparator = '/';
#endif

constexpr const char* kModelLine = "KV2260";
constexpr const char* kVersionLine = "Version: 6.7";
constexpr const char* kNoticeLine = "(C) 2026 The Power Analyzer developers";

// Counts characters, not bytes, so the centring holds for any notice text.
std::size_t characters(const std::string& s) {
    std::size_t n = 0;
    for (unsigned char c : s)
        n += (c & 0xC0) != 0x80;
    return n;
}

std::string centred(const std::string& line, const std::string& notice) {
    const std::size_t width = characters(notice), own = characters(line);
    return std::string(width > own ? width - own : 0, ' ') + line;
}

} // namespace

bool isFile(const std::string& path) {
    std::error_code error;
    return std::filesystem::is_regular_file(datafile::pathFromUtf8(path), error);
}

std::string manualPath(const std::string& programFolder, int item,
                       const std::function<bool(const std::string&)>& exists) {
    const char* name = nullptr;
    if (item == 0)
        name = "KV2260-SW-HELP-EN_V6.7.pdf";
    else if (item == 3)
        name = "KV2260-SW-AYUDA-ES_V6.7.pdf";
    if (!name)
        return "";
    std::string folder = programFolder;
    while (folder.size() > 1 && (folder.back() == '/' || folder.back() == '\\'))
        folder.pop_back();
    // Qt gives the program's folder with forward slashes on Windows too; the whole path takes
    // the system's separator, so that the one shown is one a user can type.
    for (char& c : folder)
        if (c == '/' || c == '\\')
            c = kSeparator;
    const std::string beside = folder + kSeparator + "help" + kSeparator + name;
    if (exists(beside))
        return beside;
#ifndef _WIN32
    const std::filesystem::path installed =
        std::filesystem::path(folder) / ".." / ".." / "share/doc/poweranalyzer" / name;
    for (const std::string& path : {installed.lexically_normal().string(),
                                    std::string("/usr/share/doc/poweranalyzer/") + name})
        if (exists(path))
            return path;
#endif
    return beside;
}

std::string aboutText() {
    const std::string notice = kNoticeLine;
    return centred(kModelLine, notice) + "\r\n\r\n" + centred(kVersionLine, notice) + "\r\n\r\n" +
           notice;
}

} // namespace pa::ui
