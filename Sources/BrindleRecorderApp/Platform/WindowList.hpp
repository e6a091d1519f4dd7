// The seam to the desktop's list of windows.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace brindle {

/// One window. The texts come from other programs: of any length and content.
struct WindowRecord {
    std::optional<std::int32_t> ownerPid;
    /// Where the desktop names the owning application instead of its process.
    std::optional<std::string> ownerBundleID;
    std::optional<std::string> name;

    friend bool operator==(const WindowRecord&, const WindowRecord&) = default;
};

/// Main thread only.
class WindowList {
  public:
    virtual ~WindowList() = default;

    /// Whether other programs' window titles may be read. Never asks the user.
    [[nodiscard]] virtual bool titlesPermitted() const = 0;
    /// All windows but the desktop's own; nothing when they cannot be read.
    [[nodiscard]] virtual std::optional<std::vector<WindowRecord>> windows() const = 0;
    /// Titles that single applications tell by another way, whether or not the windows may be read.
    /// They say nothing about applications that have none here.
    [[nodiscard]] virtual std::vector<WindowRecord> titlesToldOtherwise() const { return {}; }
};

} // namespace brindle
