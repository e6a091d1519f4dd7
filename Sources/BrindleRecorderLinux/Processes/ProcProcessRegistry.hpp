// The process registry over /proc.
#pragma once

#include "BrindleRecorderApp/Platform/ProcessRegistry.hpp"
#include "BrindleRecorderLinux/Processes/ApplicationIdentity.hpp"
#include "BrindleRecorderLinux/Processes/ProcReader.hpp"

namespace brindle {

class ProcProcessRegistry final : public ProcessRegistry {
  public:
    explicit ProcProcessRegistry(std::filesystem::path procFolder = "/proc");

    [[nodiscard]] std::int32_t ownProcessIdentifier() const override;
    [[nodiscard]] std::optional<std::string> bundleIdentifier(std::int32_t pid) const override;
    [[nodiscard]] std::optional<std::filesystem::path>
    executablePath(std::int32_t pid) const override;
    /// Always nothing: applications are not folders here.
    [[nodiscard]] std::optional<std::string>
    bundleIdentifierOfApplication(const std::filesystem::path& folder) const override;

    /// As `bundleIdentifier`, and whether the application is in the table.
    [[nodiscard]] std::optional<ApplicationIdentity> identity(std::int32_t pid) const;
    /// Whether that process runs a file of that name; false when it cannot be read.
    [[nodiscard]] bool runsFileNamed(std::int32_t pid, std::string_view name) const;

  private:
    ProcReader reader_;
};

} // namespace brindle
