#include "BrindleRecorderLinux/PipeWire/AudioServer.hpp"

#include "BrindleRecorderLinux/PipeWire/PulseAudioTraces.hpp"
#include "BrindleRecorderLinux/PipeWire/ServerConnection.hpp"

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace brindle::pipewire {

namespace {

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds firstDelay = 100ms;
/// Short enough that a server which comes back after a long time is not left alone for long: a
/// failed attempt costs a look at a socket that is not there.
constexpr std::chrono::milliseconds longestDelay = 2s;
/// How long after a change the session manager is given to choose defaults and other clients to
/// come to listen, during which changes of defaults may not be told.
constexpr std::chrono::milliseconds defaultsSettleWithin = 1s;

/// Whether sound goes through this server: something of sound is on it, or the PulseAudio protocol
/// is served from it.
bool carriesAudio(const AudioGraph& graph) {
    return graph.hasAudioDevice ||
           std::any_of(
               graph.nodes.begin(), graph.nodes.end(),
               [](const NodeRecord& node) {
                   return property(node.properties, "media.class").find("Audio") !=
                          std::string_view::npos;
               }) ||
           std::any_of(graph.clients.begin(), graph.clients.end(), [](const ClientRecord& client) {
               return property(client.properties, "config.name") == "pipewire-pulse.conf";
           });
}

} // namespace

AudioServer::Options AudioServer::Options::ofThisSession() {
    Options options;
    if (const char* const folder = std::getenv("XDG_RUNTIME_DIR")) {
        options.runtimeFolder = folder;
    }
    return options;
}

AudioServer::AudioServer(
    MainLoop& mainLoop, pw_loop* loop, Options options, StateListener stateChanged)
    : mainLoop_{mainLoop}, loop_{loop}, options_{std::move(options)},
      stateChanged_{std::move(stateChanged)}, nextDelay_{firstDelay} {
    connect();
}

AudioServer::~AudioServer() = default;

std::shared_ptr<const AudioGraph> AudioServer::graph() const {
    if (connection_ == nullptr || !complete_) {
        return nullptr;
    }
    if (graph_ == nullptr) {
        graph_ = std::make_shared<const AudioGraph>(connection_->mirror().graph());
    }
    return graph_;
}

void AudioServer::connect() {
    if (context_ == nullptr) {
        context_.reset(pw_context_new(loop_, nullptr, 0));
    }
    if (context_ != nullptr) {
        connection_ = ServerConnection::open(
            context_.get(), options_.remote,
            {.complete =
                 [this] {
                     complete_ = true;
                     nextDelay_ = firstDelay;
                     announceLater();
                 },
             .changed =
                 [this] {
                     announceLater();
                     readDefaultsLater();
                 },
             .lost =
                 [this] {
                     reconnectLater();
                 }});
    }
    if (connection_ == nullptr) {
        reconnectLater();
    }
}

void AudioServer::reconnectLater() {
    if (reconnection_ != nullptr) {
        return;
    }
    complete_ = false;
    announceLater();
    // The dead connection is kept until the timer: this may be one of its own callbacks.
    reconnection_ = mainLoop_.after(nextDelay_, [this] {
        const auto running = std::move(reconnection_);
        connection_.reset();
        connect();
    });
    nextDelay_ = std::min(2 * nextDelay_, longestDelay);
}

void AudioServer::readDefaultsLater() {
    if (defaultsReading_ != nullptr) {
        readsDefaultsOnceMore_ = true;
        return;
    }
    defaultsReading_ = mainLoop_.after(defaultsSettleWithin, [this] {
        const auto running = std::move(defaultsReading_);
        if (connection_ != nullptr && complete_) {
            connection_->readDefaultsAgain();
        }
        if (std::exchange(readsDefaultsOnceMore_, false)) {
            readDefaultsLater();
        }
    });
}

void AudioServer::announceLater() {
    graph_.reset();
    if (announcement_ == nullptr) {
        announcement_ = mainLoop_.after(0ns, [this] { announce(); });
    }
}

void AudioServer::announce() {
    const auto running = std::move(announcement_);
    const AudioServerState state = currentState();
    const AudioServerState previous = std::exchange(state_, state);
    listeners_.call();
    if (state != previous) {
        stateChanged_(state);
    }
}

AudioServerState AudioServer::currentState() const {
    const auto known = graph();
    if (known != nullptr && carriesAudio(*known)) {
        return AudioServerState::serving;
    }
    if (known == nullptr && connection_ != nullptr && reconnection_ == nullptr) {
        return state_; // the server has not told everything yet
    }
    if (pulseAudioRuns(options_.runtimeFolder, options_.procFolder)) {
        return AudioServerState::pulseAudio;
    }
    return known != nullptr ? AudioServerState::withoutAudio : AudioServerState::unreachable;
}

} // namespace brindle::pipewire
