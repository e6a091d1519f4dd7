// The desktop around the program: its file manager, other applications, its looks.
#pragma once

#include "BrindleRecorderApp/Async/Published.hpp"
#include "BrindleRecorderApp/Platform/Workspace.hpp"
#include "BrindleRecorderLinux/Bus/Bus.hpp"
#include "BrindleRecorderLinux/Bus/BusCalls.hpp"
#include "BrindleRecorderLinux/Desktop/InstalledApplications.hpp"
#include "BrindleRecorderLinux/Portal/SettingsPortal.hpp"

namespace brindle {

class EventLoop;

/// Main thread only.
class DesktopWorkspace final : public Workspace {
  public:
    /// The bus must be connected. All must outlive this.
    DesktopWorkspace(Bus& bus, FileManager& fileManager, EventLoop& loop);

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
    void showInFileManager(const std::filesystem::path& folder);

    SettingsPortal portal_;
    BusCalls calls_;
    InstalledApplications applications_;
    Published<bool> reducesMotion_;
    Published<bool> isDark_;
};

} // namespace brindle
