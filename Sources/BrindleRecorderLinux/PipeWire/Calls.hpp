// PipeWire's calls that are macros, as functions: the macros hold C casts and extensions of C,
// which are let pass here and nowhere else.
#pragma once

#include <pipewire/pipewire.h>

#include <cstdint>

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wold-style-cast"
#pragma GCC diagnostic ignored "-Wpedantic"

namespace brindle::pipewire {

inline void
addListener(pw_core* core, spa_hook* listener, const pw_core_events* events, void* data) {
    pw_core_add_listener(core, listener, events, data);
}

/// The number that the server's answer will carry.
inline int sync(pw_core* core) {
    return pw_core_sync(core, PW_ID_CORE, 0);
}

/// Null when out of memory.
inline pw_proxy* registryOf(pw_core* core) {
    return reinterpret_cast<pw_proxy*>(pw_core_get_registry(core, PW_VERSION_REGISTRY, 0));
}

/// Null when out of memory; what the server refuses, it answers later.
inline pw_proxy*
bind(pw_registry* registry, std::uint32_t id, const char* type, std::uint32_t version) {
    return static_cast<pw_proxy*>(pw_registry_bind(registry, id, type, version, 0));
}

/// Asks for all of a node's parameters of one kind, which come as events.
inline void enumerate(pw_proxy* node, std::uint32_t parameter) {
    pw_node_enum_params(reinterpret_cast<pw_node*>(node), 0, parameter, 0, UINT32_MAX, nullptr);
}

// A loop that another one drives.

inline int descriptorOf(pw_loop* loop) {
    return pw_loop_get_fd(loop);
}

/// From here on the loop is this thread's.
inline void enter(pw_loop* loop) {
    pw_loop_enter(loop);
}

inline void leave(pw_loop* loop) {
    pw_loop_leave(loop);
}

/// Handles what is there without waiting. Between `enter` and `leave`.
inline void iterateOnce(pw_loop* loop) {
    pw_loop_iterate(loop, 0);
}

inline void destroySource(pw_loop* loop, spa_source* source) {
    pw_loop_destroy_source(loop, source);
}

} // namespace brindle::pipewire

#pragma GCC diagnostic pop
