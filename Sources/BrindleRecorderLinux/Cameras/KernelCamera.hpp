// A camera as the kernel offers it (Video4Linux).
#pragma once

#include <string>

namespace brindle {

struct KernelCamera {
    /// Whether somebody has the camera's stream, which only one can have. Asks for nothing to be
    /// changed: to give back no buffers is refused with EBUSY while they are somebody else's. False
    /// where it cannot be known. Blocks briefly; any thread.
    static bool isStreaming(const std::string& devicePath);
};

} // namespace brindle
