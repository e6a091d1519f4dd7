#include "BrindleRecorderLinux/Windows/DesktopWindowList.hpp"

#include <utility>

namespace brindle {

DesktopWindowList::DesktopWindowList(
    const ProcessRegistry& processes, pw_loop* loop, StreamTitles::GraphSource graph)
    : wayland_{loop}, x11_{processes}, streams_{std::move(graph)},
      onWayland_{{wayland_, streams_}}, onX11_{{x11_, streams_}} {}

const WindowList& DesktopWindowList::sources() const {
    // The X server is not even asked where it is not needed: a compositor may have to start it.
    return wayland_.titlesPermitted() ? onWayland_ : onX11_;
}

bool DesktopWindowList::titlesPermitted() const {
    return sources().titlesPermitted();
}

std::optional<std::vector<WindowRecord>> DesktopWindowList::windows() const {
    return sources().windows();
}

} // namespace brindle
