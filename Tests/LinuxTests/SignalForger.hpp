// Somebody on the session bus who sends signals as if others had sent them.
#pragma once

#include "LinuxTests/ScriptedBusObject.hpp"

#include <systemd/sd-bus.h>

#include <memory>
#include <string>

namespace brindle::test {

class SignalForger {
  public:
    /// Throws std::runtime_error when there is no bus.
    SignalForger();

    /// What a signal claims to be.
    struct Signal {
        std::string object;
        std::string interface;
        std::string member;
    };
    /// The bus's word that a name has another owner.
    static Signal nameOwnerChanged() {
        return {"/org/freedesktop/DBus", "org.freedesktop.DBus", "NameOwnerChanged"};
    }

    /// Sends it to everybody who listens, and to that connection directly.
    template <class... Arguments>
    void send(
        const std::string& victim, const Signal& signal, const char* types,
        Arguments... arguments) {
        for (const char* destination : {static_cast<const char*>(nullptr), victim.c_str()}) {
            const Message message = make(signal);
            requireOfBus(sd_bus_message_append(message.get(), types, arguments...), "no signal");
            post(message.get(), destination);
        }
        ping(victim);
    }
    /// Sends it a question that it answers in its turn.
    void ping(const std::string& victim);
    /// Whether the victim has handled the last signal or question, and all that the bus sent it
    /// before.
    [[nodiscard]] bool isHandled();
    [[nodiscard]] std::string ownName() const;

  private:
    struct Release {
        void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
        void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
    };
    using Message = std::unique_ptr<sd_bus_message, Release>;

    [[nodiscard]] Message make(const Signal& signal) const;
    void post(sd_bus_message* message, const char* destination);
    std::unique_ptr<sd_bus, Release> bus_;
    bool isAnswered_ = true;
};

} // namespace brindle::test
