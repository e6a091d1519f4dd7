#include "BrindleRecorderApp/Shell/MenuOnRequest.hpp"

#include "Support/FakeDateProvider.hpp"
#include "Support/FakeMenuWindow.hpp"
#include "Support/FakeStatusItem.hpp"
#include "Support/ManualMainLoop.hpp"

#include <gtest/gtest.h>

#include <chrono>

namespace brindle {
namespace {

using namespace std::chrono_literals;

class MenuOnRequestTest : public testing::Test {
  protected:
    test::FakeDateProvider clock_;
    test::ManualMainLoop loop_{clock_};
    test::FakeStatusItem statusItem_;
    test::FakeMenuWindow window_{statusItem_};
    MenuOnRequest menu_{statusItem_, &window_, loop_};
};

TEST_F(MenuOnRequestTest, WithoutAnIconTheWindowShowsAtOnce) {
    statusItem_.hasTray = false;
    EXPECT_TRUE(menu_.show());
    EXPECT_EQ(window_.timesShown, 1);
    EXPECT_EQ(window_.timesAsked, 0);
}

TEST_F(MenuOnRequestTest, APanelThatOpensTheMenuNeedsNoWindow) {
    EXPECT_TRUE(menu_.show());
    EXPECT_EQ(window_.timesAsked, 1);
    menu_.menuWillOpen();
    loop_.advance(1h);
    EXPECT_EQ(window_.timesShown, 0);
}

TEST_F(MenuOnRequestTest, APanelThatDoesNotOpenTheMenuIsNotWaitedForForLong) {
    EXPECT_TRUE(menu_.show());
    EXPECT_EQ(window_.timesShown, 0);
    loop_.advance(1s);
    EXPECT_EQ(window_.timesShown, 1);
    loop_.advance(1h);
    EXPECT_EQ(window_.timesShown, 1);
}

TEST_F(MenuOnRequestTest, AMenuThatOpensLaterByItselfKeepsNoWindowBack) {
    menu_.menuWillOpen();
    EXPECT_TRUE(menu_.show());
    loop_.advance(1s);
    EXPECT_EQ(window_.timesShown, 1);
}

TEST_F(MenuOnRequestTest, APanelThatCannotBeAskedIsNotWaitedFor) {
    window_.panelCanBeAsked = false;
    EXPECT_TRUE(menu_.show());
    EXPECT_EQ(window_.timesShown, 1);
}

TEST_F(MenuOnRequestTest, WithoutAWindowNothingCanBeDone) {
    MenuOnRequest menu{statusItem_, nullptr, loop_};
    EXPECT_FALSE(menu.show());
    loop_.advance(1h);
}

} // namespace
} // namespace brindle
