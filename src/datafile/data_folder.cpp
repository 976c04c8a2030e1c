#include "datafile/data_folder.h"

#include <cstdlib>
#include <system_error>

namespace pa::datafile {
namespace fs = std::filesystem;

namespace {

#ifdef _WIN32
constexpr const char* kProfileVariable = "USERPROFILE";
#else
constexpr const char* kProfileVariable = "HOME";
#endif

bool isDirectory(const fs::path& path) {
    std::error_code ec;
    return fs::is_directory(path, ec);
}

// Makes one folder level; an existing folder is fine. Returns the reason of a failure.
std::string makeFolder(const fs::path& path) {
    std::error_code ec;
    fs::create_directory(path, ec);
    if (!ec)
        return "";
    return "Cannot create the folder " + utf8FromPath(path) + ": " + ec.message() + ".";
}

} // namespace

fs::path pathFromUtf8(const std::string& utf8) {
    return fs::path(std::u8string(utf8.begin(), utf8.end()));
}

std::string utf8FromPath(const fs::path& path) {
    const std::u8string s = path.u8string();
    return std::string(s.begin(), s.end());
}

std::string joinPath(const std::string& folder, const std::string& name) {
    return utf8FromPath(pathFromUtf8(folder) / pathFromUtf8(name));
}

std::string profileFolder() {
    const char* value = std::getenv(kProfileVariable);
    return value ? value : "";
}

FolderResult DataFolder(const std::string& profile) {
    if (profile.empty())
        return {"", std::string("There is no profile folder to keep the data files in: the "
                                "environment variable ") +
                        kProfileVariable + " is not set."};
    const fs::path home = pathFromUtf8(profile);
    const fs::path documents = home / "Documents";
    const fs::path myDocuments = home / "My Documents";
    fs::path parent;
    if (isDirectory(documents)) {
        parent = documents;
    } else if (isDirectory(myDocuments)) {
        parent = myDocuments;
    } else {
        if (std::string error = makeFolder(documents); !error.empty())
            return {"", error};
        parent = documents;
    }
    const fs::path folder = parent / kDataFolderName;
    if (!isDirectory(folder))
        if (std::string error = makeFolder(folder); !error.empty())
            return {"", error};
    return {utf8FromPath(folder), ""};
}

std::string notAFileReason(const std::string& path) {
    std::error_code ec;
    const auto kind = fs::status(pathFromUtf8(path), ec).type();
    if (kind == fs::file_type::regular)
        return "";
    if (kind == fs::file_type::directory)
        return "it is a folder, not a file";
    if (ec)
        return ec.message();
    return "it is not a regular file (a pipe, device or socket)";
}

FolderResult DataFolder() {
    return DataFolder(profileFolder());
}

} // namespace pa::datafile
