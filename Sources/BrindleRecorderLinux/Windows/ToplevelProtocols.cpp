#include "BrindleRecorderLinux/Windows/ToplevelProtocols.hpp"

namespace brindle::wayland {

namespace {

// In signatures: "n" is a new object, "o" an object, "?" before it one that may be missing, "s" a
// text, "a" bytes, "i" a number; a number in front is the version that brought the message. The
// table of types has an entry for each argument; one for objects that we never have stays empty.

constexpr std::uint32_t usedVersion = 1;

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

const std::array<ToplevelProtocol, 2> toplevelProtocols{{
    {&extList, &extHandle, 0},
    {&wlrList, &wlrHandle, 7},
}};

void listen(wl_proxy* list, ToplevelListEvents& events) {
    static AnyFunction functions[] = {any(onToplevel), any(onFinished)};
    wl_proxy_add_listener(list, functions, &events);
}

void listen(wl_proxy* handle, const ToplevelProtocol& protocol, ToplevelEvents& events) {
    static AnyFunction ext[] = {
        any(onClosed), any(onDone), any(onTitle), any(onApplicationID), any(ignoreText)};
    static AnyFunction wlr[] = {any(onTitle),      any(onApplicationID), any(ignoreOutput),
                                any(ignoreOutput), any(ignoreState),     any(onDone),
                                any(onClosed)};
    wl_proxy_add_listener(handle, protocol.handle == &extHandle ? ext : wlr, &events);
}

void destroyHandle(wl_proxy* handle, const ToplevelProtocol& protocol) {
    wl_proxy_marshal_flags(
        handle, protocol.destroyHandle, nullptr, usedVersion, WL_MARSHAL_FLAG_DESTROY);
}

} // namespace brindle::wayland
