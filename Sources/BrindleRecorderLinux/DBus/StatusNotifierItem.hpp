// The program's icon on the session bus, for panels to show (org.kde.StatusNotifierItem).
#pragma once

#include "BrindleRecorderApp/Platform/IconImage.hpp"
#include "BrindleRecorderLinux/DBus/TrayWire.hpp"

#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QString>

#include <functional>
#include <optional>

namespace brindle {

/// Main thread only. Panels may come late, go away and come back: whichever is there is told.
class StatusNotifierItem : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierItem")
    Q_PROPERTY(QString Category READ category)
    Q_PROPERTY(QString Id READ id)
    Q_PROPERTY(QString Title READ title)
    Q_PROPERTY(QString Status READ status)
    Q_PROPERTY(int WindowId READ windowId)
    Q_PROPERTY(QString IconThemePath READ noName)
    Q_PROPERTY(QString IconName READ noName)
    Q_PROPERTY(brindle::traywire::PixmapList IconPixmap READ iconPixmap)
    Q_PROPERTY(QString IconAccessibleDesc READ title)
    Q_PROPERTY(QString OverlayIconName READ noName)
    Q_PROPERTY(brindle::traywire::PixmapList OverlayIconPixmap READ noPixmap)
    Q_PROPERTY(QString AttentionIconName READ noName)
    Q_PROPERTY(brindle::traywire::PixmapList AttentionIconPixmap READ noPixmap)
    Q_PROPERTY(QString AttentionAccessibleDesc READ title)
    Q_PROPERTY(QString AttentionMovieName READ noName)
    Q_PROPERTY(brindle::traywire::ToolTip ToolTip READ toolTip)
    Q_PROPERTY(bool ItemIsMenu READ itemIsMenu)
    Q_PROPERTY(QDBusObjectPath Menu READ menu)

  public:
    static constexpr const char* path = "/StatusNotifierItem";

    explicit StatusNotifierItem(QObject* parent = nullptr);

    /// Makes the icon known on that bus and to every panel that appears there; the menu is the one
    /// that is exported at `ExportedMenu::path`. False when its place is taken.
    bool exportOn(const QDBusConnection& bus);

    /// The description becomes the icon's title and tooltip, which is what screen readers speak.
    void show(const IconImage& image);

    /// Whether a panel has the icon: the register of icons alone does not show it.
    [[nodiscard]] bool isTaken() const { return isTaken_.value_or(false); }
    /// Called when that is known at first, and when it changes.
    std::function<void()> onTakenChange;
    /// Called when a panel that does not show menus by itself leaves that to the program.
    std::function<void()> onMenuRequest;

    // What the interface says; called by the bus.
    [[nodiscard]] static QString category() { return QStringLiteral("ApplicationStatus"); }
    [[nodiscard]] static QString id() { return QStringLiteral("brindle-recorder"); }
    [[nodiscard]] QString title() const;
    [[nodiscard]] static QString status() { return QStringLiteral("Active"); }
    [[nodiscard]] static int windowId() { return 0; }
    [[nodiscard]] static QString noName() { return {}; }
    [[nodiscard]] const traywire::PixmapList& iconPixmap();
    [[nodiscard]] static traywire::PixmapList noPixmap() { return {}; }
    [[nodiscard]] traywire::ToolTip toolTip() const;
    [[nodiscard]] static bool itemIsMenu() { return true; }
    [[nodiscard]] static QDBusObjectPath menu();

    // Named by the interface.
    // NOLINTBEGIN(readability-identifier-naming)
  public Q_SLOTS:
    // Most panels show the menu by themselves and call neither of these.
    Q_SCRIPTABLE void Activate(int x, int y) const;
    Q_SCRIPTABLE void ContextMenu(int x, int y) const;
    Q_SCRIPTABLE void SecondaryActivate(int /*x*/, int /*y*/) {}
    Q_SCRIPTABLE void Scroll(int /*delta*/, const QString& /*orientation*/) {}

  Q_SIGNALS:
    Q_SCRIPTABLE void NewTitle();
    Q_SCRIPTABLE void NewIcon();
    Q_SCRIPTABLE void NewAttentionIcon();
    Q_SCRIPTABLE void NewOverlayIcon();
    Q_SCRIPTABLE void NewToolTip();
    Q_SCRIPTABLE void NewStatus(const QString& status);
    // NOLINTEND(readability-identifier-naming)

  private Q_SLOTS:
    void askForHost();

  private:
    void introduce();
    void setTaken(bool isTaken);

    QDBusConnection bus_;
    QString serviceName_;
    QDBusServiceWatcher watcherService_;
    IconImage image_;
    traywire::PixmapList pixmaps_; ///< of the image; empty until somebody asks
    bool isRegistered_ = false;    ///< with the watcher that is there
    std::optional<bool> isTaken_;  ///< nothing before the first answer
};

} // namespace brindle
