// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Data files for the plotting tests, written in a temporary folder.
#include "plot/line_reader.h"
#include "support/data_file_writer.h"
#include "text/mask_format.h"

#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <string>

namespace pa::testing {

inline std::string tempFile(const std::string& name) {
    return (std::filesystem::path(::testing::TempDir()) / name).string();
}

inline std::string rawFile(const std::string& name, const std::string& bytes) {
    const std::string path = tempFile(name);
    DataFileWriter(path).raw(bytes);
    return path;
}

// Records 1..n of equal length (141 characters, as long as the header); the wattage of record
// i is wattOf(i) (default i), the clock one second apart.
inline std::string recordsFile(const std::string& name, long n,
                               const std::function<double(long)>& wattOf = {}) {
    const std::string path = tempFile(name);
    DataFileWriter w(path);
    for (long i = 1; i <= n; ++i) {
        RecordTexts r;
        r.number = i;
        r.clock = clockFor(i);
        r.watt = pa::text::formatMask(wattOf ? wattOf(i) : static_cast<double>(i), "0.0");
        r.cost = "0.0";
        w.line(recordLine(r));
    }
    return path;
}

// The lines a LineReader finds in the file; `meanwhile` runs once the file is open.
inline std::size_t countLines(const std::string& path,
                              const std::function<void()>& meanwhile = {}) {
    plot::LineReader reader;
    EXPECT_TRUE(reader.open(path)) << path;
    if (meanwhile)
        meanwhile();
    std::string_view head;
    std::uint64_t length = 0;
    std::size_t lines = 0;
    while (reader.next(head, length))
        ++lines;
    return lines;
}

} // namespace pa::testing
