// The program's object on the session bus for terminals and scripts.
#pragma once

#include "BrindleRecorderApp/Platform/ControlPort.hpp"
#include "BrindleRecorderLinux/Bus/Bus.hpp"

#include <functional>

namespace brindle {

/// Main thread only. Any program of the user's session may call it.
class ControlObject final : public ControlPort {
  public:
    /// The bus must be connected and outlive this.
    explicit ControlObject(Bus& bus);
    ControlObject(const ControlObject&) = delete;
    ControlObject& operator=(const ControlObject&) = delete;

    /// Whether the place on the bus was free.
    [[nodiscard]] bool isExported() const { return object_ != nullptr; }

    void showStatus(const ProgramStatus& status) override;
    void setCommandHandler(std::function<bool(const ControlCommand&)> handler) override;

  private:
    // Called by the bus.
    static int describe(sd_bus_message* call, void* self, sd_bus_error* error);
    static int
    say(sd_bus* bus, const char* path, const char* interface, const char* property,
        sd_bus_message* answer, void* self, sd_bus_error* error);
    static int take(sd_bus_message* call, void* self, sd_bus_error* error);

    static const sd_bus_vtable* table();

    Bus& bus_;
    BusSlot object_;
    BusSlot description_;
    ProgramStatus status_;
    std::function<bool(const ControlCommand&)> handler_;
};

} // namespace brindle
