#include "BrindleRecorderLinux/Windows/X11WindowList.hpp"

#include "BrindleRecorderApp/MicActivityMonitor.hpp"
#include "BrindleRecorderLinux/Windows/WindowOwner.hpp"
#include "BrindleRecorderLinux/Windows/X11Connection.hpp"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <map>
#include <string_view>
#include <utility>

namespace brindle {

namespace {

using x11::Connection;
using x11::ReplyHandle;
using Property = ReplyHandle<xcb_get_property_reply_t>;

constexpr std::chrono::milliseconds patience{500};

/// A little more than is used of a title, so that who cuts it sees that it goes on.
constexpr std::uint32_t longestTitle = MicActivityMonitor::maxTitleBytes + 4;
constexpr std::uint32_t longestShortText = 512;
constexpr std::uint32_t mostTypes = 32;
constexpr std::uint32_t bytesPerItem = 4;

std::string_view bytesOf(const Property& property) {
    constexpr std::uint8_t textFormat = 8;
    if (property == nullptr || property->format != textFormat) {
        return {};
    }
    return {
        static_cast<const char*>(xcb_get_property_value(property.get())),
        static_cast<std::size_t>(xcb_get_property_value_length(property.get()))};
}

/// Windows, atoms and numbers alike.
std::vector<std::uint32_t> numbersOf(const Property& property) {
    constexpr std::uint8_t numberFormat = 32;
    if (property == nullptr || property->format != numberFormat) {
        return {};
    }
    std::vector<std::uint32_t> numbers(
        static_cast<std::size_t>(xcb_get_property_value_length(property.get())) / bytesPerItem);
    std::memcpy(
        numbers.data(), xcb_get_property_value(property.get()), numbers.size() * bytesPerItem);
    return numbers;
}

std::string utf8FromLatin1(std::string_view text) {
    std::string utf8;
    for (const char character : text) {
        const auto code = static_cast<unsigned char>(character);
        if (code < 0x80U) {
            utf8 += character;
        } else {
            utf8 += static_cast<char>(0xC0U | (code >> 6U));
            utf8 += static_cast<char>(0x80U | (code & 0x3FU));
        }
    }
    return utf8;
}

std::string thisMachine() {
    std::array<char, HOST_NAME_MAX + 1> name{};
    return gethostname(name.data(), name.size() - 1) == 0 ? std::string{name.data()} : "";
}

/// All questions about one window, so that those about every window are on their way before the
/// first answer is waited for.
struct Questions {
    xcb_window_t window;
    xcb_get_property_cookie_t name;
    xcb_get_property_cookie_t oldName;
    xcb_get_property_cookie_t pid;
    xcb_get_property_cookie_t names;
    xcb_get_property_cookie_t machine;
    xcb_get_property_cookie_t types;
};

Questions askAbout(const Connection& server, xcb_window_t window) {
    const auto& atoms = server.atoms();
    return {
        .window = window,
        .name = server.askProperty(window, atoms.name, longestTitle),
        .oldName = server.askProperty(window, XCB_ATOM_WM_NAME, longestTitle),
        .pid = server.askProperty(window, atoms.pid, bytesPerItem),
        .names = server.askProperty(window, XCB_ATOM_WM_CLASS, longestShortText),
        .machine = server.askProperty(window, XCB_ATOM_WM_CLIENT_MACHINE, longestShortText),
        .types = server.askProperty(window, atoms.windowType, mostTypes * bytesPerItem)};
}

xcb_res_query_client_ids_cookie_t
askForProcesses(const Connection& server, const std::vector<xcb_window_t>& windows) {
    std::vector<xcb_res_client_id_spec_t> clients;
    for (const xcb_window_t window : windows) {
        clients.push_back({server.clientOf(window), XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID});
    }
    return xcb_res_query_client_ids(
        server.get(), static_cast<std::uint32_t>(clients.size()), clients.data());
}

/// By client.
std::map<std::uint32_t, std::int32_t>
processesIn(const ReplyHandle<xcb_res_query_client_ids_reply_t>& reply) {
    std::map<std::uint32_t, std::int32_t> processes;
    if (reply == nullptr) {
        return processes;
    }
    for (auto each = xcb_res_query_client_ids_ids_iterator(reply.get()); each.rem > 0;
         xcb_res_client_id_value_next(&each)) {
        if ((each.data->spec.mask & XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID) != 0 &&
            xcb_res_client_id_value_value_length(each.data) > 0) {
            const auto pid = static_cast<std::int32_t>(*xcb_res_client_id_value_value(each.data));
            processes.emplace(each.data->spec.client, pid);
        }
    }
    return processes;
}

/// "instance\0class\0"
std::pair<std::string, std::string> instanceAndClass(std::string_view names) {
    const std::size_t end = names.find('\0');
    if (end == std::string_view::npos) {
        return {std::string{names}, {}};
    }
    const std::string_view rest = names.substr(end + 1);
    return {std::string{names.substr(0, end)}, std::string{rest.substr(0, rest.find('\0'))}};
}

class Answers {
  public:
    Answers(Connection& server, Connection::Time deadline, const ProcessRegistry& processes)
        : server_{server}, deadline_{deadline}, processes_{processes}, machine_{thisMachine()} {}

