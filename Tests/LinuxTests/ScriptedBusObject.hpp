// An object on the session bus under a well-known name, for services that do what a test says.
#pragma once

#include <systemd/sd-bus.h>

#include <memory>

namespace brindle::test {

/// Serves while `serve` is called. Destroyed, it is gone from the bus.
class ScriptedBusObject {
  public:
    /// The table is used as long as this lives, and `self` is handed to its handlers. Throws
    /// std::runtime_error when there is no bus, or when somebody else has the name.
    ScriptedBusObject(
        const char* name, const char* path, const char* interface, const sd_bus_vtable* table,
        void* self);

    [[nodiscard]] sd_bus* bus() const { return bus_.get(); }
    /// Answers what has been asked. Never waits.
    void serve();

  private:
    struct Closer {
        void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
    };
    std::unique_ptr<sd_bus, Closer> bus_;
};

/// Throws std::runtime_error with these words when a call to the bus has failed.
void requireOfBus(int result, const char* what);

} // namespace brindle::test
