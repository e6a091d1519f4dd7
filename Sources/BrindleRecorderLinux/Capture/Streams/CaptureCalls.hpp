// PipeWire's macros that capturing needs, as functions: the macros hold C casts, which are let pass
// here and nowhere else.
#pragma once

#include <pipewire/pipewire.h>
#include <spa/node/command.h>

#include <cstdint>

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wold-style-cast"

namespace brindle::pipewire::calls {

inline void listen(pw_core* core, spa_hook* listener, const pw_core_events* events, void* data) {
    pw_core_add_listener(core, listener, events, data);
}

inline void
listen(pw_registry* registry, spa_hook* listener, const pw_registry_events* events, void* data) {
    pw_registry_add_listener(registry, listener, events, data);
}

inline void listen(pw_node* node, spa_hook* listener, const pw_node_events* events, void* data) {
    pw_node_add_listener(node, listener, events, data);
}

/// The number that the server's answer will carry.
inline int sync(pw_core* core) {
    return pw_core_sync(core, PW_ID_CORE, 0);
}

/// Null when out of memory.
inline pw_registry* registryOf(pw_core* core) {
    return pw_core_get_registry(core, PW_VERSION_REGISTRY, 0);
}

/// Null when out of memory; what the server refuses, it answers later.
inline pw_node* bindNode(pw_registry* registry, std::uint32_t id) {
    return static_cast<pw_node*>(
        pw_registry_bind(registry, id, PW_TYPE_INTERFACE_Node, PW_VERSION_NODE, 0));
}

/// Asks for all of a node's parameters of one kind, which come as events.
inline void enumerate(pw_node* node, std::uint32_t parameter) {
    pw_node_enum_params(node, 0, parameter, 0, UINT32_MAX, nullptr);
}

/// Has the server close the device behind the node.
inline void suspend(pw_node* node) {
    const spa_command command = SPA_NODE_COMMAND_INIT(SPA_NODE_COMMAND_Suspend);
    pw_node_send_command(node, &command);
}

inline pw_proxy* proxyOf(pw_registry* registry) {
    return reinterpret_cast<pw_proxy*>(registry);
}

inline pw_proxy* proxyOf(pw_node* node) {
    return reinterpret_cast<pw_proxy*>(node);
}

} // namespace brindle::pipewire::calls

#pragma GCC diagnostic pop
