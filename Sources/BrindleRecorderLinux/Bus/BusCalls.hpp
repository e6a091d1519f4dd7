// Calls of other programs on a message bus, whose answers come later.
#pragma once

#include "BrindleRecorderLinux/Bus/Bus.hpp"

#include <functional>
#include <list>
#include <string>

namespace brindle {

/// Main thread only. Answers that have not come are given up when this goes.
class BusCalls {
  public:
    /// Gets an error where there is no other answer, the end of the bus's patience included.
    using Answered = std::function<void(sd_bus_message* answer)>;

    /// The bus must be connected and outlive this.
    explicit BusCalls(Bus& bus) : bus_{bus} {}
    BusCalls(const BusCalls&) = delete;
    BusCalls& operator=(const BusCalls&) = delete;

    /// A call to be filled with its arguments.
    [[nodiscard]] BusMessage make(
        const std::string& destination, const char* object, const char* interface,
        const char* method) const;

    /// Never answered from within. False when the call cannot be sent; nothing is answered then.
    [[nodiscard]] bool send(BusMessage call, Answered answered);
    /// Nobody wants to know the answer. What cannot be sent is dropped.
    void send(BusMessage call);

  private:
    struct Waiting {
        BusCalls* calls;
        Answered answered;
        BusSlot slot;
    };

    static int take(sd_bus_message* answer, void* waiting, sd_bus_error* error);

    Bus& bus_;
    std::list<Waiting> waiting_;
};

/// Whether the call was answered, and not refused or left.
[[nodiscard]] inline bool isAnswer(sd_bus_message* answer) {
    return sd_bus_message_is_method_error(answer, nullptr) == 0;
}

} // namespace brindle
