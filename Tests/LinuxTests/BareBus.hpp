// A session bus of a test's own that starts no service by itself.
#pragma once

#include "LinuxTests/ChildProcess.hpp"
#include "Support/EnvironmentVariable.hpp"
#include "Support/TemporaryFolder.hpp"

#include <filesystem>
#include <optional>

namespace brindle::test {

/// Whoever connects to the session bus while it lives gets this one.
class BareBus {
  public:
    BareBus();

    /// Ends the bus; the name of its socket goes as well.
    void stop();

  private:
    [[nodiscard]] std::filesystem::path socket() const { return folder_.path() / "bus"; }

    TemporaryFolder folder_;
    EnvironmentVariable address_{"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + socket().string()};
    std::optional<brindle::ChildProcess> daemon_;
};

} // namespace brindle::test
