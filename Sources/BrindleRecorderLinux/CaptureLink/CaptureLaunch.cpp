#include "BrindleRecorderLinux/CaptureLink/CaptureLaunch.hpp"

namespace brindle::capture {

const std::string& programVersion() {
    static const std::string version{BRINDLE_VERSION};
    return version;
}

} // namespace brindle::capture
