// The seam to the desktop's notifications. Texts are plain, never markup.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace brindle {

/// A button of a notification.
struct NotificationAction {
    std::string identifier;
    std::string title;
    friend bool operator==(const NotificationAction&, const NotificationAction&) = default;
};

/// A kind of notification and the buttons that it carries, in order.
struct NotificationCategory {
    std::string identifier;
    std::vector<NotificationAction> actions;
    friend bool operator==(const NotificationCategory&, const NotificationCategory&) = default;
};

struct NotificationRequest {
    std::string identifier; ///< a request under the identifier of a shown one replaces it
    std::string title;
    std::string body;
    std::optional<std::string> categoryIdentifier;
    std::optional<std::string> label; ///< carried unseen, handed back with the answer
    /// Stays quietly until it is taken back, where the desktop lets it: neither time nor one of its
    /// buttons ends it.
    bool isResident = false;
    friend bool operator==(const NotificationRequest&, const NotificationRequest&) = default;
};

/// What the user did with a notification.
struct NotificationResponse {
    /// Stands for a click on the notification itself, no button.
    static constexpr const char* defaultAction = "default";
    /// Stands for closing the notification.
    static constexpr const char* dismissAction = "dismiss";

    std::optional<std::string> label;
    std::string actionIdentifier;
    std::string identifier = {}; ///< of the request
};

/// Main thread only; the response handler and answers are called on the main thread.
class UserNotifications {
  public:
    virtual ~UserNotifications() = default;

    /// Whether notifications can be shown by this process at all.
    [[nodiscard]] virtual bool isAvailable() const = 0;
    virtual void setResponseHandler(std::function<void(const NotificationResponse&)> handler) = 0;
    virtual void setCategories(std::vector<NotificationCategory> categories) = 0;
    /// Asks for permission to show alerts with sound; `answer` says whether it was given.
    virtual void requestAuthorization(std::function<void(bool granted)> answer) = 0;
    /// Shows the notification at once. What cannot be shown is dropped. `whenShown`, which may be
    /// empty, is called when the desktop has taken it to show, from within or later; never for what
    /// was dropped, or replaced before that.
    virtual void post(const NotificationRequest& request, std::function<void()> whenShown) = 0;
    void post(const NotificationRequest& request) { post(request, {}); }
    /// Takes a shown notification back; one that is not shown any more is no error.
    virtual void removeDelivered(const std::string& identifier) = 0;
};

} // namespace brindle
