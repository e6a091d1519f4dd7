// The process registry over /proc.
#pragma once

#include "BrindleRecorderApp/Platform/ProcessRegistry.hpp"
#include "BrindleRecorderLinux/Processes/ApplicationIdentity.hpp"
#include "BrindleRecorderLinux/Processes/ProcReader.hpp"
#include "BrindleRecorderLinux/Processes/ProcessEnds.hpp"

#include <map>
#include <memory>
#include <optional>
#include <string>

namespace brindle {

class ProcProcessRegistry final : public ProcessRegistry {
  public:
    /// Reads everything anew each time.
    explicit ProcProcessRegistry(std::filesystem::path procFolder = "/proc");
    /// Remembers what was read of a process until it ends, which the loop tells. The loop must
    /// outlive this.
    explicit ProcProcessRegistry(EventLoop& loop);

    [[nodiscard]] std::int32_t ownProcessIdentifier() const override;
    [[nodiscard]] std::optional<std::string> bundleIdentifier(std::int32_t pid) const override;
    [[nodiscard]] std::optional<std::string> programName(std::int32_t pid) const override;
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
    struct Remembered {
        std::optional<std::optional<ApplicationIdentity>> identity;
        std::optional<std::optional<std::filesystem::path>> executable;
    };

    /// Null when nothing of the process can be remembered.
    [[nodiscard]] Remembered* memoryOf(std::int32_t pid) const;
    [[nodiscard]] std::optional<ApplicationIdentity> readIdentity(std::int32_t pid) const;

    ProcReader reader_;
    mutable std::map<std::int32_t, Remembered> memory_;
    std::unique_ptr<ProcessEnds> ends_; ///< null where nothing is remembered
};

} // namespace brindle
