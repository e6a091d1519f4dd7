// An X server of a test's own, and windows on it.
#pragma once

#include "LinuxTests/ChildProcess.hpp"

#include <xcb/xcb.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brindle {

/// Whether the search path has a program of that name.
bool hasProgram(const std::string& name);

/// Looks until the condition holds; false when it does not within a generous limit.
bool waitFor(const std::function<bool()>& condition);

class XServer {
  public:
    /// On a display number that is free, with these options beside the usual ones. Throws when it
    /// does not come up.
    explicit XServer(std::vector<std::string> options = {});
    /// Ends it. Harmless when it has ended.
    void end() { server_.reset(); }
    /// Starts it again on the same display.
    void begin();

    [[nodiscard]] const std::string& display() const { return display_; }
    [[nodiscard]] pid_t pid() const { return server_->pid(); }

  private:
    const std::vector<std::string> options_;
    std::string display_;
    std::unique_ptr<ChildProcess> server_;
};

/// A program of the test that has windows; its process is the test's own.
class XClient {
  public:
    explicit XClient(const std::string& display);
    ~XClient();
    XClient(const XClient&) = delete;
    XClient& operator=(const XClient&) = delete;

    [[nodiscard]] xcb_window_t makeWindow() const;
    void show(xcb_window_t window) const;
    void destroy(xcb_window_t window) const;
    /// What a window manager would do.
    void list(const std::vector<xcb_window_t>& windows) const;

    void setTitle(xcb_window_t window, std::string_view title) const;
    void setOldTitle(xcb_window_t window, std::string_view title) const;
    void setPid(xcb_window_t window, std::int32_t pid) const;
    void setMachine(xcb_window_t window, std::string_view machine) const;
    void setClass(xcb_window_t window, std::string_view instance, std::string_view name) const;
    void setType(xcb_window_t window, std::string_view type) const;

    /// From here on the server answers nobody else, until `release`.
    void holdServer() const;
    void releaseServer() const;
    /// What a window manager lists.
    [[nodiscard]] std::vector<xcb_window_t> listed() const;

  private:
    [[nodiscard]] xcb_atom_t atom(std::string_view name) const;
    void
    setText(xcb_window_t window, xcb_atom_t property, xcb_atom_t type, std::string_view text) const;
    void setNumbers(
        xcb_window_t window, std::string_view property, xcb_atom_t type,
        const std::vector<std::uint32_t>& numbers) const;
    /// Returns once the server has carried out everything.
    void settle() const;

    xcb_connection_t* connection_;
    xcb_window_t root_ = XCB_WINDOW_NONE;
};

} // namespace brindle
