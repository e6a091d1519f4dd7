// Starting at login through the user's autostart folder (Desktop Application Autostart
// Specification, freedesktop.org, version 0.5).
#pragma once

#include "BrindleRecorderApp/Platform/LoginItems.hpp"

#include <filesystem>

namespace brindle {

class FileManager;

/// An entry that the user has switched off in the desktop's settings reads as requiring approval,
/// and is left as it is: what the user said there holds until the user takes it back there. An
/// entry whose program is gone starts nothing and reads as not registered.
class AutostartEntry final : public LoginItems {
  public:
    static constexpr const char* fileName = "com.tamsworth.brindlerecorder.desktop";

    /// The user's own autostart folder.
    static std::filesystem::path standardFolder();

    /// `program` is what is to be started. The file manager must outlive this.
    AutostartEntry(
        FileManager& fileManager, const std::filesystem::path& folder,
        std::filesystem::path program);

    [[nodiscard]] LoginItemStatus status() const override;
    [[nodiscard]] Expected<void, PlatformError> registerApplication() override;
    [[nodiscard]] Expected<void, PlatformError> unregisterApplication() override;

  private:
    FileManager& fileManager_;
    std::filesystem::path file_;
    std::filesystem::path program_;
};

} // namespace brindle
