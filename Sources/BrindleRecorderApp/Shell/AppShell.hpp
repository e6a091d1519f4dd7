// What the user sees of the application: the icon, the menu and the window of the first launch.
#pragma once

#include "BrindleRecorderApp/Shell/Control.hpp"
#include "BrindleRecorderApp/Shell/FirstRunWindow.hpp"
#include "BrindleRecorderApp/Shell/MenuBarLabel.hpp"
#include "BrindleRecorderApp/Shell/MenuContent.hpp"
#include "BrindleRecorderApp/Shell/MenuOnRequest.hpp"
#include "BrindleRecorderApp/Shell/MissingTrayNotice.hpp"
#include "BrindleRecorderApp/Shell/RecordingNotice.hpp"

#include <optional>

namespace brindle {

class AppModel;
class ControlPort;
struct AppEnvironment;
class MenuWindow;
class StatusItem;

/// Main thread only.
class AppShell {
  public:
    /// Shows icon and menu, and to others what goes on. There is no `menuWindow` on a desktop
    /// that always shows the icon. All must outlive the shell.
    AppShell(
        AppModel& model, const AppEnvironment& environment, StatusItem& statusItem,
        ControlPort& controlPort, MenuWindow* menuWindow = nullptr);
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
    MenuOnRequest menuOnRequest_;
    Control control_;
    FirstRunWindow firstRunWindow_;
    MissingTrayNotice missingTrayNotice_;
    std::optional<RecordingNotice> recordingNotice_;
};

} // namespace brindle
