// One connection to PipeWire's server, with a mirror of what the server knows.
#pragma once

#include "BrindleRecorderLinux/PipeWire/Handles.hpp"
#include "BrindleRecorderLinux/PipeWire/RegistryMirror.hpp"

#include <functional>
#include <memory>
#include <optional>

namespace brindle::pipewire {

/// Belongs to the context's loop and must go before the context. The callbacks come from within the
/// server's events: they must not destroy the connection.
class ServerConnection {
  public:
    struct Callbacks {
        /// Everything that was there when we came has been told.
        std::function<void()> complete;
        std::function<void()> changed;
        /// The server is gone; nothing follows.
        std::function<void()> lost;
    };

    /// Nothing when no server answers.
    static std::unique_ptr<ServerConnection>
    open(pw_context* context, const std::optional<std::string>& remote, Callbacks callbacks);

    ServerConnection(CoreHandle core, Callbacks callbacks);

    [[nodiscard]] const RegistryMirror& mirror() const { return mirror_; }

    /// Asks for the defaults anew: the server tells no listener of their changes while another
    /// client is just coming to listen. Does nothing while an earlier question waits for its
    /// answer.
    void readDefaultsAgain();

  private:
    void answered(int sequence);

    Callbacks callbacks_;
    CoreHandle core_;
    RegistryMirror mirror_;
    int awaitedAnswer_ = 0;
    int answersMissing_ = 3;
    std::optional<int> defaultsQuestion_;
    Hook listener_;
};

} // namespace brindle::pipewire
