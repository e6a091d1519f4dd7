// The icon in the older tray of X11 (_NET_SYSTEM_TRAY_S0, XEmbed), through Qt.
#pragma once

#include "BrindleRecorderLinux/Tray/IconReader.hpp"

#include <QSystemTrayIcon>
#include <QTimer>

#include <functional>

namespace brindle {

class QtTrayMenu;

/// Main thread only; needs a QApplication on X11. Trays may come late, go away and come back.
class QtTrayIcon {
  public:
    /// The menu opens at a click and must outlive the icon.
    explicit QtTrayIcon(QtTrayMenu& menu);

    /// The title becomes the icon's tooltip.
    void show(const IconReader::Icon& icon);

    /// Called when a tray shows it, and when none does any more.
    std::function<void(bool isShown)> onShownChange;

  private:
    void look();

    QSystemTrayIcon icon_;
    QTimer looking_; ///< Qt does not tell of trays
    bool isShown_ = false;
};

} // namespace brindle
