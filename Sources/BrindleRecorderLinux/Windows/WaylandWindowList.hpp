// The window list of a Wayland desktop whose compositor tells of other programs' windows.
#pragma once

#include "BrindleRecorderApp/Platform/WindowList.hpp"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace brindle {

class EventLoop;

namespace wayland {
class ToplevelConnection;
}

/// Follows the compositor's events on the main loop, so that answering waits for nobody. Wayland
/// names no processes: windows come with the identifier that the application table has for their
/// application id, in the order in which they were opened.
///
/// A compositor that tells nothing is asked once. One that went away is looked for again at every
/// question.
class WaylandWindowList final : public WindowList {
  public:
    static constexpr std::size_t mostWindows = 512;

    /// Connects, and waits up to half a second for the compositor to tell what is there; what comes
    /// later comes by the loop, which must outlive this. `display` as in WAYLAND_DISPLAY, which it
    /// replaces where given.
    explicit WaylandWindowList(EventLoop& loop, std::optional<std::string> display = std::nullopt);
    ~WaylandWindowList() override;
    WaylandWindowList(const WaylandWindowList&) = delete;
    WaylandWindowList& operator=(const WaylandWindowList&) = delete;

    [[nodiscard]] bool titlesPermitted() const override;
    [[nodiscard]] std::optional<std::vector<WindowRecord>> windows() const override;

  private:
    EventLoop& loop_;
    const std::optional<std::string> display_;
    mutable std::unique_ptr<wayland::ToplevelConnection> connection_; ///< null when there is none
};

} // namespace brindle
