#include "Contract/UserNotificationsContract.hpp"

#include <gmock/gmock.h>

#include <optional>
#include <string>
#include <thread>

namespace brindle::test {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
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

void UserNotificationsContract::show(const NotificationRequest& request) {
    bool isShown = false;
    subject_->notifications().post(request, [&] { isShown = true; });
    EXPECT_TRUE(becomes([&] { return isShown; })) << request.title;
}

TEST_P(UserNotificationsContract, AnswersOnceAndOnTheMainThreadWhetherItMayShowAny) {
    const auto mainThread = std::this_thread::get_id();
    int answers = 0;
    bool isGranted = false;
    subject_->notifications().requestAuthorization([&](bool granted) {
        isElsewhere_ |= std::this_thread::get_id() != mainThread;
        isGranted = granted;
        ++answers;
    });
    ASSERT_TRUE(becomes([&] { return answers > 0; }));
    EXPECT_TRUE(isGranted);
    show(question("later"));
    EXPECT_EQ(answers, 1);
    EXPECT_FALSE(isElsewhere_);
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
    show(request);
    request.title = "second";
    show(request);
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

TEST_P(UserNotificationsContract, TellsOnceWhatTheUserDidWithWhich) {
    const std::vector<std::string> actions{
        "record", "skip", NotificationResponse::defaultAction, NotificationResponse::dismissAction};
    for (const auto& action : actions) {
        const auto before = responses_.size();
        show(question(action));
        EXPECT_THAT(responses_, SizeIs(before)) << "nobody has done anything yet";
        subject_->respond(action, action);
        ASSERT_TRUE(becomes([&] { return responses_.size() > before; })) << action;
        EXPECT_EQ(responses_.back().actionIdentifier, action);
        EXPECT_EQ(responses_.back().label, "label of " + action);
        EXPECT_EQ(responses_.back().identifier, "ask-" + action);
        EXPECT_THAT(subject_->shownTitles(), IsEmpty());
    }
    show(question("later"));
    EXPECT_THAT(responses_, SizeIs(actions.size()));
    EXPECT_FALSE(isElsewhere_);
}

TEST_P(UserNotificationsContract, WhatIsToStayIsEndedByNoButton) {
    if (!subject_->letsThemStay()) {
        GTEST_SKIP() << "the desktop takes away whatever is answered";
    }
    auto request = question("staying");
    request.isResident = true;
    show(request);
    for (const std::size_t count : {1U, 2U}) {
        subject_->respond("staying", "record");
        ASSERT_TRUE(becomes([&] { return responses_.size() == count; }));
        EXPECT_THAT(subject_->shownTitles(), ElementsAre("staying"));
    }
    subject_->notifications().removeDelivered(request.identifier);
    EXPECT_TRUE(becomes([&] { return subject_->shownTitles().empty(); }));
}

TEST_P(UserNotificationsContract, AnAnswerToWhatHasNoLabelHasNone) {
    auto request = question("bare");
    request.label.reset();
    show(request);
    subject_->respond("bare", "record");
    ASSERT_TRUE(becomes([&] { return !responses_.empty(); }));
    EXPECT_EQ(responses_[0].label, std::nullopt);
}

} // namespace brindle::test
