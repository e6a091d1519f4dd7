// How the application ends: at any moment, and without losing what was captured.
#include "BrindleRecorderApp/AppModel.hpp"

#include "BrindleRecorderCore/Recordings/SidecarStore.hpp"
#include "Support/AppScene.hpp"
#include "Support/ExampleSidecar.hpp"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace brindle {
namespace {

using namespace std::chrono_literals;
using testing::IsEmpty;

class AppModelLifetime : public testing::Test, protected test::AppScene {};

// Each of these ends the program while something waits; the address sanitizer sees what is left.

TEST_F(AppModelLifetime, EndsWhileItWaitsForTheLeaveToNotify) {
    model().launch();
    settle();
    const auto answer = notifications.authorizationRequests.front();
    kill();
    answer(true);
}

TEST_F(AppModelLifetime, EndsWhileAStartWaitsForTheMicrophone) {
    launch();
    capture.setAuthorizationStatus(MediaType::audio, AuthorizationStatus::notDetermined);
    model().recordNowFromMenu();
    settle();
    model().stopRecordingFromMenu(); // waits behind the start
    kill();
    capture.answerAccess(MediaType::audio, true);
}

TEST_F(AppModelLifetime, EndsWhileRecordingWithTheCaptureQueueBehind) {
    launch();
    holdCaptureQueue(true);
    model().recordNowFromMenu();
    settle();
    kill();
}

TEST_F(AppModelLifetime, EndsWhileAStopWaitsForItsFile) {
    recordZoomCall();
    capture.script().finishWhenStopped = false;
    model().stopRecordingFromMenu();
    settle();
    kill();
}

TEST_F(AppModelLifetime, EndsWhileAMovieIsConverted) {
    recordZoomCall();
    exporter().script().finishAtOnce = false;
    model().stopRecordingFromMenu();
    runFor(3s);
    kill();
    EXPECT_EQ(files.contents(folder.movURL(firstBaseName)), "captured");
}

TEST_F(AppModelLifetime, EndsWhileAFailureWaitsForItsFile) {
    recordZoomCall();
    capture.script().finishWhenStopped = false;
    deviceDies();
    runFor(3s);
    kill();
    EXPECT_EQ(files.contents(folder.movURL(firstBaseName)), "captured");
}

TEST_F(AppModelLifetime, EndsWithAFailureThatNobodyHasSeenTo) {
    recordZoomCall();
    deviceDies();
    kill();
    EXPECT_EQ(files.contents(folder.movURL(firstBaseName)), "captured");
}

TEST_F(AppModelLifetime, EndsDuringTheRepair) {
    auto interrupted = test::exampleSidecar();
    interrupted.endedAt.reset();
    files.putFile(folder.sidecarURL("b"), SidecarCoding::encode(interrupted, TimeZone::utc()));
    files.putFile(folder.movURL("b"), "captured");
    exporter().script().finishAtOnce = false;
    launch();
    runFor(3s);
    kill();
    EXPECT_EQ(files.contents(folder.movURL("b")), "captured");
}

TEST_F(AppModelLifetime, EndsBeforeThePromptIsAnswered) {
    model().settings.askBeforeRecording.set(true);
    launch();
    zoomTakesTheMicrophone();
    runFor(5s);
    kill();
    userAnswers("zoom#1", true);
    EXPECT_THAT(captured, IsEmpty());
}

TEST_F(AppModelLifetime, AQuitThatIsNotAwaitedCallsNobody) {
    recordZoomCall();
    bool finished = false;
    model().prepareToQuit([&] { finished = true; });
    kill();
    EXPECT_FALSE(finished);
}

/// A call with everything in it: a failure, a restart, a stop, a recording by hand, a discard.
class EventfulAfternoon : public test::AppScene {
  public:
    EventfulAfternoon() {
        events_ = {
            {0s,
             [this] {
                 model().launch();
             }},
            {1s,
             [this] {
                 notifications.answerAuthorization(true);
             }},
            {2s,
             [this] {
                 zoomTakesTheMicrophone();
             }},
            {12s,
             [this] {
                 deviceDies();
             }},
            {16s,
             [this] {
                 writingStops();
             }},
            {20s,
             [this] {
                 model().stopRecordingFromMenu();
             }},
            {22s,
             [this] {
                 zoomReleasesTheMicrophone();
             }},
            {45s,
             [this] {
                 model().recordNowFromMenu();
             }},
            {50s,
             [this] {
                 model().stopRecordingFromMenu();
             }},
        };
    }

    /// Lets that many steps happen; false when there were not so many.
    bool runSteps(int steps) {
        for (const auto& [at, happens] : events_) {
            while (step(at)) {
                if (--steps == 0) {
                    return true;
                }
            }
            happens();
        }
        while (step(60s)) {
            if (--steps == 0) {
                return true;
            }
        }
        return false;
    }

    /// The next launch, with nobody in a call.
    void launchAgain() {
        audio.fireProcesses();
        start();
        launch();
        runFor(5s);
    }

  private:
    std::vector<std::pair<std::chrono::seconds, std::function<void()>>> events_;
};

/// What is wrong with the recordings after a launch that followed a kill.
std::vector<std::string> losses(const EventfulAfternoon& scene) {
    std::vector<std::string> found;
    const auto contents = scene.folderContents();
    for (const auto& path : scene.captured) {
        const auto baseName = path.stem().string();
        const auto mov = scene.files.contents(scene.folder.movURL(baseName));
        const auto mp4 = scene.files.contents(scene.folder.mp4URL(baseName));
        if (mov != "captured" && mp4 != "whole movie") {
            found.push_back("lost: " + baseName);
        }
    }
    for (const auto& name : contents) {
        const std::filesystem::path path = name;
        if (name.front() == '.') {
            found.push_back("left behind: " + name);
        } else if (path.extension() == ".json") {
            if (!scene.sidecar(path.stem().string()).endedAt) {
                found.push_back("open: " + name);
            }
        }
    }
    return found;
}

TEST(AppModelKilled, AfterAnyStepNothingCapturedIsLost) {
    int steps = 1;
    for (bool killed = true; killed; ++steps) {
        EventfulAfternoon scene;
        killed = scene.runSteps(steps);
        scene.kill();
        // Whatever used the microphone then is gone by now.
        scene.audio.removeProcess(100);
        scene.launchAgain();
        ASSERT_THAT(losses(scene), IsEmpty()) << "killed after step " << steps;
    }
    constexpr int atLeast = 100;
    EXPECT_GT(steps, atLeast) << "the afternoon was less eventful than meant";
}

} // namespace
} // namespace brindle
