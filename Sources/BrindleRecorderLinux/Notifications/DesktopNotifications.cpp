#include "BrindleRecorderLinux/Notifications/DesktopNotifications.hpp"

#include "BrindleRecorderLinux/Bus/BusText.hpp"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <utility>

namespace brindle {

namespace {

constexpr const char* serviceName = "org.freedesktop.Notifications";
constexpr const char* object = "/org/freedesktop/Notifications";
constexpr int neverExpires = 0;
constexpr int serverDecides = -1;
constexpr std::uint32_t dismissedByUser = 2;
constexpr std::size_t mostEarlySignals = 16;
constexpr std::size_t longestAction = 200;

std::optional<NotificationCapabilities> readCapabilities(sd_bus_message* answer) {
    NotificationCapabilities result;
    if (!isAnswer(answer) || sd_bus_message_enter_container(answer, 'a', "s") < 0) {
        return std::nullopt;
    }
    const char* name = nullptr;
    while (sd_bus_message_read(answer, "s", &name) > 0) {
        result.add(name);
    }
    return result;
}

void addActions(sd_bus_message* call, const std::vector<NotificationAction>* actions) {
    sd_bus_message_open_container(call, 'a', "s");
    if (actions != nullptr) {
        // The default action is the click on the notification itself. Some servers show a button
        // for it too, unless it has no words.
        sd_bus_message_append(call, "ss", NotificationResponse::defaultAction, "");
        for (const auto& action : *actions) {
            sd_bus_message_append(
                call, "ss", action.identifier.c_str(), BusText::valid(action.title).c_str());
        }
    }
    sd_bus_message_close_container(call);
}

/// Whether only the program or the user ends it.
bool stays(const NotificationRequest& request) {
    return request.label || request.isResident;
}

void addHints(sd_bus_message* call, const NotificationRequest& request, bool canSound) {
    constexpr int low = 0;
    constexpr int normal = 1;
    sd_bus_message_open_container(call, 'a', "{sv}");
    sd_bus_message_append(call, "{sv}", "desktop-entry", "s", "com.tamsworth.brindlerecorder");
    sd_bus_message_append(call, "{sv}", "urgency", "y", request.isResident ? low : normal);
    if (request.isResident) {
        sd_bus_message_append(call, "{sv}", "resident", "b", 1);
    } else if (canSound) {
        sd_bus_message_append(call, "{sv}", "sound-name", "s", "message-new-instant");
    }
    sd_bus_message_close_container(call);
}

} // namespace

DesktopNotifications::DesktopNotifications(Bus& bus)
    : bus_{bus},
      server_{
          bus, serviceName,
          [this] {
              serverHasChanged();
          }},
      calls_{bus} {
    // Where the bus is gone nobody tells anything.
    static_cast<void>(
        server_.follow(object, serviceName, "ActionInvoked", [this](sd_bus_message* signal) {
            Told told;
            const char* action = nullptr;
            if (sd_bus_message_read(signal, "us", &told.number, &action) > 0 &&
                std::string_view{action}.size() <= longestAction) {
                told.action = action;
                take(told);
            }
        }));
    static_cast<void>(
        server_.follow(object, serviceName, "NotificationClosed", [this](sd_bus_message* signal) {
            Told told;
            if (sd_bus_message_read(signal, "uu", &told.number, &told.reason) > 0) {
                take(told);
            }
        }));
    bus_.wake();
}

DesktopNotifications::~DesktopNotifications() {
    for (const auto& [identifier, shown] : shown_) {
        if (shown->number != 0 && stays(shown->request)) {
            close(*shown);
        }
    }
}

void DesktopNotifications::setResponseHandler(
    std::function<void(const NotificationResponse&)> handler) {
    handler_ = std::move(handler);
}

void DesktopNotifications::setCategories(std::vector<NotificationCategory> categories) {
    categories_ = std::move(categories);
}

void DesktopNotifications::post(
    const NotificationRequest& request, std::function<void()> whenShown) {
    auto& shown = shown_[request.identifier];
    if (!shown) {
        shown = std::make_shared<Shown>();
    }
    shown->request = request;
    shown->whenShown = std::move(whenShown);
    shown->isCurrent = false;
    shown->mayStartServer = true;
    advance(ShownHandle{shown});
}

void DesktopNotifications::removeDelivered(const std::string& identifier) {
    const auto found = shown_.find(identifier);
    if (found == shown_.end()) {
        return;
    }
    const ShownHandle shown = found->second;
    shown_.erase(found);
    shown->isWanted = false;
    leaving_.push_back(shown);
    advance(shown);
}

/// Brings the screen one step nearer to what is wanted, unless a step is on its way.
void DesktopNotifications::advance(const ShownHandle& shown) {
    if (shown->isBusy) {
        return;
    }
    if (!shown->isWanted) {
        if (shown->number != 0) {
            close(*shown);
        }
        forget(shown);
    } else if (!shown->isCurrent) {
        askCapabilities(shown);
    }
}

void DesktopNotifications::askCapabilities(const ShownHandle& shown) {
    auto call = calls_.make(serviceName, object, serviceName, "GetCapabilities");
    sd_bus_message_set_auto_start(call.get(), std::exchange(shown->mayStartServer, false) ? 1 : 0);
    shown->isBusy =
        calls_.send(std::move(call), [this, shown, asked = serversSeen_](sd_bus_message* answer) {
            shown->isBusy = false;
            const auto capabilities = readCapabilities(answer);
            if (capabilities && shown->isWanted && !server_.owner().empty()) {
                notify(shown, *capabilities);
            } else {
                settleFailure(shown, asked);
            }
        });
    if (!shown->isBusy) {
        settleFailure(shown, serversSeen_);
    }
}

void DesktopNotifications::notify(
    const ShownHandle& shown, const NotificationCapabilities& capabilities) {
    shown->isCurrent = true;
    shown->isBusy = calls_.send(
        makeNotify(*shown, capabilities),
        [this, shown, asked = serversSeen_, server = server_.owner()](sd_bus_message* answer) {
            shown->isBusy = false;
            std::uint32_t number = 0;
            if (isAnswer(answer) && sd_bus_message_read(answer, "u", &number) > 0) {
                takeNumber(shown, number, server, asked);
            } else {
                settleFailure(shown, asked);
            }
        });
    if (!shown->isBusy) {
        settleFailure(shown, serversSeen_);
    }
}

BusMessage DesktopNotifications::makeNotify(
    const Shown& shown, const NotificationCapabilities& capabilities) const {
    const NotificationRequest& request = shown.request;
    const auto text = NotificationText::make(request.title, request.body, capabilities);
    const auto* category = categoryOf(request);
    // By the server's own name on the bus, so that it is known whose number the answer holds.
    auto call = calls_.make(server_.owner(), object, serviceName, "Notify");
    sd_bus_message_append(
        call.get(), "susss", "Brindle Recorder", shown.number, "camera-video", text.summary.c_str(),
        text.body.c_str());
    addActions(
        call.get(), category != nullptr && capabilities.actions ? &category->actions : nullptr);
    addHints(call.get(), request, capabilities.sound);
    sd_bus_message_append(call.get(), "i", category != nullptr ? neverExpires : serverDecides);
    return call;
}

void DesktopNotifications::takeNumber(
    const ShownHandle& shown, std::uint32_t number, const std::string& server, int asked) {
    shown->number = number;
    shown->server = server;
    if (serversSeen_ != asked && shown->server != server_.owner()) {
        shown->number = 0; // it answered with its last breath
        shown->isCurrent = false;
    }
    const auto whenShown = shown->isCurrent ? std::exchange(shown->whenShown, nullptr) : nullptr;
    advance(shown);
    replayEarlySignals();
    if (whenShown) {
        whenShown();
    }
}

/// Nobody shows it, or refuses to. A question waits for the next server; asking the same one again
/// and again would help nobody.
void DesktopNotifications::settleFailure(const ShownHandle& shown, int serversSeenThen) {
    if (!shown->isWanted || serversSeen_ != serversSeenThen) {
        shown->isCurrent = false;
        advance(shown);
    } else if (!stays(shown->request)) {
        forget(shown);
    }
}

void DesktopNotifications::close(const Shown& shown) {
    auto call = calls_.make(shown.server, object, serviceName, "CloseNotification");
    sd_bus_message_set_auto_start(call.get(), 0);
    sd_bus_message_append(call.get(), "u", shown.number);
    calls_.send(std::move(call));
}

void DesktopNotifications::forget(const ShownHandle& shown) {
    std::erase(leaving_, shown);
    const auto found = shown_.find(shown->request.identifier);
    if (found != shown_.end() && found->second == shown) {
        shown_.erase(found);
    }
}

void DesktopNotifications::serverHasChanged() {
    earlySignals_.clear();
    const std::string newOwner = server_.owner();
    if (!newOwner.empty()) {
        ++serversSeen_;
    }
    const auto all = shown_;
    for (const auto& [identifier, shown] : all) {
        if (shown->server == newOwner) {
            continue;
        }
        // The numbers went with the server that gave them.
        shown->number = 0;
        if (shown->isBusy) {
            continue; // whoever waits for the answer sees to it
        }
        if (!stays(shown->request)) {
            forget(shown);
            continue;
        }
        shown->isCurrent = false;
        if (!newOwner.empty()) {
            advance(shown);
        }
    }
}

void DesktopNotifications::take(const Told& told) {
    if (const auto shown = find(told.number)) {
        if (told.action) {
            takeAction(shown, *told.action);
        } else {
            takeClosing(shown, told.reason);
        }
        return;
    }
    // A server may be quicker to tell of a click than this process to read its first answer.
    const bool someAreOnTheirWay =
        std::ranges::any_of(shown_, [](const auto& entry) { return entry.second->isBusy; });
    if (someAreOnTheirWay && earlySignals_.size() < mostEarlySignals) {
        earlySignals_.push_back(told);
    }
}

void DesktopNotifications::takeAction(const ShownHandle& shown, const std::string& action) {
    const auto* category = categoryOf(shown->request);
    const bool wasOffered =
        action == NotificationResponse::defaultAction ||
        (category != nullptr &&
         std::ranges::any_of(category->actions, [&](const NotificationAction& offered) {
             return offered.identifier == action;
         }));
    if (category == nullptr || !wasOffered) {
        return;
    }
    const Shown answered = *shown;
    if (!answered.request.isResident) {
        // Some servers leave a notification on the screen that has been answered.
        removeDelivered(answered.request.identifier);
    }
    respond(answered, action);
}

void DesktopNotifications::takeClosing(const ShownHandle& shown, std::uint32_t reason) {
    const Shown closed = *shown;
    shown->number = 0;
    if (!shown->isBusy) { // otherwise what was posted since is on its way to the screen
        forget(shown);
    }
    if (reason == dismissedByUser) {
        respond(closed, NotificationResponse::dismissAction);
    }
}

void DesktopNotifications::replayEarlySignals() {
    for (const Told& told : std::exchange(earlySignals_, {})) {
        take(told);
    }
}

DesktopNotifications::ShownHandle DesktopNotifications::find(std::uint32_t number) const {
    const auto found = std::ranges::find_if(shown_, [&](const auto& entry) {
        const Shown& shown = *entry.second;
        return number != 0 && shown.number == number && shown.server == server_.owner();
    });
    return found != shown_.end() ? found->second : nullptr;
}

const NotificationCategory*
DesktopNotifications::categoryOf(const NotificationRequest& request) const {
    const auto found = std::ranges::find_if(categories_, [&](const NotificationCategory& category) {
        return request.categoryIdentifier == category.identifier;
    });
    return found != categories_.end() ? &*found : nullptr;
}

void DesktopNotifications::respond(const Shown& shown, const std::string& action) {
    if (const auto handler = handler_) {
        handler(
            {.label = shown.request.label,
             .actionIdentifier = action,
             .identifier = shown.request.identifier});
    }
}

} // namespace brindle
