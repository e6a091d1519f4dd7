// Which paths count as files that are there.
#include "BrindleRecorderCore/Base/PosixFileManager.hpp"

#include "Support/TemporaryFolder.hpp"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>

namespace brindle {
namespace {

class PosixFileExistence : public testing::Test {
  protected:
    [[nodiscard]] bool exists(const std::string& name) const {
        return files_.fileExists(folder_.path() / name);
    }

    test::TemporaryFolder folder_;
    PosixFileManager files_;
};

TEST_F(PosixFileExistence, AFileAndAFolderAreThere) {
    std::ofstream{folder_.path() / "file"} << "contents";
    std::filesystem::create_directory(folder_.path() / "folder");
    EXPECT_TRUE(exists("file"));
    EXPECT_TRUE(exists("folder"));
    EXPECT_FALSE(exists("nothing"));
}

TEST_F(PosixFileExistence, ANameThatNoFileCanHaveIsNotThere) {
    EXPECT_FALSE(exists(std::string(300, 'x')));
}

TEST_F(PosixFileExistence, NothingIsThereBelowAFile) {
    std::ofstream{folder_.path() / "file"} << "contents";
    EXPECT_FALSE(exists("file/below"));
}

TEST_F(PosixFileExistence, LinksThatLeadInACircleLeadToNothing) {
    std::filesystem::create_symlink("there", folder_.path() / "here");
    std::filesystem::create_symlink("here", folder_.path() / "there");
    EXPECT_FALSE(exists("here"));
}

} // namespace
} // namespace brindle
