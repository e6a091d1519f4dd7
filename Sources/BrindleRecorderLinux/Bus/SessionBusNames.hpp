// Which copies of the application run in this session, told by who owns their names on its bus.
#pragma once

#include "BrindleRecorderApp/Platform/RunningApplications.hpp"
#include "BrindleRecorderLinux/Bus/Bus.hpp"

#include <string>
#include <vector>

namespace brindle {

/// Main thread only. A name has one owner, and the bus decides who was first; so of copies that
/// start at the same moment exactly one finds the names its own. Each question waits for the bus's
/// answer: nothing else may happen before it.
class SessionBusNames final : public RunningApplications {
  public:
    /// Claims the names in their order, and none after the first that is somebody else's. They are
    /// given up with the connection. The bus must be connected and outlive this.
    SessionBusNames(Bus& bus, const std::vector<std::string>& names);

    /// Whether the bus has answered at all: something that is no bus may listen in its place.
    [[nodiscard]] bool busAnswers() const;

    [[nodiscard]] std::vector<RunningApplication>
    withBundleIdentifier(const std::string& bundleIdentifier) const override;

  private:
    Bus& bus_;
};

} // namespace brindle
