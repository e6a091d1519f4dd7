#include "LinuxTests/ScriptedBusObject.hpp"

#include <stdexcept>
#include <string>

namespace brindle::test {

ScriptedBusObject::ScriptedBusObject(
    const char* name, const char* path, const char* interface, const sd_bus_vtable* table,
    void* self) {
    sd_bus* bus = nullptr;
    requireOfBus(sd_bus_open_user(&bus), "no bus");
    bus_.reset(bus);
    requireOfBus(sd_bus_add_object_vtable(bus, nullptr, path, interface, table, self), "no object");
    requireOfBus(sd_bus_request_name(bus, name, 0), "the name is taken");
}

void ScriptedBusObject::serve() {
    while (sd_bus_process(bus(), nullptr) > 0) {
    }
}

void requireOfBus(int result, const char* what) {
    if (result < 0) {
        throw std::runtime_error{std::string{"scripted service: "} + what};
    }
}

} // namespace brindle::test
