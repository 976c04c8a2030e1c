// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The file readers take paths, so fuzz inputs are written to a scratch file first: one per
// process and kind, in memory under /dev/shm where there is one.
#include <filesystem>
#include <string>
#include <unistd.h>

namespace pa::fuzzing {

inline std::string scratchPath(const std::string& kind) {
    const std::string folder = std::filesystem::is_directory("/dev/shm") ? "/dev/shm" : "/tmp";
    return folder + "/pa-fuzz-" + kind + "-" + std::to_string(::getpid()) + ".txt";
}

} // namespace pa::fuzzing
