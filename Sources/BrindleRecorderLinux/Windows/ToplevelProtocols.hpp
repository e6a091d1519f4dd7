// The two Wayland protocols that list other programs' windows, as far as we speak them.
//
// Outside sources: ext-foreign-toplevel-list-v1 (wayland-protocols, staging) and
// wlr-foreign-toplevel-management-unstable-v1 (wlr-protocols). Debian 12 packages neither
// description, so their tables stand here instead of generated ones. Both are used in version 1.
#pragma once

#include <wayland-client-core.h>

#include <array>
#include <cstdint>

namespace brindle::wayland {

/// One of the two protocols. They differ in what else they can do, not in how they list windows.
struct ToplevelProtocol {
    const wl_interface* list;    ///< the global object that announces windows
    const wl_interface* handle;  ///< one window
    std::uint32_t destroyHandle; ///< the request by which a handle is given back
};

/// In the order in which they are preferred: the common one first.
extern const std::array<ToplevelProtocol, 2> toplevelProtocols;

/// What a window tells, whichever protocol it comes by. Texts last until the call returns. The
/// details count once `done` was called; after `closed` nothing comes any more.
class ToplevelEvents {
  public:
    virtual void title(const char* text) = 0;
    virtual void applicationID(const char* text) = 0;
    virtual void done() = 0;
    virtual void closed() = 0;

  protected:
    ~ToplevelEvents() = default;
};

class ToplevelListEvents {
  public:
    /// The handle is the receiver's, who must listen to it before returning, or destroy it.
    virtual void toplevel(wl_proxy* handle) = 0;
    /// The compositor will announce no more windows.
    virtual void finished() = 0;

  protected:
    ~ToplevelListEvents() = default;
};

void listen(wl_proxy* list, ToplevelListEvents& events);
void listen(wl_proxy* handle, const ToplevelProtocol& protocol, ToplevelEvents& events);
/// Gives the handle back to the compositor.
void destroyHandle(wl_proxy* handle, const ToplevelProtocol& protocol);

} // namespace brindle::wayland
