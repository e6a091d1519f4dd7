#include "BrindleRecorderLinux/Media/MediaError.hpp"

#include <array>
#include <system_error>
#include <utility>

extern "C" {
#include <libavutil/error.h>
}

namespace brindle::media {

PlatformError mediaError(int code) {
    // FFmpeg hands system errors through with their sign turned; its own are far below those.
    constexpr int lastSystemError = 4095;
    if (code < 0 && code >= -lastSystemError) {
        return systemError(AVUNERROR(code));
    }
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(code, text.data(), text.size());
    return {.domain = "FFmpeg", .code = code, .description = text.data(), .underlying = {}};
}

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

} // namespace brindle::media
