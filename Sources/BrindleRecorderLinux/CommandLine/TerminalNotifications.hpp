// Notifications of a program without a user interface: one line each on standard error.
#pragma once

#include "BrindleRecorderApp/Platform/UserNotifications.hpp"

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

namespace brindle {

/// A terminal shows what it is given and hears no answers: a question stays unanswered until its
/// call is over.
class TerminalNotifications final : public UserNotifications {
  public:
    explicit TerminalNotifications(std::FILE* stream) : stream_{stream} {}

    [[nodiscard]] bool isAvailable() const override { return true; }
    void setResponseHandler(std::function<void(const NotificationResponse&)>) override {}
    void setCategories(std::vector<NotificationCategory>) override {}
    void requestAuthorization(std::function<void(bool granted)> answer) override { answer(true); }
    using UserNotifications::post;
    void post(const NotificationRequest& request, std::function<void()> whenShown) override;
    void removeDelivered(const std::string&) override {}

  private:
    std::FILE* stream_;
};

} // namespace brindle
