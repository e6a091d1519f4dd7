#include "BrindleRecorderLinux/Window/WindowObject.hpp"

#include <array>

namespace brindle {

namespace {

int refuse(sd_bus_error* error, const char* why) {
    return sd_bus_error_set(error, SD_BUS_ERROR_ACCESS_DENIED, why);
}

} // namespace

WindowObject::WindowObject(Bus& bus) : bus_{bus} {
    sd_bus_slot* slot = nullptr;
    if (sd_bus_add_object_vtable(
            bus_.get(), &slot, WindowProtocol::path, WindowProtocol::interface, table(), this) >=
        0) {
        slot_.reset(slot);
    }
}

const sd_bus_vtable* WindowObject::table() {
    static const std::array<sd_bus_vtable, 8> table{{
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD(
            "Attach", "s", "", &WindowObject::take<&WindowObject::attach>,
            SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD(
            "GetSetupWindow", "", "usa(sss)", &WindowObject::take<&WindowObject::getSetupWindow>,
            SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD(
            "SetupWindowClosed", "", "", &WindowObject::take<&WindowObject::setupWindowClosed>,
            SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD(
            "TrayIconShown", "b", "", &WindowObject::take<&WindowObject::trayIconShown>,
            SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_SIGNAL("SetupWindowChanged", "", 0),
        SD_BUS_SIGNAL("MenuWindowToFront", "", 0),
        SD_BUS_VTABLE_END,
    }};
    return table.data();
}

void WindowObject::show(const std::optional<SetupWindowContent>& content, unsigned fronts) {
    content_ = content;
    fronts_ = fronts;
    tell("SetupWindowChanged");
}

void WindowObject::tell(const char* signal) {
    if (sd_bus_emit_signal(
            bus_.get(), WindowProtocol::path, WindowProtocol::interface, signal, "") >= 0) {
        bus_.wake();
    }
}

int WindowObject::attach(sd_bus_message* call, sd_bus_error* error) {
    const char* token = nullptr;
    if (const int read = sd_bus_message_read(call, "s", &token); read < 0) {
        return read;
    }
    const char* const sender = sd_bus_message_get_sender(call);
    const auto role = roleOfToken ? roleOfToken(token) : std::nullopt;
    if (!role || sender == nullptr) {
        return refuse(error, "This program was not started by the recorder.");
    }
    callers_[*role] = sender;
    return sd_bus_reply_method_return(call, "");
}

int WindowObject::getSetupWindow(sd_bus_message* call, sd_bus_error* error) {
    if (!speaksFor(WindowRole::setupWindow, call)) {
        return refuse(error, "This is for the program with the setup window.");
    }
    if (!content_) {
        return sd_bus_error_set(error, SD_BUS_ERROR_FAILED, "There is no setup window.");
    }
    sd_bus_message* made = nullptr;
    if (const int result = sd_bus_message_new_method_return(call, &made); result < 0) {
        return result;
    }
    const BusMessage answer{made};
    if (const int result = sd_bus_message_append(made, "u", fronts_); result < 0) {
        return result;
    }
    if (const int result = WindowProtocol::append(made, *content_); result < 0) {
        return result;
    }
    return sd_bus_send(nullptr, made, nullptr);
}

int WindowObject::setupWindowClosed(sd_bus_message* call, sd_bus_error* error) {
    if (!speaksFor(WindowRole::setupWindow, call)) {
        return refuse(error, "This is for the program with the setup window.");
    }
    const int answered = sd_bus_reply_method_return(call, "");
    if (onSetupWindowClosed) {
        onSetupWindowClosed();
    }
    return answered;
}

int WindowObject::trayIconShown(sd_bus_message* call, sd_bus_error* error) {
    if (!speaksFor(WindowRole::trayIcon, call)) {
        return refuse(error, "This is for the program with the tray's icon.");
    }
    int isShown = 0; // the wire's booleans have the size of an int
    if (const int read = sd_bus_message_read(call, "b", &isShown); read < 0) {
        return read;
    }
    const int answered = sd_bus_reply_method_return(call, "");
    if (onTrayIconShown) {
        onTrayIconShown(isShown != 0);
    }
    return answered;
}

bool WindowObject::speaksFor(WindowRole role, sd_bus_message* call) const {
    const char* const sender = sd_bus_message_get_sender(call);
    const auto caller = callers_.find(role);
    return sender != nullptr && caller != callers_.end() && caller->second == sender;
}

} // namespace brindle
