#include "BrindleRecorderLinux/DBus/DesktopNotifications.hpp"

#include "DesktopTests/Bus.hpp"
#include "DesktopTests/NotificationServer.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace brindle {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Answer = std::pair<std::string, std::string>; // label, action

const QStringList everything{
    QStringLiteral("actions"), QStringLiteral("body"), QStringLiteral("body-markup")};

NotificationRequest question(const std::string& label, const std::string& body = "Zoom") {
    return {
        .identifier = "ask-" + label,
        .title = "Record this call?",
        .body = body,
        .categoryIdentifier = "brindle.ask-record",
        .label = label};
}

NotificationRequest news() {
    return {
        .identifier = "x", .title = "Title", .body = "Body", .categoryIdentifier = {}, .label = {}};
}

class DesktopNotificationsTest : public testing::Test {
  protected:
    DesktopNotificationsTest() { startProgram(); }

    void startProgram() {
        notifications_.emplace(program_.bus());
        notifications_->setCategories(
            {{"brindle.ask-record", {{"brindle.record", "Record"}, {"brindle.skip", "Skip"}}}});
        notifications_->setResponseHandler([this](const NotificationResponse& response) {
            answers_.emplace_back(response.label.value_or("-"), response.actionIdentifier);
        });
        settle(program_.bus());
    }

    void startServer(const QStringList& capabilities = everything) {
        server_.emplace(capabilities);
        settle(program_.bus());
    }
    const NotificationServer::Notification& ask(const std::string& label) {
        const auto before = server_->notified.size();
        notifications_->post(question(label));
        EXPECT_TRUE(waitUntil([&] { return server_->notified.size() > before; }));
        settleBoth();
        return server_->notified.constLast();
    }
    static ForgedSignal ofTheServer(const char* member) {
        return {
            QStringLiteral("/org/freedesktop/Notifications"),
            QStringLiteral("org.freedesktop.Notifications"), QString::fromLatin1(member)};
    }
    /// Until everything that was under way between program and server has arrived.
    void settleBoth() {
        for (int turn = 0; turn < 4; ++turn) {
            settle(program_.bus());
        }
    }

    BusClient program_;
    std::optional<NotificationServer> server_;
    std::optional<DesktopNotifications> notifications_;
    std::vector<Answer> answers_;
};

TEST_F(DesktopNotificationsTest, AsksWithTwoButtonsAndAClickOnTheNotificationItself) {
    startServer();
    const auto shown = ask("zoom#1");
    EXPECT_EQ(shown.summary, QStringLiteral("Record this call?"));
    EXPECT_EQ(shown.body, QStringLiteral("Zoom"));
    EXPECT_EQ(
        shown.actions,
        (QStringList{
            QStringLiteral("default"), QString{}, QStringLiteral("brindle.record"),
            QStringLiteral("Record"), QStringLiteral("brindle.skip"), QStringLiteral("Skip")}));
    EXPECT_EQ(shown.expireTimeout, 0) << "a question does not go by itself";
}

TEST_F(DesktopNotificationsTest, IsOfNormalUrgencyAndCarriesTheProgramsName) {
    startServer();
    const auto hints = ask("zoom#1").hints;
    const QVariant urgency = hints.value(QStringLiteral("urgency"));
    EXPECT_EQ(urgency.typeId(), QMetaType::UChar) << "servers read a byte and nothing else";
    EXPECT_EQ(urgency.toInt(), 1) << "low may stay unseen, critical may break into everything";
    EXPECT_EQ(
        hints.value(QStringLiteral("desktop-entry")),
        QStringLiteral("com.tamsworth.brindlerecorder"));
}

TEST_F(DesktopNotificationsTest, IsHeardOnServersThatCanSound) {
    startServer(everything + QStringList{QStringLiteral("sound")});
    EXPECT_EQ(
        ask("zoom#1").hints.value(QStringLiteral("sound-name")),
        QStringLiteral("message-new-instant"));
    notifications_->post(news());
    ASSERT_TRUE(waitUntil([&] { return server_->notified.size() == 2; }));
    EXPECT_TRUE(server_->notified[1].hints.contains(QStringLiteral("sound-name")));
    server_->capabilities.removeAll(QStringLiteral("sound"));
    EXPECT_FALSE(ask("meet#2").hints.contains(QStringLiteral("sound-name")));
}

