// A notification server that keeps what it is told and answers in the user's place.
#pragma once

#include "LinuxTests/ScriptedBusObject.hpp"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace brindle::test {

/// Serves while `serve` is called. Destroyed, it is gone from the bus.
class ScriptedNotificationServer {
  public:
    struct Notification {
        std::uint32_t number = 0;
        std::uint32_t replaces = 0;
        std::string summary;
        std::string body;
        std::vector<std::string> actions;
        std::map<std::string, std::string>
            hints; ///< each with its type before it: "y 1", "b 1", "s word"
        std::int32_t expireTimeout = 0;
    };

    /// Throws std::runtime_error when there is no bus, or when another one serves already.
    explicit ScriptedNotificationServer(std::vector<std::string> capabilities);
    ScriptedNotificationServer(const ScriptedNotificationServer&) = delete;
    ScriptedNotificationServer& operator=(const ScriptedNotificationServer&) = delete;

    /// May change while it runs, as with servers that have a do-not-disturb switch.
    std::vector<std::string> capabilities;
    std::vector<Notification> notified;
    /// Answers this kind of call only when `answerHeld` is called.
    std::string holds;
    /// Refuses to show anything.
    bool refuses = false;
    int refused = 0; ///< how often it has
    /// Says that the user clicked before it answers.
    std::optional<std::string> clickBeforeAnswer;

    /// Answers what has been asked. Never waits.
    void serve() { server_.serve(); }
    [[nodiscard]] bool isHolding() const { return !held_.empty(); }
    void answerHeld();
    [[nodiscard]] std::string ownName() const; ///< unique
    [[nodiscard]] bool hasClosed(std::uint32_t number) const;
    [[nodiscard]] std::size_t closings() const { return closed_.size(); }
    void forgetClosings() { closed_.clear(); }
    /// Leaves its place to another server, but stays on the bus.
    void leave();
    void invoke(std::uint32_t number, const std::string& action) {
        signal("ActionInvoked", "us", number, action.c_str());
    }
    void close(std::uint32_t number, std::uint32_t reason) {
        signal("NotificationClosed", "uu", number, reason);
    }
    template <class... Arguments>
    void signal(const char* name, const char* types, Arguments... arguments) {
        requireOfBus(
            sd_bus_emit_signal(server_.bus(), path, interface, name, types, arguments...),
            "no signal");
        requireOfBus(sd_bus_flush(server_.bus()), "no signal");
    }

  private:
    static constexpr const char* path = "/org/freedesktop/Notifications";
    static constexpr const char* interface = "org.freedesktop.Notifications";

    struct Release {
        void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
    };

    static const sd_bus_vtable* table();
    static int take(sd_bus_message* call, void* self, sd_bus_error* error);
    int answer(sd_bus_message* call);
    int answerCapabilities(sd_bus_message* call) const;
    int answerNotify(sd_bus_message* call);

    ScriptedBusObject server_;
    std::vector<std::unique_ptr<sd_bus_message, Release>> held_;
    std::vector<std::uint32_t> closed_;
    std::uint32_t lastNumber_ = 40;
};

} // namespace brindle::test
