// Notifications that are only written down; the test answers in the user's place.
#pragma once

#include "BrindleRecorderApp/Platform/UserNotifications.hpp"

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace brindle::test {

class FakeUserNotifications final : public UserNotifications {
  public:
    bool available = true;
    /// Whether the desktop shows what is posted.
    bool shows = true;

    std::vector<NotificationCategory> categories;
    /// Everything that was posted, in order.
    std::vector<NotificationRequest> posted;
    /// What is on the screen, by identifier.
    std::map<std::string, NotificationRequest> shown;
    /// The identifiers that were taken back, in order.
    std::vector<std::string> removed;
    /// Requests for permission that nobody has answered yet.
    std::vector<std::function<void(bool)>> authorizationRequests;

    [[nodiscard]] bool hasResponseHandler() const { return static_cast<bool>(handler_); }

    /// The user decides on the oldest open request for permission.
    void answerAuthorization(bool granted) {
        const auto answer = authorizationRequests.front();
        authorizationRequests.erase(authorizationRequests.begin());
        answer(granted);
    }
    /// The user does something with a notification, which may be gone by now.
    void respond(const NotificationResponse& response) {
        if (const auto handler = handler_) {
            handler(response);
        }
    }
    /// The user does something with the notification of that identifier, which must be shown.
    void respondTo(const std::string& identifier, const std::string& actionIdentifier) {
        const auto request = shown.at(identifier);
        if (!request.isResident || actionIdentifier == NotificationResponse::dismissAction) {
            shown.erase(identifier);
        }
        respond(
            {.label = request.label,
             .actionIdentifier = actionIdentifier,
             .identifier = identifier});
    }
    /// The same with the question for that label.
    void respondToAsk(const std::string& label, const std::string& actionIdentifier) {
        respondTo("ask-" + label, actionIdentifier);
    }

    [[nodiscard]] bool isAvailable() const override { return available; }
    void setResponseHandler(std::function<void(const NotificationResponse&)> handler) override {
        handler_ = std::move(handler);
    }
    void setCategories(std::vector<NotificationCategory> newCategories) override {
        categories = std::move(newCategories);
    }
    void requestAuthorization(std::function<void(bool granted)> answer) override {
        authorizationRequests.push_back(std::move(answer));
    }
    using UserNotifications::post;
    void post(const NotificationRequest& request, std::function<void()> whenShown) override {
        posted.push_back(request);
        if (!shows) {
            return;
        }
        shown.insert_or_assign(request.identifier, request);
        if (whenShown) {
            whenShown();
        }
    }
    void removeDelivered(const std::string& identifier) override {
        removed.push_back(identifier);
        shown.erase(identifier);
    }

  private:
    std::function<void(const NotificationResponse&)> handler_;
};

} // namespace brindle::test
