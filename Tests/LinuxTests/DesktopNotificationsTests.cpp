#include "BrindleRecorderLinux/Notifications/DesktopNotifications.hpp"

#include "BrindleRecorderLinux/Bus/BusOnLoop.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "LinuxTests/BareBus.hpp"
#include "LinuxTests/ScriptedNotificationServer.hpp"
#include "LinuxTests/SignalForger.hpp"
#include "LinuxTests/WaitOnLoop.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace brindle {
namespace {

using test::ScriptedNotificationServer;
using test::SignalForger;
using testing::ElementsAre;
using testing::IsEmpty;
using Words = std::vector<std::string>;
using Answer = std::pair<std::string, std::string>; // label, action

const Words everything{"actions", "body", "body-markup"};

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

NotificationRequest residentNews() {
    return {
        .identifier = "r",
        .title = "Title",
        .body = "Body",
        .categoryIdentifier = "brindle.recording",
        .label = {},
        .isResident = true};
}

class DesktopNotificationsTest : public testing::Test {
  protected:
    DesktopNotificationsTest() { startProgram(); }

    void startProgram() {
        notifications_.emplace(program_);
        notifications_->setCategories(
            {{"brindle.ask-record", {{"brindle.record", "Record"}, {"brindle.skip", "Skip"}}},
             {"brindle.recording", {{"brindle.stop", "Stop recording"}}}});
        notifications_->setResponseHandler([this](const NotificationResponse& response) {
            answers_.emplace_back(
                response.label.value_or(response.identifier), response.actionIdentifier);
        });
        settle();
    }

    void startServer(const Words& capabilities = everything) {
        server_.emplace(capabilities);
        settle();
    }
    [[nodiscard]] bool becomes(const std::function<bool()>& condition) {
        return waitUntil(loop_, [&] {
            for (auto* server : {server_ ? &*server_ : nullptr, next_ ? &*next_ : nullptr}) {
                if (server != nullptr) {
                    server->serve();
                }
            }
            return condition();
        });
    }
    ScriptedNotificationServer::Notification ask(const std::string& label) {
        const auto before = server_->notified.size();
        notifications_->post(question(label));
        EXPECT_TRUE(becomes([&] { return server_->notified.size() > before; }));
        settle();
        return server_->notified.back();
    }
    static SignalForger::Signal ofTheServer(const char* member) {
        return {"/org/freedesktop/Notifications", "org.freedesktop.Notifications", member};
    }
    [[nodiscard]] std::string programsName() {
        const char* name = nullptr;
        test::requireOfBus(sd_bus_get_unique_name(program_.get(), &name), "no name");
        return name;
    }
    template <class... Arguments>
    void forge(const SignalForger::Signal& signal, const char* types, Arguments... arguments) {
        liar_.send(programsName(), signal, types, arguments...);
        EXPECT_TRUE(becomes([&] { return liar_.isHandled(); }));
    }
    /// Until everything that was under way between program and server has arrived.
    void settle() {
        for (int turn = 0; turn < 4; ++turn) {
            for (const auto& name :
                 {programsName(), server_ ? server_->ownName() : programsName()}) {
                liar_.ping(name);
                EXPECT_TRUE(becomes([&] { return liar_.isHandled(); }));
            }
        }
    }

