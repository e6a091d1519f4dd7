#include "BrindleRecorderLinux/Qt/QtTrayIcon.hpp"

#include "BrindleRecorderLinux/Qt/QtTrayMenu.hpp"

#include <QIcon>
#include <QImage>
#include <QPixmap>
#include <QString>
#include <QtEndian>

#include <chrono>
#include <cstddef>

namespace brindle {

namespace {

constexpr std::chrono::seconds lookEvery{2};

QImage imageOf(const IconReader::Picture& picture) {
    QImage image{picture.width, picture.height, QImage::Format_ARGB32};
    const auto* bytes = picture.bytes.data();
    const auto rowBytes = static_cast<std::size_t>(picture.width) * 4;
    for (int y = 0; y < picture.height; ++y) {
        qFromBigEndian<quint32>(bytes, picture.width, image.scanLine(y));
        bytes += rowBytes;
    }
    return image;
}

} // namespace

QtTrayIcon::QtTrayIcon(QtTrayMenu& menu) {
    // Either button, as with panels that know that the icon is its menu.
    QObject::connect(
        &icon_, &QSystemTrayIcon::activated, &icon_,
        [&menu](QSystemTrayIcon::ActivationReason reason) {
            if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::Context) {
                menu.open();
            }
        });
    QObject::connect(&looking_, &QTimer::timeout, &looking_, [this] { look(); });
    looking_.setTimerType(Qt::VeryCoarseTimer);
    looking_.start(lookEvery);
}

void QtTrayIcon::show(const IconReader::Icon& icon) {
    QIcon pictures;
    for (const auto& picture : icon.pictures) {
        pictures.addPixmap(QPixmap::fromImage(imageOf(picture)));
    }
    icon_.setIcon(pictures);
    icon_.setToolTip(QString::fromStdString(icon.title));
    icon_.show();
    look();
}

void QtTrayIcon::look() {
    const bool isShown = icon_.isVisible() && QSystemTrayIcon::isSystemTrayAvailable();
    if (isShown != isShown_) {
        isShown_ = isShown;
        if (onShownChange) {
            onShownChange(isShown);
        }
    }
}

} // namespace brindle
