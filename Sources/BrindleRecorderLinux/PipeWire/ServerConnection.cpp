#include "BrindleRecorderLinux/PipeWire/ServerConnection.hpp"

#include "BrindleRecorderLinux/PipeWire/Calls.hpp"

#include <cerrno>
#include <utility>

namespace brindle::pipewire {

std::unique_ptr<ServerConnection> ServerConnection::open(
    pw_context* context, const std::optional<std::string>& remote, Callbacks callbacks) {
    PropertiesHandle properties{pw_properties_new(nullptr, nullptr)};
    if (remote) {
        pw_properties_set(properties.get(), PW_KEY_REMOTE_NAME, remote->c_str());
    }
    CoreHandle core{pw_context_connect(context, properties.release(), 0)};
    if (core == nullptr) {
        return nullptr;
    }
    return std::make_unique<ServerConnection>(std::move(core), std::move(callbacks));
}

ServerConnection::ServerConnection(CoreHandle core, Callbacks callbacks)
    : callbacks_{std::move(callbacks)}, core_{std::move(core)}, mirror_{
                                                                    core_.get(),
                                                                    callbacks_.changed} {
    static const pw_core_events events = [] {
        pw_core_events handlers{};
        handlers.version = PW_VERSION_CORE_EVENTS;
        handlers.done = [](void* self, std::uint32_t id, int sequence) {
            if (id == PW_ID_CORE) {
                static_cast<ServerConnection*>(self)->answered(sequence);
            }
        };
        handlers.error = [](void* self, std::uint32_t id, int /*sequence*/, int result,
                            const char* /*message*/) {
            if (id == PW_ID_CORE && result == -EPIPE) {
                static_cast<ServerConnection*>(self)->callbacks_.lost();
            }
        };
        return handlers;
    }();
    addListener(core_.get(), listener_.get(), &events, this);
    awaitedAnswer_ = sync(core_.get());
}

void ServerConnection::readDefaultsAgain() {
    if (!defaultsQuestion_) {
        mirror_.readDefaultsAgain();
        defaultsQuestion_ = sync(core_.get());
    }
}

void ServerConnection::answered(int sequence) {
    if (sequence == defaultsQuestion_) {
        defaultsQuestion_.reset();
        mirror_.takeDefaults();
    }
    if (answersMissing_ == 0 || sequence != awaitedAnswer_) {
        return;
    }
    // By the first answer every object has been announced, by the second each has told its
    // particulars, by the third each camera has told its formats.
    if (--answersMissing_ > 0) {
        awaitedAnswer_ = sync(core_.get());
    } else {
        callbacks_.complete();
    }
}

} // namespace brindle::pipewire
