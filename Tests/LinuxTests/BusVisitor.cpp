#include "LinuxTests/BusVisitor.hpp"

#include "LinuxTests/WaitOnLoop.hpp"

#include <stdexcept>
#include <string_view>
#include <utility>

namespace brindle::test {

std::string ownNameOf(sd_bus* bus) {
    const char* name = nullptr;
    requireOfBus(sd_bus_get_unique_name(bus, &name), "no name");
    return name;
}

BusVisitor::BusVisitor(EventLoop& loop) : loop_{loop} {
    sd_bus* bus = nullptr;
    requireOfBus(sd_bus_open_user(&bus), "no bus");
    bus_.reset(bus);
}

BusVisitor::~BusVisitor() = default;

BusMessage BusVisitor::make(const Place& place, const char* method) const {
    sd_bus_message* made = nullptr;
    requireOfBus(
        sd_bus_message_new_method_call(
            bus_.get(), &made, place.owner.c_str(), place.path.c_str(), place.interface.c_str(),
            method),
        "no question");
    return BusMessage{made};
}

BusMessage BusVisitor::answerTo(const BusMessage& question) {
    BusMessage answer;
    sd_bus_slot* slot = nullptr;
    requireOfBus(
        sd_bus_call_async(
            bus_.get(), &slot, question.get(),
            [](sd_bus_message* message, void* place, sd_bus_error* /*error*/) {
                static_cast<BusMessage*>(place)->reset(sd_bus_message_ref(message));
                return 0;
            },
            &answer, 0),
        "no question");
    const BusSlot waiting{slot};
    const bool isAnswered = waitUntil(loop_, [&] {
        process();
        return answer != nullptr;
    });
    if (!isAnswered) {
        throw std::runtime_error{"bus visitor: no answer"};
    }
    return answer;
}

BusMessage BusVisitor::property(const Place& place, const char* name) {
    return call(
        {place.owner, place.path, "org.freedesktop.DBus.Properties"}, "Get", "ss",
        place.interface.c_str(), name);
}

std::string BusVisitor::text(const Place& place, const char* name) {
    const BusMessage answer = property(place, name);
    const char* text = nullptr;
    requireOfBus(sd_bus_message_read(answer.get(), "v", "s", &text), "no text");
    return text;
}

std::string BusVisitor::description(const Place& place) {
    const BusMessage answer =
        call({place.owner, place.path, "org.freedesktop.DBus.Introspectable"}, "Introspect", "");
    const char* text = nullptr;
    requireOfBus(sd_bus_message_read(answer.get(), "s", &text), "no description");
    return text;
}

void BusVisitor::listenTo(const Place& place) {
    listenedTo_ = place;
    sd_bus_slot* slot = nullptr;
    requireOfBus(
        sd_bus_match_signal(
            bus_.get(), &slot, place.owner.c_str(), place.path.c_str(), place.interface.c_str(),
            nullptr,
            [](sd_bus_message* message, void* self, sd_bus_error* /*error*/) {
                static_cast<BusVisitor*>(self)->heard_.emplace_back(sd_bus_message_ref(message));
                return 0;
            },
            this),
        "no signals");
    listening_.reset(slot);
}

std::vector<BusMessage> BusVisitor::heard() {
    // Answered in its turn, behind what was said before.
    call({listenedTo_.owner, "/", "org.freedesktop.DBus.Peer"}, "Ping", "");
    return std::exchange(heard_, {});
}

std::vector<BusMessage> BusVisitor::heard(const char* signal) {
    std::vector<BusMessage> result;
    for (auto& message : heard()) {
        if (sd_bus_message_get_member(message.get()) == std::string_view{signal}) {
            result.push_back(std::move(message));
        }
    }
    return result;
}

void BusVisitor::process() {
    while (sd_bus_process(bus_.get(), nullptr) > 0) {
    }
}

} // namespace brindle::test
