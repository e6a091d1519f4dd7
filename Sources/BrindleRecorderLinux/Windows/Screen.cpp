#include "BrindleRecorderLinux/Windows/Screen.hpp"

#include <wayland-client-core.h>
#include <xcb/xcb.h>

namespace brindle {

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

} // namespace brindle
