#include "DesktopTests/NotificationServer.hpp"

#include <QDBusArgument>

#include <utility>

namespace brindle {

NotificationServer::NotificationServer(QStringList theirCapabilities)
    : capabilities{std::move(theirCapabilities)} {
    client_.bus().registerVirtualObject(QStringLiteral("/org/freedesktop/Notifications"), this);
    client_.bus().registerService(QStringLiteral("org.freedesktop.Notifications"));
}

NotificationServer::~NotificationServer() {
    takeFromBus(client_.bus(), QStringLiteral("/org/freedesktop/Notifications"), *this);
}

void NotificationServer::leave() {
    client_.bus().unregisterService(QStringLiteral("org.freedesktop.Notifications"));
}

void NotificationServer::signal(const char* name, const QVariantList& arguments) {
    auto message = QDBusMessage::createSignal(
        QStringLiteral("/org/freedesktop/Notifications"),
        QStringLiteral("org.freedesktop.Notifications"), QString::fromLatin1(name));
    message.setArguments(arguments);
    client_.bus().send(message);
}

bool NotificationServer::handleMessage(
    const QDBusMessage& message, const QDBusConnection& /*connection*/) {
    if (message.interface() != QLatin1String("org.freedesktop.Notifications")) {
        return false;
    }
    if (message.member() == holds) {
        held_.append(message);
    } else {
        answer(message);
    }
    return true;
}

void NotificationServer::answerHeld() {
    holds.clear();
    for (const auto& message : std::exchange(held_, {})) {
        answer(message);
    }
}

void NotificationServer::answer(const QDBusMessage& message) {
    const auto arguments = message.arguments();
    auto bus = client_.bus();
    if (message.member() == QLatin1String("GetCapabilities")) {
        bus.send(message.createReply(QVariant{capabilities}));
    } else if (message.member() == QLatin1String("CloseNotification")) {
        closed.append(arguments.value(0).toUInt());
        bus.send(message.createReply());
        close(closed.constLast(), 3);
    } else if (message.member() == QLatin1String("Notify")) {
        if (refuses) {
            bus.send(message.createErrorReply(QDBusError::LimitsExceeded, QStringLiteral("no")));
            return;
        }
        Notification shown;
        shown.replaces = arguments.value(1).toUInt();
        shown.number = shown.replaces != 0 ? shown.replaces : ++lastNumber_;
        shown.summary = arguments.value(3).toString();
        shown.body = arguments.value(4).toString();
        shown.actions = arguments.value(5).toStringList();
        shown.hints = qdbus_cast<QVariantMap>(arguments.value(6));
        shown.expireTimeout = arguments.value(7).toInt();
        notified.append(shown);
        if (clickBeforeAnswer) {
            invoke(shown.number, *clickBeforeAnswer);
        }
        bus.send(message.createReply(shown.number));
    }
}

} // namespace brindle
