// The desktop around the program: its file manager, other applications, its looks.
#pragma once

#include "BrindleRecorderApp/Async/Published.hpp"
#include "BrindleRecorderApp/Platform/Workspace.hpp"
#include "BrindleRecorderLinux/DBus/SettingsPortal.hpp"

namespace brindle {

/// Main thread only.
class DesktopWorkspace final : public Workspace {
  public:
    explicit DesktopWorkspace(QDBusConnection bus);

    /// In the application that the user has chosen for folders, else in the file manager that the
    /// bus knows.
    void openFolder(const std::filesystem::path& folder) override;
    [[nodiscard]] std::optional<std::filesystem::path> ownApplication() const override;
    [[nodiscard]] std::optional<std::filesystem::path>
    application(const std::string& bundleIdentifier) const override;
    void openApplication(const std::filesystem::path& application) override;

    [[nodiscard]] bool reducesMotion() const override { return portal_.reducesMotion(); }
    [[nodiscard]] std::unique_ptr<Observation> observeReduceMotion(Listener listener) override;
    [[nodiscard]] Appearance appearance() const override;
    [[nodiscard]] std::unique_ptr<Observation> observeAppearance(Listener listener) override;

  private:
    QDBusConnection bus_;
    SettingsPortal portal_;
    Published<bool> reducesMotion_;
    Published<bool> isDark_;
};

} // namespace brindle
