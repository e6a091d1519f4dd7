#include "BrindleRecorderLinux/Processes/ProcProcessRegistry.hpp"

#include <unistd.h>

#include <utility>

namespace brindle {

ProcProcessRegistry::ProcProcessRegistry(std::filesystem::path procFolder)
    : reader_{std::move(procFolder)} {}

std::int32_t ProcProcessRegistry::ownProcessIdentifier() const {
    return getpid();
}

std::optional<ApplicationIdentity> ProcProcessRegistry::identity(std::int32_t pid) const {
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

std::optional<std::filesystem::path> ProcProcessRegistry::executablePath(std::int32_t pid) const {
    return reader_.executable(pid);
}

std::optional<std::string>
ProcProcessRegistry::bundleIdentifierOfApplication(const std::filesystem::path& /*folder*/) const {
    return std::nullopt;
}

bool ProcProcessRegistry::runsFileNamed(std::int32_t pid, std::string_view name) const {
    const auto executable = reader_.executable(pid);
    return executable && executable->filename() == withoutDeletedMark(name);
}

} // namespace brindle
