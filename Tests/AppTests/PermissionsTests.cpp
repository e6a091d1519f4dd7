#include "BrindleRecorderApp/Shell/Permissions.hpp"

#include "BrindleRecorderApp/Platform/CaptureSystem.hpp"
#include "Support/FakeWindowList.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <utility>

namespace brindle {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// The authorisation part of a capture system: what is decided, and what is being asked.
class FakeAuthorization final : public CaptureSystem {
  public:
    std::map<MediaType, AuthorizationStatus> statuses{
        {MediaType::video, AuthorizationStatus::notDetermined},
        {MediaType::audio, AuthorizationStatus::notDetermined}};
    /// Every kind that was asked for, in order.
    std::vector<MediaType> requests;

    /// The user answers the question that is open.
    void answer(bool granted) {
        statuses[requests.back()] =
            granted ? AuthorizationStatus::authorized : AuthorizationStatus::denied;
        std::exchange(openQuestion_, {})(granted);
    }

    [[nodiscard]] AuthorizationStatus authorizationStatus(MediaType mediaType) const override {
        return statuses.at(mediaType);
    }
    void requestAccess(MediaType mediaType, std::function<void(bool granted)> answer) override {
        requests.push_back(mediaType);
        openQuestion_ = std::move(answer);
    }

    [[nodiscard]] std::vector<CaptureDeviceInfo> discover(MediaType) const override { return {}; }
    [[nodiscard]] std::optional<CaptureDeviceInfo> systemPreferredCamera() const override {
        return {};
    }
    [[nodiscard]] std::optional<CaptureDeviceInfo> defaultCamera() const override { return {}; }
    [[nodiscard]] std::unique_ptr<Observation> observeDevices(std::function<void()>) override {
        return {};
    }
    [[nodiscard]] std::optional<CameraHolder> holderOf(const std::string&) const override {
        return {};
    }
    [[nodiscard]] std::set<std::int32_t> openersOf(const std::string&) const override { return {}; }
    [[nodiscard]] std::unique_ptr<Observation> observeCameraUse(std::function<void()>) override {
        return {};
    }
    [[nodiscard]] std::shared_ptr<CaptureDevice> device(const std::string&) override { return {}; }
    [[nodiscard]] std::shared_ptr<CaptureSession> makeSession() override { return {}; }
    void expectRecording(bool) override {}

  private:
    std::function<void(bool)> openQuestion_;
};

class PermissionsTest : public testing::Test {
  protected:
    FakeAuthorization system_;
    test::FakeWindowList windows_;

