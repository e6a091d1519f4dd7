#include "BrindleRecorderLinux/Windows/ToplevelConnection.hpp"

#include "BrindleRecorderApp/Calls/MicActivityMonitor.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"

#include <poll.h>
#include <wayland-client-protocol.h>

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

namespace brindle::wayland {

namespace {

/// A little more than is used of a title, so that who cuts it sees that it goes on.
constexpr std::size_t longestTitle = MicActivityMonitor::maxTitleBytes + 4;
constexpr std::size_t longestApplicationID = 512;

std::string beginningOf(const char* text, std::size_t longest) {
    return text == nullptr ? std::string{} : std::string{text, strnlen(text, longest)};
}

} // namespace

/// One window.
class ToplevelConnection::Handle final : private ToplevelEvents {
  public:
    Handle(ToplevelConnection& connection, wl_proxy* proxy)
        : connection_{connection}, protocol_{*connection.protocol_}, proxy_{proxy} {
        listen(proxy_, protocol_, *this);
    }
    ~Handle() { destroyHandle(proxy_, protocol_); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    [[nodiscard]] const std::optional<Toplevel>& told() const { return told_; }

  private:
    void title(const char* text) override { next_.title = beginningOf(text, longestTitle); }
    void applicationID(const char* text) override {
        next_.applicationID = beginningOf(text, longestApplicationID);
    }
    void done() override { told_ = next_; }
    void closed() override { connection_.remove(*this); }

    ToplevelConnection& connection_;
    const ToplevelProtocol& protocol_;
    wl_proxy* proxy_;
    Toplevel next_;
    std::optional<Toplevel> told_;
};

std::unique_ptr<ToplevelConnection> ToplevelConnection::open(
    EventLoop& loop, const std::optional<std::string>& display, std::size_t mostToplevels) {
    wl_display* const connected = wl_display_connect(display ? display->c_str() : nullptr);
    if (connected == nullptr) {
        return nullptr;
    }
    std::unique_ptr<ToplevelConnection> connection{
        new ToplevelConnection{connected, mostToplevels}};
    return connection->begin(loop) ? std::move(connection) : nullptr;
}

ToplevelConnection::ToplevelConnection(wl_display* display, std::size_t mostToplevels)
    : mostToplevels_{mostToplevels}, display_{display} {}

ToplevelConnection::~ToplevelConnection() = default;

bool ToplevelConnection::begin(EventLoop& loop) {
    static const wl_registry_listener registryListener{
        .global =
            [](void* data, wl_registry*, std::uint32_t name, const char* interface,
               std::uint32_t version) {
                static_cast<ToplevelConnection*>(data)->globalAppeared(name, interface, version);
            },
        .global_remove =
            [](void*, wl_registry*, std::uint32_t) {
            }};
    wl_registry* const registry = wl_display_get_registry(display_.get());
    if (registry == nullptr) {
        return false;
    }
    registry_.reset(reinterpret_cast<wl_proxy*>(registry));
    wl_registry_add_listener(registry, &registryListener, this);

    reader_ = addReader(
        loop.events(), wl_display_get_fd(display_.get()),
        [](sd_event_source*, int, std::uint32_t, void* data) {
            static_cast<ToplevelConnection*>(data)->handleEvents();
            return 0;
        },
        this);
    return reader_ != nullptr && synchronise();
}

/// `answered` is called once the compositor has told all that it had to tell by now.
bool ToplevelConnection::synchronise() {
    static const wl_callback_listener callbackListener{
        .done = [](void* data, wl_callback*, std::uint32_t) {
            static_cast<ToplevelConnection*>(data)->answered();
        }};
    wl_callback* const callback = wl_display_sync(display_.get());
    if (callback == nullptr) {
        return false;
    }
    sync_.reset(reinterpret_cast<wl_proxy*>(callback));
    wl_callback_add_listener(callback, &callbackListener, this);
    wl_display_flush(display_.get());
    return true;
}

void ToplevelConnection::globalAppeared(
    std::uint32_t name, std::string_view interface, std::uint32_t version) {
    for (std::size_t index = 0; index < toplevelProtocols.size(); ++index) {
        const ToplevelProtocol& protocol = toplevelProtocols[index];
        if (interface == protocol.list->name && version >= protocol.version && !names_[index]) {
            names_[index] = name;
        }
    }
}

void ToplevelConnection::answered() {
    if (list_ != nullptr) {
        if (--answersMissing_ > 0) {
            if (!synchronise()) {
                lose();
            }
            return;
        }
        state_ = state_ == State::asking ? State::telling : state_;
        return;
    }
    const auto offered = std::find_if(
        names_.begin(), names_.end(), [](const auto& name) { return name.has_value(); });
    if (offered == names_.end()) {
        state_ = State::silent;
        return;
    }
    protocol_ = &toplevelProtocols[static_cast<std::size_t>(offered - names_.begin())];
    answersMissing_ = protocol_->announcesNumbers ? 2 : 1;
    list_.reset(static_cast<wl_proxy*>(wl_registry_bind(
        reinterpret_cast<wl_registry*>(registry_.get()), **offered, protocol_->list,
        protocol_->version)));
    if (list_ == nullptr) {
        lose();
        return;
    }
    listen(list_.get(), *protocol_, *this);
    if (!synchronise()) {
        lose();
    }
}

void ToplevelConnection::toplevel(wl_proxy* handle) {
    auto made = std::make_unique<Handle>(*this, handle);
    // One too many is given back at once.
    if (handles_.size() < mostToplevels_) {
        handles_.push_back(std::move(made));
    }
}

void ToplevelConnection::finished() {
    state_ = State::silent;
}

void ToplevelConnection::remove(const Handle& handle) {
    handles_.remove_if([&](const auto& each) { return each.get() == &handle; });
}

std::vector<ToplevelConnection::Toplevel> ToplevelConnection::toplevels() const {
    std::vector<Toplevel> toplevels;
    for (const auto& handle : handles_) {
        if (handle->told()) {
            toplevels.push_back(*handle->told());
        }
    }
    return toplevels;
}

void ToplevelConnection::handleEvents() {
    wl_display* const display = display_.get();
    while (wl_display_prepare_read(display) != 0) {
        wl_display_dispatch_pending(display);
    }
    pollfd readable{wl_display_get_fd(display), POLLIN, 0};
    if (poll(&readable, 1, 0) > 0) {
        wl_display_read_events(display);
    } else {
        wl_display_cancel_read(display);
    }
    wl_display_dispatch_pending(display);
    wl_display_flush(display);
    if (wl_display_get_error(display) != 0) {
        lose();
    }
}

void ToplevelConnection::lose() {
    state_ = State::lost;
    reader_.reset(); // or the loop would find the dead connection readable for ever
}

void ToplevelConnection::settle(std::chrono::milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (state_ == State::asking) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            end - std::chrono::steady_clock::now());
        pollfd readable{wl_display_get_fd(display_.get()), POLLIN, 0};
        if (left.count() <= 0 || poll(&readable, 1, static_cast<int>(left.count())) == 0) {
            return;
        }
        handleEvents();
    }
}

} // namespace brindle::wayland
