#include "LinuxTests/ScriptedCameraPortal.hpp"

#include <algorithm>
#include <array>
#include <string_view>

namespace brindle::test {

namespace {

constexpr const char* object = "/org/freedesktop/portal/desktop";
constexpr const char* camera = "org.freedesktop.portal.Camera";
constexpr const char* requestInterface = "org.freedesktop.portal.Request";

std::string tokenOf(sd_bus_message* call) {
    const char* token = "";
    const char* key = nullptr;
    requireOfBus(sd_bus_message_enter_container(call, 'a', "{sv}"), "no options");
    requireOfBus(sd_bus_message_enter_container(call, 'e', "sv"), "no options");
    requireOfBus(sd_bus_message_read(call, "sv", &key, "s", &token), "no token");
    return std::string_view{key} == "handle_token" ? token : "";
}

} // namespace

ScriptedCameraPortal::ScriptedCameraPortal(Manner manner)
    : manner_{manner}, portal_{"org.freedesktop.portal.Desktop", object, camera, table(), this} {}

const sd_bus_vtable* ScriptedCameraPortal::table() {
    static const std::array<sd_bus_vtable, 4> table{{
        SD_BUS_VTABLE_START(0),
        SD_BUS_PROPERTY("IsCameraPresent", "b", &ScriptedCameraPortal::isCameraPresent, 0, 0),
        SD_BUS_METHOD(
            "AccessCamera", "a{sv}", "o", &ScriptedCameraPortal::accessCamera,
            SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_VTABLE_END,
    }};
    return table.data();
}

int ScriptedCameraPortal::isCameraPresent(
    sd_bus* /*bus*/, const char* /*path*/, const char* /*interface*/, const char* /*property*/,
    sd_bus_message* reply, void* self, sd_bus_error* /*error*/) {
    ++static_cast<ScriptedCameraPortal*>(self)->questions_;
    return sd_bus_message_append(reply, "b", 1);
}

int ScriptedCameraPortal::accessCamera(sd_bus_message* call, void* self, sd_bus_error* error) {
    return static_cast<ScriptedCameraPortal*>(self)->take(call, error);
}

int ScriptedCameraPortal::take(sd_bus_message* call, sd_bus_error* error) {
    ++questions_;
    const std::string asker = sd_bus_message_get_sender(call);
    std::string sender = asker.substr(1);
    std::ranges::replace(sender, '.', '_');
    const std::string path = std::string{object} + "/request/" + sender + "/" + tokenOf(call);
    requests_.push_back({.asker = asker, .path = path});
    switch (manner_) {
    case Manner::refusesRequests:
        return sd_bus_error_set(
            error, "org.freedesktop.portal.Error.NotAllowed", "cameras are disabled here");
    case Manner::doesNotReply:
        return 1;
    case Manner::takesForAnotherOne:
        return sd_bus_reply_method_return(
            call, "o", "/org/freedesktop/portal/desktop/request/1_1/somebody_elses");
    case Manner::answersBeforeTaking:
        respond(0);
        break;
    case Manner::answersWithoutNumber:
        requireOfBus(
            sd_bus_emit_signal(
                portal_.bus(), path.c_str(), requestInterface, "Response", "s", "granted"),
            "no signal");
        break;
    case Manner::takesRequests:
        break;
    }
    return sd_bus_reply_method_return(call, "o", path.c_str());
}

void ScriptedCameraPortal::respond(std::uint32_t response) {
    requireOfBus(
        sd_bus_emit_signal(
            portal_.bus(), requests_.at(0).path.c_str(), requestInterface, "Response", "ua{sv}",
            response, 0),
        "no signal");
    requireOfBus(sd_bus_flush(portal_.bus()), "no signal");
}

std::string ScriptedCameraPortal::ownName() const {
    const char* name = nullptr;
    requireOfBus(sd_bus_get_unique_name(portal_.bus(), &name), "no name");
    return name;
}

} // namespace brindle::test
