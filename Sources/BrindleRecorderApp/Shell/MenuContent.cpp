#include "BrindleRecorderApp/Shell/MenuContent.hpp"

#include "BrindleRecorderApp/AppModel.hpp"
#include "BrindleRecorderApp/Shell/CompanionApplication.hpp"

#include <utility>

namespace brindle {

MenuContent::MenuContent(AppModel& model, const AppEnvironment& environment)
    : model_{model}, environment_{environment}, offersCompanion_{companionIsInstalled()},
      current_{build()}, rebuilding_{environment.mainLoop, [this] {
                                         rebuild();
                                     }} {
    follow(model.sessionState);
    follow(model.statusLine);
    follow(model.folderSizeText);
    follow(model.captureWarning);
    follow(model.lastRecordingError);
    follow(model.pendingAskLabel);
    follow(model.settings.changes());
    follow(model.devices.cameras());
    follow(model.devices.microphones());
    follow(model.devices.systemDefaultCamera());
    follow(model.devices.systemDefaultMicrophone());
    follow(model.permissions.cameraAuthorized);
    follow(model.permissions.microphoneAuthorized);
    follow(model.launchAtLogin.isEnabled());
    follow(model.launchAtLogin.requiresApproval());
    follow(model.launchAtLogin.lastError());
}

template <class Field>
void MenuContent::follow(Field& field) {
    observations_.push_back(field.observe([this](const auto&) { rebuilding_.request(); }));
}

bool MenuContent::activate(const std::string& id) {
    if (rebuilding_.isRequested()) {
        rebuild();
    }
    const auto found = current_.commands.find(id);
    if (found == current_.commands.end()) {
        return false;
    }
    const auto command = found->second; // the command may lead to a rebuild
    showEvenIfEqual_ = true;
    rebuilding_.request();
    command();
    return true;
}

void MenuContent::menuWillOpen() {
    model_.launchAtLogin.refresh();
    offersCompanion_ = companionIsInstalled();
    rebuild();
}

bool MenuContent::companionIsInstalled() const {
    return CompanionApplication::find(environment_.workspace, environment_.processRegistry)
        .has_value();
}

CommandedMenu MenuContent::build() const {
    CommandedMenu::Command openCompanion;
    if (offersCompanion_) {
        openCompanion = [&workspace = environment_.workspace,
                         &processRegistry = environment_.processRegistry] {
            CompanionApplication::open(workspace, processRegistry);
        };
    }
    return buildMenu(model_, environment_.words, std::move(openCompanion));
}

void MenuContent::rebuild() {
    rebuilding_.cancel();
    CommandedMenu next = build();
    const bool differs = next.menu != menu();
    current_ = std::move(next);
    if ((std::exchange(showEvenIfEqual_, false) || differs) && onChange) {
        onChange(menu());
    }
}

} // namespace brindle
