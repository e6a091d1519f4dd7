#include "BrindleRecorderLinux/DBus/DesktopNotifications.hpp"

#include "BrindleRecorderLinux/DBus/NotificationText.hpp"

#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QVariantMap>

#include <algorithm>
#include <utility>

namespace brindle {

namespace {

constexpr int neverExpires = 0;
constexpr int serverDecides = -1;
constexpr uint dismissedByUser = 2;
constexpr qsizetype mostEarlySignals = 16;

QString serviceName() {
    return QStringLiteral("org.freedesktop.Notifications");
}
QString objectPath() {
    return QStringLiteral("/org/freedesktop/Notifications");
}

} // namespace

DesktopNotifications::DesktopNotifications(QDBusConnection bus)
    : bus_{std::move(bus)}, serverWatcher_{
                                serviceName(), bus_, QDBusServiceWatcher::WatchForOwnerChange} {
    connect(
        &serverWatcher_, &QDBusServiceWatcher::serviceOwnerChanged, this,
        [this](const QString&, const QString&, const QString& newOwner) {
            serverHasChanged(newOwner);
        });
    // From anybody, and looked at here: the connection's own filter follows the owner of the
    // service's name, which may have changed hands since the notification was shown.
    bus_.connect(
        QString{}, objectPath(), serviceName(), QStringLiteral("ActionInvoked"), this,
        SLOT(actionInvoked(QDBusMessage)));
    bus_.connect(
        QString{}, objectPath(), serviceName(), QStringLiteral("NotificationClosed"), this,
        SLOT(notificationClosed(QDBusMessage)));
    askForServer();
}

DesktopNotifications::~DesktopNotifications() {
    for (const auto& [identifier, shown] : shown_) {
        if (shown->number != 0 && shown->request.label) {
            close(*shown);
        }
    }
}

void DesktopNotifications::setResponseHandler(
    std::function<void(const NotificationResponse&)> handler) {
    handler_ = std::move(handler);
}

void DesktopNotifications::setCategories(std::vector<NotificationCategory> categories) {
    categories_ = std::move(categories);
}

void DesktopNotifications::post(
    const NotificationRequest& request, std::function<void()> whenShown) {
    auto& shown = shown_[request.identifier];
    if (!shown) {
        shown = std::make_shared<Shown>();
    }
    shown->request = request;
    shown->whenShown = std::move(whenShown);
    shown->isCurrent = false;
    shown->mayStartServer = true;
    advance(ShownHandle{shown});
}

void DesktopNotifications::removeDelivered(const std::string& identifier) {
    const auto found = shown_.find(identifier);
    if (found == shown_.end()) {
        return;
    }
    const ShownHandle shown = found->second;
    shown_.erase(found);
    shown->isWanted = false;
    leaving_.push_back(shown);
    advance(shown);
}

/// The watcher tells of changes only. Nothing depends on when the answer comes: the bus gives it
/// before any server's.
void DesktopNotifications::askForServer() {
    auto call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetNameOwner"));
    call << serviceName();
    auto* answer = new QDBusPendingCallWatcher{bus_.asyncCall(call), this};
    connect(
        answer, &QDBusPendingCallWatcher::finished, this,
        [this](QDBusPendingCallWatcher* finished) {
            finished->deleteLater();
            const QDBusPendingReply<QString> owner = *finished;
            if (serversSeen_ == 0 && !owner.isError()) {
                server_ = owner.value();
            }
        });
}

/// Brings the screen one step nearer to what is wanted, unless a step is on its way.
void DesktopNotifications::advance(const ShownHandle& shown) {
    if (shown->isBusy) {
        return;
    }
    if (!shown->isWanted) {
        if (shown->number != 0) {
            close(*shown);
        }
        forget(shown);
    } else if (!shown->isCurrent) {
        askCapabilities(shown);
    }
}

void DesktopNotifications::askCapabilities(const ShownHandle& shown) {
    shown->isBusy = true;
    auto call = makeCall(serviceName(), "GetCapabilities");
    call.setAutoStartService(std::exchange(shown->mayStartServer, false));
    auto* answer = new QDBusPendingCallWatcher{bus_.asyncCall(call), this};
    connect(
        answer, &QDBusPendingCallWatcher::finished, this,
        [this, shown, asked = serversSeen_](QDBusPendingCallWatcher* finished) {
            finished->deleteLater();
            shown->isBusy = false;
            const QDBusPendingReply<QStringList> reply = *finished;
            if (!reply.isError() && shown->isWanted && !server_.isEmpty()) {
                notify(shown, reply.value());
            } else {
                settleFailure(shown, asked);
            }
        });
}

void DesktopNotifications::notify(const ShownHandle& shown, const QStringList& capabilities) {
    const NotificationRequest& request = shown->request;
    const auto text = NotificationText::make(
        QString::fromStdString(request.title), QString::fromStdString(request.body), capabilities);

    QStringList actions;
    const auto* category = categoryOf(request);
    if (category != nullptr && capabilities.contains(QLatin1String("actions"))) {
        // The default action is the click on the notification itself. Some servers show a button
        // for it too, unless it has no words.
        actions << QString::fromLatin1(NotificationResponse::defaultAction) << QString{};
        for (const auto& action : category->actions) {
            actions << QString::fromStdString(action.identifier)
                    << QString::fromStdString(action.title);
        }
    }
    QVariantMap hints{
        {QStringLiteral("desktop-entry"), QStringLiteral("com.tamsworth.brindlerecorder")},
        {QStringLiteral("urgency"), QVariant::fromValue(uchar{1})}};
    if (capabilities.contains(QLatin1String("sound"))) {
        hints.insert(QStringLiteral("sound-name"), QStringLiteral("message-new-instant"));
    }

    // By the server's own name on the bus, so that it is known whose number the answer holds: newer
    // versions of Qt do not tell who answered.
    auto call = makeCall(server_, "Notify");
    call << QStringLiteral("Brindle Recorder") << shown->number << QStringLiteral("camera-video")
         << text.summary << text.body << actions << hints
         << (category != nullptr ? neverExpires : serverDecides);
    shown->isBusy = true;
    shown->isCurrent = true;
    auto* answer = new QDBusPendingCallWatcher{bus_.asyncCall(call), this};
    connect(
        answer, &QDBusPendingCallWatcher::finished, this,
        [this, shown, asked = serversSeen_, server = server_](QDBusPendingCallWatcher* finished) {
            finished->deleteLater();
            shown->isBusy = false;
            const QDBusPendingReply<uint> reply = *finished;
            if (reply.isError()) {
                settleFailure(shown, asked);
                return;
            }
            shown->number = reply.value();
            shown->server = server;
            if (serversSeen_ != asked && shown->server != server_) {
                shown->number = 0; // it answered with its last breath
                shown->isCurrent = false;
            }
            const auto whenShown =
                shown->isCurrent ? std::exchange(shown->whenShown, nullptr) : nullptr;
            advance(shown);
            replayEarlySignals();
            if (whenShown) {
                whenShown();
            }
        });
}

/// Nobody shows it, or refuses to. A question waits for the next server; asking the same one again
/// and again would help nobody.
void DesktopNotifications::settleFailure(const ShownHandle& shown, int serversSeenThen) {
    if (!shown->isWanted || serversSeen_ != serversSeenThen) {
        shown->isCurrent = false;
        advance(shown);
    } else if (!shown->request.label) {
        forget(shown);
    }
}

void DesktopNotifications::close(const Shown& shown) {
    auto call = makeCall(shown.server, "CloseNotification");
    call.setAutoStartService(false);
    call << shown.number;
    bus_.send(call);
}

void DesktopNotifications::forget(const ShownHandle& shown) {
    std::erase(leaving_, shown);
    const auto found = shown_.find(shown->request.identifier);
    if (found != shown_.end() && found->second == shown) {
        shown_.erase(found);
    }
}

void DesktopNotifications::serverHasChanged(const QString& newOwner) {
    earlySignals_.clear();
    server_ = newOwner;
    if (!newOwner.isEmpty()) {
        ++serversSeen_;
    }
    const auto all = shown_;
    for (const auto& [identifier, shown] : all) {
        if (shown->server == newOwner) {
            continue;
        }
        // The numbers went with the server that gave them.
        shown->number = 0;
        if (shown->isBusy) {
            continue; // whoever waits for the answer sees to it
        }
        if (!shown->request.label) {
            forget(shown);
            continue;
        }
        shown->isCurrent = false;
        if (!newOwner.isEmpty()) {
            advance(shown);
        }
    }
}

void DesktopNotifications::actionInvoked(const QDBusMessage& message) {
    const auto shown = find(message);
    if (!shown) {
        keepForLater(message);
        return;
    }
    const std::string action = message.arguments().value(1).toString().toStdString();
    const auto* category = categoryOf(shown->request);
    const bool wasOffered =
        action == NotificationResponse::defaultAction ||
        (category != nullptr &&
         std::ranges::any_of(category->actions, [&](const NotificationAction& offered) {
             return offered.identifier == action;
         }));
    if (category == nullptr || !wasOffered) {
        return;
    }
    const Shown answered = *shown;
    // Some servers leave a notification on the screen that has been answered.
    removeDelivered(answered.request.identifier);
    respond(answered, action);
}

void DesktopNotifications::notificationClosed(const QDBusMessage& message) {
    const auto shown = find(message);
    if (!shown) {
        keepForLater(message);
        return;
    }
    const Shown closed = *shown;
    shown->number = 0;
    if (!shown->isBusy) { // otherwise what was posted since is on its way to the screen
        forget(shown);
    }
    if (message.arguments().value(1).toUInt() == dismissedByUser) {
        respond(closed, NotificationResponse::dismissAction);
    }
}

/// A server may be quicker to tell of a click than this process to read its first answer.
void DesktopNotifications::keepForLater(const QDBusMessage& message) {
    const bool someAreOnTheirWay =
        std::ranges::any_of(shown_, [](const auto& entry) { return entry.second->isBusy; });
    if (someAreOnTheirWay && earlySignals_.size() < mostEarlySignals) {
        earlySignals_.append(message);
    }
}

void DesktopNotifications::replayEarlySignals() {
    for (const QDBusMessage& message : std::exchange(earlySignals_, {})) {
        if (message.member() == QLatin1String("ActionInvoked")) {
            actionInvoked(message);
        } else {
            notificationClosed(message);
        }
    }
}

DesktopNotifications::ShownHandle DesktopNotifications::find(const QDBusMessage& signal) const {
    const QVariantList arguments = signal.arguments();
    if (arguments.isEmpty() || arguments.constFirst().typeId() != QMetaType::UInt) {
        return nullptr;
    }
    const uint number = arguments.constFirst().toUInt();
    for (const auto& [identifier, shown] : shown_) {
        if (number != 0 && shown->number == number && shown->server == signal.service()) {
            return shown;
        }
    }
    return nullptr;
}

const NotificationCategory*
DesktopNotifications::categoryOf(const NotificationRequest& request) const {
    const auto found = std::ranges::find_if(categories_, [&](const NotificationCategory& category) {
        return request.categoryIdentifier == category.identifier;
    });
    return found != categories_.end() ? &*found : nullptr;
}

QDBusMessage DesktopNotifications::makeCall(const QString& destination, const char* method) const {
    return QDBusMessage::createMethodCall(
        destination, objectPath(), serviceName(), QString::fromLatin1(method));
}

void DesktopNotifications::respond(const Shown& shown, const std::string& action) {
    if (const auto handler = handler_) {
        handler({.label = shown.request.label, .actionIdentifier = action});
    }
}

} // namespace brindle
