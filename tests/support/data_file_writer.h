// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Writes data files as the recorder lays them out, for plotting tests and benchmarks: the
// header line, fixed-width record lines and lost-communication lines, CR LF line ends.
#include "datafile/data_file.h"

#include <cstdio>
#include <string>

namespace pa::testing {

struct RecordTexts {
    long number = 0;
    std::string date = "11-15-2026";
    std::string clock = "16:58:09.4";
    std::string watt = "123.4", pf = "0.98", volt = "230.1", amp = "0.547", angle = "11.5",
                va = "125.9", var = "25.1", kwh = "0.012", perPeriod = "8.60", period = "month",
                hours = "0", cost = "0.00";
};

// The recorder's own lines (whose layout the data file tests pin), from the texts above.
inline std::string headerLine(const std::string& period = "month") {
    return datafile::headerLine(period);
}
std::string recordLine(const RecordTexts& r);
inline std::string lostCommunicationLine(const std::string& date, const std::string& clock) {
    return datafile::lostCommunicationLine(date, clock);
}

// Appends lines to a file (created empty by the constructor).
class DataFileWriter {
  public:
    explicit DataFileWriter(const std::string& path);
    ~DataFileWriter();
    void line(const std::string& text); // adds CR LF
    void raw(const std::string& bytes);

  private:
    std::FILE* file_;
};

// A clock text for a record number: one record a second from 08:00:00.0.
std::string clockFor(long record);

} // namespace pa::testing
