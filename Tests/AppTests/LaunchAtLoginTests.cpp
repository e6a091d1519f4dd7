#include "BrindleRecorderApp/Shell/LaunchAtLogin.hpp"

#include "Support/FakeLoginItems.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace brindle {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct StatusCase {
    LoginItemStatus status;
    bool isEnabled;
    bool requiresApproval;
};

TEST(LaunchAtLogin, ReadsTheStatusWhenMade) {
    const StatusCase cases[] = {
        {LoginItemStatus::notRegistered, false, false},
        {LoginItemStatus::enabled, true, false},
        {LoginItemStatus::requiresApproval, false, true},
        {LoginItemStatus::notFound, false, false}};
    for (const auto& [status, isEnabled, requiresApproval] : cases) {
        SCOPED_TRACE(static_cast<int>(status));
        test::FakeLoginItems items;
        items.current = status;
        const LaunchAtLogin login{items};
        EXPECT_EQ(login.isEnabled().get(), isEnabled);
        EXPECT_EQ(login.requiresApproval().get(), requiresApproval);
        EXPECT_EQ(login.lastError().get(), std::nullopt);
        EXPECT_THAT(items.calls, IsEmpty());
    }
}

class LaunchAtLoginTest : public testing::Test {
  protected:
    test::FakeLoginItems items_;
    LaunchAtLogin login_{items_};
};

TEST_F(LaunchAtLoginTest, RegistersAndUnregisters) {
    login_.set(true);
    EXPECT_TRUE(login_.isEnabled().get());
    login_.set(false);
    EXPECT_FALSE(login_.isEnabled().get());
    EXPECT_THAT(items_.calls, ElementsAre("register", "unregister"));
    EXPECT_EQ(login_.lastError().get(), std::nullopt);
}

TEST_F(LaunchAtLoginTest, EnablingWhenTheSystemWantsApprovalIsNoError) {
    items_.afterRegistering = LoginItemStatus::requiresApproval;
    login_.set(true);
    EXPECT_FALSE(login_.isEnabled().get());
    EXPECT_TRUE(login_.requiresApproval().get());
    EXPECT_EQ(login_.lastError().get(), std::nullopt);
}

TEST_F(LaunchAtLoginTest, AFailedRegistrationLeavesItOffAndSaysWhy) {
    items_.failWith("Permission denied");
    login_.set(true);
    EXPECT_FALSE(login_.isEnabled().get());
    EXPECT_EQ(login_.lastError().get(), "Permission denied");
}

TEST_F(LaunchAtLoginTest, AFailedUnregistrationLeavesItOn) {
    login_.set(true);
    items_.failWith("Permission denied");
    login_.set(false);
    EXPECT_TRUE(login_.isEnabled().get());
    EXPECT_EQ(login_.lastError().get(), "Permission denied");
}

TEST_F(LaunchAtLoginTest, ASuccessAfterAFailureClearsTheError) {
    items_.failWith("Permission denied");
    login_.set(true);
    items_.failure.reset();
    login_.set(true);
    EXPECT_TRUE(login_.isEnabled().get());
    EXPECT_EQ(login_.lastError().get(), std::nullopt);
}

TEST_F(LaunchAtLoginTest, ShowsTheRealStatusEvenAfterAFailure) {
    // The user allowed it in the system's settings meanwhile.
    items_.failWith("Already registered");
    items_.current = LoginItemStatus::enabled;
    login_.set(true);
    EXPECT_TRUE(login_.isEnabled().get());
    EXPECT_EQ(login_.lastError().get(), "Already registered");
}

TEST_F(LaunchAtLoginTest, RefreshFollowsWhatTheUserDidElsewhere) {
    int changes = 0;
    const auto observation = login_.isEnabled().observe([&](bool) { ++changes; });
    items_.current = LoginItemStatus::enabled;
    login_.refresh();
    EXPECT_TRUE(login_.isEnabled().get());
    login_.refresh();
    EXPECT_EQ(changes, 1);
    EXPECT_THAT(items_.calls, IsEmpty());
}

} // namespace
} // namespace brindle
