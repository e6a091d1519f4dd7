#include "BrindleRecorderLinux/Processes/ProcProcessRegistry.hpp"

#include <unistd.h>

#include <utility>

namespace brindle {

ProcProcessRegistry::ProcProcessRegistry(std::filesystem::path procFolder)
    : reader_{std::move(procFolder)} {}

ProcProcessRegistry::ProcProcessRegistry(EventLoop& loop)
    : ends_{std::make_unique<ProcessEnds>(loop, [this](std::int32_t pid) { memory_.erase(pid); })} {
}

ProcProcessRegistry::Remembered* ProcProcessRegistry::memoryOf(std::int32_t pid) const {
    // Watched before anything is read: what is remembered cannot be of an earlier process.
    return ends_ != nullptr && ends_->watch(pid) ? &memory_[pid] : nullptr;
}

std::int32_t ProcProcessRegistry::ownProcessIdentifier() const {
    return getpid();
}

std::optional<ApplicationIdentity> ProcProcessRegistry::identity(std::int32_t pid) const {
    Remembered* const memory = memoryOf(pid);
    if (memory == nullptr) {
        return readIdentity(pid);
    }
    if (!memory->identity) {
        memory->identity = readIdentity(pid);
    }
    return *memory->identity;
}

std::optional<ApplicationIdentity> ProcProcessRegistry::readIdentity(std::int32_t pid) const {
    return identityOfProcess(
        pid, [this](std::int32_t process) { return reader_.evidence(process); });
}

std::optional<std::string> ProcProcessRegistry::bundleIdentifier(std::int32_t pid) const {
    auto found = identity(pid);
    if (!found || found->identifier.empty()) {
        return std::nullopt;
    }
    return std::move(found->identifier);
}

std::optional<std::string> ProcProcessRegistry::programName(std::int32_t pid) const {
    auto found = identity(pid);
    if (!found || found->program.empty()) {
        return std::nullopt;
    }
    return std::move(found->program);
}

std::optional<std::filesystem::path> ProcProcessRegistry::executablePath(std::int32_t pid) const {
    Remembered* const memory = memoryOf(pid);
    if (memory == nullptr) {
        return reader_.executable(pid);
    }
    if (!memory->executable) {
        memory->executable = reader_.executable(pid);
    }
    return *memory->executable;
}

std::optional<std::string>
ProcProcessRegistry::bundleIdentifierOfApplication(const std::filesystem::path& /*folder*/) const {
    return std::nullopt;
}

bool ProcProcessRegistry::runsFileNamed(std::int32_t pid, std::string_view name) const {
    const auto executable = executablePath(pid);
    return executable && executable->filename() == withoutDeletedMark(name);
}

} // namespace brindle
