#include "BrindleRecorderLinux/PipeWire/AudioGraph.hpp"

#include <algorithm>
#include <set>

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

std::vector<const NodeRecord*>
devicesOf(const AudioGraph& graph, bool (*isWanted)(const NodeRecord&)) {
    std::vector<const NodeRecord*> devices;
    std::set<std::string_view> names{std::string_view{}};
    for (const NodeRecord& node : graph.nodes) {
        if (isWanted(node) && names.insert(property(node.properties, "node.name")).second) {
            devices.push_back(&node);
        }
    }
    return devices;
}

} // namespace brindle::pipewire
