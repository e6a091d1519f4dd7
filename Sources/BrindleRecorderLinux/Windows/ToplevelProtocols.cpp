#include "BrindleRecorderLinux/Windows/ToplevelProtocols.hpp"

namespace brindle::wayland {

namespace {

// In signatures: "n" is a new object, "o" an object, "?" before it one that may be missing, "s" a
// text, "a" bytes, "i" and "u" numbers, "h" a file; a number in front is the version that brought
// the message. The table of types has an entry for each argument; one for objects that we never
// have stays empty.

constexpr std::uint32_t usedVersion = 1;
/// The first in which a window can be given back.
constexpr std::uint32_t usedPlasmaVersion = 4;

const wl_interface* withoutTypes[5] = {nullptr, nullptr, nullptr, nullptr, nullptr};

// --- ext-foreign-toplevel-list-v1 ---

const wl_message extHandleRequests[] = {{"destroy", "", withoutTypes}};
const wl_message extHandleEvents[] = {
    {"closed", "", withoutTypes},  {"done", "", withoutTypes},        {"title", "s", withoutTypes},
    {"app_id", "s", withoutTypes}, {"identifier", "s", withoutTypes},
};
const wl_interface extHandle{
    "ext_foreign_toplevel_handle_v1", usedVersion, 1, extHandleRequests, 5, extHandleEvents};

const wl_interface* extHandleTypes[1] = {&extHandle};
const wl_message extListRequests[] = {
    {"stop", "", withoutTypes},
    {"destroy", "", withoutTypes},
};
const wl_message extListEvents[] = {
    {"toplevel", "n", extHandleTypes},
    {"finished", "", withoutTypes},
};
const wl_interface extList{
    "ext_foreign_toplevel_list_v1", usedVersion, 2, extListRequests, 2, extListEvents};

// --- wlr-foreign-toplevel-management-unstable-v1 ---

const wl_message wlrHandleRequests[] = {
    {"set_maximized", "", withoutTypes},      {"unset_maximized", "", withoutTypes},
    {"set_minimized", "", withoutTypes},      {"unset_minimized", "", withoutTypes},
    {"activate", "o", withoutTypes},          {"close", "", withoutTypes},
    {"set_rectangle", "oiiii", withoutTypes}, {"destroy", "", withoutTypes},
};
const wl_message wlrHandleEvents[] = {
    {"title", "s", withoutTypes},        {"app_id", "s", withoutTypes},
    {"output_enter", "o", withoutTypes}, {"output_leave", "o", withoutTypes},
    {"state", "a", withoutTypes},        {"done", "", withoutTypes},
    {"closed", "", withoutTypes},
};
const wl_interface wlrHandle{
    "zwlr_foreign_toplevel_handle_v1", usedVersion, 8, wlrHandleRequests, 7, wlrHandleEvents};

const wl_interface* wlrHandleTypes[1] = {&wlrHandle};
const wl_message wlrListRequests[] = {{"stop", "", withoutTypes}};
const wl_message wlrListEvents[] = {
    {"toplevel", "n", wlrHandleTypes},
    {"finished", "", withoutTypes},
};
const wl_interface wlrList{
    "zwlr_foreign_toplevel_manager_v1", usedVersion, 1, wlrListRequests, 2, wlrListEvents};

// --- org_kde_plasma_window_management ---

// Listed beyond the used version, since compositors send what they have to older clients, too.
const wl_message plasmaHandleRequests[] = {
    {"set_state", "uu", withoutTypes},
    {"set_virtual_desktop", "u", withoutTypes},
    {"set_minimized_geometry", "ouuuu", withoutTypes},
    {"unset_minimized_geometry", "o", withoutTypes},
    {"highlight", "", withoutTypes},
    {"close", "", withoutTypes},
    {"request_move", "3", withoutTypes},
    {"request_resize", "3", withoutTypes},
    {"destroy", "4", withoutTypes},
};
const wl_message plasmaHandleEvents[] = {
    {"title_changed", "s", withoutTypes},
    {"app_id_changed", "s", withoutTypes},
    {"state_changed", "u", withoutTypes},
    {"virtual_desktop_changed", "i", withoutTypes},
    {"themed_icon_name_changed", "s", withoutTypes},
    {"unmapped", "", withoutTypes},
    {"initial_state", "4", withoutTypes},
    {"parent_window", "5?o", withoutTypes},
    {"geometry", "6iiuu", withoutTypes},
    {"icon_changed", "7", withoutTypes},
    {"pid_changed", "u", withoutTypes},
    {"virtual_desktop_entered", "8s", withoutTypes},
    {"virtual_desktop_left", "8s", withoutTypes},
    {"application_menu", "10ss", withoutTypes},
    {"activity_entered", "14s", withoutTypes},
    {"activity_left", "14s", withoutTypes},
    {"resource_name_changed", "16s", withoutTypes},
};
const wl_interface plasmaHandle{
    "org_kde_plasma_window", usedPlasmaVersion, 9, plasmaHandleRequests, 17, plasmaHandleEvents};

const wl_interface* plasmaHandleTypes[2] = {&plasmaHandle, nullptr};
const wl_message plasmaListRequests[] = {
    {"show_desktop", "u", withoutTypes},
    {"get_window", "nu", plasmaHandleTypes},
};
constexpr std::uint32_t getPlasmaWindow = 1;
const wl_message plasmaListEvents[] = {
    {"show_desktop_changed", "u", withoutTypes},
    {"window", "u", withoutTypes},
    {"stacking_order_changed", "11a", withoutTypes},
    {"stacking_order_uuid_changed", "12s", withoutTypes},
    {"window_with_uuid", "13us", withoutTypes},
};
const wl_interface plasmaList{"org_kde_plasma_window_management",
                              usedPlasmaVersion,
                              2,
                              plasmaListRequests,
                              5,
                              plasmaListEvents};

// --- Receiving: a function for each event, in the tables' order ---

void onTitle(void* data, wl_proxy*, const char* text) {
    static_cast<ToplevelEvents*>(data)->title(text);
}
void onApplicationID(void* data, wl_proxy*, const char* text) {
    static_cast<ToplevelEvents*>(data)->applicationID(text);
}
void onDone(void* data, wl_proxy*) {
    static_cast<ToplevelEvents*>(data)->done();
}
void onClosed(void* data, wl_proxy*) {
    static_cast<ToplevelEvents*>(data)->closed();
}
void ignoreText(void*, wl_proxy*, const char*) {}
void ignoreOutput(void*, wl_proxy*, wl_proxy*) {}
void ignoreState(void*, wl_proxy*, wl_array*) {}
void ignoreNothing(void*, wl_proxy*) {}
void ignoreNumber(void*, wl_proxy*, std::uint32_t) {}
void ignoreSignedNumber(void*, wl_proxy*, std::int32_t) {}
void ignoreGeometry(void*, wl_proxy*, std::int32_t, std::int32_t, std::uint32_t, std::uint32_t) {}
void ignoreTexts(void*, wl_proxy*, const char*, const char*) {}
void ignoreNumberAndText(void*, wl_proxy*, std::uint32_t, const char*) {}

// Plasma's compositor tells each particular by itself, and each counts at once.
void onPlasmaTitle(void* data, wl_proxy*, const char* text) {
    static_cast<ToplevelEvents*>(data)->title(text);
    static_cast<ToplevelEvents*>(data)->done();
}
void onPlasmaApplicationID(void* data, wl_proxy*, const char* text) {
    static_cast<ToplevelEvents*>(data)->applicationID(text);
    static_cast<ToplevelEvents*>(data)->done();
}
void onPlasmaWindow(void* data, wl_proxy* list, std::uint32_t number) {
    wl_proxy* const handle = wl_proxy_marshal_flags(
        list, getPlasmaWindow, &plasmaHandle, usedPlasmaVersion, 0, nullptr, number);
    if (handle != nullptr) {
        static_cast<ToplevelListEvents*>(data)->toplevel(handle);
    }
}

void onToplevel(void* data, wl_proxy*, wl_proxy* handle) {
    static_cast<ToplevelListEvents*>(data)->toplevel(handle);
}
void onFinished(void* data, wl_proxy*) {
    static_cast<ToplevelListEvents*>(data)->finished();
}

using AnyFunction = void (*)();
template <class Function>
AnyFunction any(Function* function) {
    return reinterpret_cast<AnyFunction>(function);
}

} // namespace

const std::array<ToplevelProtocol, 3> toplevelProtocols{{
    {&extList, &extHandle, usedVersion, 0, false},
    {&wlrList, &wlrHandle, usedVersion, 7, false},
    {&plasmaList, &plasmaHandle, usedPlasmaVersion, 8, true},
}};

void listen(wl_proxy* list, const ToplevelProtocol& protocol, ToplevelListEvents& events) {
    static AnyFunction common[] = {any(onToplevel), any(onFinished)};
    static AnyFunction plasma[] = {
        any(ignoreNumber), any(onPlasmaWindow), any(ignoreState), any(ignoreText),
        any(ignoreNumberAndText)};
    wl_proxy_add_listener(list, protocol.announcesNumbers ? plasma : common, &events);
}

void listen(wl_proxy* handle, const ToplevelProtocol& protocol, ToplevelEvents& events) {
    static AnyFunction ext[] = {
        any(onClosed), any(onDone), any(onTitle), any(onApplicationID), any(ignoreText)};
    static AnyFunction wlr[] = {any(onTitle),      any(onApplicationID), any(ignoreOutput),
                                any(ignoreOutput), any(ignoreState),     any(onDone),
                                any(onClosed)};
    static AnyFunction plasma[] = {any(onPlasmaTitle),  any(onPlasmaApplicationID),
                                   any(ignoreNumber),   any(ignoreSignedNumber),
                                   any(ignoreText),     any(onClosed),
                                   any(ignoreNothing),  any(ignoreOutput),
                                   any(ignoreGeometry), any(ignoreNothing),
                                   any(ignoreNumber),   any(ignoreText),
                                   any(ignoreText),     any(ignoreTexts),
                                   any(ignoreText),     any(ignoreText),
                                   any(ignoreText)};
    AnyFunction* const functions = protocol.handle == &extHandle   ? ext
                                   : protocol.handle == &wlrHandle ? wlr
                                                                   : plasma;
    wl_proxy_add_listener(handle, functions, &events);
}

void destroyHandle(wl_proxy* handle, const ToplevelProtocol& protocol) {
    wl_proxy_marshal_flags(
        handle, protocol.destroyHandle, nullptr, protocol.version, WL_MARSHAL_FLAG_DESTROY);
}

} // namespace brindle::wayland
