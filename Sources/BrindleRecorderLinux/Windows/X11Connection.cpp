#include "BrindleRecorderLinux/Windows/X11Connection.hpp"

#include <poll.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace brindle::x11 {

std::unique_ptr<Connection> Connection::open(const std::optional<std::string>& display) {
    int screen = 0;
    std::unique_ptr<Connection> connection{
        new Connection{xcb_connect(display ? display->c_str() : nullptr, &screen)}};
    if (connection->isAlive()) {
        connection->introduce(screen);
    }
    return connection->isAlive() && connection->root() != XCB_WINDOW_NONE ? std::move(connection)
                                                                          : nullptr;
}

Connection::~Connection() {
    xcb_disconnect(connection_);
}

void Connection::introduce(int screen) {
    const std::array<std::pair<std::string_view, xcb_atom_t*>, 7> names{{
        {"_NET_CLIENT_LIST", &atoms_.clientList},
        {"_NET_WM_NAME", &atoms_.name},
        {"_NET_WM_PID", &atoms_.pid},
        {"_NET_WM_WINDOW_TYPE", &atoms_.windowType},
        {"_NET_WM_WINDOW_TYPE_DESKTOP", &atoms_.desktopType},
        {"_NET_WM_WINDOW_TYPE_DOCK", &atoms_.dockType},
        {"UTF8_STRING", &atoms_.utf8String},
    }};
    std::array<xcb_intern_atom_cookie_t, names.size()> cookies{};
    std::transform(names.begin(), names.end(), cookies.begin(), [this](const auto& name) {
        return xcb_intern_atom(
            connection_, /*only_if_exists=*/0, static_cast<std::uint16_t>(name.first.size()),
            name.first.data());
    });
    xcb_prefetch_extension_data(connection_, &xcb_res_id);
    for (std::size_t index = 0; index < names.size(); ++index) {
        const ReplyHandle<xcb_intern_atom_reply_t> atom{
            xcb_intern_atom_reply(connection_, cookies[index], nullptr)};
        if (atom != nullptr) {
            *names[index].second = atom->atom;
        }
    }

    const auto* const extension = xcb_get_extension_data(connection_, &xcb_res_id);
    if (extension != nullptr && extension->present != 0) {
        // Clients' processes came with version 1.2.
        const ReplyHandle<xcb_res_query_version_reply_t> version{xcb_res_query_version_reply(
            connection_, xcb_res_query_version(connection_, 1, 2), nullptr)};
        knowsProcesses_ =
            version != nullptr && std::pair{version->server_major, version->server_minor} >=
                                      std::pair<std::uint16_t, std::uint16_t>{1, 2};
    }

    const xcb_setup_t* const setup = xcb_get_setup(connection_);
    if (setup == nullptr) {
        return;
    }
    resourceMask_ = setup->resource_id_mask;
    for (auto each = xcb_setup_roots_iterator(setup); each.rem > 0; xcb_screen_next(&each)) {
        if (screen-- == 0) {
            root_ = each.data->root;
        }
    }
}

xcb_get_property_cookie_t Connection::askProperty(
    xcb_window_t window, xcb_atom_t property, std::uint32_t longestBytes) const {
    constexpr std::uint32_t unit = 4; // the protocol counts in these
    return xcb_get_property(
        connection_, /*_delete=*/0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0,
        longestBytes / unit);
}

void* Connection::wait(unsigned int sequence, Time deadline) {
    void* reply = nullptr;
    xcb_generic_error_t* error = nullptr;
    while (!catchUp_ && xcb_poll_for_reply(connection_, sequence, &reply, &error) == 0) {
        xcb_flush(connection_);
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd readable{xcb_get_file_descriptor(connection_), POLLIN, 0};
        if (left.count() <= 0 || poll(&readable, 1, static_cast<int>(left.count())) == 0) {
            catchUp_ = xcb_get_input_focus(connection_).sequence;
            xcb_flush(connection_);
        }
    }
    const ReplyHandle<xcb_generic_error_t> unused{error};
    if (catchUp_ && reply == nullptr) {
        xcb_discard_reply(connection_, sequence);
    }
    return reply;
}

bool Connection::isBehind() {
    if (!catchUp_) {
        return false;
    }
    void* reply = nullptr;
    xcb_generic_error_t* error = nullptr;
    if (xcb_poll_for_reply(connection_, *catchUp_, &reply, &error) == 0) {
        return true;
    }
    const ReplyHandle<void> unusedReply{reply};
    const ReplyHandle<xcb_generic_error_t> unusedError{error};
    catchUp_.reset();
    return false;
}

} // namespace brindle::x11
