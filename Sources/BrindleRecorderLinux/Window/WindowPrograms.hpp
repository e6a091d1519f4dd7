// What the recorder shows that needs a window toolkit, in processes that may die: the setup window,
// the icon in the older tray of X11, the menu where a panel leaves it to us, and a window with the
// menu.
#pragma once

#include "BrindleRecorderLinux/Bus/Bus.hpp"
#include "BrindleRecorderLinux/Processes/StartedPrograms.hpp"
#include "BrindleRecorderLinux/Window/WindowObject.hpp"
#include "BrindleRecorderLinux/Window/WindowProgram.hpp"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace brindle {

class EventLoop;

/// Main thread only. Icon and menu themselves are read from the bus, as panels read them.
class WindowPrograms {
  public:
    struct Means {
        Bus& bus; ///< connected
        EventLoop& mainLoop;
        std::filesystem::path program;
        std::string iconName; ///< that the icon is offered under on the bus
        std::function<void(std::string_view line)> log;
    };

    /// All that is referred to must outlive this.
    explicit WindowPrograms(const Means& means);
    WindowPrograms(const WindowPrograms&) = delete;
    WindowPrograms& operator=(const WindowPrograms&) = delete;

    /// One at a time. This must outlive it.
    [[nodiscard]] std::unique_ptr<SetupWindow> makeSetupWindow(const SetupWindowContent& content);

    /// Puts the icon into the tray of X11 that is there or comes, or takes it away.
    void offerTrayIcon(bool isOffered) { trayIcon_.setWanted(isOffered); }
    /// Whether there is a tray that shows it.
    [[nodiscard]] bool showsTrayIcon() const { return showsTrayIcon_; }
    /// Called when that has changed.
    std::function<void()> onTrayIconChange;

    /// Opens the menu at the pointer, on X11: a Wayland compositor lets nobody open a menu without
    /// a window of their own.
    void openMenu() { menu_.runOnce(); }

    /// Shows the window with the menu before all others until the user closes it.
    void showMenuWindow();

  private:
    class OfferedSetupWindow;

    [[nodiscard]] std::optional<WindowRole> roleOfToken(std::string_view token) const;
    void setShowsTrayIcon(bool showsTrayIcon);

    StartedPrograms programs_;
    WindowObject object_;
    WindowProgram setupWindow_;
    WindowProgram trayIcon_;
    WindowProgram menu_;
    WindowProgram menuWindow_;
    bool showsTrayIcon_ = false;
};

} // namespace brindle
