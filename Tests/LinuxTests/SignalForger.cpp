#include "LinuxTests/SignalForger.hpp"

namespace brindle::test {

SignalForger::SignalForger() {
    sd_bus* bus = nullptr;
    requireOfBus(sd_bus_open_user(&bus), "no bus");
    bus_.reset(bus);
}

std::string SignalForger::ownName() const {
    const char* name = nullptr;
    requireOfBus(sd_bus_get_unique_name(bus_.get(), &name), "no name");
    return name;
}

SignalForger::Message SignalForger::make(const Signal& signal) const {
    sd_bus_message* made = nullptr;
    requireOfBus(
        sd_bus_message_new_signal(
            bus_.get(), &made, signal.object.c_str(), signal.interface.c_str(),
            signal.member.c_str()),
        "no signal");
    return Message{made};
}

void SignalForger::post(sd_bus_message* message, const char* destination) {
    requireOfBus(
        destination == nullptr ? sd_bus_send(bus_.get(), message, nullptr)
                               : sd_bus_send_to(bus_.get(), message, destination, nullptr),
        "no signal");
}

/// Answered in its turn, by the bus library itself.
void SignalForger::ping(const std::string& victim) {
    isAnswered_ = false;
    requireOfBus(
        sd_bus_call_method_async(
            bus_.get(), nullptr, victim.c_str(), "/", "org.freedesktop.DBus.Peer", "Ping",
            [](sd_bus_message* /*answer*/, void* self, sd_bus_error* /*error*/) {
                static_cast<SignalForger*>(self)->isAnswered_ = true;
                return 0;
            },
            this, nullptr),
        "no question");
    requireOfBus(sd_bus_flush(bus_.get()), "no question");
}

bool SignalForger::isHandled() {
    while (sd_bus_process(bus_.get(), nullptr) > 0) {
    }
    return isAnswered_;
}

} // namespace brindle::test
