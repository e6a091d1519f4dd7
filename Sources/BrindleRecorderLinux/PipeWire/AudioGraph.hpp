// What PipeWire's server knows, as plain records: programs (clients), streams and devices (nodes),
// and what is connected to what (links).
#pragma once

#include "BrindleRecorderCore/Recordings/DeviceSelection.hpp"

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace brindle::pipewire {

/// Texts of other programs, by PipeWire's key names. Only keys that we use, of bounded length.
using Properties = std::map<std::string, std::string, std::less<>>;

/// Empty when absent.
std::string_view property(const Properties& properties, std::string_view key);
/// Whether the property reads as true, as PipeWire reads truth: "true" or "1".
bool isSet(const Properties& properties, std::string_view key);

enum class NodeState { error, creating, suspended, idle, running };

struct NodeRecord {
    std::uint64_t serial = 0; ///< never used twice while the server runs
    std::uint32_t id = 0;     ///< what links refer to; used again for later objects
    NodeState state = NodeState::creating;
    Properties properties;
    /// What a camera offers; absent for others, and until it has told.
    std::optional<std::set<PictureKind>> pictures = {};

    friend bool operator==(const NodeRecord&, const NodeRecord&) = default;
};

/// The hardware behind nodes.
struct DeviceRecord {
    std::uint64_t serial = 0;
    std::uint32_t id = 0; ///< what a node's `device.id` refers to
    Properties properties;

    friend bool operator==(const DeviceRecord&, const DeviceRecord&) = default;
};

struct ClientRecord {
    std::uint64_t serial = 0;
    std::uint32_t id = 0; ///< what a node's `client.id` refers to
    Properties properties;

    friend bool operator==(const ClientRecord&, const ClientRecord&) = default;
};

struct LinkRecord {
    std::uint64_t serial = 0;
    std::uint32_t outputNode = 0; ///< id of the node that the sound comes from
    std::uint32_t inputNode = 0;  ///< id of the node that it goes to
    bool active = false;          ///< sound passes

    friend bool operator==(const LinkRecord&, const LinkRecord&) = default;
};

/// The objects whose particulars are known, each kind in the server's order.
struct AudioGraph {
    std::vector<NodeRecord> nodes;
    std::vector<DeviceRecord> devices;
    std::vector<ClientRecord> clients;
    std::vector<LinkRecord> links;
    std::optional<std::string> defaultSourceName; ///< `node.name` of the default microphone
    std::optional<std::string> defaultCameraName; ///< `node.name` of the default camera
    bool hasAudioDevice = false;                  ///< a sound card, even one without a node

    friend bool operator==(const AudioGraph&, const AudioGraph&) = default;
};

/// Nothing when no node has that id.
const NodeRecord* nodeWithID(const AudioGraph& graph, std::uint32_t id);

/// The wanted nodes, in the server's order. A device is known by its node's name, which the server
/// does not keep unique: of several nodes of one name only the first is a device, and one without a
/// name is none.
std::vector<const NodeRecord*>
devicesOf(const AudioGraph& graph, bool (*isWanted)(const NodeRecord&));

} // namespace brindle::pipewire
