#include "LinuxTests/ScriptedLogin1.hpp"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <utility>

namespace brindle::test {

namespace {

constexpr const char* object = "/org/freedesktop/login1";
constexpr const char* manager = "org.freedesktop.login1.Manager";

} // namespace

ScriptedLogin1::ScriptedLogin1()
    : manager_{"org.freedesktop.login1", object, manager, table(), this} {}

const sd_bus_vtable* ScriptedLogin1::table() {
    static const std::array<sd_bus_vtable, 5> table{{
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD("Inhibit", "ssss", "h", &ScriptedLogin1::inhibit, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_SIGNAL("PrepareForSleep", "b", 0),
        SD_BUS_SIGNAL("PrepareForShutdown", "b", 0),
        SD_BUS_VTABLE_END,
    }};
    return table.data();
}

int ScriptedLogin1::inhibit(sd_bus_message* call, void* self, sd_bus_error* /*error*/) {
    const char* what = nullptr;
    const char* who = nullptr;
    const char* why = nullptr;
    const char* mode = nullptr;
    if (const int read = sd_bus_message_read(call, "ssss", &what, &who, &why, &mode); read < 0) {
        return read;
    }
    std::array<int, 2> ends{-1, -1};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        return -errno;
    }
    FileDescriptor ourEnd{ends[0]};
    const FileDescriptor theirEnd{ends[1]};
    static_cast<ScriptedLogin1*>(self)->locks_.push_back(
        {what, who, mode, sd_bus_message_get_sender(call), std::move(ourEnd)});
    return sd_bus_reply_method_return(call, "h", theirEnd.number()); // which copies it
}

void ScriptedLogin1::announce(const char* signal, bool begins) {
    requireOfBus(
        sd_bus_emit_signal(manager_.bus(), object, manager, signal, "b", begins ? 1 : 0),
        "no signal");
    requireOfBus(sd_bus_flush(manager_.bus()), "no signal");
}

void ScriptedLogin1::catchUp() {
    // The bus delivers in order: its answer comes after whatever went before the question.
    requireOfBus(
        sd_bus_call_method(
            manager_.bus(), "org.freedesktop.DBus", "/", "org.freedesktop.DBus", "GetId", nullptr,
            nullptr, nullptr),
        "no answer");
    serve();
}

bool ScriptedLogin1::isHeld(std::size_t index) const {
    pollfd end{locks_.at(index).ourEnd.number(), POLLIN, 0};
    return poll(&end, 1, 0) == 0; // nothing is ever written, so only its closing can be seen
}

} // namespace brindle::test
