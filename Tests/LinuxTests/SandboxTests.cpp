#include "BrindleRecorderLinux/Portal/Sandbox.hpp"

#include "Support/EnvironmentVariable.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace brindle {
namespace {

class SandboxTest : public testing::Test {
  protected:
    test::TemporaryFolder folder_;
    Sandbox sandbox_{
        .flatpakInfo = folder_.path() / ".flatpak-info",
        .snap = "",
        .program = folder_.path() / "snap/recorder/7/bin/brindle-recorder"};
};

TEST_F(SandboxTest, WithoutASignThereIsNone) {
    EXPECT_FALSE(sandbox_.exists());
}

TEST_F(SandboxTest, AFlatpakHasItsFile) {
    std::ofstream{sandbox_.flatpakInfo} << "[Application]\n";
    EXPECT_TRUE(sandbox_.exists());
}

TEST_F(SandboxTest, ASnapHoldsTheProgram) {
    sandbox_.snap = folder_.path() / "snap/recorder/7";
    EXPECT_TRUE(sandbox_.exists());
}

TEST_F(SandboxTest, ASnapThatOnlyStartedTheProgramIsNoSandbox) {
    sandbox_.snap = folder_.path() / "snap/editor/7";
    EXPECT_FALSE(sandbox_.exists());
    sandbox_.snap = folder_.path() / "snap/rec";
    EXPECT_FALSE(sandbox_.exists());
}

TEST_F(SandboxTest, ASnapMayBeNamedByALink) {
    std::filesystem::create_directories(folder_.path() / "snap/recorder/7");
    std::filesystem::create_symlink(
        folder_.path() / "snap/recorder/7", folder_.path() / "snap/recorder/current");
    sandbox_.snap = folder_.path() / "snap/recorder/current";
    EXPECT_TRUE(sandbox_.exists());
}

TEST_F(SandboxTest, LooksAroundThisProcess) {
    const auto program = std::filesystem::read_symlink("/proc/self/exe");
    const test::EnvironmentVariable snap{"SNAP", program.parent_path().string()};
    const Sandbox around = Sandbox::aroundThisProcess();
    EXPECT_EQ(around.flatpakInfo, "/.flatpak-info");
    EXPECT_EQ(around.snap, program.parent_path());
    EXPECT_EQ(around.program, program);
    EXPECT_TRUE(around.exists());
}

} // namespace
} // namespace brindle
