#include "BrindleRecorderApp/Shell/Permissions.hpp"

#include "BrindleRecorderApp/Platform/CaptureSystem.hpp"
#include "BrindleRecorderApp/Platform/WindowList.hpp"

#include <algorithm>

namespace brindle {

namespace {

SetupItem item(const char* id, const char* title, const char* hint, bool satisfied) {
    return {
        .id = id,
        .title = title,
        .fixHint = satisfied ? std::nullopt : std::optional<std::string>{hint}};
}

bool isAuthorized(const CaptureSystem& captureSystem, MediaType mediaType) {
    return captureSystem.authorizationStatus(mediaType) == AuthorizationStatus::authorized;
}

} // namespace

std::vector<SetupItem> SetupChecklist::items(const SetupState& state) {
    return {
        item(
            "camera", "Camera access",
            "System Settings > Privacy & Security > Camera > enable Brindle Recorder.",
            state.cameraAuthorized),
        item(
            "microphone", "Microphone access",
            "System Settings > Privacy & Security > Microphone > enable Brindle Recorder.",
            state.microphoneAuthorized),
        item(
            "windowTitles", "Window titles (optional: spot browser calls faster)",
            "Optional: System Settings > Privacy & Security > Screen & System Audio Recording > "
            "enable Brindle Recorder.",
            state.windowTitlesAllowed)};
}

bool SetupChecklist::hasProblem(const SetupState& state) {
    const auto checklist = items(state);
    return std::any_of(checklist.begin(), checklist.end(), [](const SetupItem& item) {
        return item.fixHint && (item.id == "camera" || item.id == "microphone");
    });
}

PermissionsModel::PermissionsModel(CaptureSystem& captureSystem, const WindowList& windowList)
    : captureSystem_{captureSystem}, windowList_{windowList} {
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
    return SetupChecklist::items(setupState());
}

bool PermissionsModel::hasProblem() const {
    return SetupChecklist::hasProblem(setupState());
}

} // namespace brindle
