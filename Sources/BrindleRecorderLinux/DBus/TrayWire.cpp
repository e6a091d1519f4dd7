#include "BrindleRecorderLinux/DBus/TrayWire.hpp"

#include <QDBusMetaType>

namespace brindle::traywire {

Pixmap Pixmap::of(const IconPicture& picture) {
    return {
        picture.side, picture.side,
        QByteArray(
            reinterpret_cast<const char*>(picture.bytes.data()),
            static_cast<qsizetype>(picture.bytes.size()))};
}

void registerTypes() {
    qDBusRegisterMetaType<Pixmap>();
    qDBusRegisterMetaType<PixmapList>();
    qDBusRegisterMetaType<ToolTip>();
    // Properties name the list by this name, and QtDBus looks it up by name.
    qRegisterMetaType<PixmapList>("brindle::traywire::PixmapList");
}

QDBusArgument& operator<<(QDBusArgument& argument, const Pixmap& value) {
    argument.beginStructure();
    argument << value.width << value.height << value.bytes;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, Pixmap& value) {
    argument.beginStructure();
    argument >> value.width >> value.height >> value.bytes;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const ToolTip& value) {
    argument.beginStructure();
    argument << value.iconName << value.iconPixmap << value.title << value.description;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, ToolTip& value) {
    argument.beginStructure();
    argument >> value.iconName >> value.iconPixmap >> value.title >> value.description;
    argument.endStructure();
    return argument;
}

} // namespace brindle::traywire
