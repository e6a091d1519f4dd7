// The desktop's notifications.
#pragma once

#include "BrindleRecorderApp/Platform/UserNotifications.hpp"

#include <memory>

namespace brindle {

/// To be made before the application has launched: a click that launched it is told only then.
class NotificationCenter final : public UserNotifications {
  public:
    NotificationCenter();
    ~NotificationCenter() override;
    NotificationCenter(const NotificationCenter&) = delete;
    NotificationCenter& operator=(const NotificationCenter&) = delete;

    /// Only a program in a bundle can show any.
    [[nodiscard]] bool isAvailable() const override;
    void setResponseHandler(std::function<void(const NotificationResponse&)> handler) override;
    void setCategories(std::vector<NotificationCategory> categories) override;
    void requestAuthorization(std::function<void(bool granted)> answer) override;
    using UserNotifications::post;
    void post(const NotificationRequest& request, std::function<void()> whenShown) override;
    void removeDelivered(const std::string& identifier) override;

  private:
    class Implementation;
    std::shared_ptr<Implementation> implementation_;
};

} // namespace brindle
