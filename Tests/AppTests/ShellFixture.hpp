// The application with its panel on a simulated desktop, for tests of icon and menu.
#pragma once

#include "BrindleRecorderApp/AppModel.hpp"
#include "Support/FakeDesktop.hpp"
#include "Support/FakeStatusItem.hpp"
#include "Support/Publish.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string>

namespace brindle::test {

/// Every permission is given, and there is one camera and one microphone, both the system's own
/// choice. The program does not watch for calls until `launch`.
class ShellFixture : public testing::Test, protected FakeDesktop, protected FakeRun {
  protected:
    ShellFixture() : FakeRun{static_cast<FakeDesktop&>(*this)} {
        capture.addCamera({"cam-1", "Integrated Camera", true});
        capture.addMicrophone({"mic-1", "Integrated Microphone", true});
        capture.setDefaultCamera(CaptureDeviceInfo{"cam-1", "Integrated Camera", true});
        audio.setDevice(defaultInput, {.uniqueID = "mic-1"});
        audio.setDefaultInputDevice(defaultInput);
        capture.script().whenFileOpens = [this](const auto& path) {
            files.putFile(path, "captured");
        };
        model.devices.refresh();
        model.permissions.refresh();
        model.refreshStatusLine();
    }

    /// Runs everything that happens before any time passes.
    void settle() {
        do {
            captureQueue.runAll();
        } while (loop.runPosted() > 0 || captureQueue.pending() > 0);
    }
    /// Lets that many seconds pass.
    void runFor(int seconds) {
        for (int second = 0; second < seconds; ++second) {
            settle();
            loop.advance(std::chrono::seconds{1});
        }
        settle();
    }
    void launch() {
        model.launch();
        settle();
        notifications.answerAuthorization(true);
        settle();
    }
    void record() {
        model.recordNowFromMenu();
        settle();
        ASSERT_TRUE(model.sessionState.get().isRecording());
    }
    /// Begins to watch, and a call program begins a call about which the user is to be asked.
    void beAsked() {
        model.settings.askBeforeRecording.set(true);
        launch();
        zoomTakesTheMicrophone();
        runFor(5);
        ASSERT_TRUE(model.pendingAskLabel.get());
    }
    void zoomTakesTheMicrophone() {
        audio.setProcess(zoom, {.runningInput = true, .pid = 5000, .bundleID = "us.zoom.xos"});
        audio.fireProcesses();
    }
    void zoomReleasesTheMicrophone() {
        audio.setRunningInput(zoom, false);
        audio.fireRunningInput(zoom);
    }
    /// The user decides about the camera in the system's settings.
    void setCamera(AuthorizationStatus status) {
        capture.setAuthorizationStatus(MediaType::video, status);
        model.permissions.refresh();
    }

    FakeStatusItem statusItem;
    const RecordingsFolder folder{"/home/user/Movies/Brindle"};
    AppModel model{environment, folder};

  private:
    static constexpr AudioObjectID defaultInput = 1;
    static constexpr AudioObjectID zoom = 100;
};

} // namespace brindle::test
