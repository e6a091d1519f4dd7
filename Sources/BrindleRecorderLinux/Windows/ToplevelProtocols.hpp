// The three Wayland protocols that list other programs' windows, as far as we speak them.
//
// Outside sources: ext-foreign-toplevel-list-v1 (wayland-protocols, staging),
// wlr-foreign-toplevel-management-unstable-v1 (wlr-protocols) and
// org_kde_plasma_window_management (plasma-wayland-protocols). Debian 12 packages the description
// of the last alone, so their tables stand here instead of generated ones.
#pragma once

#include <wayland-client-core.h>

#include <array>
#include <cstdint>

namespace brindle::wayland {

/// One of the protocols. Those of a Plasma desktop announce a window by a number, for which a
/// handle has to be asked; the others by its handle.
struct ToplevelProtocol {
    const wl_interface* list;    ///< the global object that announces windows
    const wl_interface* handle;  ///< one window
    std::uint32_t version;       ///< the oldest that does what we need, and the one we speak
    std::uint32_t destroyHandle; ///< the request by which a handle is given back
    bool announcesNumbers;       ///< a window is known only one answer later than the others'
};

/// In the order in which they are preferred: the common one first.
extern const std::array<ToplevelProtocol, 3> toplevelProtocols;

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

void listen(wl_proxy* list, const ToplevelProtocol& protocol, ToplevelListEvents& events);
void listen(wl_proxy* handle, const ToplevelProtocol& protocol, ToplevelEvents& events);
/// Gives the handle back to the compositor.
void destroyHandle(wl_proxy* handle, const ToplevelProtocol& protocol);

} // namespace brindle::wayland
