#include "BrindleRecorderLinux/Cameras/CameraUsers.hpp"

#include "BrindleRecorderCore/Base/FileDescriptor.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "LinuxTests/FakeProc.hpp"
#include "LinuxTests/WaitOnLoop.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>

#include <filesystem>
#include <fstream>

namespace brindle {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::string camera = "/dev/video7";

class CameraUsersTest : public testing::Test {
  protected:
    /// A process that has the camera open.
    void addUser(std::int32_t pid, const std::string& program, bool isMapped = false) const {
        proc_.add({.pid = pid, .executable = program});
        const auto folder = proc_.folder() / std::to_string(pid);
        std::filesystem::create_directories(folder / "fd");
        std::filesystem::create_symlink("/dev/null", folder / "fd" / "0");
        std::filesystem::create_symlink(camera, folder / "fd" / "5");
        std::ofstream maps{folder / "maps"};
        maps << "7f00-7f01 r--p 00000000 fe:00 42                      /usr/lib/libc.so.6\n";
        if (isMapped) {
            maps << "7f02-7f03 rw-s 00000000 00:05 120                     " << camera << "\n";
        }
    }

    EventLoop loop_;
    FakeProc proc_;
    bool isStreaming_ = true;
    CameraUsers users_{
        loop_,
        [] {},
        {.isStreaming = [this](const std::string&) { return isStreaming_; },
         .procFolder = proc_.folder()}};
};

TEST_F(CameraUsersTest, ACameraThatNobodyStreamsFromHasNoHolder) {
    addUser(100, "/opt/zoom/zoom");
    isStreaming_ = false;
    EXPECT_EQ(users_.holderOf(camera), std::nullopt);
    EXPECT_THAT(users_.openersOf(camera), ElementsAre(100));
}

TEST_F(CameraUsersTest, TheHolderIsWhoHasItOpen) {
    addUser(100, "/opt/zoom/zoom");
    EXPECT_EQ(users_.holderOf(camera), (CameraHolder{.pid = 100}));
    EXPECT_EQ(users_.holderOf("/dev/video8"), CameraHolder{}) << "of another camera it is unknown";
}

TEST_F(CameraUsersTest, OfSeveralTheHolderIsWhoHasThePicturesInItsMemory) {
    addUser(100, "/usr/lib/chromium/chromium");
    addUser(101, "/usr/lib/chromium/chromium", true);
    addUser(102, "/usr/bin/cheese");
    EXPECT_EQ(users_.holderOf(camera), (CameraHolder{.pid = 101}));
    EXPECT_THAT(users_.openersOf(camera), ElementsAre(100, 101, 102));
}

TEST_F(CameraUsersTest, WhatTheSoundServerHasIsShared) {
    addUser(100, "/usr/bin/pipewire", true);
    addUser(101, "/usr/bin/wireplumber");
    EXPECT_EQ(users_.holderOf(camera), std::nullopt);
    EXPECT_THAT(users_.openersOf(camera), IsEmpty());
}

TEST_F(CameraUsersTest, AHolderThatMayNotBeLookedIntoIsUnknown) {
    EXPECT_EQ(users_.holderOf(camera), CameraHolder{});
}

TEST(KernelCamera, WhatIsNoCameraDoesNotStream) {
    EXPECT_FALSE(KernelCamera::isStreaming("/dev/null"));
    EXPECT_FALSE(KernelCamera::isStreaming("/dev/there-is-no-such-device"));
}

class FileUseWatchTest : public testing::Test {
  protected:
    FileUseWatchTest() { std::ofstream{file_} << "x"; }
    void use() const { const FileDescriptor file{open(file_.c_str(), O_RDWR | O_CLOEXEC)}; }
    /// Handles what has happened until now.
    void catchUp() {
        while (handlesAnything(loop_)) {
        }
    }

    EventLoop loop_;
    test::TemporaryFolder folder_;
    std::string file_ = (folder_.path() / "camera").string();
    int told_ = 0;
    FileUseWatch watch_{loop_, [this] {
                            ++told_;
                        }};
};

TEST_F(FileUseWatchTest, TellsWhenTheFileIsOpenedAndClosed) {
    watch_.watch({file_});
    use();
    EXPECT_TRUE(waitUntil(loop_, [this] { return told_ == 2; }));
}

TEST_F(FileUseWatchTest, TellsNothingOfOurOwnUse) {
    watch_.watch({file_});
    watch_.withoutTelling(file_, [this] { use(); });
    catchUp();
    EXPECT_EQ(told_, 0);
    use();
    EXPECT_TRUE(waitUntil(loop_, [this] { return told_ > 0; }));
}

TEST_F(FileUseWatchTest, FollowsAFileThatWasMadeAnew) {
    watch_.watch({file_});
    std::filesystem::remove(file_);
    std::ofstream{file_} << "x";
    watch_.watch({file_});
    catchUp();
    told_ = 0;
    use();
    EXPECT_TRUE(waitUntil(loop_, [this] { return told_ > 0; }));
}

TEST_F(FileUseWatchTest, AFileThatIsNotThereIsNotWatched) {
    watch_.watch({file_ + "-2"});
    watch_.withoutTelling(file_ + "-2", [] {});
    use();
    catchUp();
    EXPECT_EQ(told_, 0);
}

} // namespace
} // namespace brindle
