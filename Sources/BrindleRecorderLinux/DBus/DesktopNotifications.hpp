// Notifications through the desktop's notification server (org.freedesktop.Notifications,
// version 1.2 of the Desktop Notifications Specification).
#pragma once

#include "BrindleRecorderApp/Platform/UserNotifications.hpp"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace brindle {

/// Main thread only. Nothing here waits: a server may be slow, absent, or replaced by another at
/// any moment. What it can do is asked before each notification, because some change their answer
/// while they run. A question that a server takes to its grave is shown again on the next one.
class DesktopNotifications final : public QObject, public UserNotifications {
    Q_OBJECT

  public:
    explicit DesktopNotifications(QDBusConnection bus);
    /// Takes back the questions that are still shown.
    ~DesktopNotifications() override;
    DesktopNotifications(const DesktopNotifications&) = delete;
    DesktopNotifications& operator=(const DesktopNotifications&) = delete;

    [[nodiscard]] bool isAvailable() const override { return bus_.isConnected(); }
    void setResponseHandler(std::function<void(const NotificationResponse&)> handler) override;
    void setCategories(std::vector<NotificationCategory> categories) override;
    /// The session's notifications need no permission: the answer comes at once.
    void requestAuthorization(std::function<void(bool granted)> answer) override { answer(true); }
    using UserNotifications::post;
    void post(const NotificationRequest& request, std::function<void()> whenShown) override;
    void removeDelivered(const std::string& identifier) override;

  private Q_SLOTS:
    // Both look at the message: an answer counts only from the server that shows the notification.
    void actionInvoked(const QDBusMessage& message);
    void notificationClosed(const QDBusMessage& message);

  private:
    /// One notification, from its posting until it is over.
    struct Shown {
        NotificationRequest request;
        std::function<void()> whenShown;
        bool isWanted = true;       ///< false: taken back
        bool isCurrent = false;     ///< the server shows what the request says
        bool mayStartServer = true; ///< once for each posting, so that a server that cannot live is
                                    ///< not started again and again
        bool isBusy = false;        ///< the server has been asked and has not answered
        uint number = 0;            ///< the server's; 0 while it shows none
        QString server;             ///< the bus name of the server that gave the number
    };
    using ShownHandle = std::shared_ptr<Shown>;

    void askForServer();
    void advance(const ShownHandle& shown);
    void askCapabilities(const ShownHandle& shown);
    void notify(const ShownHandle& shown, const QStringList& capabilities);
    void settleFailure(const ShownHandle& shown, int serversSeenThen);
    void close(const Shown& shown);
    void forget(const ShownHandle& shown);
    void serverHasChanged(const QString& newOwner);
    void keepForLater(const QDBusMessage& message);
    void replayEarlySignals();
    [[nodiscard]] ShownHandle find(const QDBusMessage& signal) const;
    [[nodiscard]] const NotificationCategory* categoryOf(const NotificationRequest& request) const;
    [[nodiscard]] QDBusMessage makeCall(const QString& destination, const char* method) const;
    void respond(const Shown& shown, const std::string& action);

    QDBusConnection bus_;
    QDBusServiceWatcher serverWatcher_;
    std::function<void(const NotificationResponse&)> handler_;
    std::vector<NotificationCategory> categories_;
    std::map<std::string, ShownHandle> shown_; ///< by the request's identifier
    std::vector<ShownHandle> leaving_;         ///< taken back while the server is still being asked
    QString server_;                   ///< its own name on the bus; empty while there is none
    int serversSeen_ = 0;              ///< since the start
    QList<QDBusMessage> earlySignals_; ///< about numbers that may be ours a moment later
};

} // namespace brindle
