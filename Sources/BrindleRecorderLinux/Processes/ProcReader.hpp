// Reads what /proc says about processes.
#pragma once

#include "BrindleRecorderLinux/Processes/ProcessEvidence.hpp"

#include <cstdint>
#include <filesystem>
#include <optional>

namespace brindle {

/// Blocks briefly; any thread. A process can end at any moment, so whatever cannot be read is
/// absent.
class ProcReader {
  public:
    explicit ProcReader(std::filesystem::path procFolder = "/proc");

    /// Nothing when there is no such process.
    [[nodiscard]] std::optional<ProcessEvidence> evidence(std::int32_t pid) const;
    /// The file that the process runs; nothing when it cannot be read.
    [[nodiscard]] std::optional<std::filesystem::path> executable(std::int32_t pid) const;

  private:
    [[nodiscard]] std::filesystem::path folder(std::int32_t pid) const;

    std::filesystem::path procFolder_;
};

} // namespace brindle
