#include "LinuxTests/ScriptedSettingsPortal.hpp"

#include <array>
#include <memory>

namespace brindle::test {

namespace {

constexpr const char* object = "/org/freedesktop/portal/desktop";
constexpr const char* interface = "org.freedesktop.portal.Settings";

struct Release {
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using Message = std::unique_ptr<sd_bus_message, Release>;

} // namespace

ScriptedSettingsPortal::ScriptedSettingsPortal(std::map<Key, Value> settings)
    : portal_{"org.freedesktop.portal.Desktop", object, interface, table(), this},
      settings_{std::move(settings)} {}

const sd_bus_vtable* ScriptedSettingsPortal::table() {
    static const std::array<sd_bus_vtable, 4> table{{
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD("Read", "ss", "v", &ScriptedSettingsPortal::read, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_SIGNAL("SettingChanged", "ssv", 0),
        SD_BUS_VTABLE_END,
    }};
    return table.data();
}

int ScriptedSettingsPortal::read(sd_bus_message* call, void* self, sd_bus_error* error) {
    auto& portal = *static_cast<ScriptedSettingsPortal*>(self);
    ++portal.questions_;
    const char* group = nullptr;
    const char* key = nullptr;
    requireOfBus(sd_bus_message_read(call, "ss", &group, &key), "no question");
    const auto found = portal.settings_.find({group, key});
    if (found == portal.settings_.end()) {
        return sd_bus_error_set(error, "org.freedesktop.portal.Error.NotFound", "no such setting");
    }
    sd_bus_message* made = nullptr;
    requireOfBus(sd_bus_message_new_method_return(call, &made), "no answer");
    const Message answer{made};
    // "Read" wraps its answer twice, as the real portals do.
    requireOfBus(sd_bus_message_open_container(made, 'v', "v"), "no answer");
    requireOfBus(found->second(made), "no answer");
    requireOfBus(sd_bus_message_close_container(made), "no answer");
    return sd_bus_send(nullptr, made, nullptr);
}

void ScriptedSettingsPortal::change(const Key& key, const Value& value) {
    sd_bus_message* made = nullptr;
    requireOfBus(
        sd_bus_message_new_signal(portal_.bus(), &made, object, interface, "SettingChanged"),
        "no signal");
    const Message signal{made};
    requireOfBus(
        sd_bus_message_append(made, "ss", key.first.c_str(), key.second.c_str()), "no signal");
    requireOfBus(value(made), "no signal");
    requireOfBus(sd_bus_send(portal_.bus(), made, nullptr), "no signal");
    requireOfBus(sd_bus_flush(portal_.bus()), "no signal");
}

} // namespace brindle::test
