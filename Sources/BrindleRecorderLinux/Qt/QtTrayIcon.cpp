#include "BrindleRecorderLinux/Qt/QtTrayIcon.hpp"

#include "BrindleRecorderLinux/Qt/DrawnIcon.hpp"
#include "BrindleRecorderLinux/Qt/QtTrayMenu.hpp"

#include <QGuiApplication>
#include <QString>
#include <QSystemTrayIcon>

namespace brindle {

QtTrayIcon::QtTrayIcon(QtTrayMenu& menu) : menu_{menu} {}

QtTrayIcon::~QtTrayIcon() = default;

void QtTrayIcon::show(const IconImage& image) {
    image_ = image;
    if (icon_) {
        draw();
    }
}

void QtTrayIcon::setOffered(bool isOffered) {
    if (!isOffered) {
        icon_.reset();
        return;
    }
    if (icon_ || QGuiApplication::platformName() != QLatin1String("xcb")) {
        return;
    }
    icon_ = std::make_unique<QSystemTrayIcon>();
    // Either button, as with panels that know that the icon is its menu.
    QObject::connect(
        icon_.get(), &QSystemTrayIcon::activated, icon_.get(),
        [this](QSystemTrayIcon::ActivationReason reason) {
            if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::Context) {
                menu_.open();
            }
        });
    draw();
    icon_->show();
}

bool QtTrayIcon::isShown() const {
    return icon_ && QSystemTrayIcon::isSystemTrayAvailable();
}

void QtTrayIcon::draw() {
    icon_->setIcon(DrawnIcon::of(image_));
    icon_->setToolTip(QString::fromStdString(image_.accessibilityDescription));
}

} // namespace brindle
