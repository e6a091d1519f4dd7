#include "BrindleRecorderLinux/CommandLine/DevicesCommand.hpp"

#include "BrindleRecorderCore/Base/PosixFileManager.hpp"
#include "BrindleRecorderLinux/CaptureChild/CaptureChildren.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "DesktopDevices.hpp"
#include "LinuxTests/OutputCapture.hpp"
#include "Support/EnvironmentVariable.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace brindle {
namespace {

using testing::HasSubstr;

class DevicesCommandTest : public testing::Test {
  protected:
    bool list() {
        EventLoop loop;
        PosixFileManager files;
        capture::CaptureChildren children{loop, BRINDLE_CAPTURE_PROGRAM};
        return DevicesCommand{loop, files, children, output.stream(), errors.stream()}.run();
    }

    test::OutputCapture output;
    test::OutputCapture errors;
};

TEST_F(DevicesCommandTest, ListsTheSessionsDevices) {
    if (!test::inPrivateSession()) {
        GTEST_SKIP() << "runs in scripts/private-session only";
    }
    EXPECT_TRUE(list());
    EXPECT_THAT(output.text(), HasSubstr("camera: Desk Camera (virt-cam"));
    EXPECT_THAT(output.text(), HasSubstr("microphone: Studio Microphone (virt-mic"));
    EXPECT_THAT(output.text(), HasSubstr("encoder: libx264 (used)\n"));
    EXPECT_EQ(errors.text(), "");
}

TEST_F(DevicesCommandTest, SaysSoWhereNoServerAnswers) {
    const test::TemporaryFolder folder;
    const test::EnvironmentVariable nowhere{"XDG_RUNTIME_DIR", folder.path().c_str()};
    EXPECT_FALSE(list());
    EXPECT_EQ(output.text(), "");
    EXPECT_EQ(errors.text(), "brindle-recorder: no PipeWire server answers\n");
}

} // namespace
} // namespace brindle
