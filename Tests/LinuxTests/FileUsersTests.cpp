#include "BrindleRecorderLinux/Processes/FileUsers.hpp"

#include "BrindleRecorderCore/Base/FileDescriptor.hpp"
#include "LinuxTests/ChildProcess.hpp"
#include "LinuxTests/WaitOnLoop.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <fstream>

namespace brindle {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class FileUsersTest : public testing::Test {
  protected:
    FileUsersTest() { std::ofstream{file_} << std::string(4096, 'x'); }

    test::TemporaryFolder folder_;
    std::filesystem::path file_ = std::filesystem::canonical(folder_.path()) / "camera";
};

TEST_F(FileUsersTest, NobodyUsesAFileThatIsClosed) {
    EXPECT_THAT(FileUsers::of(file_), IsEmpty());
}

TEST_F(FileUsersTest, FindsWhoHasItOpen) {
    const FileDescriptor open{::open(file_.c_str(), O_RDONLY | O_CLOEXEC)};
    EXPECT_THAT(FileUsers::of(file_), ElementsAre(FileUser{.pid = getpid(), .isMapped = false}));
}

TEST_F(FileUsersTest, TellsWhoHasMappedIt) {
    const FileDescriptor open{::open(file_.c_str(), O_RDONLY | O_CLOEXEC)};
    void* const memory = mmap(nullptr, 4096, PROT_READ, MAP_SHARED, open.number(), 0);
    ASSERT_NE(memory, MAP_FAILED);
    EXPECT_THAT(FileUsers::of(file_), ElementsAre(FileUser{.pid = getpid(), .isMapped = true}));
    munmap(memory, 4096);
}

TEST_F(FileUsersTest, FindsAnotherProcessUntilItEnds) {
    EventLoop loop;
    {
        const ChildProcess child{
            "/bin/sh", {"sh", "-c", "exec sleep 600 <\"$1\"", "sh", file_.string()}};
        const FileUser expected{.pid = child.pid(), .isMapped = false};
        EXPECT_TRUE(waitUntil(
            loop, [&] { return FileUsers::of(file_) == std::vector<FileUser>{expected}; }));
    }
    EXPECT_TRUE(waitUntil(loop, [&] { return FileUsers::of(file_).empty(); }));
}

TEST_F(FileUsersTest, AFolderThatIsNoProcFolderTellsNothing) {
    EXPECT_THAT(FileUsers::of(file_, folder_.path() / "missing"), IsEmpty());
}

} // namespace
} // namespace brindle
