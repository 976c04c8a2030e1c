// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "support/data_file_writer.h"

#include <stdexcept>

namespace pa::testing {

std::string field(const std::string& text, const std::string& suffix, std::size_t width) {
    const std::string s = std::string(10, ' ') + text + suffix;
    return s.size() > width ? s.substr(s.size() - width) : s;
}

std::string headerLine(const std::string& period) {
    return field("No.s", ",", 11) + field("Date", ",", 12) + field("Time", ",", 11) +
           field("Wattage", ",", 9) + field("PF", ",", 9) + field("Voltage", ",", 9) +
           field("Current", ",", 9) + field("Phase angle", ",", 12) + field("VA", ",", 12) +
           field("VAR", ",", 14) + field("KWH", ",", 14) + field("KWH/" + period, "", 14) + " Cost";
}

std::string recordLine(const RecordTexts& r) {
    return field(std::to_string(r.number), ",", 11) + field(r.date, ",", 12) +
           field(r.clock, ",", 11) + field(r.watt, "W,", 9) + field(r.pf, " PF,", 9) +
           field(r.volt, "V,", 9) + field(r.amp, "A,", 9) + field(r.angle, ",", 12) +
           field(r.va, "VA,", 12) + field(r.var, "VAR,", 14) + field(r.kwh, "KWH,", 14) +
           field(r.perPeriod + "/" + r.period, "", 14) + " " + r.hours + r.cost;
}

std::string lostCommunicationLine(const std::string& date, const std::string& clock) {
    std::string s = field(date, ",", 12) + clock + ", " + "NO COM, DATA LOST, !, !,!,!,!,!,!,!";
    s.resize(143, ' ');
    return s;
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
