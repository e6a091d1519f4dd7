// The seam to what the desktop knows about running processes and installed applications.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace brindle {

/// Main thread only.
class ProcessRegistry {
  public:
    virtual ~ProcessRegistry() = default;

    /// This program's own process id.
    [[nodiscard]] virtual std::int32_t ownProcessIdentifier() const = 0;
    /// The identifier of the application that the process belongs to, as the catalog spells it
    /// where the application is known there.
    [[nodiscard]] virtual std::optional<std::string> bundleIdentifier(std::int32_t pid) const = 0;
    /// What people call the program that the process belongs to; absent where its identifier or the
    /// catalog tells it.
    [[nodiscard]] virtual std::optional<std::string> programName(std::int32_t pid) const = 0;
    /// The file that the process runs.
    [[nodiscard]] virtual std::optional<std::filesystem::path>
    executablePath(std::int32_t pid) const = 0;
    /// The identifier of the application that is installed as this folder, on desktops that install
    /// applications as folders.
    [[nodiscard]] virtual std::optional<std::string>
    bundleIdentifierOfApplication(const std::filesystem::path& folder) const = 0;
};

} // namespace brindle
