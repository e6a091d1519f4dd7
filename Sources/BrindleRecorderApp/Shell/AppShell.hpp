// What the user sees of the application: the icon, the menu and the window of the first launch.
#pragma once

#include "BrindleRecorderApp/Shell/Control.hpp"
#include "BrindleRecorderApp/Shell/FirstRunWindow.hpp"
#include "BrindleRecorderApp/Shell/MenuBarLabel.hpp"
#include "BrindleRecorderApp/Shell/MenuContent.hpp"
#include "BrindleRecorderApp/Shell/MissingTrayNotice.hpp"

namespace brindle {

class AppModel;
class ControlPort;
struct AppEnvironment;
class StatusItem;

/// Main thread only.
class AppShell {
  public:
    /// Shows icon and menu, and to others what goes on. All must outlive the shell.
    AppShell(
        AppModel& model, const AppEnvironment& environment, StatusItem& statusItem,
        ControlPort& controlPort);
    ~AppShell();
    AppShell(const AppShell&) = delete;
    AppShell& operator=(const AppShell&) = delete;

    /// Shows the window of the first launch where this is one, and sets the application to work.
    void launch();

  private:
    AppModel& model_;
    StatusItem& statusItem_;
    MenuBarLabel label_;
    MenuContent menu_;
    Control control_;
    FirstRunWindow firstRunWindow_;
    MissingTrayNotice missingTrayNotice_;
};

} // namespace brindle
