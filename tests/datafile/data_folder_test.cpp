// The data folder under a temporary profile: each of the three ways to find or make it,
// and profiles under which it cannot be made.
#include "datafile/data_folder.h"

#include "support/test_files.h"

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;
using pa::datafile::DataFolder;
using pa::testing::TempFolder;

TEST(DataFolder, ThreeWaysToFindOrMakeIt) {
    const struct {
        const char* name;
        std::vector<const char*> existing; // folders made under the profile first
        const char* expected;              // the data folder, relative to the profile
    } cases[] = {
        {"Documents", {"Documents"}, "Documents/KV2260"},
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
        ASSERT_TRUE(result.ok()) << c.name << ": " << result.error;
        EXPECT_EQ(fs::path(result.path), profile.path() / c.expected) << c.name;
        EXPECT_TRUE(fs::is_directory(result.path)) << c.name;
        EXPECT_EQ(fs::exists(profile.path() / "My Documents/KV2260"),
                  std::string(c.expected).starts_with("My"))
            << c.name;
    }
}

TEST(DataFolder, RefusedWithTheFolderAndTheReason) {
    TempFolder temp;
    const fs::path plainFile = temp.path() / "plain";
    std::ofstream(plainFile) << "x";
    const fs::path documentsIsAFile = temp.path() / "profile";
    fs::create_directory(documentsIsAFile);
    std::ofstream(documentsIsAFile / "Documents") << "x";

    const struct {
        std::string profile, folder, reason;
    } cases[] = {
        {plainFile.string(), (plainFile / "Documents").string(), "Not a directory"},
        {documentsIsAFile.string(), (documentsIsAFile / "Documents").string(), "File exists"},
        {"", "", "HOME"},
    };
    for (const auto& c : cases) {
        const auto result = DataFolder(c.profile);
        EXPECT_FALSE(result.ok());
        EXPECT_EQ(result.path, "");
        EXPECT_NE(result.error.find(c.folder), std::string::npos) << result.error;
        EXPECT_NE(result.error.find(c.reason), std::string::npos) << result.error;
    }
}

TEST(DataFolder, FromTheEnvironment) {
    TempFolder profile;
    const char* previous = std::getenv("HOME");
    const std::string saved = previous ? previous : "";
    setenv("HOME", profile.str().c_str(), 1);
    const auto result = DataFolder();
    setenv("HOME", saved.c_str(), 1);
    EXPECT_EQ(fs::path(result.path), profile.path() / "Documents/KV2260");
}

} // namespace
