#include "BrindleRecorderLinux/Portal/CameraPortal.hpp"

#include "BrindleRecorderCore/Base/FileDescriptor.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "LinuxTests/BareBus.hpp"
#include "LinuxTests/ScriptedCameraPortal.hpp"
#include "LinuxTests/SignalForger.hpp"
#include "LinuxTests/WaitOnLoop.hpp"
#include "Support/EnvironmentVariable.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/un.h>

#include <chrono>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brindle {
namespace {

using test::ScriptedCameraPortal;
using Manner = ScriptedCameraPortal::Manner;

constexpr std::chrono::hours longerThanTheTest{1};
constexpr std::chrono::milliseconds soonOver{50};

class CameraPortalTest : public testing::Test {
  protected:
    CameraPortal& access(std::chrono::nanoseconds patience = longerThanTheTest) {
        return access_.emplace(
            loop_, [this](std::string_view line) { lines_.emplace_back(line); }, patience);
    }
    void request() {
        access_->requestAccess([this](bool granted) { answers_.push_back(granted); });
    }
    [[nodiscard]] bool becomes(const std::function<bool()>& condition) {
        return waitUntil(loop_, [&] {
            if (portal_) {
                portal_->serve();
            }
            return condition();
        });
    }
    [[nodiscard]] bool isAsked() {
        return becomes([&] { return portal_->requests().size() == 1; });
    }
    [[nodiscard]] bool isAnswered(std::size_t count = 1) {
        return becomes([&] { return answers_.size() == count; });
    }
    /// Somebody else says it to whoever made the first request, and is heard to the end.
    template <class... Arguments>
    void forge(const test::SignalForger::Signal& signal, const char* types, Arguments... values) {
        forger_.send(portal_->requests().at(0).asker, signal, types, values...);
        ASSERT_TRUE(becomes([&] { return forger_.isHandled(); }));
    }
    /// Everything that was sent by now has arrived and been handled: the bus delivers in order.
    void settle() {
        bool isDone = false;
        access_->requestAccess([&isDone](bool) { isDone = true; });
        ASSERT_TRUE(becomes([&] { return isDone; }));
    }

