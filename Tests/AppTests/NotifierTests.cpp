#include "BrindleRecorderApp/Notifier.hpp"

#include "Support/FakeUserNotifications.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <utility>

namespace brindle {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Pair;
using testing::SizeIs;

class NotifierTest : public testing::Test {
  protected:
    test::FakeUserNotifications notifications;
    std::unique_ptr<Notifier> notifier = std::make_unique<Notifier>(notifications);
    std::vector<std::pair<std::string, bool>> answers;

    void SetUp() override {
        notifier->onAskAnswer = [this](const std::string& label, bool record) {
            answers.emplace_back(label, record);
        };
    }

    /// Starts to ask for permission; true in the result once the notifier has stopped waiting.
    std::shared_ptr<bool> beginAuthorization() {
        auto done = std::make_shared<bool>(false);
        startDetached(notifier->requestAuthorization(), [done] { *done = true; });
        return done;
    }
};

TEST_F(NotifierTest, RegistersTheQuestionWithRecordBeforeSkip) {
    beginAuthorization();
    EXPECT_THAT(
        notifications.categories, ElementsAre(NotificationCategory{
                                      .identifier = "brindle.ask-record",
                                      .actions = {
                                          {.identifier = "brindle.record", .title = "Record"},
                                          {.identifier = "brindle.skip", .title = "Skip"}}}));
    EXPECT_TRUE(notifications.hasResponseHandler());
}

TEST_F(NotifierTest, WaitsForTheDecisionOnPermissionWhateverItIs) {
    for (const bool granted : {true, false}) {
        const auto done = beginAuthorization();
        EXPECT_FALSE(*done);
        notifications.answerAuthorization(granted);
        EXPECT_TRUE(*done);
        EXPECT_THAT(notifications.authorizationRequests, IsEmpty());
    }
}

TEST_F(NotifierTest, ADecisionMayComeAfterTheNotifierIsGone) {
    const auto done = beginAuthorization();
    notifier.reset();
    notifications.answerAuthorization(true);
    EXPECT_TRUE(*done);
}

TEST_F(NotifierTest, AsksUnderTheCallsLabel) {
    notifier->postAsk("zoom#1", "zoom.us is using the microphone.");
    EXPECT_THAT(
        notifications.posted, ElementsAre(NotificationRequest{
                                  .identifier = "ask-zoom#1",
                                  .title = "Record this call?",
                                  .body = "zoom.us is using the microphone.",
                                  .categoryIdentifier = "brindle.ask-record",
                                  .label = "zoom#1"}));
}

TEST_F(NotifierTest, AskingAgainForTheSameLabelReplacesTheQuestion) {
    notifier->postAsk("zoom#1", "first");
    notifier->postAsk("zoom#1", "second");
    notifier->postAsk("teams#2", "other");
    ASSERT_THAT(notifications.shown, SizeIs(2));
    EXPECT_EQ(notifications.shown.at("ask-zoom#1").body, "second");
}

TEST_F(NotifierTest, WithdrawsOnlyTheQuestionOfThatLabel) {
    notifier->postAsk("zoom#1", "");
    notifier->postAsk("teams#2", "");
    notifier->withdrawAsk("zoom#1");
    EXPECT_THAT(notifications.removed, ElementsAre("ask-zoom#1"));
    EXPECT_THAT(notifications.shown, ElementsAre(Pair("ask-teams#2", testing::_)));
}

TEST_F(NotifierTest, PlainNotificationsCarryNoButtonsAndNoLabel) {
    Notifier numbered{notifications, [] {
                          return "identifier-1";
                      }};
    numbered.post("Brindle Recorder", "The disk is full.");
    EXPECT_THAT(
        notifications.posted, ElementsAre(NotificationRequest{
                                  .identifier = "identifier-1",
                                  .title = "Brindle Recorder",
                                  .body = "The disk is full.",
                                  .categoryIdentifier = std::nullopt,
                                  .label = std::nullopt}));
}

TEST_F(NotifierTest, EveryPlainNotificationHasAnIdentifierOfItsOwn) {
    notifier->post("Brindle Recorder", "same");
    notifier->post("Brindle Recorder", "same");
    ASSERT_THAT(notifications.shown, SizeIs(2));
    for (const auto& request : notifications.posted) {
        EXPECT_THAT(
            request.identifier,
            MatchesRegex("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}"));
    }
}

TEST_F(NotifierTest, EveryActionButSkipAndDismissMeansRecord) {
    struct Case {
        const char* action;
        std::vector<std::pair<std::string, bool>> answers;
    };
    beginAuthorization();
    for (const auto& [action, expected] : std::vector<Case>{
             {"brindle.record", {{"zoom#1", true}}},
             {"brindle.skip", {{"zoom#1", false}}},
             {NotificationResponse::defaultAction, {{"zoom#1", true}}},
             {"an action of another version", {{"zoom#1", true}}},
             {NotificationResponse::dismissAction, {}}}) {
        answers.clear();
        notifications.respond({.label = "zoom#1", .actionIdentifier = action});
        EXPECT_EQ(answers, expected) << action;
    }
}

TEST_F(NotifierTest, AClickOnTheBodyRecordsTheCall) {
    beginAuthorization();
    notifier->postAsk("zoom#1", "");
    notifications.respondToAsk("zoom#1", NotificationResponse::defaultAction);
    EXPECT_THAT(answers, ElementsAre(Pair("zoom#1", true)));
}

TEST_F(NotifierTest, DismissingTheQuestionIsNoAnswer) {
    beginAuthorization();
    notifier->postAsk("zoom#1", "");
    notifications.respondToAsk("zoom#1", NotificationResponse::dismissAction);
    EXPECT_THAT(answers, IsEmpty());
}

TEST_F(NotifierTest, AnAnswerWithoutALabelIsIgnored) {
    beginAuthorization();
    notifications.respond({.label = std::nullopt, .actionIdentifier = "brindle.record"});
    EXPECT_THAT(answers, IsEmpty());
}

TEST_F(NotifierTest, AnAnswerForALabelThatIsNotAskedAboutIsPassedOnUnchanged) {
    beginAuthorization();
    notifications.respond({.label = "meet#7", .actionIdentifier = "brindle.skip"});
    EXPECT_THAT(answers, ElementsAre(Pair("meet#7", false)));
}

TEST_F(NotifierTest, AnAnswerWithoutAnOwnerOrANotifierIsIgnored) {
    beginAuthorization();
    notifier->onAskAnswer = {};
    notifications.respond({.label = "zoom#1", .actionIdentifier = "brindle.record"});
    notifier.reset();
    notifications.respond({.label = "zoom#1", .actionIdentifier = "brindle.record"});
    EXPECT_THAT(answers, IsEmpty());
}

TEST_F(NotifierTest, TheOwnerMayReplaceItsCallbackWhileItIsCalled) {
    beginAuthorization();
    notifier->onAskAnswer = [this](const std::string& label, bool record) {
        notifier->onAskAnswer = {};
        answers.emplace_back(label, record);
    };
    notifications.respond({.label = "zoom#1", .actionIdentifier = "brindle.record"});
    notifications.respond({.label = "zoom#1", .actionIdentifier = "brindle.record"});
    EXPECT_THAT(answers, SizeIs(1));
}

TEST_F(NotifierTest, DoesNothingAtAllWhereNotificationsCannotBeShown) {
    notifications.available = false;
    const auto done = beginAuthorization();
    EXPECT_TRUE(*done) << "there is nothing to wait for";
    notifier->postAsk("zoom#1", "");
    notifier->withdrawAsk("zoom#1");
    notifier->post("Brindle Recorder", "");
    EXPECT_FALSE(notifications.hasResponseHandler());
    EXPECT_THAT(notifications.categories, IsEmpty());
    EXPECT_THAT(notifications.authorizationRequests, IsEmpty());
    EXPECT_THAT(notifications.posted, IsEmpty());
    EXPECT_THAT(notifications.removed, IsEmpty());
}

} // namespace
} // namespace brindle
