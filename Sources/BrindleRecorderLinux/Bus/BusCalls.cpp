#include "BrindleRecorderLinux/Bus/BusCalls.hpp"

#include <algorithm>
#include <utility>

namespace brindle {

BusMessage BusCalls::make(
    const std::string& destination, const char* object, const char* interface,
    const char* method) const {
    sd_bus_message* made = nullptr;
    const int result = sd_bus_message_new_method_call(
        bus_.get(), &made, destination.c_str(), object, interface, method);
    return BusMessage{result >= 0 ? made : nullptr};
}

bool BusCalls::send(BusMessage call, Answered answered) {
    auto& waiting = waiting_.emplace_back(Waiting{this, std::move(answered), nullptr});
    sd_bus_slot* slot = nullptr;
    if (call == nullptr ||
        sd_bus_call_async(bus_.get(), &slot, call.get(), &BusCalls::take, &waiting, 0) < 0) {
        waiting_.pop_back();
        return false;
    }
    waiting.slot.reset(slot);
    bus_.wake();
    return true;
}

void BusCalls::send(BusMessage call) {
    if (call != nullptr && sd_bus_send(bus_.get(), call.get(), nullptr) >= 0) {
        bus_.wake();
    }
}

int BusCalls::take(sd_bus_message* answer, void* waiting, sd_bus_error* /*error*/) {
    auto& all = static_cast<Waiting*>(waiting)->calls->waiting_;
    const auto place =
        std::ranges::find_if(all, [&](const Waiting& one) { return &one == waiting; });
    // Kept until the end of this call: whoever is answered may call again, or go.
    std::list<Waiting> over;
    over.splice(over.begin(), all, place);
    over.front().answered(answer);
    return 0;
}

} // namespace brindle
