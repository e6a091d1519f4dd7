// Notifications over a scripted center.
#include "BrindleRecorderMac/Dispatch/DispatchMainLoop.hpp"
#include "BrindleRecorderMac/UserNotifications/NotificationCenter.hpp"

#include "GNUstep/NotificationStandIn.hpp"
#include "GNUstep/SystemStandIn.hpp"

#import <Foundation/Foundation.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace brindle {
namespace {

using test::eventually;
using test::notificationStandIn;
using testing::ElementsAre;
using Shown = test::NotificationStandIn::Shown;

class NotificationCenterTest : public testing::Test {
  protected:
    NotificationCenterTest() {
        test::SystemStandIn::reset();
        test::NotificationStandIn::reset();
        center_ = std::make_unique<NotificationCenter>();
        center_->setResponseHandler([this](const NotificationResponse& response) {
            isMain_ &= [NSThread isMainThread] != NO;
            completionsBefore_ = notificationStandIn.completedResponses;
            answers_.push_back(response.label.value_or("none") + " " + response.actionIdentifier);
        });
    }
    ~NotificationCenterTest() override {
        center_.reset();
        EXPECT_FALSE(test::centerHasDelegate());
        test::drainMainQueue();
        test::NotificationStandIn::reset();
    }

    DispatchMainLoop loop_;
    std::unique_ptr<NotificationCenter> center_;
    std::vector<std::string> answers_;
    bool isMain_ = true;
    int completionsBefore_ = -1;
};

TEST_F(NotificationCenterTest, RegistersCategoriesWithTheirActionsInOrder) {
    center_->setCategories(
        {{"brindle.ask-record", {{"brindle.record", "Record"}, {"brindle.skip", "Skip"}}}});
    EXPECT_THAT(
        notificationStandIn.categories,
        ElementsAre("brindle.ask-record: brindle.record Record 0, brindle.skip Skip 0; intents 0, "
                    "options 0"));
}

TEST_F(NotificationCenterTest, AsksForAlertsAndSounds) {
    for (const bool grants : {true, false}) {
        notificationStandIn.grants = grants;
        std::optional<bool> answer;
        center_->requestAuthorization([&](bool granted) {
            answer = granted;
            isMain_ &= [NSThread isMainThread] != NO;
        });
        EXPECT_TRUE(eventually([&] { return answer.has_value(); }));
        EXPECT_EQ(answer, grants);
    }
    EXPECT_THAT(notificationStandIn.authorizationOptions, ElementsAre(6, 6));
    EXPECT_TRUE(isMain_);
}

TEST_F(NotificationCenterTest, PostsAndReplacesUnderTheSameIdentifier) {
    center_->post(
        {.identifier = "ask-1",
         .title = "Record this call?",
         .body = "Zoom",
         .categoryIdentifier = "brindle.ask-record",
         .label = "zoom#1"});
    center_->post({.identifier = "note", .title = "T", .body = "\xFF"});
    center_->post({.identifier = "ask-1", .title = "Again", .body = ""});
    EXPECT_THAT(
        notificationStandIn.shown,
        ElementsAre(
            Shown{"note", "T", "\xEF\xBF\xBD", "", ""}, Shown{"ask-1", "Again", "", "", ""}));
    center_->removeDelivered("ask-1");
    center_->removeDelivered("never there");
    EXPECT_EQ(notificationStandIn.shown.size(), 1U);
}

TEST_F(NotificationCenterTest, TellsWhenOneIsShown) {
    std::string shown;
    center_->post({.identifier = "a"}, [&] { shown += 'a'; });
    EXPECT_TRUE(eventually([&] { return shown == "a"; }));
    notificationStandIn.holdsPosts = true;
    center_->post({.identifier = "b"}, [&] { shown += 'x'; });
    center_->post({.identifier = "b"}, [&] { shown += 'b'; });
    center_->post({.identifier = "c"}, [&] { shown += 'y'; });
    center_->removeDelivered("c");
    test::takePosts();
    EXPECT_TRUE(eventually([&] { return shown == "ab"; })) << shown;
    notificationStandIn.refusesPosts = true;
    center_->post({.identifier = "d"}, [&] { shown += 'z'; });
    bool isLater = false;
    test::onForeignThread([&] { loop_.post([&] { isLater = true; }); });
    EXPECT_TRUE(eventually([&] { return isLater; }));
    EXPECT_EQ(shown, "ab") << "what was dropped or replaced is never told of";
}

TEST_F(NotificationCenterTest, AnswersComeOnTheMainThreadAndAreCompletedAfterwards) {
    const Shown ask{.identifier = "ask-1", .label = "zoom#1"};
    test::respond("brindle.skip", ask);
    EXPECT_TRUE(eventually([&] { return notificationStandIn.completedResponses == 1; }));
    EXPECT_EQ(completionsBefore_, 0);
    test::respond("com.apple.UNNotificationDefaultActionIdentifier", ask);
    test::respond("com.apple.UNNotificationDismissActionIdentifier", ask);
    test::respond("brindle.record", {});
    test::respondWithNumberAsLabel("brindle.record");
    EXPECT_TRUE(eventually([&] { return notificationStandIn.completedResponses == 5; }));
    EXPECT_THAT(
        answers_, ElementsAre(
                      "zoom#1 brindle.skip", "zoom#1 default", "zoom#1 dismiss",
                      "none brindle.record", "none brindle.record"));
    EXPECT_TRUE(isMain_);
}

TEST_F(NotificationCenterTest, IsPresentedWithBannerAndSoundWhileTheProgramIsInFront) {
    test::askForPresentation();
    EXPECT_EQ(notificationStandIn.presentation, (1 << 1) | (1 << 4));
}

TEST_F(NotificationCenterTest, AnAnswerThatNobodyWaitsForIsStillCompleted) {
    test::respond("brindle.record", {.label = "zoom#1"});
    test::onForeignThread([] {});
    bool hasPassed = false;
    test::onForeignThread([&] { loop_.post([&] { hasPassed = true; }); });
    center_->setResponseHandler({});
    EXPECT_TRUE(eventually([&] { return hasPassed; }));
    EXPECT_EQ(notificationStandIn.completedResponses, 1);
    EXPECT_THAT(answers_, testing::IsEmpty());
}

TEST_F(NotificationCenterTest, OutsideABundleThereIsNone) {
    test::systemStandIn.ownBundleIdentifier.clear();
    NotificationCenter none;
    EXPECT_FALSE(none.isAvailable());
    EXPECT_TRUE(center_->isAvailable());
    none.setCategories({});
    none.post({.identifier = "a"}, [] { FAIL(); });
    none.removeDelivered("a");
    std::optional<bool> answer;
    none.requestAuthorization([&](bool granted) { answer = granted; });
    EXPECT_TRUE(eventually([&] { return answer.has_value(); }));
    EXPECT_EQ(answer, false);
    EXPECT_THAT(notificationStandIn.shown, testing::IsEmpty());
}

} // namespace
} // namespace brindle
