// The desktop's sound server as the program sees it: what it knows right now, across its restarts.
#pragma once

#include "BrindleRecorderApp/Platform/Listeners.hpp"
#include "BrindleRecorderApp/Platform/MainLoop.hpp"
#include "BrindleRecorderLinux/PipeWire/AudioGraph.hpp"
#include "BrindleRecorderLinux/PipeWire/Handles.hpp"

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace brindle::pipewire {

class ServerConnection;

enum class AudioServerState {
    connecting,   ///< not known yet
    serving,      ///< sound goes through PipeWire
    withoutAudio, ///< PipeWire runs, but no sound goes through it
    pulseAudio,   ///< sound goes through a PulseAudio server, whose streams we cannot see
    unreachable   ///< no sound server answers
};

/// One connection and one mirror for all who look at the server. Belongs to the main thread.
class AudioServer {
  public:
    struct Options {
        /// Path or name of PipeWire's socket; absent for the session's own.
        std::optional<std::string> remote;
        /// Where a PulseAudio server leaves its traces: the session's runtime folder.
        std::filesystem::path runtimeFolder;
        std::filesystem::path procFolder = "/proc";

        /// As the environment says.
        static Options ofThisSession();
    };
    using StateListener = std::function<void(AudioServerState)>;

    /// Connects at once and keeps trying. `stateChanged` is called from the main loop, once for
    /// every change, when everybody who listens has heard of it. `loop` is run by `mainLoop`.
    AudioServer(
        MainLoop& mainLoop, pw_loop* loop, Options options,
        StateListener stateChanged = [](AudioServerState) {});
    ~AudioServer();
    AudioServer(const AudioServer&) = delete;
    AudioServer& operator=(const AudioServer&) = delete;

    [[nodiscard]] AudioServerState state() const { return state_; }
    /// What the server knows now; the same object until that changes, which does not alter one that
    /// was handed out. Null while no server has told all that it knows.
    [[nodiscard]] std::shared_ptr<const AudioGraph> graph() const;

    /// Calls the listener from the main loop when `graph` or `state` may answer differently,
    /// several changes at a time. It must not destroy the server.
    [[nodiscard]] std::unique_ptr<Observation> observe(std::function<void()> listener) const {
        return listeners_.add(std::move(listener));
    }

  private:
    void connect();
    void reconnectLater();
    void announceLater();
    void readDefaultsLater();
    void announce();
    [[nodiscard]] AudioServerState currentState() const;

    MainLoop& mainLoop_;
    pw_loop* loop_;
    Options options_;
    StateListener stateChanged_;
    Listeners<> listeners_;
    AudioServerState state_ = AudioServerState::connecting;
    bool complete_ = false;
    mutable std::shared_ptr<const AudioGraph> graph_; ///< null until it is asked for
    std::chrono::milliseconds nextDelay_;
    Library library_;
    ContextHandle context_;
    std::unique_ptr<ServerConnection> connection_;
    std::unique_ptr<MainLoop::Timer> announcement_;
    std::unique_ptr<MainLoop::Timer> reconnection_;
    std::unique_ptr<MainLoop::Timer> defaultsReading_;
    bool readsDefaultsOnceMore_ = false; ///< something changed while a reading was due
};

} // namespace brindle::pipewire