    test::BareBus bus_;
    test::SignalForger forger_;
    EventLoop loop_;
    std::optional<ScriptedCameraPortal> portal_;
    std::vector<std::string> lines_;
    std::vector<bool> answers_;
    std::optional<CameraPortal> access_;
};

TEST_F(CameraPortalTest, NobodyIsAskedBeforeSomebodyWantsToKnow) {
    portal_.emplace();
    EXPECT_EQ(access().status(), AuthorizationStatus::notDetermined);
    while (handlesAnything(loop_)) {
    }
    portal_->serve();
    EXPECT_EQ(portal_->questions(), 0);
}

TEST_F(CameraPortalTest, WhatTheUserSaysCounts) {
    const struct {
        std::uint32_t response;
        AuthorizationStatus status;
        const char* line;
    } rows[] = {
        {0, AuthorizationStatus::authorized, "camera portal: the camera may be used"},
        {1, AuthorizationStatus::denied, "camera portal: the user refuses the camera"},
        {2, AuthorizationStatus::denied, "camera portal: the request has ended without an answer"},
        {7, AuthorizationStatus::denied, "camera portal: the request has ended without an answer"},
    };
    for (const auto& row : rows) {
        lines_.clear();
        answers_.clear();
        portal_.reset();
        portal_.emplace();
        access();
        request();
        ASSERT_TRUE(isAsked());
        EXPECT_EQ(access_->status(), AuthorizationStatus::notDetermined);
        EXPECT_TRUE(answers_.empty());
        portal_->respond(row.response);
        ASSERT_TRUE(isAnswered());
        EXPECT_EQ(access_->status(), row.status);
        EXPECT_EQ(answers_.front(), row.status == AuthorizationStatus::authorized);
        EXPECT_EQ(lines_, std::vector<std::string>{row.line});
    }
}

TEST_F(CameraPortalTest, TheUserIsAskedOnceHoweverManyWantToKnow) {
    portal_.emplace();
    access();
    request();
    request();
    ASSERT_TRUE(isAsked());
    request();
    portal_->respond(1);
    ASSERT_TRUE(isAnswered(3));
    request();
    ASSERT_TRUE(isAnswered(4));
    portal_->serve();
    EXPECT_EQ(portal_->requests().size(), 1U);
    EXPECT_EQ(answers_, (std::vector<bool>{false, false, false, false}));
}

TEST_F(CameraPortalTest, AnAnswerThatComesBeforeItsRequestIsTakenCounts) {
    portal_.emplace(Manner::answersBeforeTaking);
    access();
    request();
    ASSERT_TRUE(isAnswered());
    EXPECT_EQ(access_->status(), AuthorizationStatus::authorized);
}

TEST_F(CameraPortalTest, OnlyThePortalItselfCanAnswer) {
    portal_.emplace();
    access();
    request();
    ASSERT_TRUE(isAsked());
    forge(
        {portal_->requests().front().path, "org.freedesktop.portal.Request", "Response"}, "ua{sv}",
        0U, 0);
    EXPECT_TRUE(answers_.empty());
    portal_->respond(1);
    ASSERT_TRUE(isAnswered());
    EXPECT_EQ(access_->status(), AuthorizationStatus::denied);
    EXPECT_EQ(lines_, std::vector<std::string>{"camera portal: the user refuses the camera"});
}

TEST_F(CameraPortalTest, OnlyTheBusItselfSaysThatThePortalHasGone) {
    portal_.emplace();
    access();
    request();
    ASSERT_TRUE(isAsked());
    const std::string forger = forger_.ownName();
    for (const std::string& successor : {std::string{}, forger}) {
        forge(
            test::SignalForger::nameOwnerChanged(), "sss", "org.freedesktop.portal.Desktop",
            portal_->ownName().c_str(), successor.c_str());
        EXPECT_TRUE(answers_.empty()) << "it is still there";
    }
    portal_->respond(0);
    ASSERT_TRUE(isAnswered());
    EXPECT_EQ(lines_, std::vector<std::string>{"camera portal: the camera may be used"});
}

TEST_F(CameraPortalTest, ASecondAnswerChangesNothing) {
    portal_.emplace();
    access();
    request();
    ASSERT_TRUE(isAsked());
    portal_->respond(1);
    portal_->respond(0);
    ASSERT_TRUE(isAnswered());
    settle();
    EXPECT_EQ(access_->status(), AuthorizationStatus::denied);
    EXPECT_EQ(lines_.size(), 1U);
}

TEST_F(CameraPortalTest, APortalThatMisbehavesDeniesTheCamera) {
    const struct {
        Manner manner;
        const char* line;
    } rows[] = {
        {Manner::refusesRequests,
         "camera portal: it does not take the request (org.freedesktop.portal.Error.NotAllowed)"},
        {Manner::takesForAnotherOne, "camera portal: it takes the request for another one"},
        {Manner::answersWithoutNumber, "camera portal: its answer cannot be read"},
    };
    for (const auto& row : rows) {
        lines_.clear();
        answers_.clear();
        portal_.reset();
        portal_.emplace(row.manner);
        access();
        request();
        ASSERT_TRUE(isAnswered()) << row.line;
        EXPECT_EQ(access_->status(), AuthorizationStatus::denied);
        EXPECT_EQ(answers_, std::vector<bool>{false});
        EXPECT_EQ(lines_, std::vector<std::string>{row.line});
    }
}

TEST_F(CameraPortalTest, WithoutAPortalTheCameraIsDenied) {
    access();
    request();
    EXPECT_TRUE(answers_.empty()) << "answered from within the question";
    ASSERT_TRUE(isAnswered());
    EXPECT_EQ(access_->status(), AuthorizationStatus::denied);
    EXPECT_EQ(
        lines_, std::vector<std::string>{"camera portal: it cannot be reached "
                                         "(org.freedesktop.DBus.Error.ServiceUnknown)"});
}

TEST_F(CameraPortalTest, WithoutABusTheCameraIsDenied) {
    bus_.stop();
    access();
    request();
    EXPECT_TRUE(answers_.empty()) << "answered from within the question";
    ASSERT_TRUE(isAnswered());
    EXPECT_EQ(access_->status(), AuthorizationStatus::denied);
    EXPECT_EQ(lines_, std::vector<std::string>{"camera portal: there is no session bus"});
}

TEST_F(CameraPortalTest, APortalThatDiesWhileTheUserThinksDeniesTheCamera) {
    portal_.emplace();
    access();
    request();
    ASSERT_TRUE(isAsked());
    portal_.reset();
    ASSERT_TRUE(isAnswered());
    EXPECT_EQ(access_->status(), AuthorizationStatus::denied);
    EXPECT_EQ(lines_, std::vector<std::string>{"camera portal: it has gone before it answered"});
    portal_.emplace();
    request();
    ASSERT_TRUE(isAnswered(2));
    portal_->serve();
    EXPECT_EQ(portal_->questions(), 0) << "the next one is not asked again";
}

TEST_F(CameraPortalTest, AUserWhoDoesNotAnswerIsNotWaitedForAndMayAnswerLater) {
    portal_.emplace();
    access(soonOver);
    request();
    ASSERT_TRUE(isAsked());
    ASSERT_TRUE(isAnswered());
    EXPECT_EQ(access_->status(), AuthorizationStatus::notDetermined);
    request();
    ASSERT_TRUE(isAnswered(2));
    EXPECT_EQ(answers_, (std::vector<bool>{false, false}));
    EXPECT_EQ(
        lines_,
        std::vector<std::string>{"camera portal: no answer yet; going on without the camera"});
    EXPECT_EQ(portal_->requests().size(), 1U);

    portal_->respond(0);
    EXPECT_TRUE(becomes([&] { return access_->status() == AuthorizationStatus::authorized; }));
    request();
    ASSERT_TRUE(isAnswered(3));
    EXPECT_TRUE(answers_.back());
}

TEST_F(CameraPortalTest, APortalThatNeverRepliesIsNotWaitedFor) {
    portal_.emplace(Manner::doesNotReply);
    access(soonOver);
    request();
    ASSERT_TRUE(isAsked());
    ASSERT_TRUE(isAnswered());
    EXPECT_EQ(access_->status(), AuthorizationStatus::notDetermined);
}

TEST_F(CameraPortalTest, APortalThatDoesNothingAtAllIsNotWaitedFor) {
    const ScriptedCameraPortal frozen;
    access(soonOver);
    request();
    ASSERT_TRUE(isAnswered());
    EXPECT_EQ(access_->status(), AuthorizationStatus::notDetermined);
}

TEST_F(CameraPortalTest, ABusThatDiesWhileTheUserThinksIsNotWaitedForAndKeepsNobodyBusy) {
    portal_.emplace();
    access(std::chrono::seconds{1});
    request();
    ASSERT_TRUE(isAsked());
    bus_.stop();
    ASSERT_TRUE(isAnswered());
    EXPECT_EQ(answers_, std::vector<bool>{false});
    EXPECT_TRUE(becomes([&] { return !handlesAnything(loop_); }));
}

TEST_F(CameraPortalTest, WhoeverWaitsWhenItGoesHearsNothing) {
    portal_.emplace();
    access();
    request();
    ASSERT_TRUE(isAsked());
    access_.reset();
    portal_->respond(0);
    while (handlesAnything(loop_)) {
    }
    EXPECT_TRUE(answers_.empty());
}

TEST(CameraPortal, ABusThatNeverGreetsHoldsNothingUp) {
    const test::TemporaryFolder folder;
    const std::string path = (folder.path() / "bus").string();
    const FileDescriptor mute{socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    ASSERT_EQ(bind(mute.number(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(listen(mute.number(), 1), 0);
    const test::EnvironmentVariable bus{"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + path};

    EventLoop loop;
    std::optional<bool> answer;
    std::chrono::steady_clock::time_point left;
    {
        CameraPortal access{loop, [](std::string_view) {}, soonOver};
        access.requestAccess([&answer](bool granted) { answer = granted; });
        ASSERT_TRUE(waitUntil(loop, [&] { return answer.has_value(); }));
        EXPECT_EQ(access.status(), AuthorizationStatus::notDetermined);
        left = std::chrono::steady_clock::now();
    }
    EXPECT_FALSE(*answer);
    // Whoever waits for such a bus waits for 90 seconds.
    EXPECT_LT(std::chrono::steady_clock::now() - left, std::chrono::seconds{45});
}

} // namespace
} // namespace brindle
