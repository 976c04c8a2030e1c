// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Reads a small file that the user names for the program to take settings or secrets from
// (a password file, a certificate): whole, and only if it is a regular file within a size
// limit. It is opened without waiting, so that a pipe or a device named by mistake is
// refused at once with the reason instead of blocking the program or filling its memory.
#include <cstddef>
#include <string>

namespace pa::datafile {

struct SmallFile {
    std::string bytes;
    std::string error; // "" or why the file was not read ("it is a folder, not a file", ...)
};

// The whole content of the file at path (UTF-8) when it is a regular file of at most limit
// bytes.
SmallFile readSmallFile(const std::string& path, std::size_t limit);

// A size in words, as the messages give it: "64 KiB", "1 MiB", "512 bytes".
std::string sizeText(std::size_t bytes);

} // namespace pa::datafile
