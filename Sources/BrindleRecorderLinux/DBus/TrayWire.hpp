// The records of org.kde.StatusNotifierItem on the bus.
#pragma once

#include "BrindleRecorderLinux/Tray/IconPainter.hpp"

#include <QByteArray>
#include <QDBusArgument>
#include <QList>
#include <QMetaType>
#include <QString>

namespace brindle::traywire {

/// Signature (iiay): four bytes a pixel, alpha first, not premultiplied.
struct Pixmap {
    int width = 0;
    int height = 0;
    QByteArray bytes;

    static Pixmap of(const IconPicture& picture);
    friend bool operator==(const Pixmap&, const Pixmap&) = default;
};
using PixmapList = QList<Pixmap>;

/// Signature (sa(iiay)ss).
struct ToolTip {
    QString iconName;
    PixmapList iconPixmap;
    QString title;
    QString description;
    friend bool operator==(const ToolTip&, const ToolTip&) = default;
};

/// Makes the records known to QtDBus. Once before they are used; harmless again.
void registerTypes();

QDBusArgument& operator<<(QDBusArgument& argument, const Pixmap& value);
const QDBusArgument& operator>>(const QDBusArgument& argument, Pixmap& value);
QDBusArgument& operator<<(QDBusArgument& argument, const ToolTip& value);
const QDBusArgument& operator>>(const QDBusArgument& argument, ToolTip& value);

} // namespace brindle::traywire

Q_DECLARE_METATYPE(brindle::traywire::Pixmap)
Q_DECLARE_METATYPE(brindle::traywire::ToolTip)
