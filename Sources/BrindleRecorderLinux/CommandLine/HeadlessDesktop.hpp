// The desktop of a program that runs without a user interface: nothing can be opened on it, and
// nothing moves.
#pragma once

#include "BrindleRecorderApp/Platform/LoginItems.hpp"
#include "BrindleRecorderApp/Platform/Workspace.hpp"

#include <memory>
#include <optional>
#include <string>

namespace brindle {

class HeadlessWorkspace final : public Workspace {
  public:
    void openFolder(const std::filesystem::path& /*folder*/) override {}
    [[nodiscard]] std::optional<std::filesystem::path> ownApplication() const override {
        return std::nullopt;
    }
    [[nodiscard]] std::optional<std::filesystem::path>
    application(const std::string& /*bundleIdentifier*/) const override {
        return std::nullopt;
    }
    void openApplication(const std::filesystem::path& /*application*/) override {}
    [[nodiscard]] bool reducesMotion() const override { return true; }
    [[nodiscard]] std::unique_ptr<Observation> observeReduceMotion(Listener) override {
        return nullptr;
    }
    [[nodiscard]] Appearance appearance() const override { return Appearance::light; }
    [[nodiscard]] std::unique_ptr<Observation> observeAppearance(Listener) override {
        return nullptr;
    }
};

/// Whoever starts the program without a user interface (a service manager, a shell) decides when.
class HeadlessLoginItems final : public LoginItems {
  public:
    [[nodiscard]] LoginItemStatus status() const override { return LoginItemStatus::notFound; }
    [[nodiscard]] Expected<void, PlatformError> registerApplication() override { return refuse(); }
    [[nodiscard]] Expected<void, PlatformError> unregisterApplication() override {
        return refuse();
    }

  private:
    static Expected<void, PlatformError> refuse() {
        PlatformError error;
        error.domain = "BrindleRecorder";
        error.code = 1;
        error.description = "the program runs without a desktop to log in to";
        return unexpected{error};
    }
};

} // namespace brindle
