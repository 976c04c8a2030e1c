// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// Arbitrary file contents through the plot loader: the size probe and format check, every
// quantity over the whole file, a zoom range and the statistics of what was loaded; then the
// plot window's document on the same file, with the first two lines of the input typed into
// its zoom and Y scale boxes, its axis labels and its statistics; and the file viewer's line
// index, scanned in small steps and read back in pages. The readers take files by
// path, so each input is written to a scratch file first (in memory under /dev/shm where
// there is one, to keep the file system out of the way). An input that starts with byte 0xFF
// becomes a file of 1 or 2 MB (the rest of the input over and over), so that lines of
// megabytes, and files without any line end, are in reach; such files go through the viewer's
// index and the plot loader's probe.
#include "datafile/line_index.h"
#include "plot/plot_columns.h"
#include "plot/plot_document.h"
#include "plot/plot_loader.h"
#include "support/scripted_ui.h"

#include "scratch_file.h"
#include <algorithm>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string path = pa::fuzzing::scratchPath("plot");
    std::FILE* f = std::fopen(path.c_str(), "wb");
    if (!f)
        return 0;
    const bool large = size >= 3 && data[0] == 0xFF;
    if (large) {
        const std::size_t target = (data[1] % 2 + 1) * std::size_t{1 << 20};
        std::string big(reinterpret_cast<const char*>(data + 2), size - 2);
        while (big.size() < target)
            big += big;
        std::fwrite(big.data(), 1, target, f);
    } else {
        std::fwrite(data, 1, size, f);
    }
    std::fclose(f);

    pa::datafile::LineIndex index;
    if (index.open(path).empty()) {
        while (!index.indexMore(large ? 1 << 20 : 64)) {
        }
        // A line as given is never longer than the cut and its note.
        for (const std::string& line : index.lines(0, 3))
            if (line.size() > 4 * pa::datafile::LineIndex::kLongestShownLine + 64)
                __builtin_trap();
        const std::uint64_t lines = index.lineCount();
        for (std::uint64_t first = 0; first <= lines; first += 300)
            index.lines(first, 300);
        index.lines(lines > 0 ? lines - 1 : 0, 5);
    }

    const auto probe = pa::plot::probeFile(path);
    if (!probe)
        return 0;
    const auto& quantity = pa::plot::kQuantities[size % pa::plot::kQuantities.size()];
    if (large)
        return 0;
    if (const auto all = pa::plot::loadRecords(path, quantity, probe->records))
        for (const auto& set : all->sets)
            pa::plot::statistics(set);
    const double start = size > 0 ? data[0] % 8 : 1;
    if (const auto range = pa::plot::loadRange(path, quantity, start, start + 40))
        for (const auto& set : range->sets)
            pa::plot::statistics(set);

    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::size_t firstEnd = std::min(text.find('\n'), size);
    const std::string first = text.substr(0, firstEnd);
    const std::string second = firstEnd < size ? text.substr(firstEnd + 1, 16) : std::string();
    pa::testing::ScriptedUi ui;
    ui.answers = {pa::app::Answer::Yes}; // plot a file that fails the format check
    pa::plot::PlotDocument document(ui);
    document.setFileName(path);
    document.SelectData(static_cast<int>(size % pa::plot::kQuantities.size()));
    ui.inputs = {first, second, second, first};
    document.ZoomIn();
    document.set_scale(1);
    document.set_scale(2);
    document.yTicks();
    document.xLabels();
    document.set_x_label(1);
    document.xLabels();
    document.StatOption();
    document.currentStatistics();
    return 0;
}
