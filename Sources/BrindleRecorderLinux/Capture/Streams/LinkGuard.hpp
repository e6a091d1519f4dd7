// Makes sure that a recording hears and sees the chosen device and nothing else.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace brindle::pipewire {

/// One camera or microphone as the server announces it.
struct SourceNode {
    std::uint64_t serial = 0; ///< never used twice while the server runs
    std::string name;
    std::string mediaClass;
};

/// Whether a node of this class gives what a microphone hears: a real or a virtual microphone, or a
/// card that also plays. Loudspeakers, whose monitors carry the other people of a call, do not.
bool isMicrophoneClass(std::string_view mediaClass);
bool isCameraClass(std::string_view mediaClass);

/// Knows the server's nodes and ports, and judges connections. A value; ids are the server's, which
/// uses them again once an object is gone.
class LinkGuard {
  public:
    void addNode(std::uint32_t id, SourceNode node);
    void addPort(std::uint32_t id, std::uint32_t node, bool isMonitor);
    void remove(std::uint32_t id);

    /// The node of that name among those whose class suits, and its id. Where several share the
    /// name, the one that the server made first, as in the list of devices.
    [[nodiscard]] std::optional<std::pair<std::uint32_t, SourceNode>>
    nodeNamed(std::string_view name, bool (*isWantedClass)(std::string_view)) const;

    /// Whether that id stands for the node with that serial now.
    [[nodiscard]] bool isNode(std::uint32_t id, std::uint64_t serial) const;

    /// Whether a connection from this port of this node carries the device's own sound or picture.
    /// False whenever that is not certain.
    [[nodiscard]] bool
    isGenuine(std::uint32_t outputNode, std::uint32_t outputPort, std::uint64_t deviceSerial) const;

  private:
    struct Port {
        std::uint32_t node = 0;
        bool isMonitor = false;
    };
    std::map<std::uint32_t, SourceNode> nodes_;
    std::map<std::uint32_t, Port> ports_;
};

} // namespace brindle::pipewire
