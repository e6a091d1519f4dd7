// Running processes and installed applications, as AppKit, libproc and bundles tell of them.
#pragma once

#include "BrindleRecorderApp/Platform/ProcessRegistry.hpp"

namespace brindle {

class RunningProcessRegistry final : public ProcessRegistry {
  public:
    [[nodiscard]] std::int32_t ownProcessIdentifier() const override;
    [[nodiscard]] std::optional<std::string> bundleIdentifier(std::int32_t pid) const override;
    /// Identifiers tell it here.
    [[nodiscard]] std::optional<std::string> programName(std::int32_t pid) const override;
    [[nodiscard]] std::optional<std::filesystem::path>
    executablePath(std::int32_t pid) const override;
    [[nodiscard]] std::optional<std::string>
    bundleIdentifierOfApplication(const std::filesystem::path& folder) const override;
};

} // namespace brindle
