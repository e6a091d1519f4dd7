// The window list of an X11 desktop, and of the X11 programs on a Wayland desktop.
#pragma once

#include "BrindleRecorderApp/Platform/ProcessRegistry.hpp"
#include "BrindleRecorderApp/Platform/WindowList.hpp"
#include "BrindleRecorderLinux/Windows/WindowOwner.hpp"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace brindle {

namespace x11 {

class Connection;

/// What need not be asked again at every reading.
struct KnownWindow {
    bool hasName = false; ///< a modern one, so that the old one is not looked at
    bool isThere = false; ///< what follows is known
    bool isDesktopsOwn = false;
    WindowClaims claims;
    unsigned int readingsLeft = 0; ///< until it is asked for again all the same
};

} // namespace x11

/// Reads the windows that the window manager lists, in its order, without desktops and docks.
/// Outside source: Extended Window Manager Hints, X Resource extension 1.2.
///
/// Every reading takes two rounds to the server, however many windows there are, and is given up
/// after half a second; nothing is readable then until the server has caught up. A server that
/// went away is looked for again at every question.
///
/// Titles are read anew each time. Whose a window is, is kept for some readings while the server
/// names the same process for it, since hardly any window ever says something else.
class X11WindowList final : public WindowList {
  public:
    static constexpr std::size_t mostWindows = 512;

    /// `display` as in DISPLAY, which it replaces where given. The registry must outlive this.
    explicit X11WindowList(
        const ProcessRegistry& processes, std::optional<std::string> display = std::nullopt);
    ~X11WindowList() override;
    X11WindowList(const X11WindowList&) = delete;
    X11WindowList& operator=(const X11WindowList&) = delete;

    [[nodiscard]] bool titlesPermitted() const override;
    [[nodiscard]] std::optional<std::vector<WindowRecord>> windows() const override;

  private:
    /// Null when there is no server.
    x11::Connection* connection() const;

    const ProcessRegistry& processes_;
    const std::optional<std::string> display_;
    mutable std::unique_ptr<x11::Connection> connection_;
    mutable std::map<std::uint32_t, x11::KnownWindow> known_; ///< of the last reading
};

} // namespace brindle
