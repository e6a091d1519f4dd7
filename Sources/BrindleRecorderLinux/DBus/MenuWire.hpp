// The records of com.canonical.dbusmenu (version 3, from its XML description) on the bus.
#pragma once

#include <QDBusArgument>
#include <QDBusVariant>
#include <QList>
#include <QMetaType>
#include <QStringList>
#include <QVariantMap>

namespace brindle::menuwire {

/// Signature (ia{sv}).
struct Properties {
    int number = 0;
    QVariantMap properties;
};
using PropertiesList = QList<Properties>;

/// Signature (ias).
struct PropertyNames {
    int number = 0;
    QStringList names;
};
using PropertyNamesList = QList<PropertyNames>;

/// Signature (ia{sv}av); the children are of the same sort.
struct Layout {
    int number = 0;
    QVariantMap properties;
    QList<Layout> children;
};

/// Signature (isvu).
struct Event {
    int number = 0;
    QString name;
    QDBusVariant data;
    uint timestamp = 0;
};
using EventList = QList<Event>;

/// Signature aas: each the keys that are pressed together.
using Shortcut = QList<QStringList>;

/// Makes the records known to QtDBus. Once before they are used; harmless again.
void registerTypes();

QDBusArgument& operator<<(QDBusArgument& argument, const Properties& value);
const QDBusArgument& operator>>(const QDBusArgument& argument, Properties& value);
QDBusArgument& operator<<(QDBusArgument& argument, const PropertyNames& value);
const QDBusArgument& operator>>(const QDBusArgument& argument, PropertyNames& value);
QDBusArgument& operator<<(QDBusArgument& argument, const Layout& value);
const QDBusArgument& operator>>(const QDBusArgument& argument, Layout& value);
QDBusArgument& operator<<(QDBusArgument& argument, const Event& value);
const QDBusArgument& operator>>(const QDBusArgument& argument, Event& value);

} // namespace brindle::menuwire

Q_DECLARE_METATYPE(brindle::menuwire::Properties)
Q_DECLARE_METATYPE(brindle::menuwire::PropertyNames)
Q_DECLARE_METATYPE(brindle::menuwire::Layout)
Q_DECLARE_METATYPE(brindle::menuwire::Event)
