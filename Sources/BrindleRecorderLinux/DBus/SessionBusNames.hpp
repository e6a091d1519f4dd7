// Which copies of the application run in this session, told by who owns their names on its bus.
#pragma once

#include "BrindleRecorderApp/Platform/RunningApplications.hpp"

#include <QDBusConnection>

#include <string>
#include <vector>

namespace brindle {

/// Main thread only. A name has one owner, and the bus decides who was first; so of copies that
/// start at the same moment exactly one finds the names its own.
class SessionBusNames final : public RunningApplications {
  public:
    /// Claims the names in their order, and none after the first that is somebody else's. They are
    /// given up with the connection.
    SessionBusNames(QDBusConnection bus, const std::vector<std::string>& names);

    [[nodiscard]] std::vector<RunningApplication>
    withBundleIdentifier(const std::string& bundleIdentifier) const override;

  private:
    QDBusConnection bus_;
};

} // namespace brindle
