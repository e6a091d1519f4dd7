// Notifications through the desktop's notification server (org.freedesktop.Notifications,
// version 1.2 of the Desktop Notifications Specification).
#pragma once

#include "BrindleRecorderApp/Platform/UserNotifications.hpp"
#include "BrindleRecorderLinux/Bus/Bus.hpp"
#include "BrindleRecorderLinux/Bus/BusCalls.hpp"
#include "BrindleRecorderLinux/Bus/BusService.hpp"
#include "BrindleRecorderLinux/Notifications/NotificationText.hpp"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace brindle {

/// Main thread only. Nothing here waits: a server may be slow, absent, or replaced by another at
/// any moment. What it can do is asked before each notification, because some change their answer
/// while they run. What a server takes to its grave and is still to stay, such as a question, is
/// shown again on the next one.
class DesktopNotifications final : public UserNotifications {
  public:
    /// The bus must be connected and outlive this.
    explicit DesktopNotifications(Bus& bus);
    /// Takes back what is still shown and would stay.
    ~DesktopNotifications() override;
    DesktopNotifications(const DesktopNotifications&) = delete;
    DesktopNotifications& operator=(const DesktopNotifications&) = delete;

    [[nodiscard]] bool isAvailable() const override { return sd_bus_is_open(bus_.get()) > 0; }
    void setResponseHandler(std::function<void(const NotificationResponse&)> handler) override;
    void setCategories(std::vector<NotificationCategory> categories) override;
    /// The session's notifications need no permission: the answer comes at once.
    void requestAuthorization(std::function<void(bool granted)> answer) override { answer(true); }
    using UserNotifications::post;
    void post(const NotificationRequest& request, std::function<void()> whenShown) override;
    void removeDelivered(const std::string& identifier) override;

  private:
    /// One notification, from its posting until it is over.
    struct Shown {
        NotificationRequest request;
        std::function<void()> whenShown;
        bool isWanted = true;       ///< false: taken back
        bool isCurrent = false;     ///< the server shows what the request says
        bool mayStartServer = true; ///< once for each posting, so that a server that cannot live is
                                    ///< not started again and again
        bool isBusy = false;        ///< the server has been asked and has not answered
        std::uint32_t number = 0;   ///< the server's; 0 while it shows none
        std::string server;         ///< the bus name of the server that gave the number
    };
    using ShownHandle = std::shared_ptr<Shown>;

    /// What the server told of one of its numbers.
    struct Told {
        std::uint32_t number = 0;
        std::optional<std::string> action; ///< that the user invoked; absent when it was closed
        std::uint32_t reason = 0;          ///< why it was closed
    };

    void advance(const ShownHandle& shown);
    void askCapabilities(const ShownHandle& shown);
    void notify(const ShownHandle& shown, const NotificationCapabilities& capabilities);
    [[nodiscard]] BusMessage
    makeNotify(const Shown& shown, const NotificationCapabilities& capabilities) const;
    void takeNumber(
        const ShownHandle& shown, std::uint32_t number, const std::string& server, int asked);
    void settleFailure(const ShownHandle& shown, int serversSeenThen);
    void close(const Shown& shown);
    void forget(const ShownHandle& shown);
    void serverHasChanged();
    void take(const Told& told);
    void takeAction(const ShownHandle& shown, const std::string& action);
    void takeClosing(const ShownHandle& shown, std::uint32_t reason);
    void replayEarlySignals();
    [[nodiscard]] ShownHandle find(std::uint32_t number) const;
    [[nodiscard]] const NotificationCategory* categoryOf(const NotificationRequest& request) const;
    void respond(const Shown& shown, const std::string& action);

    Bus& bus_;
    BusService server_;
    BusCalls calls_;
    std::function<void(const NotificationResponse&)> handler_;
    std::vector<NotificationCategory> categories_;
    std::map<std::string, ShownHandle> shown_; ///< by the request's identifier
    std::vector<ShownHandle> leaving_;         ///< taken back while the server is still being asked
    int serversSeen_ = 0;                      ///< since the start
    std::vector<Told> earlySignals_;           ///< about numbers that may be ours a moment later
};

} // namespace brindle
