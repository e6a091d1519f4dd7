// A connection to the X server that never waits longer than it is told to.
#pragma once

#include <xcb/res.h>
#include <xcb/xcb.h>
#include <xcb/xcbext.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

namespace brindle::x11 {

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};
template <class Reply>
using ReplyHandle = std::unique_ptr<Reply, Free>;

/// Main thread only. Requests are queued and sent together when the first answer is asked for. A
/// window that is gone is an absent answer, a server that is gone makes all answers absent.
class Connection {
  public:
    struct Atoms {
        xcb_atom_t clientList = XCB_ATOM_NONE;
        xcb_atom_t name = XCB_ATOM_NONE;
        xcb_atom_t pid = XCB_ATOM_NONE;
        xcb_atom_t windowType = XCB_ATOM_NONE;
        xcb_atom_t desktopType = XCB_ATOM_NONE;
        xcb_atom_t dockType = XCB_ATOM_NONE;
        xcb_atom_t utf8String = XCB_ATOM_NONE;
    };
    using Time = std::chrono::steady_clock::time_point;

    /// Null when no server answers. Waits for a server that accepts the connection and then says
    /// nothing, as every X client does.
    static std::unique_ptr<Connection> open(const std::optional<std::string>& display);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    [[nodiscard]] bool isAlive() const { return xcb_connection_has_error(connection_) == 0; }
    [[nodiscard]] xcb_connection_t* get() const { return connection_; }
    [[nodiscard]] xcb_window_t root() const { return root_; }
    [[nodiscard]] const Atoms& atoms() const { return atoms_; }
    /// Whether the server can say which process a window's client is.
    [[nodiscard]] bool knowsProcesses() const { return knowsProcesses_; }
    /// The part of a window's number that is its client's.
    [[nodiscard]] std::uint32_t clientOf(xcb_window_t window) const {
        return window & ~resourceMask_;
    }

    /// Asks for the beginning of a property, whatever its type, up to that many bytes.
    [[nodiscard]] xcb_get_property_cookie_t
    askProperty(xcb_window_t window, xcb_atom_t property, std::uint32_t longestBytes) const;

    /// The answer; absent when there is none, or none by then. Once it is too late for one, it is
    /// for all that were asked for.
    template <class Reply>
    ReplyHandle<Reply> reply(unsigned int sequence, Time deadline) {
        return ReplyHandle<Reply>{static_cast<Reply*>(wait(sequence, deadline))};
    }
    /// Whether an answer came too late and the server has not caught up since.
    [[nodiscard]] bool isBehind();

  private:
    explicit Connection(xcb_connection_t* connection) : connection_{connection} {}
    void introduce(int screen);
    void* wait(unsigned int sequence, Time deadline);

    xcb_connection_t* connection_;
    xcb_window_t root_ = XCB_WINDOW_NONE;
    std::uint32_t resourceMask_ = 0;
    Atoms atoms_;
    bool knowsProcesses_ = false;
    std::optional<unsigned int> catchUp_; ///< a question that comes after all that were too late
};

} // namespace brindle::x11
