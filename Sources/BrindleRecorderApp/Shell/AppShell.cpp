#include "BrindleRecorderApp/Shell/AppShell.hpp"

#include "BrindleRecorderApp/AppModel.hpp"
#include "BrindleRecorderApp/Platform/StatusItem.hpp"

namespace brindle {

AppShell::AppShell(
    AppModel& model, const AppEnvironment& environment, StatusItem& statusItem,
    ControlPort& controlPort, MenuWindow* menuWindow)
    : model_{model}, statusItem_{statusItem}, label_{model, environment, statusItem},
      menu_{model, environment}, menuOnRequest_{statusItem, menuWindow, environment.mainLoop},
      control_{
          model, menu_, environment.mainLoop, controlPort,
          [this] {
              return menuOnRequest_.show();
          }},
      firstRunWindow_{statusItem, model.permissions, environment.words}, missingTrayNotice_{
                                                                             model, environment,
                                                                             statusItem} {
    if (menuWindow != nullptr) {
        recordingNotice_.emplace(model, statusItem, *menuWindow, environment.mainLoop, [this] {
            menuOnRequest_.show();
        });
    }
    menu_.onChange = [this](const Menu& menu) {
        statusItem_.showMenu(menu);
    };
    statusItem_.setActivationHandler([this](const std::string& id) { menu_.activate(id); });
    statusItem_.setMenuOpeningHandler([this] {
        menuOnRequest_.menuWillOpen();
        menu_.menuWillOpen();
    });
    statusItem_.showMenu(menu_.menu());
}

AppShell::~AppShell() {
    statusItem_.setActivationHandler({});
    statusItem_.setMenuOpeningHandler({});
}

void AppShell::launch() {
    firstRunWindow_.showOnFirstLaunch(model_.settings);
    model_.launch();
    missingTrayNotice_.launch();
}

} // namespace brindle
