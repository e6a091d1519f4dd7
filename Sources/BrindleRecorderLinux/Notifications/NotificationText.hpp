// What a notification says, in the form that a server can show.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace brindle {

/// What a notification server can do, as far as it matters here.
struct NotificationCapabilities {
    bool actions = false;
    bool body = false;
    bool bodyMarkup = false;
    bool sound = false;

    /// Takes note of one that the server names; others are nothing to us.
    void add(std::string_view name);
};

struct NotificationText {
    static constexpr std::size_t mostCharacters = 1000;

    std::string summary;
    std::string body;

    /// Texts are plain and of any length. A server that reads markup gets what looks like markup
    /// escaped; one that shows no bodies gets the body after the title.
    static NotificationText make(
        std::string_view title, std::string_view body,
        const NotificationCapabilities& capabilities);

    friend bool operator==(const NotificationText&, const NotificationText&) = default;
};

} // namespace brindle
