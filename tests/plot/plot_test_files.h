#pragma once
// Data files for the plotting tests, written in a temporary folder.
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

} // namespace pa::testing
