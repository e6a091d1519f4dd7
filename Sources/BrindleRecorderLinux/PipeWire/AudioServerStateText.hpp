// What the log says about the desktop's sound server.
#pragma once

#include "BrindleRecorderLinux/PipeWire/AudioServer.hpp"

#include <string_view>

namespace brindle::pipewire {

/// One line for the log.
constexpr std::string_view describe(AudioServerState state) {
    switch (state) {
    case AudioServerState::connecting:
        return "sound server: connecting";
    case AudioServerState::serving:
        return "sound server: PipeWire answers";
    case AudioServerState::withoutAudio:
        return "sound server: PipeWire runs, but no sound goes through it; calls cannot be noticed";
    case AudioServerState::pulseAudio:
        return "sound server: sound goes through PulseAudio, not PipeWire; calls cannot be noticed";
    case AudioServerState::unreachable:
        return "sound server: none answers; trying again";
    }
    return "sound server: in an unknown state";
}

} // namespace brindle::pipewire
