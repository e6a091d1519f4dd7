#include "BrindleRecorderApp/Calls/ProgramName.hpp"

#include "BrindleRecorderApp/Platform/CaptureSystem.hpp"
#include "BrindleRecorderApp/Platform/ProcessRegistry.hpp"
#include "BrindleRecorderCore/Calls/CallCatalog.hpp"

namespace brindle {

std::optional<std::string> ProgramName::of(std::int32_t pid, const ProcessRegistry& processes) {
    if (const auto identifier = processes.bundleIdentifier(pid)) {
        if (const CallAppFamily* const family = CallCatalog::family(*identifier)) {
            return family->name;
        }
    }
    if (auto name = processes.programName(pid)) {
        return name;
    }
    const auto file = processes.executablePath(pid);
    return file ? std::optional{file->filename().string()} : std::nullopt;
}

std::optional<std::string>
ProgramName::of(const CameraHolder& holder, const ProcessRegistry& processes) {
    return holder.pid ? of(*holder.pid, processes) : std::nullopt;
}

} // namespace brindle