TEST_F(DesktopNotificationsTest, PlainNotificationsHaveNoButtons) {
    startServer();
    notifications_->post(news());
    ASSERT_TRUE(waitUntil([&] { return !server_->notified.isEmpty(); }));
    EXPECT_THAT(server_->notified[0].actions, IsEmpty());
    EXPECT_EQ(server_->notified[0].expireTimeout, -1);
}

TEST_F(DesktopNotificationsTest, EveryAnswerCarriesItsLabel) {
    startServer();
    for (const char* action : {"brindle.record", "brindle.skip", "default"}) {
        const auto shown = ask("zoom#1");
        answers_.clear();
        server_->invoke(shown.number, QString::fromLatin1(action));
        ASSERT_TRUE(waitUntil([&] { return !answers_.empty(); }));
        EXPECT_THAT(answers_, ElementsAre(Answer("zoom#1", action)));
        // An answered question leaves the screen on every server.
        EXPECT_TRUE(waitUntil([&] { return server_->closed.contains(shown.number); }));
    }
}

TEST_F(DesktopNotificationsTest, AServerThatWasThereBeforeTheProgramAsksAndAnswers) {
    notifications_.reset();
    startServer();
    startProgram();
    const auto shown = ask("zoom#1");
    server_->invoke(shown.number, QStringLiteral("brindle.record"));
    ASSERT_TRUE(waitUntil([&] { return !answers_.empty(); }));
    EXPECT_THAT(answers_, ElementsAre(Answer("zoom#1", "brindle.record")));
}

TEST_F(DesktopNotificationsTest, ClosingIsDismissingAndExpiringIsNothing) {
    startServer();
    server_->close(ask("a").number, 1);
    server_->close(ask("b").number, 2);
    ASSERT_TRUE(waitUntil([&] { return !answers_.empty(); }));
    settleBoth();
    EXPECT_THAT(answers_, ElementsAre(Answer("b", NotificationResponse::dismissAction)));
}

TEST_F(DesktopNotificationsTest, AskingAgainReplaces) {
    startServer();
    const auto first = ask("zoom#1");
    const auto second = ask("zoom#1");
    EXPECT_EQ(second.replaces, first.number);
    const auto other = ask("meet#2");
    EXPECT_EQ(other.replaces, 0U);
}

TEST_F(DesktopNotificationsTest, AskingAgainBeforeTheServerAnsweredReplacesToo) {
    startServer();
    server_->holds = QStringLiteral("Notify");
    notifications_->post(question("zoom#1", "first"));
    settleBoth();
    notifications_->post(question("zoom#1", "second"));
    settleBoth();
    server_->answerHeld();
    ASSERT_TRUE(waitUntil([&] { return server_->notified.size() == 2; }));
    EXPECT_EQ(server_->notified[1].replaces, server_->notified[0].number);
    EXPECT_EQ(server_->notified[1].body, QStringLiteral("second"));
}

TEST_F(DesktopNotificationsTest, AskingAgainReplacesNothingThatHasGoneMeanwhile) {
    startServer();
    for (const char* call : {"GetCapabilities", "Notify"}) {
        const auto first = ask("zoom#1");
        server_->holds = QString::fromLatin1(call);
        notifications_->post(question("zoom#1", "second"));
        ASSERT_TRUE(waitUntil([&] { return server_->isHolding(); })) << call;
        server_->close(first.number, 1);
        settleBoth();
        server_->answerHeld();
        settleBoth();
        ASSERT_TRUE(waitUntil([&] { return server_->notified.size() == 2; })) << call;
        const auto second = server_->notified[1];
        EXPECT_EQ(second.replaces, call == std::string{"Notify"} ? first.number : 0U) << call;
        answers_.clear();
        server_->invoke(second.number, QStringLiteral("brindle.record"));
        EXPECT_TRUE(waitUntil([&] { return !answers_.empty(); })) << "asked anew, " << call;
        settleBoth();
        server_->notified.clear();
    }
}

