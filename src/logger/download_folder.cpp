#include "logger/download_folder.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace pa::logger {

namespace fs = std::filesystem;

std::string downloadFolderUnder(const std::string& profile) {
    std::error_code ec;
    const fs::path base(profile);
    fs::path documents = base / "Documents";
    if (!fs::is_directory(documents, ec)) {
        if (fs::is_directory(base / "My Documents", ec))
            documents = base / "My Documents";
        else
            fs::create_directory(documents, ec);
    }
    const fs::path folder = documents / "KV2260";
    if (!fs::is_directory(folder, ec))
        fs::create_directory(folder, ec);
    return fs::is_directory(folder, ec) ? folder.string() : std::string();
}

std::string downloadFolder() {
#ifdef _WIN32
    const char* profile = std::getenv("USERPROFILE");
#else
    const char* profile = std::getenv("HOME");
#endif
    return downloadFolderUnder(profile ? profile : "");
}

} // namespace pa::logger
