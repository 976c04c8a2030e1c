// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The data folder in which recordings and downloads are created: the user's profile folder
// (USERPROFILE on Windows, HOME elsewhere) followed by Documents/KV2260, or by
// "My Documents/KV2260" on systems that still have only that folder.
#include <filesystem>
#include <string>

namespace pa::datafile {

inline constexpr const char* kDataFolderName = "KV2260";

// The profile folder from the environment; empty when the variable is unset.
std::string profileFolder();

struct FolderResult {
    std::string path;  // the data folder, or empty on failure
    std::string error; // why the folder could not be made (names the folder and the reason)
    bool ok() const { return error.empty(); }
};

// Finds or makes the data folder under a profile folder, one level at a time:
//   1. profile/Documents exists: the folder is profile/Documents/KV2260, made if missing;
//   2. otherwise profile/My Documents exists: profile/My Documents/KV2260, made if missing;
//   3. otherwise profile/Documents is made, then profile/Documents/KV2260 inside it.
FolderResult DataFolder(const std::string& profile);
// The same for the profile folder of the environment.
FolderResult DataFolder();

// Joins a folder and a file name with the system's separator.
std::string joinPath(const std::string& folder, const std::string& name);

// Why a path cannot be read as a file: "" for a regular file (or a link to one), else the
// reason ("it is a folder, not a file", "it is not a regular file (a pipe, device or
// socket)", or the system's, such as "No such file or directory"). Looked at without opening
// the path, since opening a pipe waits for a writer.
std::string notAFileReason(const std::string& path);

// File names are UTF-8 in the program; these convert to and from the system's path type
// (wide on Windows), so that a Chinese folder name survives.
std::filesystem::path pathFromUtf8(const std::string& utf8);
std::string utf8FromPath(const std::filesystem::path& path);

// The system's reason for an errno value, in English whatever the process locale, as the
// rest of the program's messages are ("No space left on device").
std::string systemReason(int error);

} // namespace pa::datafile
