#include "BrindleRecorderLinux/DBus/TrayWire.hpp"

#include <QDBusMetaType>
#include <QtEndian>

namespace brindle::traywire {

Pixmap Pixmap::of(const QImage& image) {
    const QImage straight = image.convertToFormat(QImage::Format_ARGB32);
    Pixmap result{straight.width(), straight.height(), {}};
    result.bytes.resize(straight.sizeInBytes());
    char* out = result.bytes.data();
    for (int y = 0; y < straight.height(); ++y) {
        const auto rowBytes = qsizetype{straight.width()} * 4;
        qToBigEndian<quint32>(straight.constScanLine(y), straight.width(), out);
        out += rowBytes;
    }
    return result;
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
