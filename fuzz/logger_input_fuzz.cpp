// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// Arbitrary bytes where the datalogger reads them: a status block, a download stream with
// its record words, and a line typed into the memory console.
#include "logger/console_parser.h"
#include "logger/record_converter.h"
#include "logger/status_block.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    const pa::logger::LoggerStatus status = pa::logger::decodeStatusBlock(bytes);
    pa::logger::describe(status);
    const int pointer = size >= 2 ? data[0] + 256 * data[1] : 0;
    pa::logger::recordCount(pointer);
    pa::logger::convertRecords(bytes, static_cast<int>(size / 2), "11-23", "23:59:59",
                               size > 0 ? data[size - 1] : 4);
    pa::logger::recordValueText(bytes);
    pa::logger::parseConsoleLine(bytes);
    pa::logger::consoleNumber(bytes);
    pa::logger::hexDump(pointer, bytes.substr(0, 256)); // the console dumps 256 at most
    return 0;
}
