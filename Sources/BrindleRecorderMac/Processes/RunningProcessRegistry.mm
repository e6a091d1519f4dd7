#include "BrindleRecorderMac/Processes/RunningProcessRegistry.hpp"

#include "BrindleRecorderMac/Foundation/Text.hpp"

#import <AppKit/AppKit.h>

#include <array>
#include <libproc.h>
#include <unistd.h>

namespace brindle {

namespace {

std::optional<std::string> identifier(NSString* text) {
    return text == nil ? std::nullopt : std::optional{stringOf(text)};
}

} // namespace

std::int32_t RunningProcessRegistry::ownProcessIdentifier() const {
    return ::getpid();
}

std::optional<std::string> RunningProcessRegistry::bundleIdentifier(std::int32_t pid) const {
    @autoreleasepool {
        return identifier(
            [[NSRunningApplication runningApplicationWithProcessIdentifier:pid] bundleIdentifier]);
    }
}

std::optional<std::string> RunningProcessRegistry::programName(std::int32_t /*pid*/) const {
    return std::nullopt;
}

std::optional<std::filesystem::path>
RunningProcessRegistry::executablePath(std::int32_t pid) const {
    std::array<char, PROC_PIDPATHINFO_MAXSIZE> path{};
    const int length = proc_pidpath(pid, path.data(), static_cast<std::uint32_t>(path.size()));
    if (length < 1) {
        return std::nullopt;
    }
    return std::string{path.data(), static_cast<std::size_t>(length)};
}

std::optional<std::string>
RunningProcessRegistry::bundleIdentifierOfApplication(const std::filesystem::path& folder) const {
    @autoreleasepool {
        return identifier([[NSBundle bundleWithPath:nsString(folder.native())] bundleIdentifier]);
    }
}

} // namespace brindle
