#include "BrindleRecorderLinux/Notifications/NotificationText.hpp"

#include "BrindleRecorderLinux/Bus/BusText.hpp"

namespace brindle {

namespace {

std::string cut(std::string_view text) {
    return BusText::cut(text, NotificationText::mostCharacters);
}

std::string escaped(const std::string& text) {
    std::string result;
    for (const char character : text) {
        switch (character) {
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        case '&':
            result += "&amp;";
            break;
        case '"':
            result += "&quot;";
            break;
        default:
            result += character;
        }
    }
    return result;
}

} // namespace

void NotificationCapabilities::add(std::string_view name) {
    actions = actions || name == "actions";
    body = body || name == "body";
    bodyMarkup = bodyMarkup || name == "body-markup";
    sound = sound || name == "sound";
}

NotificationText NotificationText::make(
    std::string_view title, std::string_view body, const NotificationCapabilities& capabilities) {
    if (!capabilities.body) {
        const std::string gap = body.empty() ? "" : " ";
        return {cut(std::string{title} + gap + std::string{body}), {}};
    }
    return {cut(title), capabilities.bodyMarkup ? escaped(cut(body)) : cut(body)};
}

} // namespace brindle