    /// Nothing when the window is gone, or the desktop's own.
    std::optional<WindowRecord>
    record(const Questions& questions, const std::map<std::uint32_t, std::int32_t>& certainPids) {
        const Property name = property(questions.name);
        const Property oldName = property(questions.oldName);
        const Property pid = property(questions.pid);
        const Property names = property(questions.names);
        const Property machine = property(questions.machine);
        const Property types = property(questions.types);
        if (types == nullptr || isDesktopsOwn(numbersOf(types))) {
            return std::nullopt;
        }
        WindowClaims claims;
        const auto certain = certainPids.find(server_.clientOf(questions.window));
        if (certain != certainPids.end()) {
            claims.certainPid = certain->second;
        }
        const auto pids = numbersOf(pid);
        if (!pids.empty() && pids.front() > 0 && pids.front() <= INT32_MAX) {
            claims.claimedPid = static_cast<std::int32_t>(pids.front());
        }
        claims.isFromThisMachine = isSameMachine(bytesOf(machine), machine_);
        std::tie(claims.windowInstance, claims.windowClass) = instanceAndClass(bytesOf(names));

        WindowOwner owner = ownerOf(claims, processes_);
        return WindowRecord{owner.pid, std::move(owner.bundleID), title(name, oldName)};
    }

  private:
    Property property(xcb_get_property_cookie_t cookie) {
        return server_.reply<xcb_get_property_reply_t>(cookie.sequence, deadline_);
    }

    [[nodiscard]] bool isDesktopsOwn(const std::vector<std::uint32_t>& types) const {
        const auto& atoms = server_.atoms();
        return std::any_of(types.begin(), types.end(), [&](std::uint32_t type) {
            return type == atoms.desktopType || type == atoms.dockType;
        });
    }

    [[nodiscard]] std::optional<std::string>
    title(const Property& name, const Property& oldName) const {
        if (name != nullptr && name->type == server_.atoms().utf8String && !bytesOf(name).empty()) {
            return std::string{bytesOf(name)};
        }
        if (bytesOf(oldName).empty()) {
            return std::nullopt;
        }
        return oldName->type == XCB_ATOM_STRING ? utf8FromLatin1(bytesOf(oldName))
                                                : std::string{bytesOf(oldName)};
    }

    Connection& server_;
    Connection::Time deadline_;
    const ProcessRegistry& processes_;
    std::string machine_;
};

} // namespace

X11WindowList::X11WindowList(const ProcessRegistry& processes, std::optional<std::string> display)
    : processes_{processes}, display_{std::move(display)} {}

X11WindowList::~X11WindowList() = default;

x11::Connection* X11WindowList::connection() const {
    if (connection_ != nullptr && !connection_->isAlive()) {
        connection_.reset();
    }
    if (connection_ == nullptr) {
        connection_ = Connection::open(display_);
    }
    return connection_.get();
}

bool X11WindowList::titlesPermitted() const {
    return connection() != nullptr;
}

std::optional<std::vector<WindowRecord>> X11WindowList::windows() const {
    Connection* const server = connection();
    if (server == nullptr || server->isBehind()) {
        return std::nullopt;
    }
    const auto deadline = std::chrono::steady_clock::now() + patience;
    const auto list = server->reply<xcb_get_property_reply_t>(
        server->askProperty(server->root(), server->atoms().clientList, mostWindows * bytesPerItem)
            .sequence,
        deadline);
    if (list == nullptr) {
        return std::nullopt;
    }
    const std::vector<xcb_window_t> windows = numbersOf(list);
    std::optional<xcb_res_query_client_ids_cookie_t> processes;
    if (server->knowsProcesses() && !windows.empty()) {
        processes = askForProcesses(*server, windows);
    }
    std::vector<Questions> questions;
    questions.reserve(windows.size());
    for (const xcb_window_t window : windows) {
        questions.push_back(askAbout(*server, window));
    }

    std::map<std::uint32_t, std::int32_t> certainPids;
    if (processes) {
        certainPids = processesIn(
            server->reply<xcb_res_query_client_ids_reply_t>(processes->sequence, deadline));
    }
    Answers answers{*server, deadline, processes_};
    std::vector<WindowRecord> records;
    for (const Questions& each : questions) {
        if (auto record = answers.record(each, certainPids)) {
            records.push_back(*std::move(record));
        }
    }
    if (!server->isAlive() || server->isBehind()) {
        return std::nullopt;
    }
    return records;
}

} // namespace brindle
