#include "BrindleRecorderLinux/Capture/Media/MediaError.hpp"

#include <array>

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

} // namespace brindle::media
