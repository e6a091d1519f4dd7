// A notification server that keeps what it is told and answers in the user's place.
#pragma once

#include "DesktopTests/Bus.hpp"

#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <optional>

namespace brindle {

class NotificationServer final : public QDBusVirtualObject {
  public:
    struct Notification {
        uint number = 0;
        uint replaces = 0;
        QString summary;
        QString body;
        QStringList actions;
        QVariantMap hints;
        int expireTimeout = 0;
    };

    explicit NotificationServer(QStringList capabilities);
    ~NotificationServer() override;

    /// May change while it runs, as with servers that have a do-not-disturb switch.
    QStringList capabilities;
    QList<Notification> notified;
    QList<uint> closed;
    /// Answers this kind of call only when `answerHeld` is called.
    QString holds;
    /// Refuses to show anything.
    bool refuses = false;
    /// Says that the user clicked before it answers.
    std::optional<QString> clickBeforeAnswer;

    [[nodiscard]] bool isHolding() const { return !held_.isEmpty(); }
    void answerHeld();
    [[nodiscard]] QString ownName() const { return client_.bus().baseService(); } ///< unique
    /// Leaves its place to another server, but stays on the bus.
    void leave();
    void invoke(uint number, const QString& action) { signal("ActionInvoked", {number, action}); }
    void close(uint number, uint reason) { signal("NotificationClosed", {number, reason}); }
    void signal(const char* name, const QVariantList& arguments);

    [[nodiscard]] QString introspect(const QString& /*path*/) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

  private:
    void answer(const QDBusMessage& message);

    BusClient client_;
    QList<QDBusMessage> held_;
    uint lastNumber_ = 40;
};

} // namespace brindle
