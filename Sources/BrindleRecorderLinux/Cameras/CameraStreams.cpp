#include "BrindleRecorderLinux/Cameras/CameraStreams.hpp"

namespace brindle::pipewire {

std::set<std::string> programsThatWatch(const NodeRecord& camera, const AudioGraph& graph) {
    std::set<std::string> names;
    for (const LinkRecord& link : graph.links) {
        const NodeRecord* const stream =
            link.outputNode == camera.id ? nodeWithID(graph, link.inputNode) : nullptr;
        if (stream != nullptr) {
            const auto name = property(stream->properties, "application.name");
            names.emplace(name.empty() ? property(stream->properties, "node.name") : name);
        }
    }
    return names;
}

} // namespace brindle::pipewire
