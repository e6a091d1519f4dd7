#include "BrindleRecorderLinux/DBus/StatusNotifierItem.hpp"

#include "BrindleRecorderLinux/DBus/ExportedMenu.hpp"
#include "BrindleRecorderLinux/Qt/IconPainter.hpp"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <array>

namespace brindle {

namespace {

/// From the smallest panels to large ones at twice the scale: a panel takes the size that it shows,
/// and scales only what lies between.
constexpr std::array iconSizes{16, 18, 22, 24, 32, 36, 44, 48, 64};

QString watcherName() {
    return QStringLiteral("org.kde.StatusNotifierWatcher");
}

} // namespace

StatusNotifierItem::StatusNotifierItem(QObject* parent)
    : QObject{parent}, bus_{QString{}}, serviceName_{
                                            QStringLiteral("org.kde.StatusNotifierItem-%1-1")
                                                .arg(QCoreApplication::applicationPid())} {
    traywire::registerTypes();
}

bool StatusNotifierItem::exportOn(const QDBusConnection& bus) {
    bus_ = bus;
    if (!bus_.registerObject(
            QString::fromLatin1(path), this,
            QDBusConnection::ExportScriptableSlots | QDBusConnection::ExportScriptableSignals |
                QDBusConnection::ExportAllProperties) ||
        !bus_.registerService(serviceName_)) {
        return false;
    }
    watcherService_.setConnection(bus_);
    watcherService_.addWatchedService(watcherName());
    connect(
        &watcherService_, &QDBusServiceWatcher::serviceOwnerChanged, this,
        [this](const QString&, const QString&, const QString& newOwner) {
            if (newOwner.isEmpty()) {
                setTaken(false);
            } else {
                introduce();
            }
        });
    introduce();
    return true;
}

/// Where there is nobody the call fails, and the watcher's appearance leads to another.
void StatusNotifierItem::introduce() {
    auto call = QDBusMessage::createMethodCall(
        watcherName(), QStringLiteral("/StatusNotifierWatcher"), watcherName(),
        QStringLiteral("RegisterStatusNotifierItem"));
    call.setAutoStartService(false);
    call << serviceName_;
    auto* answer = new QDBusPendingCallWatcher{bus_.asyncCall(call), this};
    connect(
        answer, &QDBusPendingCallWatcher::finished, this,
        [this](QDBusPendingCallWatcher* finished) {
            finished->deleteLater();
            setTaken(!finished->isError());
        });
}

void StatusNotifierItem::setTaken(bool isTaken) {
    if (isTaken_ != isTaken) {
        isTaken_ = isTaken;
        if (onTakenChange) {
            onTakenChange();
        }
    }
}

void StatusNotifierItem::show(const IconImage& image) {
    const bool saysAnother = image.accessibilityDescription != image_.accessibilityDescription;
    const bool looksDifferent = image.size != image_.size || image.operations != image_.operations;
    image_ = image;
    if (looksDifferent) {
        pixmaps_.clear();
        Q_EMIT NewIcon();
    }
    if (saysAnother) {
        Q_EMIT NewTitle();
        Q_EMIT NewToolTip();
    }
}

QString StatusNotifierItem::title() const {
    return QString::fromStdString(image_.accessibilityDescription);
}

const traywire::PixmapList& StatusNotifierItem::iconPixmap() {
    if (pixmaps_.isEmpty() && !image_.operations.empty()) {
        for (const int size : iconSizes) {
            pixmaps_.append(traywire::Pixmap::of(IconPainter::paint(image_, size)));
        }
    }
    return pixmaps_;
}

traywire::ToolTip StatusNotifierItem::toolTip() const {
    return {.iconName = {}, .iconPixmap = {}, .title = title(), .description = {}};
}

QDBusObjectPath StatusNotifierItem::menu() {
    return QDBusObjectPath{QString::fromLatin1(ExportedMenu::path)};
}

// Panels do not agree on whose pixels they count the place in; the pointer is where the click was.
void StatusNotifierItem::Activate(int /*x*/, int /*y*/) const {
    if (onMenuRequest) {
        onMenuRequest();
    }
}

void StatusNotifierItem::ContextMenu(int x, int y) const {
    Activate(x, y);
}

} // namespace brindle
