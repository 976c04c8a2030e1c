#pragma once
// Small helpers for tests that make files: a fresh temporary folder and whole-file reads.
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace pa::testing {

// A new empty folder under the system's temporary folder, removed with the object.
class TempFolder {
  public:
    TempFolder() {
        static int serial = 0;
        path_ = std::filesystem::temp_directory_path() /
                ("pa-datafile-" + std::to_string(::getpid()) + "-" + std::to_string(++serial));
        std::filesystem::remove_all(path_);
        std::filesystem::create_directories(path_);
    }
    ~TempFolder() {
        std::error_code ec;
        std::filesystem::remove_all(path_, ec);
    }
    const std::filesystem::path& path() const { return path_; }
    std::string str() const { return path_.string(); }

  private:
    std::filesystem::path path_;
};

inline std::string readFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream all;
    all << in.rdbuf();
    return all.str();
}

// The lines of a CR LF file, without their line ends.
inline std::vector<std::string> readLines(const std::filesystem::path& path) {
    const std::string all = readFile(path);
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < all.size();) {
        const std::size_t end = all.find("\r\n", at);
        if (end == std::string::npos) {
            lines.push_back(all.substr(at) + "<no CR LF>");
            break;
        }
        lines.push_back(all.substr(at, end - at));
        at = end + 2;
    }
    return lines;
}

} // namespace pa::testing
