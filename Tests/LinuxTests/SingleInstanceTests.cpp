// The program beside itself, on one session bus and on two.
#include "BrindleRecorderApp/AppInfo.hpp"
#include "BrindleRecorderApp/Shell/SingleInstance.hpp"
#include "BrindleRecorderLinux/Bus/BusOnLoop.hpp"
#include "BrindleRecorderLinux/Bus/SessionBusNames.hpp"
#include "BrindleRecorderLinux/Files/FolderLock.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "LinuxTests/BareBus.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace brindle {
namespace {

const std::string identifier{AppInfo::bundleIdentifier};

/// A copy on the bus with the names that it claims.
struct Copy {
    explicit Copy(
        const std::vector<std::string>& claimed = AppInfo::sameAppBundleIdentifiers(identifier))
        : names{bus, claimed} {}

    /// What it finds. All copies here are one process, so that the number of the process that asks
    /// is another one's, unless the name is its own.
    [[nodiscard]] bool findsAnother(bool hasTheName) const {
        const std::int32_t own = getpid();
        return SingleInstance::anotherCopyRuns(names, hasTheName ? own : own + 1, identifier);
    }

    EventLoop loop;
    BusOnLoop bus{loop, BusOnLoop::Which::session};
    SessionBusNames names;
};

class SingleInstanceOnTheBus : public testing::Test {
  protected:
    test::BareBus bus_;
};

TEST_F(SingleInstanceOnTheBus, TheFirstStaysAndTheSecondLeaves) {
    const Copy first;
    const Copy second;
    EXPECT_TRUE(first.names.busAnswers());
    EXPECT_FALSE(first.findsAnother(/*hasTheName=*/true));
    EXPECT_TRUE(second.findsAnother(/*hasTheName=*/false));
}

TEST_F(SingleInstanceOnTheBus, ACopyUnderTheEarlierNameCounts) {
    const Copy earlier{{std::string{AppInfo::earlierBundleIdentifier}}};
    const Copy later;
    const auto found =
        later.names.withBundleIdentifier(std::string{AppInfo::earlierBundleIdentifier});
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found.front().pid, getpid());
    EXPECT_TRUE(later.findsAnother(/*hasTheName=*/false));
}

TEST_F(SingleInstanceOnTheBus, ACopyThatEndsLeavesThePlaceToTheNext) {
    std::optional<Copy> first{std::in_place};
    first.reset();
    const Copy second;
    EXPECT_FALSE(second.findsAnother(/*hasTheName=*/true));
}

TEST_F(SingleInstanceOnTheBus, WithoutABusNobodyAnswers) {
    EventLoop loop;
    BusOnLoop bus{loop, BusOnLoop::Which::session};
    bus_.stop();
    const SessionBusNames names{bus, AppInfo::sameAppBundleIdentifiers(identifier)};
    EXPECT_FALSE(names.busAnswers());
    EXPECT_TRUE(names.withBundleIdentifier(identifier).empty());
}

TEST(FolderLock, OneAtATime) {
    const test::TemporaryFolder folder;
    std::optional<FolderLock> first{std::in_place, folder.path()};
    EXPECT_FALSE(first->isHeldByAnother());
    EXPECT_TRUE(FolderLock{folder.path()}.isHeldByAnother());
    first.reset();
    EXPECT_FALSE(FolderLock{folder.path()}.isHeldByAnother());
}

TEST(FolderLock, AMissingFolderIsNobodys) {
    EXPECT_FALSE(FolderLock{"/nowhere/at/all"}.isHeldByAnother());
}

} // namespace
} // namespace brindle