    void decide(AuthorizationStatus camera, AuthorizationStatus microphone) {
        system_.statuses = {{MediaType::video, camera}, {MediaType::audio, microphone}};
    }
    /// Starts to ask; true in the result once the asking is over.
    static std::shared_ptr<bool> beginRequest(PermissionsModel& model) {
        auto done = std::make_shared<bool>(false);
        startDetached(model.requestCameraAndMicrophone(), [done] { *done = true; });
        return done;
    }
};

const SetupItem cameraDone{.id = "camera", .title = "Camera access", .fixHint = std::nullopt};
const SetupItem cameraMissing{
    .id = "camera",
    .title = "Camera access",
    .fixHint = "System Settings > Privacy & Security > Camera > enable Brindle Recorder."};
const SetupItem microphoneDone{
    .id = "microphone", .title = "Microphone access", .fixHint = std::nullopt};
const SetupItem microphoneMissing{
    .id = "microphone",
    .title = "Microphone access",
    .fixHint = "System Settings > Privacy & Security > Microphone > enable Brindle Recorder."};
const SetupItem titlesDone{
    .id = "windowTitles",
    .title = "Window titles (optional: spot browser calls faster)",
    .fixHint = std::nullopt};
const SetupItem titlesMissing{
    .id = "windowTitles",
    .title = "Window titles (optional: spot browser calls faster)",
    .fixHint = "Optional: System Settings > Privacy & Security > Screen & System Audio Recording > "
               "enable Brindle Recorder."};

TEST(SetupChecklist, ListsCameraMicrophoneAndWindowTitlesWithHintsForWhatIsMissing) {
    for (const bool camera : {false, true}) {
        for (const bool microphone : {false, true}) {
            for (const bool titles : {false, true}) {
                const SetupState state{
                    .cameraAuthorized = camera,
                    .microphoneAuthorized = microphone,
                    .windowTitlesAllowed = titles};
                EXPECT_THAT(
                    SetupChecklist::items(state),
                    ElementsAre(
                        camera ? cameraDone : cameraMissing,
                        microphone ? microphoneDone : microphoneMissing,
                        titles ? titlesDone : titlesMissing))
                    << camera << microphone << titles;
                EXPECT_EQ(SetupChecklist::hasProblem(state), !camera || !microphone)
                    << camera << microphone << titles;
            }
        }
    }
}

TEST_F(PermissionsTest, CameraGrantedMicrophoneDeniedTitlesAbsentIsAProblem) {
    decide(AuthorizationStatus::authorized, AuthorizationStatus::denied);
    windows_.permitted = false;
    const PermissionsModel model{system_, windows_};
    EXPECT_THAT(model.setupItems(), ElementsAre(cameraDone, microphoneMissing, titlesMissing));
    EXPECT_TRUE(model.hasProblem());
}

TEST_F(PermissionsTest, WindowTitlesAloneAreNeverAProblem) {
    decide(AuthorizationStatus::authorized, AuthorizationStatus::authorized);
    windows_.permitted = false;
    const PermissionsModel model{system_, windows_};
    EXPECT_THAT(model.setupItems(), ElementsAre(cameraDone, microphoneDone, titlesMissing));
    EXPECT_FALSE(model.hasProblem());
}

TEST_F(PermissionsTest, AsksAfreshEachTimeWhetherTitlesMayBeRead) {
    const PermissionsModel model{system_, windows_};
    EXPECT_TRUE(model.setupState().windowTitlesAllowed);
    windows_.permitted = false;
    EXPECT_FALSE(model.setupState().windowTitlesAllowed);
}

TEST_F(PermissionsTest, OnlyAuthorizedCountsAndIsReadAtCreation) {
    for (const auto status :
         {AuthorizationStatus::notDetermined, AuthorizationStatus::restricted,
          AuthorizationStatus::denied, AuthorizationStatus::authorized}) {
        const bool authorized = status == AuthorizationStatus::authorized;
        decide(status, AuthorizationStatus::denied);
        EXPECT_EQ(PermissionsModel(system_, windows_).cameraAuthorized.get(), authorized);
        decide(AuthorizationStatus::denied, status);
        EXPECT_EQ(PermissionsModel(system_, windows_).microphoneAuthorized.get(), authorized);
    }
}

TEST_F(PermissionsTest, RefreshPublishesWhatHasChanged) {
    PermissionsModel model{system_, windows_};
    std::vector<std::string> changes;
    const auto camera = model.cameraAuthorized.observe(
        [&](bool granted) { changes.emplace_back(granted ? "camera on" : "camera off"); });
    const auto microphone = model.microphoneAuthorized.observe(
        [&](bool granted) { changes.emplace_back(granted ? "microphone on" : "microphone off"); });
    model.refresh();
    EXPECT_THAT(changes, IsEmpty());
    decide(AuthorizationStatus::authorized, AuthorizationStatus::authorized);
    EXPECT_FALSE(model.cameraAuthorized.get()) << "nothing is read before it is asked to";
    model.refresh();
    decide(AuthorizationStatus::denied, AuthorizationStatus::authorized);
    model.refresh();
    EXPECT_THAT(changes, ElementsAre("camera on", "microphone on", "camera off"));
}

TEST_F(PermissionsTest, AsksForTheCameraAndThenForTheMicrophone) {
    PermissionsModel model{system_, windows_};
    const auto done = beginRequest(model);
    EXPECT_THAT(system_.requests, ElementsAre(MediaType::video));
    system_.answer(true);
    EXPECT_THAT(system_.requests, ElementsAre(MediaType::video, MediaType::audio));
    EXPECT_FALSE(*done);
    EXPECT_FALSE(model.cameraAuthorized.get()) << "published after the last answer";
    system_.answer(false);
    EXPECT_TRUE(*done);
    EXPECT_TRUE(model.cameraAuthorized.get());
    EXPECT_FALSE(model.microphoneAuthorized.get());
}

TEST_F(PermissionsTest, WhatIsDecidedIsNeverAskedAgain) {
    PermissionsModel model{system_, windows_};
    for (const auto status :
         {AuthorizationStatus::restricted, AuthorizationStatus::denied,
          AuthorizationStatus::authorized}) {
        decide(status, status);
        EXPECT_TRUE(*beginRequest(model));
        EXPECT_THAT(system_.requests, IsEmpty());
        EXPECT_EQ(model.cameraAuthorized.get(), status == AuthorizationStatus::authorized)
            << "refreshed all the same";
    }
}

TEST_F(PermissionsTest, AsksOnlyForTheOneThatIsUndecided) {
    PermissionsModel model{system_, windows_};
    decide(AuthorizationStatus::denied, AuthorizationStatus::notDetermined);
    const auto done = beginRequest(model);
    EXPECT_THAT(system_.requests, ElementsAre(MediaType::audio));
    system_.answer(true);
    EXPECT_TRUE(*done);
    EXPECT_TRUE(model.microphoneAuthorized.get());
}

TEST_F(PermissionsTest, AModelThatIsGoneAsksNothingMore) {
    auto model = std::make_unique<PermissionsModel>(system_, windows_);
    const auto done = beginRequest(*model);
    model.reset();
    system_.answer(true);
    EXPECT_TRUE(*done);
    EXPECT_THAT(system_.requests, ElementsAre(MediaType::video));
}

} // namespace
} // namespace brindle
