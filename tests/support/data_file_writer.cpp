// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "support/data_file_writer.h"

#include <stdexcept>

namespace pa::testing {

std::string recordLine(const RecordTexts& r) {
    return datafile::recordLine(static_cast<double>(r.number),
                                {r.date, r.clock, r.watt, r.pf, r.volt, r.amp, r.angle, r.va, r.var,
                                 r.kwh, r.perPeriod, r.period, r.hours, r.cost});
}

DataFileWriter::DataFileWriter(const std::string& path) : file_(std::fopen(path.c_str(), "wb")) {
    if (!file_)
        throw std::runtime_error("cannot create " + path);
}

DataFileWriter::~DataFileWriter() {
    std::fclose(file_);
}

void DataFileWriter::line(const std::string& text) {
    raw(text + "\r\n");
}

void DataFileWriter::raw(const std::string& bytes) {
    std::fwrite(bytes.data(), 1, bytes.size(), file_);
}

std::string clockFor(long record) {
    const long t = 8 * 3600 + record;
    char text[16];
    std::snprintf(text, sizeof text, "%02ld:%02ld:%02ld.0", (t / 3600) % 24, (t / 60) % 60, t % 60);
    return text;
}

} // namespace pa::testing
