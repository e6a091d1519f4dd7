// The session bus of the private session, seen by somebody else than the program.
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QString>
#include <QVariantList>

#include <chrono>
#include <functional>

namespace brindle {

/// Handles Qt's events until the condition holds; false when it does not within the (generous)
/// limit.
bool waitUntil(
    const std::function<bool()>& condition, std::chrono::seconds limit = std::chrono::seconds{20});

/// Handles Qt's events until everything that is on its way to this bus by now has been delivered.
void settle(QDBusConnection bus);

/// Takes an object from that bus, with the calls to it that wait to be handled: Qt answers those
/// with an error when the object goes, and crashes where the connection has gone before.
void takeFromBus(QDBusConnection bus, const QString& path, QObject& object);

/// A connection of its own to the session bus, closed at the end.
class BusClient {
  public:
    BusClient();
    ~BusClient();
    BusClient(const BusClient&) = delete;
    BusClient& operator=(const BusClient&) = delete;

    [[nodiscard]] QDBusConnection bus() const { return bus_; }

    /// Calls and waits for the answer, an error included.
    QDBusMessage call(
        const QString& service, const QString& path, const QString& interface,
        const QString& method, const QVariantList& arguments = {}) const;
    [[nodiscard]] QVariant property(
        const QString& service, const QString& path, const QString& interface,
        const QString& name) const;

  private:
    QString name_;
    QDBusConnection bus_;
};

} // namespace brindle
