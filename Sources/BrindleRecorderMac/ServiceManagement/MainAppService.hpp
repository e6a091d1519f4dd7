// Starting at login.
#pragma once

#include "BrindleRecorderApp/Platform/LoginItems.hpp"

namespace brindle {

class MainAppService final : public LoginItems {
  public:
    [[nodiscard]] LoginItemStatus status() const override;
    [[nodiscard]] Expected<void, PlatformError> registerApplication() override;
    [[nodiscard]] Expected<void, PlatformError> unregisterApplication() override;
};

} // namespace brindle
