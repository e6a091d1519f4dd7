#include "BrindleRecorderLinux/CommandLine/TerminalNotifications.hpp"

#include "BrindleRecorderLinux/CommandLine/TerminalLine.hpp"

#include <fmt/format.h>

namespace brindle {

void TerminalNotifications::post(
    const NotificationRequest& request, std::function<void()> whenShown) {
    printLine(stream_, fmt::format("{}: {}", request.title, request.body));
    if (whenShown) {
        whenShown();
    }
}

} // namespace brindle
