#include "BrindleRecorderLinux/PipeWire/AudioGraph.hpp"

#include <algorithm>

namespace brindle::pipewire {

std::string_view property(const Properties& properties, std::string_view key) {
    const auto found = properties.find(key);
    return found == properties.end() ? std::string_view{} : std::string_view{found->second};
}

bool isSet(const Properties& properties, std::string_view key) {
    const std::string_view value = property(properties, key);
    return value == "true" || value == "1";
}

const NodeRecord* nodeWithID(const AudioGraph& graph, std::uint32_t id) {
    const auto found =
        std::find_if(graph.nodes.begin(), graph.nodes.end(), [id](const NodeRecord& node) {
            return node.id == id;
        });
    return found == graph.nodes.end() ? nullptr : &*found;
}

} // namespace brindle::pipewire