TEST_F(DesktopNotificationsTest, IsTakenBack) {
    startServer();
    const auto shown = ask("zoom#1");
    notifications_->removeDelivered("ask-zoom#1");
    EXPECT_TRUE(waitUntil([&] { return server_->closed.contains(shown.number); }));
    server_->invoke(shown.number, QStringLiteral("brindle.record"));
    settleBoth();
    EXPECT_THAT(answers_, IsEmpty()) << "nobody asks any more";
}

TEST_F(DesktopNotificationsTest, IsTakenBackBeforeTheServerAnswered) {
    startServer();
    for (const char* call : {"GetCapabilities", "Notify"}) {
        server_->holds = QString::fromLatin1(call);
        server_->notified.clear();
        server_->closed.clear();
        notifications_->post(question("zoom#1"));
        settleBoth();
        notifications_->removeDelivered("ask-zoom#1");
        server_->answerHeld();
        settleBoth();
        EXPECT_TRUE(waitUntil([&] { return server_->closed.size() == server_->notified.size(); }))
            << call;
    }
}

TEST_F(DesktopNotificationsTest, TakesQuestionsAlongWhenTheProgramEnds) {
    startServer();
    const auto shown = ask("zoom#1");
    notifications_.reset();
    EXPECT_TRUE(waitUntil([&] { return server_->closed.contains(shown.number); }));
}

TEST_F(DesktopNotificationsTest, EscapesOnlyWhereMarkupIsRead) {
    startServer();
    notifications_->post(question("a", "<b>R&D</b> \"call\""));
    ASSERT_TRUE(waitUntil([&] { return server_->notified.size() == 1; }));
    EXPECT_EQ(
        server_->notified[0].body, QStringLiteral("&lt;b&gt;R&amp;D&lt;/b&gt; &quot;call&quot;"));
    server_->capabilities.removeAll(QStringLiteral("body-markup"));
    notifications_->post(question("b", "<b>R&D</b>"));
    ASSERT_TRUE(waitUntil([&] { return server_->notified.size() == 2; }));
    EXPECT_EQ(server_->notified[1].body, QStringLiteral("<b>R&D</b>"));
}

TEST_F(DesktopNotificationsTest, AServerWithoutButtonsGetsNone) {
    startServer({QStringLiteral("body")});
    EXPECT_THAT(ask("zoom#1").actions, IsEmpty());
}

TEST_F(DesktopNotificationsTest, AServerThatLosesItsButtonsMeanwhileGetsNone) {
    startServer();
    ask("zoom#1");
    server_->capabilities.removeAll(QStringLiteral("actions"));
    EXPECT_THAT(ask("meet#2").actions, IsEmpty());
}

TEST_F(DesktopNotificationsTest, AServerWithoutBodiesGetsItInTheTitle) {
    startServer({QStringLiteral("actions")});
    const auto shown = ask("zoom#1");
    EXPECT_EQ(shown.summary, QStringLiteral("Record this call? Zoom"));
    EXPECT_EQ(shown.body, QString{});
}

TEST_F(DesktopNotificationsTest, WhatOthersSayIsNoAnswer) {
    startServer();
    const auto shown = ask("zoom#1");
    const BusClient liar;
    forge(
        liar, program_.bus(), ofTheServer("ActionInvoked"),
        {shown.number, QStringLiteral("brindle.record")});
    settleBoth();
    EXPECT_THAT(answers_, IsEmpty());
}

TEST_F(DesktopNotificationsTest, WhatOthersSayDoesNotCloseAQuestion) {
    startServer();
    const auto shown = ask("zoom#1");
    const BusClient liar;
    forge(liar, program_.bus(), ofTheServer("NotificationClosed"), {shown.number, 2U});
    settleBoth();
    EXPECT_THAT(answers_, IsEmpty());
    server_->invoke(shown.number, QStringLiteral("brindle.skip"));
    EXPECT_TRUE(waitUntil([&] { return answers_.size() == 1; })) << "the question still stands";
}

