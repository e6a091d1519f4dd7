#include "BrindleRecorderLinux/Windows/DesktopWindowList.hpp"

#include <utility>

namespace brindle {

DesktopWindowList::DesktopWindowList(
    const ProcessRegistry& processes, EventLoop& loop, StreamTitles::GraphSource graph)
    : wayland_{loop}, x11_{processes}, streams_{std::move(graph)} {}

const WindowList& DesktopWindowList::source() const {
    // The X server is not even asked where it is not needed: a compositor may have to start it.
    if (wayland_.titlesPermitted()) {
        return wayland_;
    }
    return x11_;
}

bool DesktopWindowList::titlesPermitted() const {
    return source().titlesPermitted();
}

std::optional<std::vector<WindowRecord>> DesktopWindowList::windows() const {
    return source().windows();
}

std::vector<WindowRecord> DesktopWindowList::titlesToldOtherwise() const {
    return streams_.titles();
}

} // namespace brindle
