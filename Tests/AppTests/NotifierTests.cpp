#include "BrindleRecorderApp/Shell/Notifier.hpp"

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
    test::FakeUserNotifications notifications_;
    std::unique_ptr<Notifier> notifier_ = std::make_unique<Notifier>(notifications_);
    std::vector<std::pair<std::string, bool>> answers_;

    void SetUp() override {
        notifier_->onAskAnswer = [this](const std::string& label, bool record) {
            answers_.emplace_back(label, record);
        };
    }

    // A question that is never answered would be waited for without end.
    void TearDown() override {
        while (!notifications_.authorizationRequests.empty()) {
            notifications_.answerAuthorization(false);
        }
    }

    /// Starts to ask for permission; true in the result once the notifier has stopped waiting.
    std::shared_ptr<bool> beginAuthorization() {
        auto done = std::make_shared<bool>(false);
        startDetached(notifier_->requestAuthorization(), [done] { *done = true; });
        return done;
    }
};

TEST_F(NotifierTest, RegistersTheQuestionWithRecordBeforeSkip) {
    beginAuthorization();
    EXPECT_THAT(
        notifications_.categories, ElementsAre(NotificationCategory{
                                       .identifier = "brindle.ask-record",
                                       .actions = {
                                           {.identifier = "brindle.record", .title = "Record"},
                                           {.identifier = "brindle.skip", .title = "Skip"}}}));
    EXPECT_TRUE(notifications_.hasResponseHandler());
}

TEST_F(NotifierTest, WaitsForTheDecisionOnPermissionWhateverItIs) {
    for (const bool granted : {true, false}) {
        const auto done = beginAuthorization();
        EXPECT_FALSE(*done);
        notifications_.answerAuthorization(granted);
        EXPECT_TRUE(*done);
        EXPECT_THAT(notifications_.authorizationRequests, IsEmpty());
    }
}

TEST_F(NotifierTest, ADecisionMayComeAfterTheNotifierIsGone) {
    const auto done = beginAuthorization();
    notifier_.reset();
    notifications_.answerAuthorization(true);
    EXPECT_TRUE(*done);
}

TEST_F(NotifierTest, AsksUnderTheCallsLabel) {
    notifier_->postAsk("zoom#1", "zoom.us is using the microphone.");
    EXPECT_THAT(
        notifications_.posted, ElementsAre(NotificationRequest{
                                   .identifier = "ask-zoom#1",
                                   .title = "Record this call?",
                                   .body = "zoom.us is using the microphone.",
                                   .categoryIdentifier = "brindle.ask-record",
                                   .label = "zoom#1"}));
}

TEST_F(NotifierTest, AskingAgainForTheSameLabelReplacesTheQuestion) {
    notifier_->postAsk("zoom#1", "first");
    notifier_->postAsk("zoom#1", "second");
    notifier_->postAsk("teams#2", "other");
    ASSERT_THAT(notifications_.shown, SizeIs(2));
    EXPECT_EQ(notifications_.shown.at("ask-zoom#1").body, "second");
}

TEST_F(NotifierTest, WithdrawsOnlyTheQuestionOfThatLabel) {
    notifier_->postAsk("zoom#1", "");
    notifier_->postAsk("teams#2", "");
    notifier_->withdrawAsk("zoom#1");
    EXPECT_THAT(notifications_.removed, ElementsAre("ask-zoom#1"));
    EXPECT_THAT(notifications_.shown, ElementsAre(Pair("ask-teams#2", testing::_)));
}

TEST_F(NotifierTest, PlainNotificationsCarryNoButtonsAndNoLabel) {
    Notifier numbered{notifications_, [] {
                          return "identifier-1";
                      }};
    numbered.post("Brindle Recorder", "The disk is full.");
    EXPECT_THAT(
        notifications_.posted, ElementsAre(NotificationRequest{
                                   .identifier = "identifier-1",
                                   .title = "Brindle Recorder",
                                   .body = "The disk is full.",
                                   .categoryIdentifier = std::nullopt,
                                   .label = std::nullopt}));
}

TEST_F(NotifierTest, EveryPlainNotificationHasAnIdentifierOfItsOwn) {
    notifier_->post("Brindle Recorder", "same");
    notifier_->post("Brindle Recorder", "same");
    ASSERT_THAT(notifications_.shown, SizeIs(2));
    for (const auto& request : notifications_.posted) {
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
        answers_.clear();
        notifications_.respond({.label = "zoom#1", .actionIdentifier = action});
        EXPECT_EQ(answers_, expected) << action;
    }
}

TEST_F(NotifierTest, AClickOnTheBodyRecordsTheCall) {
    beginAuthorization();
    notifier_->postAsk("zoom#1", "");
    notifications_.respondToAsk("zoom#1", NotificationResponse::defaultAction);
    EXPECT_THAT(answers_, ElementsAre(Pair("zoom#1", true)));
}

TEST_F(NotifierTest, DismissingTheQuestionIsNoAnswer) {
    beginAuthorization();
    notifier_->postAsk("zoom#1", "");
    notifications_.respondToAsk("zoom#1", NotificationResponse::dismissAction);
    EXPECT_THAT(answers_, IsEmpty());
}

TEST_F(NotifierTest, AnAnswerWithoutALabelIsIgnored) {
    beginAuthorization();
    notifications_.respond({.label = std::nullopt, .actionIdentifier = "brindle.record"});
    EXPECT_THAT(answers_, IsEmpty());
}

