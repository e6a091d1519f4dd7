// What people call the program that a process belongs to.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace brindle {

class ProcessRegistry;
struct CameraHolder;

struct ProgramName {
    /// By the catalog, else by the desktop, else the name of the file that runs; nothing when none
    /// of them is known.
    static std::optional<std::string> of(std::int32_t pid, const ProcessRegistry& processes);
    static std::optional<std::string>
    of(const CameraHolder& holder, const ProcessRegistry& processes);
};

} // namespace brindle