TEST_F(DesktopNotificationsTest, OnlyTheBusItselfSaysThatThereIsAnotherServer) {
    startServer();
    const auto shown = ask("zoom#1");
    const BusClient liar;
    const QString name = QStringLiteral("org.freedesktop.Notifications");
    forge(
        liar, program_.bus(), ForgedSignal::nameOwnerChanged(),
        {name, server_->ownName(), liar.bus().baseService()});
    forge(
        liar, program_.bus(), ofTheServer("ActionInvoked"),
        {shown.number, QStringLiteral("brindle.record")});
    settleBoth();
    EXPECT_THAT(answers_, IsEmpty());
    EXPECT_EQ(server_->notified.size(), 1) << "the question is not asked again";
    server_->invoke(shown.number, QStringLiteral("brindle.skip"));
    ASSERT_TRUE(waitUntil([&] { return !answers_.empty(); }));
    EXPECT_THAT(answers_, ElementsAre(Answer("zoom#1", "brindle.skip")));
}

TEST_F(DesktopNotificationsTest, AnswersToOthersAndAnswersThatWereNotOfferedAreNone) {
    startServer();
    const auto shown = ask("zoom#1");
    server_->invoke(shown.number + 1, QStringLiteral("brindle.record"));
    server_->invoke(0, QStringLiteral("brindle.record"));
    server_->invoke(shown.number, QStringLiteral("brindle.erase-everything"));
    server_->signal("ActionInvoked", {QStringLiteral("no number"), 7});
    server_->signal("ActionInvoked", {});
    server_->signal("NotificationClosed", {-1});
    settleBoth();
    EXPECT_THAT(answers_, IsEmpty());
    server_->invoke(shown.number, QStringLiteral("brindle.skip"));
    EXPECT_TRUE(waitUntil([&] { return answers_.size() == 1; })) << "the question still stands";
}

TEST_F(DesktopNotificationsTest, AClickThatIsToldBeforeTheNumberCounts) {
    startServer();
    server_->clickBeforeAnswer = QStringLiteral("brindle.skip");
    notifications_->post(question("zoom#1"));
    ASSERT_TRUE(waitUntil([&] { return !answers_.empty(); }));
    EXPECT_THAT(answers_, ElementsAre(Answer("zoom#1", "brindle.skip")));
}

TEST_F(DesktopNotificationsTest, AQuestionWaitsForAServerThatComesLate) {
    notifications_->post(question("zoom#1"));
    notifications_->post(news());
    settleBoth();
    startServer();
    ASSERT_TRUE(waitUntil([&] { return !server_->notified.isEmpty(); }));
    settleBoth();
    ASSERT_EQ(server_->notified.size(), 1) << "old news is not told late";
    EXPECT_EQ(server_->notified[0].summary, QStringLiteral("Record this call?"));
}

TEST_F(DesktopNotificationsTest, AQuestionMovesToTheServerThatComesAfter) {
    startServer();
    const auto before = ask("zoom#1");
    server_.reset();
    settleBoth();
    startServer();
    ASSERT_TRUE(waitUntil([&] { return server_->notified.size() == 1; }));
    EXPECT_EQ(server_->notified[0].replaces, 0U) << "the new server knows no old numbers";
    settleBoth();
    server_->invoke(server_->notified[0].number, QStringLiteral("default"));
    ASSERT_TRUE(waitUntil([&] { return !answers_.empty(); }));
    EXPECT_THAT(answers_, ElementsAre(Answer("zoom#1", "default")));
    static_cast<void>(before);
}

TEST_F(DesktopNotificationsTest, AServerThatDiesWhileItIsAskedIsSurvived) {
    for (const char* call : {"GetCapabilities", "Notify"}) {
        startServer();
        server_->holds = QString::fromLatin1(call);
        notifications_->post(question("zoom#1"));
        settleBoth();
        server_.reset();
        settleBoth();
        startServer();
        EXPECT_TRUE(waitUntil([&] { return server_->notified.size() == 1; })) << call;
        settleBoth();
        notifications_->removeDelivered("ask-zoom#1");
        EXPECT_TRUE(waitUntil([&] { return server_->closed.size() == 1; })) << call;
        server_.reset();
        settleBoth();
    }
}

