#include "LinuxTests/ScriptedNotificationServer.hpp"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace brindle::test {

namespace {

std::vector<std::string> readWords(sd_bus_message* message) {
    std::vector<std::string> words;
    const char* word = nullptr;
    requireOfBus(sd_bus_message_enter_container(message, 'a', "s"), "no list");
    while (sd_bus_message_read(message, "s", &word) > 0) {
        words.emplace_back(word);
    }
    requireOfBus(sd_bus_message_exit_container(message), "no list");
    return words;
}

std::string readHint(sd_bus_message* message) {
    const char* type = nullptr;
    requireOfBus(sd_bus_message_peek_type(message, nullptr, &type), "no hint");
    if (std::string_view{type} == "y") {
        std::uint8_t byte = 0;
        requireOfBus(sd_bus_message_read(message, "v", "y", &byte), "no hint");
        return "y " + std::to_string(byte);
    }
    if (std::string_view{type} == "b") {
        int flag = 0; // the wire's booleans have the size of an int
        requireOfBus(sd_bus_message_read(message, "v", "b", &flag), "no hint");
        return "b " + std::to_string(flag);
    }
    const char* word = "";
    requireOfBus(sd_bus_message_read(message, "v", "s", &word), "no hint");
    return std::string{"s "} + word;
}

std::map<std::string, std::string> readHints(sd_bus_message* message) {
    std::map<std::string, std::string> hints;
    requireOfBus(sd_bus_message_enter_container(message, 'a', "{sv}"), "no hints");
    while (sd_bus_message_enter_container(message, 'e', "sv") > 0) {
        const char* name = nullptr;
        requireOfBus(sd_bus_message_read(message, "s", &name), "no hint");
        hints[name] = readHint(message);
        requireOfBus(sd_bus_message_exit_container(message), "no hint");
    }
    requireOfBus(sd_bus_message_exit_container(message), "no hints");
    return hints;
}

} // namespace

ScriptedNotificationServer::ScriptedNotificationServer(std::vector<std::string> theirCapabilities)
    : capabilities{std::move(theirCapabilities)}, server_{
                                                      interface, path, interface, table(), this} {}

const sd_bus_vtable* ScriptedNotificationServer::table() {
    constexpr auto method = &ScriptedNotificationServer::take;
    static const std::array<sd_bus_vtable, 7> table{{
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD("GetCapabilities", "", "as", method, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("Notify", "susssasa{sv}i", "u", method, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("CloseNotification", "u", "", method, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_SIGNAL("ActionInvoked", "us", 0),
        SD_BUS_SIGNAL("NotificationClosed", "uu", 0),
        SD_BUS_VTABLE_END,
    }};
    return table.data();
}

int ScriptedNotificationServer::take(sd_bus_message* call, void* self, sd_bus_error* /*error*/) {
    auto& server = *static_cast<ScriptedNotificationServer*>(self);
    if (server.holds == sd_bus_message_get_member(call)) {
        server.held_.emplace_back(sd_bus_message_ref(call));
        return 1;
    }
    return server.answer(call);
}

void ScriptedNotificationServer::answerHeld() {
    holds.clear();
    for (const auto& call : std::exchange(held_, {})) {
        requireOfBus(answer(call.get()), "no answer");
    }
    requireOfBus(sd_bus_flush(server_.bus()), "no answer");
}

int ScriptedNotificationServer::answer(sd_bus_message* call) {
    const std::string_view method = sd_bus_message_get_member(call);
    if (method == "GetCapabilities") {
        return answerCapabilities(call);
    }
    if (method == "Notify") {
        return answerNotify(call);
    }
    std::uint32_t number = 0;
    requireOfBus(sd_bus_message_read(call, "u", &number), "no number");
    closed_.push_back(number);
    const int sent = sd_bus_reply_method_return(call, "");
    close(number, 3);
    return sent;
}

int ScriptedNotificationServer::answerCapabilities(sd_bus_message* call) const {
    std::vector<char*> words;
    for (const std::string& word : capabilities) {
        words.push_back(const_cast<char*>(word.c_str())); // only read
    }
    words.push_back(nullptr);
    sd_bus_message* reply = nullptr;
    requireOfBus(sd_bus_message_new_method_return(call, &reply), "no answer");
    const std::unique_ptr<sd_bus_message, Release> owner{reply};
    requireOfBus(sd_bus_message_append_strv(reply, words.data()), "no answer");
    return sd_bus_send(nullptr, reply, nullptr);
}

int ScriptedNotificationServer::answerNotify(sd_bus_message* call) {
    if (refuses) {
        ++refused;
        return sd_bus_reply_method_errorf(call, SD_BUS_ERROR_LIMITS_EXCEEDED, "no");
    }
    Notification shown;
    const char* application = nullptr;
    const char* icon = nullptr;
    const char* summary = nullptr;
    const char* body = nullptr;
    requireOfBus(
        sd_bus_message_read(call, "susss", &application, &shown.replaces, &icon, &summary, &body),
        "no notification");
    shown.summary = summary;
    shown.body = body;
    shown.actions = readWords(call);
    shown.hints = readHints(call);
    requireOfBus(sd_bus_message_read(call, "i", &shown.expireTimeout), "no notification");
    shown.number = shown.replaces != 0 ? shown.replaces : ++lastNumber_;
    notified.push_back(shown);
    if (clickBeforeAnswer) {
        invoke(shown.number, *clickBeforeAnswer);
    }
    return sd_bus_reply_method_return(call, "u", shown.number);
}

std::string ScriptedNotificationServer::ownName() const {
    const char* name = nullptr;
    requireOfBus(sd_bus_get_unique_name(server_.bus(), &name), "no name");
    return name;
}

bool ScriptedNotificationServer::hasClosed(std::uint32_t number) const {
    return std::ranges::find(closed_, number) != closed_.end();
}

void ScriptedNotificationServer::leave() {
    requireOfBus(sd_bus_release_name(server_.bus(), interface), "the name is kept");
}

} // namespace brindle::test
