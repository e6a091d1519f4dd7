// The copies of an application that run in the user's session.
#pragma once

#include "BrindleRecorderApp/Platform/RunningApplications.hpp"
#include "BrindleRecorderCore/Base/FileDescriptor.hpp"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace brindle {

class RunningCopies final : public RunningApplications {
  public:
    /// `lockFile`, in a folder that is there, decides which of several copies under the own
    /// identifier came first. It is held for as long as this lives.
    RunningCopies(std::string ownIdentifier, const std::filesystem::path& lockFile);

    [[nodiscard]] std::vector<RunningApplication>
    withBundleIdentifier(const std::string& bundleIdentifier) const override;

  private:
    std::string ownIdentifier_;
    FileDescriptor lock_;
    bool isFirst_;
    /// The copy that came first, where that is another.
    std::optional<std::int32_t> earlierCopy_;
};

} // namespace brindle
