// Who gets a camera's pictures from the sound server.
#pragma once

#include "BrindleRecorderLinux/PipeWire/AudioGraph.hpp"

#include <set>
#include <string>

namespace brindle::pipewire {

/// The programs by their own words, where they say nothing by the names of their streams. Pure.
std::set<std::string> programsThatWatch(const NodeRecord& camera, const AudioGraph& graph);

} // namespace brindle::pipewire
