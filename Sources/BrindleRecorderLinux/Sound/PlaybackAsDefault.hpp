// A default microphone that is none.
#pragma once

#include "BrindleRecorderLinux/PipeWire/AudioGraph.hpp"

#include <optional>
#include <string>

namespace brindle::pipewire {

/// The loudspeaker that the session manager names as the default microphone: what it plays would be
/// recorded, which is what others say. Nothing where the default is something else, or is not
/// there. Pure.
std::optional<std::string> playbackAsDefault(const AudioGraph& graph);

} // namespace brindle::pipewire
