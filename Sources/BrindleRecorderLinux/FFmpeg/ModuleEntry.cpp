#include "BrindleRecorderLinux/FFmpeg/FFmpegMediaEngine.hpp"
#include "BrindleRecorderLinux/Media/MediaEngineEntry.hpp"

#include <string_view>

// Held to the type that the program calls it by.
extern "C" [[gnu::visibility("default")]] brindle::media::MediaEngineEntry brindleMediaEngine;

brindle::media::MediaEngine* brindleMediaEngine(const char* version) {
    // Threads that hang may outlive the program's objects.
    static auto* const engine = new brindle::media::FFmpegMediaEngine;
    return std::string_view{version} == BRINDLE_VERSION ? engine : nullptr;
}
