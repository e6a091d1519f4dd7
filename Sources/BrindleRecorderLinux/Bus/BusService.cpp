#include "BrindleRecorderLinux/Bus/BusService.hpp"

#include <string_view>
#include <utility>

namespace brindle {

namespace {

constexpr const char* busName = "org.freedesktop.DBus"; // nobody else can have it
constexpr const char* busObject = "/org/freedesktop/DBus";

bool isFrom(sd_bus_message* message, std::string_view sender) {
    const char* const actual = sd_bus_message_get_sender(message);
    return actual != nullptr && sender == actual;
}

} // namespace

BusService::BusService(Bus& bus, std::string name, std::function<void()> ownerChanged)
    : bus_{bus}, name_{std::move(name)}, ownerChanged_{std::move(ownerChanged)} {
    // Followed first, so that nothing is missed between question and answer.
    followOwner();
    askForOwner();
}

void BusService::followOwner() {
    const std::string match = "type='signal',sender='org.freedesktop.DBus',"
                              "interface='org.freedesktop.DBus',member='NameOwnerChanged',arg0='" +
                              name_ + "'";
    sd_bus_slot* slot = nullptr;
    const int matched = sd_bus_add_match_async(
        bus_.get(), &slot, match.c_str(),
        [](sd_bus_message* signal, void* self, sd_bus_error*) {
            static_cast<BusService*>(self)->takeOwnerChange(signal);
            return 0;
        },
        nullptr, this);
    if (matched >= 0) {
        ownerSlot_.reset(slot);
    }
}

void BusService::askForOwner() {
    sd_bus_slot* slot = nullptr;
    const int called = sd_bus_call_method_async(
        bus_.get(), &slot, busName, busObject, busName, "GetNameOwner",
        [](sd_bus_message* answer, void* self, sd_bus_error*) {
            const char* owner = nullptr;
            if (sd_bus_message_is_method_error(answer, nullptr) == 0 &&
                sd_bus_message_read(answer, "s", &owner) > 0) {
                static_cast<BusService*>(self)->owner_ = owner;
            }
            return 0;
        },
        this, "s", name_.c_str());
    if (called >= 0) {
        question_.reset(slot);
    }
}

void BusService::takeOwnerChange(sd_bus_message* signal) {
    const char* name = nullptr;
    const char* before = nullptr;
    const char* after = nullptr;
    if (!isFrom(signal, busName) ||
        sd_bus_message_read(signal, "sss", &name, &before, &after) <= 0 || name_ != name) {
        return;
    }
    owner_ = after;
    if (ownerChanged_) {
        ownerChanged_();
    }
}

bool BusService::follow(
    const std::string& object, const char* interface, const char* signal, Handler handler) {
    auto followed = std::make_unique<Followed>(Followed{this, std::move(handler), nullptr});
    sd_bus_slot* slot = nullptr;
    const int matched = sd_bus_match_signal_async(
        bus_.get(), &slot, name_.c_str(), object.c_str(), interface, signal,
        [](sd_bus_message* message, void* self, sd_bus_error*) {
            const auto* const one = static_cast<Followed*>(self);
            const std::string& owner = one->service->owner_;
            if (!owner.empty() && isFrom(message, owner)) {
                one->handler(message);
            }
            return 0;
        },
        nullptr, followed.get());
    if (matched < 0) {
        return false;
    }
    followed->slot.reset(slot);
    followed_.push_back(std::move(followed));
    return true;
}

void BusService::stop() {
    ownerSlot_.reset();
    question_.reset();
    // Not the handlers: one of them may be at work.
    for (const auto& followed : followed_) {
        followed->slot.reset();
    }
}

} // namespace brindle
