// The window that explains the program and its setup when it is launched for the first time.
#pragma once

#include "BrindleRecorderApp/Platform/DesktopWords.hpp"
#include "BrindleRecorderApp/Platform/Observation.hpp"
#include "BrindleRecorderApp/Platform/SetupWindow.hpp"
#include "BrindleRecorderApp/Shell/Permissions.hpp"

#include <memory>
#include <vector>

namespace brindle {

class Settings;
class StatusItem;

/// Main thread only.
class FirstRunWindow {
  public:
    /// Both must outlive the window.
    FirstRunWindow(
        StatusItem& statusItem, const PermissionsModel& permissions, DesktopWords words = {});
    FirstRunWindow(const FirstRunWindow&) = delete;
    FirstRunWindow& operator=(const FirstRunWindow&) = delete;

    /// Brings the window to the front. It is made once and kept when the user closes it.
    void show();

    /// Shows the window unless the settings say that it has been shown, and from then on they do.
    void showOnFirstLaunch(Settings& settings);

    /// What stands in the window.
    static SetupWindowContent
    content(const std::vector<SetupItem>& items, const DesktopWords& words = {});

  private:
    void refresh();

    StatusItem& statusItem_;
    const PermissionsModel& permissions_;
    const DesktopWords words_;
    std::unique_ptr<SetupWindow> window_;
    std::vector<std::unique_ptr<Observation>> observations_;
};

} // namespace brindle
