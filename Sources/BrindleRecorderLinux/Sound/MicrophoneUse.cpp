#include "BrindleRecorderLinux/Sound/MicrophoneUse.hpp"

#include <algorithm>
#include <charconv>

namespace brindle::pipewire {

namespace {

std::optional<std::int32_t> positiveNumber(std::string_view text) {
    std::int32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || end != text.data() + text.size() || number <= 0) {
        return std::nullopt;
    }
    return number;
}

/// A volume control that shows how loud the microphone is.
bool isLevelMeter(const Properties& properties) {
    return isSet(properties, "stream.monitor") || isSet(properties, "resample.peaks");
}

/// One end of a loop-back, a filter or an echo canceller that the server runs by itself.
bool isPlumbing(const Properties& properties) {
    return !property(properties, "node.link-group").empty() || isSet(properties, "node.virtual");
}

bool isOpenRecording(const NodeRecord& node) {
    const Properties& properties = node.properties;
    return property(properties, "media.class") == "Stream/Input/Audio" &&
           node.state == NodeState::running && !isSet(properties, "pulse.corked") &&
           !isLevelMeter(properties) && !isPlumbing(properties);
}

/// Whether what the stream gets from there is a microphone's sound.
bool isMicrophoneOf(const NodeRecord& origin, const NodeRecord& stream) {
    // A stream that asked for what a loudspeaker plays gets just that from a node which is both.
    // Moved to a microphone it records from it all the same.
    const bool isBoth = property(origin.properties, "media.class") == "Audio/Duplex";
    return isMicrophone(origin) && !(isBoth && isSet(stream.properties, "stream.capture.sink"));
}

} // namespace

bool isMicrophone(const NodeRecord& node) {
    const std::string_view mediaClass = property(node.properties, "media.class");
    return mediaClass == "Audio/Source" || mediaClass == "Audio/Source/Virtual" ||
           mediaClass == "Audio/Duplex";
}

bool recordsFromMicrophone(const NodeRecord& node, const AudioGraph& graph) {
    if (!isOpenRecording(node)) {
        return false;
    }
    // A stream can be moved after it was made, so what it is linked to has the last word.
    return std::any_of(graph.links.begin(), graph.links.end(), [&](const LinkRecord& link) {
        if (!link.active || link.inputNode != node.id) {
            return false;
        }
        const NodeRecord* const origin = nodeWithID(graph, link.outputNode);
        return origin != nullptr && isMicrophoneOf(*origin, node);
    });
}

bool isRecordedFrom(const NodeRecord& microphone, const AudioGraph& graph) {
    return std::any_of(graph.links.begin(), graph.links.end(), [&](const LinkRecord& link) {
        if (!link.active || link.outputNode != microphone.id) {
            return false;
        }
        const NodeRecord* const stream = nodeWithID(graph, link.inputNode);
        return stream != nullptr && isOpenRecording(*stream) && isMicrophoneOf(microphone, *stream);
    });
}

ClientProcess processOf(const ClientRecord& client) {
    const Properties& properties = client.properties;
    ClientProcess process;
    process.sandboxID = property(properties, "pipewire.access.portal.app_id");
    process.sandboxInstance = property(properties, "pipewire.access.portal.instance_id");
    process.binary = property(properties, "application.process.binary");

    // The kernel tells the server who connected. For a PulseAudio client that is the server's own
    // translator, and for a connection that a portal handed over it is the portal.
    const bool connectedItself = property(properties, "client.api") != "pipewire-pulse" &&
                                 property(properties, "pipewire.access") != "portal";
    if (connectedItself) {
        process.pid = positiveNumber(property(properties, "pipewire.sec.pid"));
        process.pidIsCertain = process.pid.has_value();
    }
    if (!process.pid && process.sandboxID.empty()) {
        process.pid = positiveNumber(property(properties, "application.process.id"));
    }
    return process;
}

} // namespace brindle::pipewire
