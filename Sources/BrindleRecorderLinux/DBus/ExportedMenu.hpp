// The menu on the session bus, for panels to show (com.canonical.dbusmenu).
#pragma once

#include "BrindleRecorderApp/Platform/Menu.hpp"
#include "BrindleRecorderLinux/DBus/MenuNumbers.hpp"
#include "BrindleRecorderLinux/DBus/MenuWire.hpp"

#include <QDBusConnection>
#include <QObject>

#include <functional>
#include <string>

namespace brindle {

/// Main thread only.
class ExportedMenu : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.canonical.dbusmenu")
    Q_PROPERTY(uint Version READ version)
    Q_PROPERTY(QString TextDirection READ textDirection)
    Q_PROPERTY(QString Status READ status)
    Q_PROPERTY(QStringList IconThemePath READ iconThemePath)

  public:
    static constexpr const char* path = "/MenuBar";

    /// Nobody sees the menu before it is exported.
    explicit ExportedMenu(QObject* parent = nullptr);

    /// Makes the menu known on that bus; false when its place is taken.
    bool exportOn(QDBusConnection bus);

    void show(const Menu& menu);

    /// Called with the name of the line that the user picked.
    std::function<void(const std::string& name)> onActivation;
    /// Called when a panel is about to show the menu.
    std::function<void()> onOpening;

    // What the interface says; called by the bus.
    [[nodiscard]] static uint version() { return 3; }
    [[nodiscard]] static QString textDirection() { return QStringLiteral("ltr"); }
    [[nodiscard]] static QString status() { return QStringLiteral("normal"); }
    [[nodiscard]] static QStringList iconThemePath() { return {}; }

    // Named by the interface.
    // NOLINTBEGIN(readability-identifier-naming)
  public Q_SLOTS:
    Q_SCRIPTABLE uint GetLayout(
        int parentId, int recursionDepth, const QStringList& propertyNames,
        brindle::menuwire::Layout& layout) const;
    Q_SCRIPTABLE brindle::menuwire::PropertiesList
    GetGroupProperties(const QList<int>& ids, const QStringList& propertyNames) const;
    Q_SCRIPTABLE QDBusVariant GetProperty(int id, const QString& name) const;
    Q_SCRIPTABLE void
    Event(int id, const QString& eventId, const QDBusVariant& data, uint timestamp);
    Q_SCRIPTABLE QList<int> EventGroup(const brindle::menuwire::EventList& events);
    Q_SCRIPTABLE bool AboutToShow(int id);
    Q_SCRIPTABLE QList<int> AboutToShowGroup(const QList<int>& ids, QList<int>& idErrors);

  Q_SIGNALS:
    Q_SCRIPTABLE void ItemsPropertiesUpdated(
        const brindle::menuwire::PropertiesList& updatedProps,
        const brindle::menuwire::PropertyNamesList& removedProps);
    Q_SCRIPTABLE void LayoutUpdated(uint revision, int parent);
    Q_SCRIPTABLE void ItemActivationRequested(int id, uint timestamp);
    // NOLINTEND(readability-identifier-naming)

  private:
    [[nodiscard]] QVariantMap properties(int number, const QStringList& wanted) const;
    [[nodiscard]] menuwire::Layout
    layout(int number, int depth, const QStringList& propertyNames) const;
    [[nodiscard]] std::vector<int> toggles() const;
    bool handle(int number, const QString& event);

    MenuNumbers numbers_;
    uint revision_ = 1;
};

} // namespace brindle
