// A connection to a Wayland compositor, and what it tells of other programs' windows.
#pragma once

#include "BrindleRecorderLinux/Loop/EventSource.hpp"
#include "BrindleRecorderLinux/Windows/ToplevelProtocols.hpp"

#include <chrono>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brindle {
class EventLoop;
}

namespace brindle::wayland {

/// Belongs to the thread of the loop.
class ToplevelConnection final : private ToplevelListEvents {
  public:
    enum class State {
        asking,  ///< the compositor has not told all yet
        telling, ///< all windows are known, and changes come
        silent,  ///< there is a compositor, but it tells of no windows
        lost
    };
    struct Toplevel {
        std::string title;
        std::string applicationID;
    };

    /// Null when there is no compositor.
    static std::unique_ptr<ToplevelConnection>
    open(EventLoop& loop, const std::optional<std::string>& display, std::size_t mostToplevels);
    ~ToplevelConnection();
    ToplevelConnection(const ToplevelConnection&) = delete;
    ToplevelConnection& operator=(const ToplevelConnection&) = delete;

    [[nodiscard]] State state() const { return state_; }
    /// Those that have told their details, in the order of their opening.
    [[nodiscard]] std::vector<Toplevel> toplevels() const;

    /// Handles events until the state is no longer `asking`, or the time is over.
    void settle(std::chrono::milliseconds limit);

  private:
    class Handle;
    friend class Handle;
    struct Disconnect {
        void operator()(wl_display* display) const { wl_display_disconnect(display); }
    };
    struct DestroyProxy {
        void operator()(wl_proxy* proxy) const { wl_proxy_destroy(proxy); }
    };
    using Proxy = std::unique_ptr<wl_proxy, DestroyProxy>;

    ToplevelConnection(wl_display* display, std::size_t mostToplevels);
    bool begin(EventLoop& loop);
    bool synchronise();
    void globalAppeared(std::uint32_t name, std::string_view interface, std::uint32_t version);
    void answered();
    void toplevel(wl_proxy* handle) override;
    void finished() override;
    void remove(const Handle& handle);
    void handleEvents();
    void lose();

    const std::size_t mostToplevels_;
    State state_ = State::asking;
    std::array<std::optional<std::uint32_t>, toplevelProtocols.size()> names_;
    const ToplevelProtocol* protocol_ = nullptr;
    int answersMissing_ = 0; ///< until all windows have told their particulars

    std::unique_ptr<wl_display, Disconnect> display_;
    Proxy registry_;
    Proxy sync_;
    Proxy list_;
    std::list<std::unique_ptr<Handle>> handles_;
    EventSource reader_;
};

} // namespace brindle::wayland
