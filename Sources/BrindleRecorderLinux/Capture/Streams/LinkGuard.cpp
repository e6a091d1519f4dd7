#include "BrindleRecorderLinux/Capture/Streams/LinkGuard.hpp"

#include <utility>

namespace brindle::pipewire {

bool isMicrophoneClass(std::string_view mediaClass) {
    return mediaClass == "Audio/Source" || mediaClass == "Audio/Source/Virtual" ||
           mediaClass == "Audio/Duplex";
}

bool isCameraClass(std::string_view mediaClass) {
    return mediaClass == "Video/Source";
}

void LinkGuard::addNode(std::uint32_t id, SourceNode node) {
    nodes_.insert_or_assign(id, std::move(node));
}

void LinkGuard::addPort(std::uint32_t id, std::uint32_t node, bool isMonitor) {
    ports_.insert_or_assign(id, Port{.node = node, .isMonitor = isMonitor});
}

void LinkGuard::remove(std::uint32_t id) {
    nodes_.erase(id);
    ports_.erase(id);
}

std::optional<std::pair<std::uint32_t, SourceNode>>
LinkGuard::nodeNamed(std::string_view name, bool (*isWantedClass)(std::string_view)) const {
    std::optional<std::pair<std::uint32_t, SourceNode>> first;
    for (const auto& [id, node] : nodes_) {
        if (node.name == name && isWantedClass(node.mediaClass) &&
            (!first || node.serial < first->second.serial)) {
            first = std::pair{id, node};
        }
    }
    return first;
}

bool LinkGuard::isNode(std::uint32_t id, std::uint64_t serial) const {
    const auto node = nodes_.find(id);
    return node != nodes_.end() && node->second.serial == serial;
}

bool LinkGuard::isGenuine(
    std::uint32_t outputNode, std::uint32_t outputPort, std::uint64_t deviceSerial) const {
    const auto node = nodes_.find(outputNode);
    const auto port = ports_.find(outputPort);
    if (node == nodes_.end() || port == ports_.end()) {
        return false;
    }
    if (node->second.serial != deviceSerial || port->second.node != outputNode) {
        return false;
    }
    const std::string& mediaClass = node->second.mediaClass;
    // A virtual microphone is made like a loudspeaker whose monitor is the microphone. On whatever
    // else it is, a monitor gives what is being played.
    const bool isPlayback = port->second.isMonitor && mediaClass != "Audio/Source/Virtual";
    return !isPlayback && (isMicrophoneClass(mediaClass) || isCameraClass(mediaClass));
}

} // namespace brindle::pipewire
