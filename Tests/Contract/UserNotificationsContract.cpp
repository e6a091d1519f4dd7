#include "Contract/UserNotificationsContract.hpp"

#include <gmock/gmock.h>

#include <optional>
#include <string>
#include <thread>

namespace brindle::test {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

void UserNotificationsContract::SetUp() {
    Contract::SetUp();
    auto& notifications = subject_->notifications();
    notifications.setCategories(
        {{.identifier = "question", .actions = {{"record", "Record"}, {"skip", "Skip"}}}});
    notifications.setResponseHandler(
        [this, mainThread = std::this_thread::get_id()](const NotificationResponse& response) {
            isElsewhere_ |= std::this_thread::get_id() != mainThread;
            responses_.push_back(response);
        });
}

NotificationRequest UserNotificationsContract::question(const std::string& title) {
    return {
        .identifier = "ask-" + title,
        .title = title,
        .body = "Zoom",
        .categoryIdentifier = "question",
        .label = "label of " + title};
}

TEST_P(UserNotificationsContract, ShowsWhatIsPostedAndSaysSoOnce) {
    ASSERT_TRUE(becomes([&] { return subject_->notifications().isAvailable(); }));
    int shown = 0;
    subject_->notifications().post(question("one"), [&] { ++shown; });
    subject_->notifications().post(
        {.identifier = "b", .title = "two", .body = "", .categoryIdentifier = {}, .label = {}});
    EXPECT_TRUE(becomes([&] { return shown > 0 && subject_->shownTitles().size() == 2; }));
    EXPECT_THAT(subject_->shownTitles(), UnorderedElementsAre("one", "two"));
    bool isLater = false;
    subject_->notifications().post(question("three"), [&] { isLater = true; });
    EXPECT_TRUE(becomes([&] { return isLater; }));
    EXPECT_EQ(shown, 1);
}

TEST_P(UserNotificationsContract, ReplacesWhatHasTheSameIdentifier) {
    auto request = question("first");
    bool isShown = false;
    subject_->notifications().post(request, [&] { isShown = true; });
    ASSERT_TRUE(becomes([&] { return isShown; }));
    request.title = "second";
    bool isReplaced = false;
    subject_->notifications().post(request, [&] { isReplaced = true; });
    ASSERT_TRUE(becomes([&] { return isReplaced; }));
    EXPECT_THAT(subject_->shownTitles(), ElementsAre("second"));
}

TEST_P(UserNotificationsContract, WhatIsReplacedBeforeItIsShownIsNotToldOf) {
    if (!subject_->hold()) {
        GTEST_SKIP() << "whatever is posted is shown at once";
    }
    std::string told;
    subject_->notifications().post(question("same"), [&] { told += 'x'; });
    subject_->notifications().post(question("same"), [&] { told += 's'; });
    subject_->notifications().post(question("other"), [&] { told += 'o'; });
    EXPECT_EQ(told, "");
    subject_->release();
    EXPECT_TRUE(becomes([&] { return told.size() == 2; })) << told;
    EXPECT_THAT(told, testing::AnyOf("so", "os"));
}

TEST_P(UserNotificationsContract, WhatCannotBeShownIsDroppedAndNotToldOf) {
    subject_->refuse(true);
    std::string told;
    subject_->notifications().post(question("dropped"), [&] { told += 'd'; });
    ASSERT_TRUE(becomes([&] { return subject_->refusals() == 1; }));
    subject_->refuse(false);
    subject_->notifications().post(question("shown"), [&] { told += 's'; });
    EXPECT_TRUE(becomes([&] { return !told.empty(); }));
    EXPECT_EQ(told, "s");
    EXPECT_THAT(subject_->shownTitles(), ElementsAre("shown"));
}

TEST_P(UserNotificationsContract, TakesBackWhatIsShownAndNothingElse) {
    int shown = 0;
    for (const char* title : {"kept", "taken"}) {
        subject_->notifications().post(question(title), [&] { ++shown; });
    }
    ASSERT_TRUE(becomes([&] { return shown == 2; }));
    subject_->notifications().removeDelivered("never there");
    subject_->notifications().removeDelivered("ask-taken");
    EXPECT_TRUE(becomes([&] { return subject_->shownTitles().size() == 1; }));
    EXPECT_THAT(subject_->shownTitles(), ElementsAre("kept"));
}

TEST_P(UserNotificationsContract, TellsWhatTheUserDidWithWhich) {
    for (const std::string action :
         {"record", "skip", NotificationResponse::defaultAction,
          NotificationResponse::dismissAction}) {
        responses_.clear();
        bool isShown = false;
        subject_->notifications().post(question(action), [&] { isShown = true; });
        ASSERT_TRUE(becomes([&] { return isShown; }));
        EXPECT_THAT(responses_, IsEmpty());
        subject_->respond(action, action);
        ASSERT_TRUE(becomes([&] { return !responses_.empty(); })) << action;
        ASSERT_EQ(responses_.size(), 1U);
        EXPECT_EQ(responses_[0].actionIdentifier, action);
        EXPECT_EQ(responses_[0].label, "label of " + action);
    }
    EXPECT_FALSE(isElsewhere_);
}

TEST_P(UserNotificationsContract, AnAnswerToWhatHasNoLabelHasNone) {
    auto request = question("bare");
    request.label.reset();
    bool isShown = false;
    subject_->notifications().post(request, [&] { isShown = true; });
    ASSERT_TRUE(becomes([&] { return isShown; }));
    subject_->respond("bare", "record");
    ASSERT_TRUE(becomes([&] { return !responses_.empty(); }));
    EXPECT_EQ(responses_[0].label, std::nullopt);
}

} // namespace brindle::test
