// Login items that answer as a test says.
#pragma once

#include "BrindleRecorderApp/Platform/LoginItems.hpp"

#include <optional>
#include <string>
#include <vector>

namespace brindle::test {

class FakeLoginItems final : public LoginItems {
  public:
    LoginItemStatus current = LoginItemStatus::notRegistered;
    /// What a registration that does not fail makes of the status.
    LoginItemStatus afterRegistering = LoginItemStatus::enabled;
    /// Fails every change with this, which then changes nothing.
    std::optional<PlatformError> failure;
    /// "register" and "unregister", in order.
    std::vector<std::string> calls;

    void failWith(const std::string& description) {
        failure = PlatformError{
            .domain = "POSIX", .code = 13, .description = description, .underlying = {}};
    }

    [[nodiscard]] LoginItemStatus status() const override { return current; }
    [[nodiscard]] Expected<void, PlatformError> registerApplication() override {
        return change("register", afterRegistering);
    }
    [[nodiscard]] Expected<void, PlatformError> unregisterApplication() override {
        return change("unregister", LoginItemStatus::notRegistered);
    }

  private:
    Expected<void, PlatformError> change(const char* call, LoginItemStatus wanted) {
        calls.emplace_back(call);
        if (failure) {
            return unexpected{*failure};
        }
        current = wanted;
        return {};
    }
};

} // namespace brindle::test
