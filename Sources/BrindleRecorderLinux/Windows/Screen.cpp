#include "BrindleRecorderLinux/Windows/Screen.hpp"

#include "BrindleRecorderCore/Base/FileDescriptor.hpp"

#include <sys/socket.h>
#include <sys/un.h>
#include <wayland-client-core.h>
#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

namespace brindle {

namespace {

/// A path, or after a zero a name that is no file's.
bool somebodyListensAt(std::string_view place) {
    sockaddr_un address{};
    if (place.size() >= sizeof address.sun_path) {
        return false;
    }
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, place.data(), place.size());
    const FileDescriptor socket{::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)};
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + place.size());
    return ::connect(socket.number(), reinterpret_cast<const sockaddr*>(&address), length) == 0;
}

bool aCompositorListens() {
    const char* const name = std::getenv("WAYLAND_DISPLAY");
    const std::string display = name != nullptr && *name != '\0' ? name : "wayland-0";
    const char* const folder = std::getenv("XDG_RUNTIME_DIR");
    if (display.starts_with('/')) {
        return somebodyListensAt(display);
    }
    return folder != nullptr && somebodyListensAt(std::string{folder} + "/" + display);
}

} // namespace

bool anXServerAnswers() {
    auto* server = xcb_connect(nullptr, nullptr);
    const bool answers = xcb_connection_has_error(server) == 0;
    xcb_disconnect(server);
    return answers;
}

bool aScreenAnswers() {
    if (auto* compositor = wl_display_connect(nullptr)) {
        wl_display_disconnect(compositor);
        return true;
    }
    return anXServerAnswers();
}

bool anXServerListens() {
    char* host = nullptr;
    int display = 0;
    if (xcb_parse_display(nullptr, &host, &display, nullptr) == 0) {
        return false;
    }
    const std::string_view machine = host;
    const bool isElsewhere = !machine.empty() && machine != "unix";
    std::free(host);
    const std::string place = "/tmp/.X11-unix/X" + std::to_string(display);
    return isElsewhere || somebodyListensAt(place) || somebodyListensAt('\0' + place);
}

bool aScreenListens() {
    return aCompositorListens() || anXServerListens();
}

} // namespace brindle
