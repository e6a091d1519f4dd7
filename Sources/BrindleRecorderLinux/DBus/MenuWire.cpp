#include "BrindleRecorderLinux/DBus/MenuWire.hpp"

#include <QDBusMetaType>

namespace brindle::menuwire {

void registerTypes() {
    qDBusRegisterMetaType<Properties>();
    qDBusRegisterMetaType<PropertiesList>();
    qDBusRegisterMetaType<PropertyNames>();
    qDBusRegisterMetaType<PropertyNamesList>();
    qDBusRegisterMetaType<Layout>();
    qDBusRegisterMetaType<Event>();
    qDBusRegisterMetaType<EventList>();
    qDBusRegisterMetaType<Shortcut>();
    // Signals and slots name the lists by these names, and QtDBus looks them up by name.
    qRegisterMetaType<PropertiesList>("brindle::menuwire::PropertiesList");
    qRegisterMetaType<PropertyNamesList>("brindle::menuwire::PropertyNamesList");
    qRegisterMetaType<EventList>("brindle::menuwire::EventList");
}

QDBusArgument& operator<<(QDBusArgument& argument, const Properties& value) {
    argument.beginStructure();
    argument << value.number << value.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, Properties& value) {
    argument.beginStructure();
    argument >> value.number >> value.properties;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const PropertyNames& value) {
    argument.beginStructure();
    argument << value.number << value.names;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, PropertyNames& value) {
    argument.beginStructure();
    argument >> value.number >> value.names;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const Layout& value) {
    argument.beginStructure();
    argument << value.number << value.properties;
    argument.beginArray(QMetaType::fromType<QDBusVariant>());
    for (const Layout& child : value.children) {
        argument << QDBusVariant{QVariant::fromValue(child)};
    }
    argument.endArray();
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, Layout& value) {
    argument.beginStructure();
    argument >> value.number >> value.properties;
    value.children.clear();
    argument.beginArray();
    while (!argument.atEnd()) {
        QDBusVariant child;
        argument >> child;
        Layout layout;
        qvariant_cast<QDBusArgument>(child.variant()) >> layout;
        value.children.append(layout);
    }
    argument.endArray();
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const Event& value) {
    argument.beginStructure();
    argument << value.number << value.name << value.data << value.timestamp;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, Event& value) {
    argument.beginStructure();
    argument >> value.number >> value.name >> value.data >> value.timestamp;
    argument.endStructure();
    return argument;
}

} // namespace brindle::menuwire
