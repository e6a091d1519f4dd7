#include "BrindleRecorderLinux/Sound/PlaybackAsDefault.hpp"

#include <algorithm>
#include <string_view>

namespace brindle::pipewire {

std::optional<std::string> playbackAsDefault(const AudioGraph& graph) {
    // Some name the loudspeaker itself, some what PulseAudio calls its monitor.
    constexpr std::string_view monitor = ".monitor";
    std::string_view name{graph.defaultSourceName ? *graph.defaultSourceName : std::string_view{}};
    if (name.ends_with(monitor)) {
        name.remove_suffix(monitor.size());
    }
    const auto found = std::ranges::find_if(graph.nodes, [name](const NodeRecord& node) {
        return !name.empty() && property(node.properties, "node.name") == name &&
               property(node.properties, "media.class") == "Audio/Sink";
    });
    if (found == graph.nodes.end()) {
        return std::nullopt;
    }
    const auto description = property(found->properties, "node.description");
    return std::string{description.empty() ? name : description};
}

} // namespace brindle::pipewire
