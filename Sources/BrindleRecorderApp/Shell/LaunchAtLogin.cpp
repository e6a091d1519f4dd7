#include "BrindleRecorderApp/Shell/LaunchAtLogin.hpp"

namespace brindle {

LaunchAtLogin::LaunchAtLogin(LoginItems& loginItems) : loginItems_{loginItems} {
    refresh();
}

void LaunchAtLogin::refresh() {
    const LoginItemStatus status = loginItems_.status();
    isEnabled_.set(status == LoginItemStatus::enabled);
    requiresApproval_.set(status == LoginItemStatus::requiresApproval);
}

void LaunchAtLogin::set(bool enabled) {
    const auto changed =
        enabled ? loginItems_.registerApplication() : loginItems_.unregisterApplication();
    lastError_.set(changed ? std::nullopt : std::optional{changed.error().description});
    // What was asked for is not what is so.
    refresh();
}

} // namespace brindle
