// Arbitrary file contents through the spreadsheet export (both separators) and the statistics
// (per hour, in all three output forms). The readers take files by path, so each input is
// written to a scratch file first (under /dev/shm where there is one).
#include "datafile/csv_export.h"
#include "datafile/recording_stats.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <unistd.h>

namespace {

std::string scratchPath() {
    const std::string folder = std::filesystem::is_directory("/dev/shm") ? "/dev/shm" : "/tmp";
    return folder + "/pa-fuzz-export-" + std::to_string(::getpid()) + ".txt";
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string path = scratchPath();
    std::FILE* f = std::fopen(path.c_str(), "wb");
    if (!f)
        return 0;
    std::fwrite(data, 1, size, f);
    std::fclose(f);

    for (const char separator : {',', ';'}) {
        std::FILE* out = std::tmpfile();
        if (!out)
            return 0;
        pa::datafile::ExportSummary summary;
        pa::datafile::exportCsv(path, out, {separator, 2026}, summary);
        std::fclose(out);
    }
    pa::datafile::RecordingStats stats(pa::datafile::StatsPer::Hour);
    pa::datafile::gatherStats(path, 2026, stats, {});
    const auto price = stats.filePrice();
    pa::datafile::statsText(path, stats, price);
    pa::datafile::statsCsv(stats, price);
    pa::datafile::statsJson(path, stats, price);
    return 0;
}