TEST_F(DesktopNotificationsTest, AServersLastAnswerIsNothingToTheNextOne) {
    startServer();
    server_->holds = QStringLiteral("Notify");
    notifications_->post(question("zoom#1"));
    ASSERT_TRUE(waitUntil([&] { return server_->isHolding(); }));
    server_->leave();
    settleBoth();
    NotificationServer next{everything};
    settleBoth();
    server_->answerHeld();
    ASSERT_TRUE(waitUntil([&] { return next.notified.size() == 1; }));
    EXPECT_EQ(next.notified[0].replaces, 0U) << "the number was the other server's";
    settleBoth();
    server_->invoke(server_->notified[0].number, QStringLiteral("brindle.record"));
    settleBoth();
    EXPECT_THAT(answers_, IsEmpty());
    next.invoke(next.notified[0].number, QStringLiteral("brindle.skip"));
    ASSERT_TRUE(waitUntil([&] { return !answers_.empty(); }));
    EXPECT_THAT(answers_, ElementsAre(Answer("zoom#1", "brindle.skip")));
}

TEST_F(DesktopNotificationsTest, AnAnsweredQuestionDoesNotComeBackWithTheNextServer) {
    startServer();
    server_->invoke(ask("zoom#1").number, QStringLiteral("brindle.skip"));
    ASSERT_TRUE(waitUntil([&] { return !answers_.empty(); }));
    server_->close(ask("meet#2").number, 2);
    ASSERT_TRUE(waitUntil([&] { return answers_.size() == 2; }));
    server_.reset();
    settleBoth();
    startServer();
    settleBoth();
    EXPECT_THAT(server_->notified, IsEmpty());
}

TEST_F(DesktopNotificationsTest, AServerThatRefusesKeepsWhatItShows) {
    startServer();
    const auto shown = ask("zoom#1");
    server_->refuses = true; // as some do with too many in a short time
    notifications_->post(question("zoom#1"));
    settleBoth();
    server_->invoke(shown.number, QStringLiteral("brindle.record"));
    EXPECT_TRUE(waitUntil([&] { return answers_.size() == 1; }));
}

TEST_F(DesktopNotificationsTest, SaysWhenTheServerHasTakenANotification) {
    startServer();
    int shown = 0;
    server_->holds = QStringLiteral("Notify");
    notifications_->post(news(), [&] { ++shown; });
    ASSERT_TRUE(waitUntil([&] { return server_->isHolding(); }));
    EXPECT_EQ(shown, 0);
    server_->answerHeld();
    EXPECT_TRUE(waitUntil([&] { return shown == 1; }));
    server_->close(server_->notified[0].number, 2);
    settleBoth();
    EXPECT_EQ(shown, 1);
}

TEST_F(DesktopNotificationsTest, WhatNobodyShowsIsNotSaidToBeShown) {
    int shown = 0;
    notifications_->post(news(), [&] { ++shown; });
    settleBoth();
    startServer();
    server_->refuses = true;
    notifications_->post(news(), [&] { ++shown; });
    settleBoth();
    EXPECT_EQ(shown, 0);
}

TEST_F(DesktopNotificationsTest, WhatWasReplacedOnTheWayIsNotSaidToBeShown) {
    startServer();
    std::string shown;
    server_->holds = QStringLiteral("Notify");
    notifications_->post(news(), [&] { shown += "first"; });
    ASSERT_TRUE(waitUntil([&] { return server_->isHolding(); }));
    notifications_->post(news(), [&] { shown += "second"; });
    server_->answerHeld();
    EXPECT_TRUE(waitUntil([&] { return server_->notified.size() == 2 && !shown.empty(); }));
    settleBoth();
    EXPECT_EQ(shown, "second");
}

TEST_F(DesktopNotificationsTest, AVeryLongTextIsCut) {
    startServer();
    notifications_->post(question("a", std::string(100'000, 'x')));
    ASSERT_TRUE(waitUntil([&] { return !server_->notified.isEmpty(); }));
    EXPECT_EQ(server_->notified[0].body.size(), 1000);
}

} // namespace
} // namespace brindle
