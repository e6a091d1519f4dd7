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

/// What a signal claims to be.
struct ForgedSignal {
    QString path;
    QString interface;
    QString member;

    /// The bus's word that a name has another owner.
    static ForgedSignal nameOwnerChanged() {
        return {
            QStringLiteral("/org/freedesktop/DBus"), QStringLiteral("org.freedesktop.DBus"),
            QStringLiteral("NameOwnerChanged")};
    }
};

/// Sends it as somebody who has no right to, to everybody who listens and to the victim directly,
/// and handles Qt's events until the victim has heard both.
void forge(
    const BusClient& forger, const QDBusConnection& victim, const ForgedSignal& signal,
    const QVariantList& arguments);

} // namespace brindle
