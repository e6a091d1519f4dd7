// A copy of what one server knows, for as long as one connection to it lasts.
#pragma once

#include "BrindleRecorderLinux/PipeWire/AudioGraph.hpp"
#include "BrindleRecorderLinux/PipeWire/Handles.hpp"
#include "BrindleRecorderLinux/PipeWire/MirroredObjects.hpp"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>

struct pw_core;
struct spa_dict;

namespace brindle::pipewire {

/// Belongs to the thread of the core's loop and must go before the core.
class RegistryMirror {
  public:
    /// `changed` is called from within the server's events whenever `graph` may answer differently;
    /// the mirror must not be destroyed from within it.
    RegistryMirror(pw_core* core, std::function<void()> changed);
    RegistryMirror(const RegistryMirror&) = delete;
    RegistryMirror& operator=(const RegistryMirror&) = delete;

    [[nodiscard]] AudioGraph graph() const;

    /// Asks for the defaults anew; `takeDefaults` is for when the server has answered a question
    /// that was asked after this.
    void readDefaultsAgain();
    void takeDefaults();

  private:
    void add(std::uint32_t id, const char* type, std::uint32_t version, const spa_dict* announced);
    void remove(std::uint32_t id);

    std::function<void()> changed_;
    ProxyHandle registry_;
    // By the server's id, which is free for another object once the first is removed.
    std::map<std::uint32_t, std::unique_ptr<MirroredNode>> nodes_;
    std::map<std::uint32_t, std::unique_ptr<MirroredDevice>> devices_;
    std::map<std::uint32_t, std::unique_ptr<MirroredClient>> clients_;
    std::map<std::uint32_t, std::unique_ptr<MirroredLink>> links_;
    std::map<std::uint32_t, std::unique_ptr<MirroredDefaults>> defaults_;
    std::map<std::uint32_t, std::unique_ptr<MirroredDefaults>> defaultsReadAgain_;
    std::set<std::uint32_t> audioDevices_;
    Hook listener_;
};

} // namespace brindle::pipewire
