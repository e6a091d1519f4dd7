#include "BrindleRecorderApp/Shell/FirstRunWindow.hpp"

#include "BrindleRecorderApp/Platform/StatusItem.hpp"
#include "BrindleRecorderApp/Settings.hpp"
#include "BrindleRecorderApp/Words/SetupTexts.hpp"

#include <utility>

namespace brindle {

FirstRunWindow::FirstRunWindow(
    StatusItem& statusItem, const PermissionsModel& permissions, DesktopWords words)
    : statusItem_{statusItem}, permissions_{permissions}, words_{std::move(words)} {
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
        window_ = statusItem_.makeSetupWindow(content(permissions_.setupItems(), words_));
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
        window_->setContent(content(permissions_.setupItems(), words_));
    }
}

SetupWindowContent
FirstRunWindow::content(const std::vector<SetupItem>& items, const DesktopWords& words) {
    SetupWindowContent content{
        .title = SetupTexts::windowTitle(),
        .blocks = {
            SetupWindowContent::Heading{SetupTexts::heading},
            SetupWindowContent::Paragraph{SetupTexts::introduction(words)},
            SetupWindowContent::Note{words.windowTitlesNote}, SetupWindowContent::Divider{}}};
    for (const SetupItem& item : items) {
        content.blocks.emplace_back(SetupWindowContent::Row{item.title, item.fixHint});
    }
    content.blocks.emplace_back(SetupWindowContent::DefaultButton{SetupTexts::done()});
    return content;
}

} // namespace brindle
