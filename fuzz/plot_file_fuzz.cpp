// Arbitrary file contents through the plot loader: the size probe and format check, every
// quantity over the whole file, a zoom range and the statistics of what was loaded. The
// loader reads files by path, so each input is written to a scratch file first (in memory
// under /dev/shm where there is one, to keep the file system out of the way).
#include "plot/plot_columns.h"
#include "plot/plot_loader.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <unistd.h>

namespace {

std::string scratchPath() {
    const std::string folder = std::filesystem::is_directory("/dev/shm") ? "/dev/shm" : "/tmp";
    return folder + "/pa-fuzz-plot-" + std::to_string(::getpid()) + ".txt";
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string path = scratchPath();
    std::FILE* f = std::fopen(path.c_str(), "wb");
    if (!f)
        return 0;
    std::fwrite(data, 1, size, f);
    std::fclose(f);

    const auto probe = pa::plot::probeFile(path);
    if (!probe)
        return 0;
    const auto& quantity = pa::plot::kQuantities[size % pa::plot::kQuantities.size()];
    if (const auto all = pa::plot::loadRecords(path, quantity, probe->records))
        for (const auto& set : all->sets)
            pa::plot::statistics(set);
    const double start = size > 0 ? data[0] % 8 : 1;
    if (const auto range = pa::plot::loadRange(path, quantity, start, start + 40))
        for (const auto& set : range->sets)
            pa::plot::statistics(set);
    return 0;
}
