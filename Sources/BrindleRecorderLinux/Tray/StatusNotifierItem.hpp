// The program's icon on the session bus, for panels to show (org.kde.StatusNotifierItem).
#pragma once

#include "BrindleRecorderApp/Platform/IconImage.hpp"
#include "BrindleRecorderApp/Platform/MainLoop.hpp"
#include "BrindleRecorderLinux/Bus/Bus.hpp"
#include "BrindleRecorderLinux/Bus/BusCalls.hpp"
#include "BrindleRecorderLinux/Bus/BusService.hpp"
#include "BrindleRecorderLinux/Tray/IconPainter.hpp"

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace brindle {

/// Main thread only. Panels may come late, go away and come back: whichever is there is told.
class StatusNotifierItem {
  public:
    static constexpr const char* path = "/StatusNotifierItem";
    static constexpr const char* interface = "org.kde.StatusNotifierItem";

    /// The loop must outlive this.
    explicit StatusNotifierItem(MainLoop& mainLoop) : mainLoop_{mainLoop} {}
    StatusNotifierItem(const StatusNotifierItem&) = delete;
    StatusNotifierItem& operator=(const StatusNotifierItem&) = delete;

    /// Makes the icon known on that bus and to every panel that appears there; the menu is the one
    /// that is exported at `ExportedMenu::path`. False when its place is taken. The bus must be
    /// connected and outlive this.
    bool exportOn(Bus& bus);

    /// The description becomes the icon's title and tooltip, which is what screen readers speak.
    void show(const IconImage& image);

    /// Whether a panel has the icon: the register of icons alone does not show it.
    [[nodiscard]] bool isTaken() const { return isTaken_.value_or(false); }
    /// Called when that is known at first, and when it changes.
    std::function<void()> onTakenChange;
    /// Called when a panel that does not show menus by itself leaves that to the program.
    std::function<void()> onMenuRequest;

  private:
    /// What the interface says; this is its description too.
    static const sd_bus_vtable* table();

    // Called by the bus.
    int sayTitle(sd_bus_message* answer) const;
    int sayToolTip(sd_bus_message* answer) const;
    int sayPictures(sd_bus_message* answer);
    int openMenu(sd_bus_message* call);

    void announce(const char* member);
    void followWatcher();
    void introduce();
    void introduceAgainLater();
    void askForHost();
    void setTaken(bool isTaken);

    MainLoop& mainLoop_;
    Bus* bus_ = nullptr; ///< once exported
    BusSlot object_;
    std::optional<BusService> watcher_;    ///< once exported
    std::optional<BusCalls> introduction_; ///< to the watcher that is there
    std::optional<BusCalls> question_;     ///< whether there is a host
    std::unique_ptr<MainLoop::Timer> nextIntroduction_;
    int refusals_ = 0; ///< by the watcher that is there
    IconImage image_;
    std::vector<IconPicture> pictures_; ///< of the image; empty until somebody asks
    bool isRegistered_ = false;         ///< with the watcher that is there
    std::optional<bool> isTaken_;       ///< nothing before the first answer
};

} // namespace brindle
