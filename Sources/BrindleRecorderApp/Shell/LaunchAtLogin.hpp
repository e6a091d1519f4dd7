// Does the program start when the user logs in?
#pragma once

#include "BrindleRecorderApp/Async/Published.hpp"
#include "BrindleRecorderApp/Platform/LoginItems.hpp"

#include <optional>
#include <string>

namespace brindle {

/// Main thread only.
class LaunchAtLogin {
  public:
    /// Reads the status once. The login items must outlive this.
    explicit LaunchAtLogin(LoginItems& loginItems);
    LaunchAtLogin(const LaunchAtLogin&) = delete;
    LaunchAtLogin& operator=(const LaunchAtLogin&) = delete;

    // What the desktop said last; a login item that it does not know is neither.
    [[nodiscard]] const Published<bool>& isEnabled() const { return isEnabled_; }
    /// The user must still allow it in the system's settings.
    [[nodiscard]] const Published<bool>& requiresApproval() const { return requiresApproval_; }
    /// Why the last attempt to change it failed; absent when it did not.
    [[nodiscard]] const Published<std::optional<std::string>>& lastError() const {
        return lastError_;
    }

    /// Reads the status again.
    void refresh();
    /// Registers or unregisters the program, and publishes what came of it.
    void set(bool enabled);

  private:
    LoginItems& loginItems_;
    Published<bool> isEnabled_;
    Published<bool> requiresApproval_;
    Published<std::optional<std::string>> lastError_;
};

} // namespace brindle
