#include "BrindleRecorderApp/Shell/FirstRunWindow.hpp"

#include "BrindleRecorderApp/Platform/StatusItem.hpp"
#include "BrindleRecorderApp/Settings.hpp"

namespace brindle {

namespace {

constexpr const char* windowTitle = "Brindle Recorder Setup";
constexpr const char* heading = "Brindle Recorder";
constexpr const char* introduction =
    "Brindle Recorder notices when a call app (Zoom, Teams, Meet, Slack, FaceTime and more) is "
    "using your microphone and records your camera and microphone while the call lasts. It records "
    "you only — never other participants, never your screen. You can also start and stop it from "
    "the menu bar.";
constexpr const char* windowTitlesNote =
    "Optional: allow Screen & System Audio Recording to let it read window titles, so browser "
    "calls are recognised faster.";
constexpr const char* doneTitle = "Done";

} // namespace

FirstRunWindow::FirstRunWindow(StatusItem& statusItem, const PermissionsModel& permissions)
    : statusItem_{statusItem}, permissions_{permissions} {
    const auto follow = [this](const auto&) {
        refresh();
    };
    observations_.push_back(permissions.cameraAuthorized.observe(follow));
    observations_.push_back(permissions.microphoneAuthorized.observe(follow));
}

void FirstRunWindow::show() {
    if (window_) {
        refresh();
    } else {
        window_ = statusItem_.makeSetupWindow(content(permissions_.setupItems()));
    }
    window_->bringToFront();
}

void FirstRunWindow::showOnFirstLaunch(Settings& settings) {
    if (settings.hasShownFirstRunWindow.get()) {
        return;
    }
    show();
    settings.hasShownFirstRunWindow.set(true);
}

void FirstRunWindow::refresh() {
    if (window_) {
        window_->setContent(content(permissions_.setupItems()));
    }
}

SetupWindowContent FirstRunWindow::content(const std::vector<SetupItem>& items) {
    SetupWindowContent content{
        .title = windowTitle,
        .blocks = {
            SetupWindowContent::Heading{heading}, SetupWindowContent::Paragraph{introduction},
            SetupWindowContent::Note{windowTitlesNote}, SetupWindowContent::Divider{}}};
    for (const SetupItem& item : items) {
        content.blocks.emplace_back(SetupWindowContent::Row{item.title, item.fixHint});
    }
    content.blocks.emplace_back(SetupWindowContent::DefaultButton{doneTitle});
    return content;
}

} // namespace brindle
