#include "BrindleRecorderApp/Shell/Permissions.hpp"

#include "BrindleRecorderApp/Platform/CaptureSystem.hpp"
#include "BrindleRecorderApp/Platform/WindowList.hpp"
#include "BrindleRecorderApp/Words/SetupTexts.hpp"

#include <algorithm>
#include <utility>

namespace brindle {

namespace {

SetupItem item(const char* id, const std::string& title, const std::string& hint, bool satisfied) {
    return {.id = id, .title = title, .fixHint = satisfied ? std::nullopt : std::optional{hint}};
}

bool isAuthorized(const CaptureSystem& captureSystem, MediaType mediaType) {
    return captureSystem.authorizationStatus(mediaType) == AuthorizationStatus::authorized;
}

} // namespace

std::vector<SetupItem> SetupChecklist::items(const SetupState& state, const DesktopWords& words) {
    return {
        item("camera", SetupTexts::cameraAccess(), words.cameraHint, state.cameraAuthorized),
        item(
            "microphone", SetupTexts::microphoneAccess(), words.microphoneHint,
            state.microphoneAuthorized),
        item(
            "windowTitles", SetupTexts::windowTitles(), words.windowTitlesHint,
            state.windowTitlesAllowed)};
}

bool SetupChecklist::hasProblem(const SetupState& state) {
    const auto checklist = items(state);
    return std::any_of(checklist.begin(), checklist.end(), [](const SetupItem& item) {
        return item.fixHint && (item.id == "camera" || item.id == "microphone");
    });
}

PermissionsModel::PermissionsModel(
    CaptureSystem& captureSystem, const WindowList& windowList, DesktopWords words)
    : captureSystem_{captureSystem}, windowList_{windowList}, words_{std::move(words)} {
    refresh();
}

void PermissionsModel::refresh() {
    cameraAuthorized_.set(isAuthorized(captureSystem_, MediaType::video));
    microphoneAuthorized_.set(isAuthorized(captureSystem_, MediaType::audio));
}

Task<void> PermissionsModel::requestCameraAndMicrophone() {
    const std::weak_ptr alive{lifetime_};
    for (const MediaType mediaType : {MediaType::video, MediaType::audio}) {
        if (captureSystem_.authorizationStatus(mediaType) != AuthorizationStatus::notDetermined) {
            continue;
        }
        const Continuation<bool> decision;
        captureSystem_.requestAccess(
            mediaType, [decision](bool granted) { decision.resume(granted); });
        co_await decision;
        if (alive.expired()) {
            co_return;
        }
    }
    refresh();
}

SetupState PermissionsModel::setupState() const {
    return {
        .cameraAuthorized = cameraAuthorized.get(),
        .microphoneAuthorized = microphoneAuthorized.get(),
        .windowTitlesAllowed = windowList_.titlesPermitted()};
}

std::vector<SetupItem> PermissionsModel::setupItems() const {
    return SetupChecklist::items(setupState(), words_);
}

bool PermissionsModel::hasProblem() const {
    return SetupChecklist::hasProblem(setupState());
}

} // namespace brindle
