// The media engine's module, as it was built.
#pragma once

#include "BrindleRecorderLinux/Media/MediaEngineModule.hpp"

namespace brindle::test {

/// The one of all tests.
inline media::MediaEngineModule& mediaEngine() {
    static media::MediaEngineModule module{BRINDLE_MEDIA_ENGINE};
    return module;
}

} // namespace brindle::test
