// UserNotifications as a test arranges it.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace brindle::test {

struct NotificationStandIn {
    bool grants = true;
    /// Whatever is posted from now on cannot be shown.
    bool refusesPosts = false;
    /// Posts are taken only when `takePosts` is called.
    bool holdsPosts = false;

    struct Shown {
        std::string identifier;
        std::string title;
        std::string body;
        std::string category;
        std::string label;
        friend bool operator==(const Shown&, const Shown&) = default;
    };
    std::vector<Shown> shown;
    std::vector<std::string> categories; ///< "category: action title, …; options …"
    std::vector<long> authorizationOptions;
    int refusedPosts = 0;
    int completedResponses = 0; ///< the program said that it has dealt with them
    long presentation = 0;      ///< how the last one was to be presented

    static void reset();
};

extern NotificationStandIn notificationStandIn;

bool centerHasDelegate();
/// The user does that with the notification, which may be gone by now; told on a foreign thread.
void respond(const std::string& action, const NotificationStandIn::Shown& notification);
/// A label that is no text.
void respondWithNumberAsLabel(const std::string& action);
/// The system asks how to present one while the program is in front.
void askForPresentation();
void takePosts();

} // namespace brindle::test
