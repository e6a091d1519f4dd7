// Every window title that this desktop lets us read, from wherever it can be had.
#pragma once

#include "BrindleRecorderLinux/Windows/StreamTitles.hpp"
#include "BrindleRecorderLinux/Windows/WaylandWindowList.hpp"
#include "BrindleRecorderLinux/Windows/X11WindowList.hpp"

#include <optional>
#include <vector>

namespace brindle {

/// The windows are those that the compositor lists, among which are its X11 programs'; where there
/// is none that lists any, the X server's. Titles of streams are told otherwise.
class DesktopWindowList final : public WindowList {
  public:
    /// Connects to what the environment names. Registry and loop must outlive this.
    DesktopWindowList(
        const ProcessRegistry& processes, EventLoop& loop, StreamTitles::GraphSource graph);

    [[nodiscard]] bool titlesPermitted() const override;
    [[nodiscard]] std::optional<std::vector<WindowRecord>> windows() const override;
    [[nodiscard]] std::vector<WindowRecord> titlesToldOtherwise() const override;

  private:
    [[nodiscard]] const WindowList& source() const;

    WaylandWindowList wayland_;
    X11WindowList x11_;
    StreamTitles streams_;
};

} // namespace brindle
