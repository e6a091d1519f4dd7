// The seam to what the desktop starts when the user logs in, as far as this program is concerned.
#pragma once

#include "BrindleRecorderApp/Platform/PlatformError.hpp"
#include "BrindleRecorderCore/Base/Expected.hpp"

namespace brindle {

enum class LoginItemStatus {
    notRegistered,
    enabled,
    requiresApproval, ///< registered, but the user must allow it in the system's settings
    notFound          ///< the desktop does not know the program as an application
};

/// Main thread only. The program registers itself and nothing else.
class LoginItems {
  public:
    virtual ~LoginItems() = default;

    /// What the desktop would do at the next login, read afresh.
    [[nodiscard]] virtual LoginItemStatus status() const = 0;
    [[nodiscard]] virtual Expected<void, PlatformError> registerApplication() = 0;
    [[nodiscard]] virtual Expected<void, PlatformError> unregisterApplication() = 0;
};

} // namespace brindle
