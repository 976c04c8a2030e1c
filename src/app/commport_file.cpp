#include "app/commport_file.h"

#include "datafile/data_folder.h"

#include <filesystem>
#include <fstream>

namespace pa::app {

std::string commPortLine(int portNumber) {
    const std::string sign = portNumber < 0 ? "-" : " ";
    return sign + std::to_string(portNumber < 0 ? -portNumber : portNumber) + " \r\n";
}

void writeCommPortFile(const std::string& folder, int portNumber) {
    const std::filesystem::path path = folder.empty()
                                           ? std::filesystem::path("commport.dat")
                                           : datafile::pathFromUtf8(folder) / "commport.dat";
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << commPortLine(portNumber);
}

} // namespace pa::app
