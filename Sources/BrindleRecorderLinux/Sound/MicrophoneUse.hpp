// Which streams are somebody recording from a microphone, and whose they are. Pure: decided on
// records, so that recorded desktops can be replayed.
#pragma once

#include "BrindleRecorderLinux/PipeWire/AudioGraph.hpp"

#include <cstdint>
#include <optional>
#include <string>

namespace brindle::pipewire {

/// A real or virtual microphone. What a loudspeaker plays is not one.
bool isMicrophone(const NodeRecord& node);

/// Whether the node is a program's stream that records from a microphone right now. Being muted
/// does not end a recording; waiting without data does. Level meters, recordings of what a
/// loudspeaker plays, and the server's own loop-backs, filters and echo cancellers do not count,
/// but a program that records from one of those does.
bool recordsFromMicrophone(const NodeRecord& node, const AudioGraph& graph);

/// Whether such a stream is linked to that microphone.
bool isRecordedFrom(const NodeRecord& microphone, const AudioGraph& graph);

/// The process behind a client, as far as the client's properties tell.
struct ClientProcess {
    /// In this machine's numbering; absent where only the sandbox's own numbering is known.
    std::optional<std::int32_t> pid;
    /// The kernel vouches for the pid; otherwise it is what the client says.
    bool pidIsCertain = false;
    std::string sandboxID;       ///< application id of the sandbox; empty outside of one
    std::string sandboxInstance; ///< tells two running copies apart
    std::string binary;          ///< file name of the executable, as the client says

    friend auto operator<=>(const ClientProcess&, const ClientProcess&) = default;
};

ClientProcess processOf(const ClientRecord& client);

} // namespace brindle::pipewire