    test::BareBus bus_;
    EventLoop loop_;
    BusOnLoop program_{loop_, BusOnLoop::Which::session};
    SignalForger liar_;
    std::optional<ScriptedNotificationServer> server_;
    std::optional<ScriptedNotificationServer> next_;
    std::optional<DesktopNotifications> notifications_;
    std::vector<Answer> answers_;
};

TEST_F(DesktopNotificationsTest, AsksWithTwoButtonsAndAClickOnTheNotificationItself) {
    startServer();
    const auto shown = ask("zoom#1");
    EXPECT_EQ(shown.summary, "Record this call?");
    EXPECT_EQ(shown.body, "Zoom");
    EXPECT_EQ(
        shown.actions, (Words{"default", "", "brindle.record", "Record", "brindle.skip", "Skip"}));
    EXPECT_EQ(shown.expireTimeout, 0) << "a question does not go by itself";
}

TEST_F(DesktopNotificationsTest, IsOfNormalUrgencyAndCarriesTheProgramsName) {
    startServer();
    const auto hints = ask("zoom#1").hints;
    // Servers read a byte and nothing else. Low may stay unseen, critical may break into
    // everything.
    EXPECT_EQ(hints.at("urgency"), "y 1");
    EXPECT_EQ(hints.at("desktop-entry"), "s com.tamsworth.brindlerecorder");
}

TEST_F(DesktopNotificationsTest, IsHeardOnServersThatCanSound) {
    auto loud = everything;
    loud.emplace_back("sound");
    startServer(loud);
    EXPECT_EQ(ask("zoom#1").hints.at("sound-name"), "s message-new-instant");
    notifications_->post(news());
    ASSERT_TRUE(becomes([&] { return server_->notified.size() == 2; }));
    EXPECT_TRUE(server_->notified[1].hints.contains("sound-name"));
    std::erase(server_->capabilities, "sound");
    EXPECT_FALSE(ask("meet#2").hints.contains("sound-name"));
}

TEST_F(DesktopNotificationsTest, PlainNotificationsHaveNoButtons) {
    startServer();
    notifications_->post(news());
    ASSERT_TRUE(becomes([&] { return !server_->notified.empty(); }));
    EXPECT_THAT(server_->notified[0].actions, IsEmpty());
    EXPECT_EQ(server_->notified[0].expireTimeout, -1);
}

TEST_F(DesktopNotificationsTest, WhatIsResidentStaysQuietlyUntilItIsTakenBack) {
    auto loud = everything;
    loud.emplace_back("sound");
    startServer(loud);
    notifications_->post(residentNews());
    ASSERT_TRUE(becomes([&] { return server_->notified.size() == 1; }));
    settle();
    const auto shown = server_->notified[0];
    EXPECT_EQ(shown.expireTimeout, 0);
    EXPECT_EQ(shown.hints.at("urgency"), "y 0");
    EXPECT_EQ(shown.hints.at("resident"), "b 1");
    EXPECT_FALSE(shown.hints.contains("sound-name"));
    EXPECT_EQ(shown.actions, (Words{"default", "", "brindle.stop", "Stop recording"}));
    for (const char* action : {"default", "brindle.stop"}) {
        answers_.clear();
        server_->invoke(shown.number, action);
        ASSERT_TRUE(becomes([&] { return !answers_.empty(); }));
        EXPECT_THAT(answers_, ElementsAre(Answer("r", action)));
        settle();
        EXPECT_FALSE(server_->hasClosed(shown.number));
    }
    notifications_->removeDelivered("r");
    EXPECT_TRUE(becomes([&] { return server_->hasClosed(shown.number); }));
}

TEST_F(DesktopNotificationsTest, WhatIsResidentIsShownAgainOnTheNextServer) {
    startServer();
    notifications_->post(residentNews());
    ASSERT_TRUE(becomes([&] { return server_->notified.size() == 1; }));
    settle();
    server_.reset();
    settle();
    startServer();
    EXPECT_TRUE(becomes([&] { return server_->notified.size() == 1; }));
}

TEST_F(DesktopNotificationsTest, WhatIsResidentGoesWithTheProgram) {
    startServer();
    notifications_->post(residentNews());
    ASSERT_TRUE(becomes([&] { return server_->notified.size() == 1; }));
    settle();
    notifications_.reset();
    EXPECT_TRUE(becomes([&] { return server_->hasClosed(server_->notified[0].number); }));
}

TEST_F(DesktopNotificationsTest, EveryAnswerCarriesItsLabel) {
    startServer();
    for (const char* action : {"brindle.record", "brindle.skip", "default"}) {
        const auto shown = ask("zoom#1");
        answers_.clear();
        server_->invoke(shown.number, action);
        ASSERT_TRUE(becomes([&] { return !answers_.empty(); }));
        EXPECT_THAT(answers_, ElementsAre(Answer("zoom#1", action)));
        // An answered question leaves the screen on every server.
        EXPECT_TRUE(becomes([&] { return server_->hasClosed(shown.number); }));
    }
}

TEST_F(DesktopNotificationsTest, AServerThatWasThereBeforeTheProgramAsksAndAnswers) {
    notifications_.reset();
    startServer();
    startProgram();
    const auto shown = ask("zoom#1");
    server_->invoke(shown.number, "brindle.record");
    ASSERT_TRUE(becomes([&] { return !answers_.empty(); }));
    EXPECT_THAT(answers_, ElementsAre(Answer("zoom#1", "brindle.record")));
}

TEST_F(DesktopNotificationsTest, ClosingIsDismissingAndExpiringIsNothing) {
    startServer();
    server_->close(ask("a").number, 1);
    server_->close(ask("b").number, 2);
    ASSERT_TRUE(becomes([&] { return !answers_.empty(); }));
    settle();
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
    server_->holds = "Notify";
    notifications_->post(question("zoom#1", "first"));
    settle();
    notifications_->post(question("zoom#1", "second"));
    settle();
    server_->answerHeld();
    ASSERT_TRUE(becomes([&] { return server_->notified.size() == 2; }));
    EXPECT_EQ(server_->notified[1].replaces, server_->notified[0].number);
    EXPECT_EQ(server_->notified[1].body, "second");
}

TEST_F(DesktopNotificationsTest, AskingAgainReplacesNothingThatHasGoneMeanwhile) {
    startServer();
    for (const char* call : {"GetCapabilities", "Notify"}) {
        const auto first = ask("zoom#1");
        server_->holds = call;
        notifications_->post(question("zoom#1", "second"));
        ASSERT_TRUE(becomes([&] { return server_->isHolding(); })) << call;
        server_->close(first.number, 1);
        settle();
        server_->answerHeld();
        settle();
        ASSERT_TRUE(becomes([&] { return server_->notified.size() == 2; })) << call;
        const auto second = server_->notified[1];
        EXPECT_EQ(second.replaces, call == std::string{"Notify"} ? first.number : 0U) << call;
        answers_.clear();
        server_->invoke(second.number, "brindle.record");
        EXPECT_TRUE(becomes([&] { return !answers_.empty(); })) << "asked anew, " << call;
        settle();
        server_->notified.clear();
    }
}

TEST_F(DesktopNotificationsTest, IsTakenBack) {
    startServer();
    const auto shown = ask("zoom#1");
    notifications_->removeDelivered("ask-zoom#1");
    EXPECT_TRUE(becomes([&] { return server_->hasClosed(shown.number); }));
    server_->invoke(shown.number, "brindle.record");
    settle();
    EXPECT_THAT(answers_, IsEmpty()) << "nobody asks any more";
}

TEST_F(DesktopNotificationsTest, IsTakenBackBeforeTheServerAnswered) {
    startServer();
    for (const char* call : {"GetCapabilities", "Notify"}) {
        server_->holds = call;
        server_->notified.clear();
        server_->forgetClosings();
        notifications_->post(question("zoom#1"));
        settle();
        notifications_->removeDelivered("ask-zoom#1");
        server_->answerHeld();
        settle();
        EXPECT_TRUE(becomes([&] { return server_->closings() == server_->notified.size(); }))
            << call;
    }
}

TEST_F(DesktopNotificationsTest, TakesQuestionsAlongWhenTheProgramEnds) {
    startServer();
    const auto shown = ask("zoom#1");
    notifications_.reset();
    EXPECT_TRUE(becomes([&] { return server_->hasClosed(shown.number); }));
}

TEST_F(DesktopNotificationsTest, EscapesOnlyWhereMarkupIsRead) {
    startServer();
    notifications_->post(question("a", "<b>R&D</b> \"call\""));
    ASSERT_TRUE(becomes([&] { return server_->notified.size() == 1; }));
    EXPECT_EQ(server_->notified[0].body, "&lt;b&gt;R&amp;D&lt;/b&gt; &quot;call&quot;");
    std::erase(server_->capabilities, "body-markup");
    notifications_->post(question("b", "<b>R&D</b>"));
    ASSERT_TRUE(becomes([&] { return server_->notified.size() == 2; }));
    EXPECT_EQ(server_->notified[1].body, "<b>R&D</b>");
}

TEST_F(DesktopNotificationsTest, AServerWithoutButtonsGetsNone) {
    startServer({"body"});
    EXPECT_THAT(ask("zoom#1").actions, IsEmpty());
}

TEST_F(DesktopNotificationsTest, AServerThatLosesItsButtonsMeanwhileGetsNone) {
    startServer();
    ask("zoom#1");
    std::erase(server_->capabilities, "actions");
    EXPECT_THAT(ask("meet#2").actions, IsEmpty());
}

TEST_F(DesktopNotificationsTest, AServerWithoutBodiesGetsItInTheTitle) {
    startServer({"actions"});
    const auto shown = ask("zoom#1");
    EXPECT_EQ(shown.summary, "Record this call? Zoom");
    EXPECT_EQ(shown.body, "");
}

TEST_F(DesktopNotificationsTest, WhatOthersSayIsNoAnswer) {
    startServer();
    const auto shown = ask("zoom#1");
    forge(ofTheServer("ActionInvoked"), "us", shown.number, "brindle.record");
    settle();
    EXPECT_THAT(answers_, IsEmpty());
}

TEST_F(DesktopNotificationsTest, WhatOthersSayDoesNotCloseAQuestion) {
    startServer();
    const auto shown = ask("zoom#1");
    forge(ofTheServer("NotificationClosed"), "uu", shown.number, 2U);
    settle();
    EXPECT_THAT(answers_, IsEmpty());
    server_->invoke(shown.number, "brindle.skip");
    EXPECT_TRUE(becomes([&] { return answers_.size() == 1; })) << "the question still stands";
}

TEST_F(DesktopNotificationsTest, OnlyTheBusItselfSaysThatThereIsAnotherServer) {
    startServer();
    const auto shown = ask("zoom#1");
    forge(
        SignalForger::nameOwnerChanged(), "sss", "org.freedesktop.Notifications",
        server_->ownName().c_str(), liar_.ownName().c_str());
    forge(ofTheServer("ActionInvoked"), "us", shown.number, "brindle.record");
    settle();
    EXPECT_THAT(answers_, IsEmpty());
    EXPECT_EQ(server_->notified.size(), 1) << "the question is not asked again";
    server_->invoke(shown.number, "brindle.skip");
    ASSERT_TRUE(becomes([&] { return !answers_.empty(); }));
    EXPECT_THAT(answers_, ElementsAre(Answer("zoom#1", "brindle.skip")));
}

TEST_F(DesktopNotificationsTest, AnswersToOthersAndAnswersThatWereNotOfferedAreNone) {
    startServer();
    const auto shown = ask("zoom#1");
    server_->invoke(shown.number + 1, "brindle.record");
    server_->invoke(0, "brindle.record");
    server_->invoke(shown.number, "brindle.erase-everything");
    server_->signal("ActionInvoked", "si", "no number", 7);
    server_->signal("ActionInvoked", nullptr);
    server_->signal("NotificationClosed", "i", -1);
    settle();
    EXPECT_THAT(answers_, IsEmpty());
    server_->invoke(shown.number, "brindle.skip");
    EXPECT_TRUE(becomes([&] { return answers_.size() == 1; })) << "the question still stands";
}

TEST_F(DesktopNotificationsTest, AClickThatIsToldBeforeTheNumberCounts) {
    startServer();
    server_->clickBeforeAnswer = "brindle.skip";
    notifications_->post(question("zoom#1"));
    ASSERT_TRUE(becomes([&] { return !answers_.empty(); }));
    EXPECT_THAT(answers_, ElementsAre(Answer("zoom#1", "brindle.skip")));
}

TEST_F(DesktopNotificationsTest, AQuestionWaitsForAServerThatComesLate) {
    notifications_->post(question("zoom#1"));
    notifications_->post(news());
    settle();
    startServer();
    ASSERT_TRUE(becomes([&] { return !server_->notified.empty(); }));
    settle();
    ASSERT_EQ(server_->notified.size(), 1) << "old news is not told late";
    EXPECT_EQ(server_->notified[0].summary, "Record this call?");
}

TEST_F(DesktopNotificationsTest, AQuestionMovesToTheServerThatComesAfter) {
    startServer();
    const auto before = ask("zoom#1");
    server_.reset();
    settle();
    startServer();
    ASSERT_TRUE(becomes([&] { return server_->notified.size() == 1; }));
    EXPECT_EQ(server_->notified[0].replaces, 0U) << "the new server knows no old numbers";
    settle();
    server_->invoke(server_->notified[0].number, "default");
    ASSERT_TRUE(becomes([&] { return !answers_.empty(); }));
    EXPECT_THAT(answers_, ElementsAre(Answer("zoom#1", "default")));
    static_cast<void>(before);
}

TEST_F(DesktopNotificationsTest, AServerThatDiesWhileItIsAskedIsSurvived) {
    for (const char* call : {"GetCapabilities", "Notify"}) {
        startServer();
        server_->holds = call;
        notifications_->post(question("zoom#1"));
        settle();
        server_.reset();
        settle();
        startServer();
        EXPECT_TRUE(becomes([&] { return server_->notified.size() == 1; })) << call;
        settle();
        notifications_->removeDelivered("ask-zoom#1");
        EXPECT_TRUE(becomes([&] { return server_->closings() == 1; })) << call;
        server_.reset();
        settle();
    }
}

TEST_F(DesktopNotificationsTest, AServersLastAnswerIsNothingToTheNextOne) {
    startServer();
    server_->holds = "Notify";
    notifications_->post(question("zoom#1"));
    ASSERT_TRUE(becomes([&] { return server_->isHolding(); }));
    server_->leave();
    settle();
    auto& next = next_.emplace(everything);
    settle();
    server_->answerHeld();
    ASSERT_TRUE(becomes([&] { return next.notified.size() == 1; }));
    EXPECT_EQ(next.notified[0].replaces, 0U) << "the number was the other server's";
    settle();
    server_->invoke(server_->notified[0].number, "brindle.record");
    settle();
    EXPECT_THAT(answers_, IsEmpty());
    next.invoke(next.notified[0].number, "brindle.skip");
    ASSERT_TRUE(becomes([&] { return !answers_.empty(); }));
    EXPECT_THAT(answers_, ElementsAre(Answer("zoom#1", "brindle.skip")));
}

TEST_F(DesktopNotificationsTest, AnAnsweredQuestionDoesNotComeBackWithTheNextServer) {
    startServer();
    server_->invoke(ask("zoom#1").number, "brindle.skip");
    ASSERT_TRUE(becomes([&] { return !answers_.empty(); }));
    server_->close(ask("meet#2").number, 2);
    ASSERT_TRUE(becomes([&] { return answers_.size() == 2; }));
    server_.reset();
    settle();
    startServer();
    settle();
    EXPECT_THAT(server_->notified, IsEmpty());
}

TEST_F(DesktopNotificationsTest, AServerThatRefusesKeepsWhatItShows) {
    startServer();
    const auto shown = ask("zoom#1");
    server_->refuses = true; // as some do with too many in a short time
    notifications_->post(question("zoom#1"));
    settle();
    server_->invoke(shown.number, "brindle.record");
    EXPECT_TRUE(becomes([&] { return answers_.size() == 1; }));
}

TEST_F(DesktopNotificationsTest, SaysWhenTheServerHasTakenANotification) {
    startServer();
    int shown = 0;
    server_->holds = "Notify";
    notifications_->post(news(), [&] { ++shown; });
    ASSERT_TRUE(becomes([&] { return server_->isHolding(); }));
    EXPECT_EQ(shown, 0);
    server_->answerHeld();
    EXPECT_TRUE(becomes([&] { return shown == 1; }));
    server_->close(server_->notified[0].number, 2);
    settle();
    EXPECT_EQ(shown, 1);
}

TEST_F(DesktopNotificationsTest, WhatNobodyShowsIsNotSaidToBeShown) {
    int shown = 0;
    notifications_->post(news(), [&] { ++shown; });
    settle();
    startServer();
    server_->refuses = true;
    notifications_->post(news(), [&] { ++shown; });
    settle();
    EXPECT_EQ(shown, 0);
}

TEST_F(DesktopNotificationsTest, WhatWasReplacedOnTheWayIsNotSaidToBeShown) {
    startServer();
    std::string shown;
    server_->holds = "Notify";
    notifications_->post(news(), [&] { shown += "first"; });
    ASSERT_TRUE(becomes([&] { return server_->isHolding(); }));
    notifications_->post(news(), [&] { shown += "second"; });
    server_->answerHeld();
    EXPECT_TRUE(becomes([&] { return server_->notified.size() == 2 && !shown.empty(); }));
    settle();
    EXPECT_EQ(shown, "second");
}

TEST_F(DesktopNotificationsTest, AVeryLongTextIsCut) {
    startServer();
    notifications_->post(question("a", std::string(100'000, 'x')));
    ASSERT_TRUE(becomes([&] { return !server_->notified.empty(); }));
    EXPECT_EQ(server_->notified[0].body, std::string(999, 'x') + "…");
}

TEST_F(DesktopNotificationsTest, ATextThatIsNoTextIsShownAllTheSame) {
    startServer();
    notifications_->post(question("a", "Z\xFFoom"));
    ASSERT_TRUE(becomes([&] { return !server_->notified.empty(); }));
    EXPECT_EQ(server_->notified[0].body, "Z\xEF\xBF\xBDoom");
}

} // namespace
} // namespace brindle
