// Another program on a message bus, known by its public name: who has the name, and what they
// signal.
#pragma once

#include "BrindleRecorderLinux/Bus/Bus.hpp"

#include <systemd/sd-bus.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace brindle {

/// Main thread only. Signals count from the name's owner alone, and who that is only the bus can
/// say: a signal that is addressed to us directly comes through every match for a public name,
/// whoever has sent it, and the system's bus lets every user send one.
class BusService {
  public:
    using Handler = std::function<void(sd_bus_message*)>;

    /// The bus must be connected and outlive this. `ownerChanged` is called when the name gets
    /// another owner or loses its last, but not for the owner that it has at first.
    BusService(Bus& bus, std::string name, std::function<void()> ownerChanged);
    BusService(const BusService&) = delete;
    BusService& operator=(const BusService&) = delete;

    /// The unique name of whoever has the name; empty while nobody has it, and before the bus has
    /// answered, which it does before anything that it is asked later.
    [[nodiscard]] const std::string& owner() const { return owner_; }

    /// Hands that signal of that object to the handler from now on. False when the bus is gone.
    [[nodiscard]] bool
    follow(const std::string& object, const char* interface, const char* signal, Handler handler);

    /// Calls no handler any more. Also from within one.
    void stop();

  private:
    struct Followed {
        BusService* service;
        Handler handler;
        BusSlot slot;
    };

    void followOwner();
    void askForOwner();
    void takeOwnerChange(sd_bus_message* signal);

    Bus& bus_;
    const std::string name_;
    const std::function<void()> ownerChanged_;
    std::string owner_;
    BusSlot ownerSlot_;
    BusSlot question_;
    std::vector<std::unique_ptr<Followed>> followed_;
};

} // namespace brindle
