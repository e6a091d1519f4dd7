#include "BrindleRecorderLinux/DBus/SessionBusNames.hpp"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <QString>

#include <cstdint>
#include <utility>

namespace brindle {

SessionBusNames::SessionBusNames(QDBusConnection bus, const std::vector<std::string>& names)
    : bus_{std::move(bus)} {
    for (const auto& name : names) {
        const auto claimed = bus_.interface()->registerService(
            QString::fromStdString(name), QDBusConnectionInterface::DontQueueService,
            QDBusConnectionInterface::DontAllowReplacement);
        if (!claimed.isValid() || claimed.value() != QDBusConnectionInterface::ServiceRegistered) {
            return;
        }
    }
}

std::vector<RunningApplication>
SessionBusNames::withBundleIdentifier(const std::string& bundleIdentifier) const {
    const auto name = QString::fromStdString(bundleIdentifier);
    const QDBusReply<QString> owner = bus_.interface()->serviceOwner(name);
    if (!owner.isValid()) {
        return {};
    }
    if (owner.value() == bus_.baseService()) {
        return {{.pid = static_cast<std::int32_t>(QCoreApplication::applicationPid())}};
    }
    // A copy in a sandbox has a process, but perhaps no number that means anything here.
    const QDBusReply<uint> pid = bus_.interface()->servicePid(name);
    return {{.pid = pid.isValid() ? static_cast<std::int32_t>(pid.value()) : 0}};
}

} // namespace brindle
