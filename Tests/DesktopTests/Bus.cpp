#include "DesktopTests/Bus.hpp"

#include <QCoreApplication>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QEventLoop>
#include <QTimer>

namespace brindle {

namespace {

QString newName() {
    static int count = 0;
    return QStringLiteral("test-%1").arg(++count);
}

} // namespace

bool waitUntil(const std::function<bool()>& condition, std::chrono::seconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    // The condition may be about something that is no event here.
    QTimer tick;
    tick.start(std::chrono::milliseconds{20});
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    return true;
}

void settle(QDBusConnection bus) {
    // The bus daemon delivers in order: its answer comes after whatever went before the question.
    const QDBusPendingCall answer = bus.asyncCall(QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetId")));
    waitUntil([&] { return answer.isFinished(); });
    QCoreApplication::processEvents();
}

void takeFromBus(QDBusConnection bus, const QString& path, QObject& object) {
    bus.unregisterObject(path);
    QCoreApplication::removePostedEvents(&object);
}

BusClient::BusClient()
    : name_{newName()}, bus_{QDBusConnection::connectToBus(QDBusConnection::SessionBus, name_)} {}

BusClient::~BusClient() {
    QDBusConnection::disconnectFromBus(name_);
}

QDBusMessage BusClient::call(
    const QString& service, const QString& path, const QString& interface, const QString& method,
    const QVariantList& arguments) const {
    auto message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setArguments(arguments);
    const QDBusPendingCall answer = bus_.asyncCall(message);
    waitUntil([&] { return answer.isFinished(); });
    return answer.reply();
}

QVariant BusClient::property(
    const QString& service, const QString& path, const QString& interface,
    const QString& name) const {
    const auto answer = call(
        service, path, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"),
        {interface, name});
    return answer.arguments().isEmpty()
               ? QVariant{}
               : qvariant_cast<QDBusVariant>(answer.arguments().constFirst()).variant();
}

void forge(
    const BusClient& forger, const QDBusConnection& victim, const ForgedSignal& signal,
    const QVariantList& arguments) {
    auto toEverybody = QDBusMessage::createSignal(signal.path, signal.interface, signal.member);
    auto directly = QDBusMessage::createTargetedSignal(
        victim.baseService(), signal.path, signal.interface, signal.member);
    for (QDBusMessage* message : {&toEverybody, &directly}) {
        message->setArguments(arguments);
        forger.bus().send(*message);
    }
    settle(forger.bus());
    settle(victim);
}

} // namespace brindle
