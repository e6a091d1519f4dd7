#include "LinuxTests/XServer.hpp"

#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <utility>

namespace brindle {

namespace {

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};
template <class Reply>
std::unique_ptr<Reply, Free> owned(Reply* reply) {
    return std::unique_ptr<Reply, Free>{reply};
}

bool answers(const std::string& display) {
    xcb_connection_t* const connection = xcb_connect(display.c_str(), nullptr);
    const bool isThere = xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    return isThere;
}

std::string freeDisplay() {
    for (int number = 90 + getpid() % 400;; ++number) {
        const std::string name = std::to_string(number);
        if (!std::filesystem::exists("/tmp/.X" + name + "-lock") &&
            !std::filesystem::exists("/tmp/.X11-unix/X" + name)) {
            return ":" + name;
        }
    }
}

} // namespace

bool hasProgram(const std::string& name) {
    std::istringstream folders{std::getenv("PATH")};
    for (std::string folder; std::getline(folders, folder, ':');) {
        if (access((folder + '/' + name).c_str(), X_OK) == 0) {
            return true;
        }
    }
    return false;
}

bool waitFor(const std::function<bool()>& condition) {
    using namespace std::chrono_literals;
    const auto end = std::chrono::steady_clock::now() + 30s;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(5ms);
    }
    return true;
}

XServer::XServer(std::vector<std::string> options)
    : options_{std::move(options)}, display_{freeDisplay()} {
    begin();
}

void XServer::begin() {
    std::vector<std::string> command{"Xvfb",     display_,  "-ac", "-nolisten", "tcp",
                                     "-noreset", "-screen", "0",   "640x480x24"};
    command.insert(command.end(), options_.begin(), options_.end());
    server_ = std::make_unique<ChildProcess>(command.front(), command);
    if (!waitFor([this] { return answers(display_); })) {
        throw std::runtime_error{"no X server at " + display_};
    }
}

XClient::XClient(const std::string& display) : connection_{xcb_connect(display.c_str(), nullptr)} {
    if (xcb_connection_has_error(connection_) != 0) {
        xcb_disconnect(connection_);
        throw std::runtime_error{"no X server"};
    }
    root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
}

XClient::~XClient() {
    xcb_disconnect(connection_);
}

xcb_window_t XClient::makeWindow() const {
    const xcb_window_t window = xcb_generate_id(connection_);
    xcb_create_window(
        connection_, XCB_COPY_FROM_PARENT, window, root_, 0, 0, 40, 30, 0,
        XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
    settle();
    return window;
}

void XClient::show(xcb_window_t window) const {
    xcb_map_window(connection_, window);
    settle();
}

void XClient::destroy(xcb_window_t window) const {
    xcb_destroy_window(connection_, window);
    settle();
}

void XClient::list(const std::vector<xcb_window_t>& windows) const {
    setNumbers(root_, "_NET_CLIENT_LIST", XCB_ATOM_WINDOW, windows);
}

void XClient::setTitle(xcb_window_t window, std::string_view title) const {
    setText(window, atom("_NET_WM_NAME"), atom("UTF8_STRING"), title);
}

void XClient::setOldTitle(xcb_window_t window, std::string_view title) const {
    setText(window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, title);
}

void XClient::setPid(xcb_window_t window, std::int32_t pid) const {
    setNumbers(window, "_NET_WM_PID", XCB_ATOM_CARDINAL, {static_cast<std::uint32_t>(pid)});
}

void XClient::setMachine(xcb_window_t window, std::string_view machine) const {
    setText(window, XCB_ATOM_WM_CLIENT_MACHINE, XCB_ATOM_STRING, machine);
}

void XClient::setClass(
    xcb_window_t window, std::string_view instance, std::string_view name) const {
    std::string both{instance};
    both += '\0';
    both += name;
    both += '\0';
    setText(window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, both);
}

void XClient::setType(xcb_window_t window, std::string_view type) const {
    setNumbers(window, "_NET_WM_WINDOW_TYPE", XCB_ATOM_ATOM, {atom(type)});
}

void XClient::holdServer() const {
    xcb_grab_server(connection_);
    settle();
}

void XClient::releaseServer() const {
    xcb_ungrab_server(connection_);
    settle();
}

std::vector<xcb_window_t> XClient::listed() const {
    const auto reply = owned(xcb_get_property_reply(
        connection_,
        xcb_get_property(connection_, 0, root_, atom("_NET_CLIENT_LIST"), XCB_ATOM_WINDOW, 0, 1024),
        nullptr));
    if (reply == nullptr) {
        return {};
    }
    std::vector<xcb_window_t> windows(
        static_cast<std::size_t>(xcb_get_property_value_length(reply.get())) /
        sizeof(xcb_window_t));
    if (!windows.empty()) {
        std::memcpy(
            windows.data(), xcb_get_property_value(reply.get()),
            windows.size() * sizeof(xcb_window_t));
    }
    return windows;
}

xcb_atom_t XClient::atom(std::string_view name) const {
    const auto reply = owned(xcb_intern_atom_reply(
        connection_,
        xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.data()),
        nullptr));
    return reply == nullptr ? xcb_atom_t{XCB_ATOM_NONE} : reply->atom;
}

void XClient::setText(
    xcb_window_t window, xcb_atom_t property, xcb_atom_t type, std::string_view text) const {
    constexpr std::uint8_t bits = 8;
    xcb_change_property(
        connection_, XCB_PROP_MODE_REPLACE, window, property, type, bits,
        static_cast<std::uint32_t>(text.size()), text.data());
    settle();
}

void XClient::setNumbers(
    xcb_window_t window, std::string_view property, xcb_atom_t type,
    const std::vector<std::uint32_t>& numbers) const {
    constexpr std::uint8_t bits = 32;
    xcb_change_property(
        connection_, XCB_PROP_MODE_REPLACE, window, atom(property), type, bits,
        static_cast<std::uint32_t>(numbers.size()), numbers.data());
    settle();
}

void XClient::settle() const {
    owned(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
}

} // namespace brindle
