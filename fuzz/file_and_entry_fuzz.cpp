// Arbitrary file contents through the plot loader (every quantity, whole file and a zoom
// range), and arbitrary typed text into the data file name and the PF improvement boxes.
#include "datafile/data_file.h"
#include "pfimprove/pf_calculator.h"
#include "plot/plot_columns.h"
#include "plot/plot_loader.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);

    static const std::string path = "/tmp/pa-fuzz-plot-" + std::to_string(::getpid()) + ".txt";
    if (std::FILE* f = std::fopen(path.c_str(), "wb")) {
        std::fwrite(data, 1, size, f);
        std::fclose(f);
        if (const auto probe = pa::plot::probeFile(path)) {
            const auto& quantity = pa::plot::kQuantities[size % pa::plot::kQuantities.size()];
            pa::plot::loadRecords(path, quantity, probe->records);
            if (const auto range = pa::plot::loadRange(path, quantity, 1, 40))
                for (const auto& set : range->sets)
                    pa::plot::statistics(set);
        }
    }

    pa::datafile::normaliseFileName(text);

    pa::pfimprove::PfCalculator calculator;
    pa::pfimprove::ReadoutTexts readouts;
    for (std::size_t i = 0; i < readouts.size(); ++i)
        readouts[i] = i < text.size() ? text.substr(i, 6) : std::string();
    calculator.UpdateP(readouts);
    calculator.Enter(static_cast<int>(size % 6), text);
    pa::pfimprove::readCapacitance(text);
    return 0;
}
