// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "datafile/data_folder.h"

#include <cstdlib>
#include <cstring>
#include <system_error>

#ifndef _WIN32
#include <locale.h>
#endif

#ifdef _WIN32
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#endif

namespace pa::datafile {
namespace fs = std::filesystem;

namespace {

#ifdef _WIN32
constexpr const char* kProfileVariable = "USERPROFILE";
constexpr const wchar_t* kProfileVariableWide = L"USERPROFILE";
#else
constexpr const char* kProfileVariable = "HOME";
#endif

bool isDirectory(const fs::path& path) {
    std::error_code ec;
    return fs::is_directory(path, ec);
}

// Makes one folder level; an existing folder is fine. Returns the reason of a failure.
std::string makeFolder(const fs::path& path) {
    std::error_code ec;
    fs::create_directory(path, ec);
    if (!ec)
        return "";
    const std::string reason =
        ec.category() == std::generic_category() ? systemReason(ec.value()) : ec.message();
    return "Cannot create the folder " + utf8FromPath(path) + ": " + reason + ".";
}

} // namespace

fs::path pathFromUtf8(const std::string& utf8) {
#ifdef _WIN32
    // Windows paths are UTF-16. Invalid UTF-8 becomes U+FFFD rather than an exception: the
    // file is then simply not found, which every caller already reports.
    if (utf8.empty())
        return {};
    const int size = static_cast<int>(utf8.size());
    const int wide = ::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, nullptr, 0);
    std::wstring text(static_cast<std::size_t>(wide), L'\0');
    ::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, text.data(), wide);
    return fs::path(text);
#else
    // Elsewhere a path is bytes; UTF-8 passes unchanged.
    return fs::path(utf8);
#endif
}

std::string utf8FromPath(const fs::path& path) {
#ifdef _WIN32
    const std::wstring& text = path.native();
    if (text.empty())
        return {};
    const int size = static_cast<int>(text.size());
    const int bytes =
        ::WideCharToMultiByte(CP_UTF8, 0, text.data(), size, nullptr, 0, nullptr, nullptr);
    std::string utf8(static_cast<std::size_t>(bytes), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, text.data(), size, utf8.data(), bytes, nullptr, nullptr);
    return utf8;
#else
    return path.native();
#endif
}

std::string systemReason(int error) {
#ifdef _WIN32
    return std::strerror(error); // not translated by the C library's locale
#else
    static const locale_t c = ::newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(0));
    return c ? ::strerror_l(error, c) : std::strerror(error);
#endif
}

std::string joinPath(const std::string& folder, const std::string& name) {
    return utf8FromPath(pathFromUtf8(folder) / pathFromUtf8(name));
}

std::string profileFolder() {
#ifdef _WIN32
    // The narrow environment is in the ANSI code page, which cannot hold every name
    // (C:\Users\José on a Chinese system); the wide one holds them all.
    const wchar_t* value = ::_wgetenv(kProfileVariableWide);
    return value ? utf8FromPath(fs::path(value)) : "";
#else
    const char* value = std::getenv(kProfileVariable);
    return value ? value : "";
#endif
}

FolderResult DataFolder(const std::string& profile) {
    if (profile.empty())
        return {"", std::string("There is no profile folder to keep the data files in: the "
                                "environment variable ") +
                        kProfileVariable + " is not set."};
    const fs::path home = pathFromUtf8(profile);
    const fs::path documents = home / "Documents";
    const fs::path myDocuments = home / "My Documents";
    fs::path parent;
    if (isDirectory(documents)) {
        parent = documents;
    } else if (isDirectory(myDocuments)) {
        parent = myDocuments;
    } else {
        if (std::string error = makeFolder(documents); !error.empty())
            return {"", error};
        parent = documents;
    }
    const fs::path folder = parent / kDataFolderName;
    if (!isDirectory(folder))
        if (std::string error = makeFolder(folder); !error.empty())
            return {"", error};
    return {utf8FromPath(folder), ""};
}

std::string notAFileReason(const std::string& path) {
    std::error_code ec;
    const auto kind = fs::status(pathFromUtf8(path), ec).type();
    if (kind == fs::file_type::regular)
        return "";
    if (kind == fs::file_type::directory)
        return "it is a folder, not a file";
    if (ec)
        return systemReason(ec.value());
    return "it is not a regular file (a pipe, device or socket)";
}

FolderResult DataFolder() {
    return DataFolder(profileFolder());
}

} // namespace pa::datafile
