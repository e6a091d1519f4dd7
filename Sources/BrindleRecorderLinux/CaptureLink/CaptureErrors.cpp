#include "BrindleRecorderLinux/CaptureLink/CaptureErrors.hpp"

#include <system_error>
#include <utility>

namespace brindle::capture {

PlatformError systemError(int errorNumber) {
    return {
        .domain = "POSIX",
        .code = errorNumber,
        .description = std::generic_category().message(errorNumber),
        .underlying = {}};
}

PlatformError recordingError(std::string description) {
    return {
        .domain = "Recording", .code = 0, .description = std::move(description), .underlying = {}};
}

} // namespace brindle::capture
