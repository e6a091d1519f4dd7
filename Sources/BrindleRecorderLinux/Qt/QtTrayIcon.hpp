// The icon in the older tray of X11 (_NET_SYSTEM_TRAY_S0, XEmbed), through Qt.
#pragma once

#include "BrindleRecorderApp/Platform/IconImage.hpp"

#include <memory>

class QSystemTrayIcon;

namespace brindle {

class QtTrayMenu;

/// Main thread only. Trays may come late, go away and come back.
class QtTrayIcon {
  public:
    /// The menu opens at a click and must outlive the icon, which is not offered at first.
    explicit QtTrayIcon(QtTrayMenu& menu);
    ~QtTrayIcon();
    QtTrayIcon(const QtTrayIcon&) = delete;
    QtTrayIcon& operator=(const QtTrayIcon&) = delete;

    /// The description becomes the icon's tooltip.
    void show(const IconImage& image);

    /// Puts the icon into the tray that is there or comes, or takes it away. Not before it is known
    /// that no panel on the bus takes icons: Qt looks once whether one does, and if so never asks
    /// X11.
    void setOffered(bool isOffered);

    /// Whether there is a tray that shows it.
    [[nodiscard]] bool isShown() const;

  private:
    void draw();

    QtTrayMenu& menu_;
    IconImage image_;
    std::unique_ptr<QSystemTrayIcon> icon_; ///< while it is offered
};

} // namespace brindle
