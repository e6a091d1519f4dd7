#include "BrindleRecorderLinux/Portal/Sandbox.hpp"

#include <cstdlib>
#include <string_view>
#include <system_error>

namespace brindle {

Sandbox Sandbox::aroundThisProcess() {
    const char* const snap = std::getenv("SNAP");
    std::error_code unreadable;
    return {
        .flatpakInfo = "/.flatpak-info",
        .snap = snap == nullptr ? "" : snap,
        .program = std::filesystem::read_symlink("/proc/self/exe", unreadable)};
}

bool Sandbox::exists() const {
    std::error_code unreadable;
    if (std::filesystem::exists(flatpakInfo, unreadable)) {
        return true;
    }
    if (snap.empty()) {
        return false;
    }
    const auto folder = std::filesystem::weakly_canonical(snap, unreadable);
    const auto inside = program.lexically_relative(folder);
    return !inside.empty() && *inside.begin() != "..";
}

} // namespace brindle