TEST_F(NotifierTest, AnAnswerForALabelThatIsNotAskedAboutIsPassedOnUnchanged) {
    beginAuthorization();
    notifications_.respond({.label = "meet#7", .actionIdentifier = "brindle.skip"});
    EXPECT_THAT(answers_, ElementsAre(Pair("meet#7", false)));
}

TEST_F(NotifierTest, AnAnswerWithoutAnOwnerOrANotifierIsIgnored) {
    beginAuthorization();
    notifier_->onAskAnswer = {};
    notifications_.respond({.label = "zoom#1", .actionIdentifier = "brindle.record"});
    notifier_.reset();
    notifications_.respond({.label = "zoom#1", .actionIdentifier = "brindle.record"});
    EXPECT_THAT(answers_, IsEmpty());
}

TEST_F(NotifierTest, TheOwnerMayReplaceItsCallbackWhileItIsCalled) {
    beginAuthorization();
    notifier_->onAskAnswer = [this](const std::string& label, bool record) {
        notifier_->onAskAnswer = {};
        answers_.emplace_back(label, record);
    };
    notifications_.respond({.label = "zoom#1", .actionIdentifier = "brindle.record"});
    notifications_.respond({.label = "zoom#1", .actionIdentifier = "brindle.record"});
    EXPECT_THAT(answers_, SizeIs(1));
}

TEST_F(NotifierTest, DoesNothingAtAllWhereNotificationsCannotBeShown) {
    notifications_.available = false;
    const auto done = beginAuthorization();
    EXPECT_TRUE(*done) << "there is nothing to wait for";
    notifier_->postAsk("zoom#1", "");
    notifier_->withdrawAsk("zoom#1");
    notifier_->post("Brindle Recorder", "");
    EXPECT_FALSE(notifications_.hasResponseHandler());
    EXPECT_THAT(notifications_.categories, IsEmpty());
    EXPECT_THAT(notifications_.authorizationRequests, IsEmpty());
    EXPECT_THAT(notifications_.posted, IsEmpty());
    EXPECT_THAT(notifications_.removed, IsEmpty());
}

class NotifierOfARecordingTest : public NotifierTest {
  protected:
    using Answer = Notifier::RecordingAnswer;

    void SetUp() override {
        NotifierTest::SetUp();
        beginAuthorization();
        notifier_->onRecordingAnswer = [this](Answer answer) {
            recordingAnswers_.push_back(answer);
        };
        notifier_->postRecording("zoom.us");
    }
    void respond(const std::string& action) {
        notifications_.respond(
            {.label = {},
             .actionIdentifier = action,
             .identifier = notifications_.posted.back().identifier});
    }

    std::vector<Answer> recordingAnswers_;
};

TEST_F(NotifierOfARecordingTest, SaysThatSomethingIsRecordedWithTwoButtons) {
    ASSERT_THAT(notifications_.shown, SizeIs(1));
    EXPECT_EQ(
        notifications_.posted.back(), (NotificationRequest{
                                          .identifier = notifications_.posted.back().identifier,
                                          .title = "Brindle Recorder is recording",
                                          .body = "zoom.us",
                                          .categoryIdentifier = "brindle.recording",
                                          .label = std::nullopt,
                                          .isResident = true}));
    ASSERT_THAT(notifications_.categories, SizeIs(2)) << "that of the question stays";
    EXPECT_EQ(notifications_.categories[0].identifier, "brindle.ask-record");
    EXPECT_EQ(
        notifications_.categories[1],
        (NotificationCategory{
            .identifier = "brindle.recording",
            .actions = {
                {.identifier = "brindle.stop", .title = "Stop recording"},
                {.identifier = "brindle.discard", .title = "Stop and Discard"}}}));
}

TEST_F(NotifierOfARecordingTest, HandsOnWhatTheUserDoesWithIt) {
    for (const char* action :
         {"brindle.stop", "brindle.discard", NotificationResponse::defaultAction,
          NotificationResponse::dismissAction, "something else"}) {
        respond(action);
    }
    EXPECT_THAT(
        recordingAnswers_, ElementsAre(Answer::stop, Answer::discard, Answer::open, Answer::close));
    EXPECT_THAT(answers_, IsEmpty());
    notifier_->onRecordingAnswer = nullptr;
    respond("brindle.stop");
    EXPECT_THAT(recordingAnswers_, SizeIs(4));
}

TEST_F(NotifierOfARecordingTest, OneAtATimeAndAnAnswerToAnEarlierOneIsNone) {
    const auto first = notifications_.posted.back().identifier;
    notifier_->postRecording("meet.google.com");
    EXPECT_THAT(notifications_.removed, ElementsAre(first));
    EXPECT_THAT(notifications_.shown, SizeIs(1));
    notifications_.respond(
        {.label = {}, .actionIdentifier = "brindle.discard", .identifier = first});
    notifier_->withdrawRecording();
    EXPECT_THAT(notifications_.shown, IsEmpty());
    respond("brindle.discard");
    notifier_->withdrawRecording();
    EXPECT_THAT(notifications_.removed, SizeIs(2));
    EXPECT_THAT(recordingAnswers_, IsEmpty());
}

TEST_F(NotifierOfARecordingTest, SaysNothingWhereNothingCanBeShown) {
    notifications_.available = false;
    notifier_->postRecording("another");
    EXPECT_THAT(notifications_.posted, SizeIs(1));
}

} // namespace
} // namespace brindle
