// What the user sees of the application: the icon, the menu and the window of the first launch.
#pragma once

#include "BrindleRecorderApp/Shell/FirstRunWindow.hpp"
#include "BrindleRecorderApp/Shell/MenuBarLabel.hpp"
#include "BrindleRecorderApp/Shell/MenuContent.hpp"
#include "BrindleRecorderApp/Shell/MissingTrayNotice.hpp"

namespace brindle {

class AppModel;
struct AppEnvironment;
class StatusItem;

/// Main thread only.
class AppShell {
  public:
    /// Shows icon and menu. All must outlive the shell.
    AppShell(AppModel& model, const AppEnvironment& environment, StatusItem& statusItem);
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
    FirstRunWindow firstRunWindow_;
    MissingTrayNotice missingTrayNotice_;
};

} // namespace brindle
