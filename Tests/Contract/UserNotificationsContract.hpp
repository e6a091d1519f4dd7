// What every desktop's notifications promise.
#pragma once

#include "BrindleRecorderApp/Platform/UserNotifications.hpp"
#include "Contract/Contract.hpp"

#include <string>
#include <vector>

namespace brindle::test {

/// A desktop that shows notifications, and a user who allows it.
class UserNotificationsSubject : public Subject {
  public:
    [[nodiscard]] virtual UserNotifications& notifications() = 0;
    /// The titles of what is shown.
    [[nodiscard]] virtual std::vector<std::string> shownTitles() = 0;
    /// The user does that with the notification of that title: the identifier of one of its
    /// buttons, or what `NotificationResponse` says.
    virtual void respond(const std::string& title, const std::string& action) = 0;
    /// Whether the desktop leaves what is to stay where it is, once it has been answered.
    [[nodiscard]] virtual bool letsThemStay() { return true; }
    /// Whether the desktop shows nothing of what reaches it from now on.
    virtual void refuse(bool refuses) = 0;
    /// How many it has refused.
    [[nodiscard]] virtual int refusals() = 0;
    /// The desktop takes what is posted only when `release` is called; false where it takes it from
    /// within the posting.
    [[nodiscard]] virtual bool hold() { return false; }
    virtual void release() {}
};

class UserNotificationsContract : public Contract<UserNotificationsSubject> {
  protected:
    void SetUp() override;

    /// A question with two buttons, "record" and "skip".
    [[nodiscard]] static NotificationRequest question(const std::string& title);

    /// Posts it and waits until the desktop shows it.
    void show(const NotificationRequest& request);

    std::vector<NotificationResponse> responses_;
    bool isElsewhere_ = false; ///< whether any was told on another thread than the main one
};

} // namespace brindle::test
