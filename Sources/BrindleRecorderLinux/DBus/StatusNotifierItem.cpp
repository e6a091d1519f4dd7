#include "BrindleRecorderLinux/DBus/StatusNotifierItem.hpp"

#include "BrindleRecorderLinux/DBus/ExportedMenu.hpp"
#include "BrindleRecorderLinux/Tray/IconPainter.hpp"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>

#include <array>

namespace brindle {

namespace {

/// From the smallest panels to large ones at twice the scale: a panel takes the size that it shows,
/// and scales only what lies between.
constexpr std::array iconSizes{16, 18, 22, 24, 32, 36, 44, 48, 64};

QString watcherName() {
    return QStringLiteral("org.kde.StatusNotifierWatcher");
}
QString watcherPath() {
    return QStringLiteral("/StatusNotifierWatcher");
}

bool hasNobodyAnswered(const QDBusError& error) {
    switch (error.type()) {
    case QDBusError::ServiceUnknown:
    case QDBusError::NoReply:
    case QDBusError::TimedOut:
    case QDBusError::Disconnected:
        return true;
    default:
        return false;
    }
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
            isRegistered_ = false;
            if (newOwner.isEmpty()) {
                setTaken(false);
            } else {
                introduce();
            }
        });
    for (const char* signal : {"StatusNotifierHostRegistered", "StatusNotifierHostUnregistered"}) {
        bus_.connect(
            watcherName(), watcherPath(), watcherName(), QString::fromLatin1(signal), this,
            SLOT(askForHost()));
    }
    introduce();
    return true;
}

/// Where there is nobody the call fails, and the watcher's appearance leads to another.
void StatusNotifierItem::introduce() {
    auto call = QDBusMessage::createMethodCall(
        watcherName(), watcherPath(), watcherName(), QStringLiteral("RegisterStatusNotifierItem"));
    call.setAutoStartService(false);
    call << serviceName_;
    auto* answer = new QDBusPendingCallWatcher{bus_.asyncCall(call), this};
    connect(
        answer, &QDBusPendingCallWatcher::finished, this,
        [this](QDBusPendingCallWatcher* finished) {
            finished->deleteLater();
            isRegistered_ = !finished->isError();
            if (isRegistered_) {
                askForHost();
            } else {
                setTaken(false);
            }
        });
}

/// Whoever keeps the register need not be a panel, and several panels may share it.
void StatusNotifierItem::askForHost() {
    auto question = QDBusMessage::createMethodCall(
        watcherName(), watcherPath(), QStringLiteral("org.freedesktop.DBus.Properties"),
        QStringLiteral("Get"));
    question.setAutoStartService(false);
    question << watcherName() << QStringLiteral("IsStatusNotifierHostRegistered");
    auto* answer = new QDBusPendingCallWatcher{bus_.asyncCall(question), this};
    connect(
        answer, &QDBusPendingCallWatcher::finished, this,
        [this](QDBusPendingCallWatcher* finished) {
            finished->deleteLater();
            const QDBusPendingReply<QDBusVariant> reply = *finished;
            // A watcher that does not know the question is a panel of its own.
            const bool thereIsAHost = reply.isError() ? !hasNobodyAnswered(reply.error())
                                                      : reply.value().variant().toBool();
            setTaken(isRegistered_ && thereIsAHost);
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
