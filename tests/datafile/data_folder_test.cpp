// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The data folder under a temporary profile: each of the three ways to find or make it,
// and profiles under which it cannot be made.
#include "datafile/data_folder.h"

#include "support/test_files.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <tuple>

namespace {

namespace fs = std::filesystem;
using pa::datafile::DataFolder;
using pa::datafile::pathFromUtf8;
using pa::datafile::utf8FromPath;
using pa::testing::TempFolder;

TEST(DataFolder, ThreeWaysToFindOrMakeIt) {
    const struct {
        const char* name;
        std::vector<const char*> existing; // folders made under the profile first
        const char* expected;              // the data folder, relative to the profile
    } cases[] = {
        {"both, Documents wins", {"Documents", "My Documents"}, "Documents/KV2260"},
        {"My Documents only", {"My Documents"}, "My Documents/KV2260"},
        {"neither: both levels made", {}, "Documents/KV2260"},
        {"already there", {"Documents", "Documents/KV2260"}, "Documents/KV2260"},
    };
    for (const auto& c : cases) {
        TempFolder profile;
        for (const char* folder : c.existing)
            fs::create_directory(profile.path() / folder);
        const auto result = DataFolder(profile.str());
        EXPECT_EQ(fs::path(result.path), profile.path() / c.expected) << result.error;
        std::vector<std::string> made; // the data folders there are now
        for (const char* documents : {"Documents", "My Documents"})
            if (fs::is_directory(profile.path() / documents / "KV2260"))
                made.push_back(documents + std::string("/KV2260"));
        EXPECT_EQ(made, std::vector<std::string>{c.expected}) << c.name;
    }
}

TEST(DataFolder, RefusedWithTheFolderAndTheReason) {
    TempFolder temp;
    const fs::path plainFile = temp.path() / "plain";
    std::ofstream(plainFile) << "x";
    const fs::path documentsIsAFile = temp.path() / "profile";
    fs::create_directory(documentsIsAFile);
    std::ofstream(documentsIsAFile / "Documents") << "x";

    // The system's own reasons.
#ifdef _WIN32
    const char *notAFolder = "No such file or directory", *taken = "File exists",
               *variable = "USERPROFILE";
#else
    const char *notAFolder = "Not a directory", *taken = "File exists", *variable = "HOME";
#endif
    const auto cannot = [](const fs::path& folder, const std::string& reason) {
        return "Cannot create the folder " + folder.string() + ": " + reason + ".";
    };
    const struct {
        std::string profile, error;
    } cases[] = {
        {plainFile.string(), cannot(plainFile / "Documents", notAFolder)},
        {documentsIsAFile.string(), cannot(documentsIsAFile / "Documents", taken)},
        {"", std::string("There is no profile folder to keep the data files in: the environment "
                         "variable ") +
                 variable + " is not set."},
    };
    for (const auto& c : cases) {
        const auto result = DataFolder(c.profile);
        EXPECT_EQ(std::tie(result.path, result.error), std::tie("", c.error));
    }
}

// Points the profile variable (USERPROFILE on Windows, HOME elsewhere) at a folder, through
// the wide environment on Windows, and gives back the value it had.
#ifdef _WIN32
std::wstring setProfile(const std::wstring& folder) {
    const std::wstring saved = _wgetenv(L"USERPROFILE") ? _wgetenv(L"USERPROFILE") : L"";
    ::_wputenv_s(L"USERPROFILE", folder.c_str());
    return saved;
}
#else
std::string setProfile(const std::string& folder) {
    const std::string saved = std::getenv("HOME") ? std::getenv("HOME") : "";
    ::setenv("HOME", folder.c_str(), 1);
    return saved;
}
#endif

TEST(DataFolder, FromTheEnvironmentWhateverTheProfileFolderIsCalled) {
    for (const char* name : {"plain", "José", "記錄 數據", "Ünïcode ñ"}) {
        SCOPED_TRACE(name);
        TempFolder temp;
        const fs::path home = temp.path() / pathFromUtf8(name);
        fs::create_directory(home);
        const auto saved = setProfile(home.native());
        EXPECT_EQ(pa::datafile::profileFolder(), utf8FromPath(home));
        const auto result = DataFolder();
        setProfile(saved);
        EXPECT_EQ(pathFromUtf8(result.path), home / "Documents" / "KV2260") << result.error;
        EXPECT_TRUE(fs::is_directory(home / "Documents" / "KV2260"));
    }
}

} // namespace
