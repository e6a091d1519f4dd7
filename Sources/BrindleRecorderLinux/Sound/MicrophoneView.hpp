// The server's state as the application asks about it: which processes there are, which of them
// record, and the microphones.
#pragma once

#include "BrindleRecorderApp/Platform/AudioObjects.hpp"
#include "BrindleRecorderLinux/PipeWire/AudioGraph.hpp"
#include "BrindleRecorderLinux/Sound/MicrophoneUse.hpp"

#include <compare>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <variant>
#include <vector>

namespace brindle::pipewire {

/// All clients of one process share this.
struct ProcessKey {
    std::int32_t pid = 0; ///< 0 when unknown
    std::string sandboxID;
    std::string sandboxInstance;
    std::string binary;
    std::uint64_t clientSerial = 0; ///< only where nothing else tells processes apart

    friend auto operator<=>(const ProcessKey&, const ProcessKey&) = default;
};

struct DeviceKey {
    std::uint64_t nodeSerial = 0;
    friend auto operator<=>(const DeviceKey&, const DeviceKey&) = default;
};

/// Gives each object a number of its own for as long as it is there. A number is never given twice,
/// although servers restart and count from the beginning.
class ObjectNumbers {
  public:
    using Serials = std::set<std::uint64_t>;

    /// A process is the same while one of its clients stays: a process number that is free is given
    /// to others.
    AudioObjectID numberOf(const ProcessKey& key, Serials clients);
    AudioObjectID numberOf(const DeviceKey& key) { return number(key).id; }
    /// Forgets all that `numberOf` was not asked for since the last call.
    void forgetUnused();

  private:
    using Key = std::variant<ProcessKey, DeviceKey>;
    struct Number {
        AudioObjectID id = 0;
        bool isUsed = false;
        Serials clients;
    };
    Number& number(const Key& key);

    AudioObjectID next_ = 1;
    std::map<Key, Number> numbers_;
};

struct ProcessView {
    AudioObjectID id = 0;
    ClientProcess process;
    std::vector<Properties> clients; ///< and of each client, what it is called
    bool isRecording = false;

    friend bool operator==(const ProcessView&, const ProcessView&) = default;
};

struct DeviceView {
    AudioObjectID id = 0;
    std::string uniqueID;
    bool isRecordedFrom = false;

    friend bool operator==(const DeviceView&, const DeviceView&) = default;
};

struct MicrophoneView {
    bool isAvailable = false; ///< a server answers
    std::vector<ProcessView> processes;
    std::vector<DeviceView> devices;
    std::optional<AudioObjectID> defaultDevice;

    [[nodiscard]] const ProcessView* process(AudioObjectID id) const;
    [[nodiscard]] const DeviceView* device(AudioObjectID id) const;
};

/// Processes in the order in which their first clients came. Nothing answers where `graph` is
/// null.
MicrophoneView viewOf(const AudioGraph* graph, ObjectNumbers& numbers);

} // namespace brindle::pipewire
