#include "BrindleRecorderLinux/Windows/X11WindowList.hpp"

#include "BrindleRecorderApp/Calls/MicActivityMonitor.hpp"
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
using x11::KnownWindow;
using x11::ReplyHandle;
using Property = ReplyHandle<xcb_get_property_reply_t>;

constexpr std::chrono::milliseconds patience{500};

/// A little more than is used of a title, so that who cuts it sees that it goes on.
constexpr std::uint32_t longestTitle = MicActivityMonitor::maxTitleBytes + 4;
constexpr std::uint32_t longestShortText = 512;
constexpr std::uint32_t mostTypes = 32;
constexpr std::uint32_t bytesPerItem = 4;
/// For so many readings and up to as many more it is kept whose a window is.
constexpr unsigned int identityReadings = 8;

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
    if (!numbers.empty()) { // otherwise there is nowhere to copy to
        std::memcpy(
            numbers.data(), xcb_get_property_value(property.get()), numbers.size() * bytesPerItem);
    }
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

/// Questions about what stays the same for as long as a window is there, nearly always.
struct IdentityQuestions {
    xcb_get_property_cookie_t pid;
    xcb_get_property_cookie_t names;
    xcb_get_property_cookie_t machine;
    xcb_get_property_cookie_t types;
};

/// All questions about one window, so that those about every window are on their way before the
/// first answer is waited for.
struct Questions {
    xcb_window_t window;
    xcb_get_property_cookie_t name;
    std::optional<xcb_get_property_cookie_t> oldName;
    std::optional<IdentityQuestions> identity;
};

/// What is not asked for is known.
Questions
askAbout(const Connection& server, xcb_window_t window, bool knowsName, bool knowsIdentity) {
    const auto& atoms = server.atoms();
    Questions questions{
        .window = window,
        .name = server.askProperty(window, atoms.name, longestTitle),
        .oldName = std::nullopt,
        .identity = std::nullopt};
    if (!knowsName) {
        questions.oldName = server.askProperty(window, XCB_ATOM_WM_NAME, longestTitle);
    }
    if (!knowsIdentity) {
        questions.identity = IdentityQuestions{
            .pid = server.askProperty(window, atoms.pid, bytesPerItem),
            .names = server.askProperty(window, XCB_ATOM_WM_CLASS, longestShortText),
            .machine = server.askProperty(window, XCB_ATOM_WM_CLIENT_MACHINE, longestShortText),
            .types = server.askProperty(window, atoms.windowType, mostTypes * bytesPerItem)};
    }
    return questions;
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

    /// Nothing when the window is gone, or the desktop's own. `window` takes over what was asked.
    std::optional<WindowRecord> record(
        const Questions& questions, const std::optional<std::int32_t>& certainPid,
        KnownWindow& window) {
        const Property name = property(questions.name);
        const Property oldName = questions.oldName ? property(*questions.oldName) : Property{};
        if (questions.identity) {
            readIdentity(*questions.identity, window);
            window.claims.certainPid = certainPid;
        }
        if (name == nullptr) {
            window = {}; // its number may be given to another
        }
        window.hasName = isName(name);
        if (!window.isThere || window.isDesktopsOwn) {
            return std::nullopt;
        }
        WindowOwner owner = ownerOf(window.claims, processes_);
        return WindowRecord{owner.pid, std::move(owner.bundleID), title(name, oldName)};
    }

  private:
    void readIdentity(const IdentityQuestions& questions, KnownWindow& window) {
        const Property pid = property(questions.pid);
        const Property names = property(questions.names);
        const Property machine = property(questions.machine);
        const Property types = property(questions.types);
        window.isThere = types != nullptr;
        window.isDesktopsOwn = isDesktopsOwn(numbersOf(types));
        window.claims = {};
        const auto pids = numbersOf(pid);
        if (!pids.empty() && pids.front() > 0 && pids.front() <= INT32_MAX) {
            window.claims.claimedPid = static_cast<std::int32_t>(pids.front());
        }
        window.claims.isFromThisMachine = isSameMachine(bytesOf(machine), machine_);
        std::tie(window.claims.windowInstance, window.claims.windowClass) =
            instanceAndClass(bytesOf(names));
    }

    [[nodiscard]] bool isName(const Property& name) const {
        return name != nullptr && name->type == server_.atoms().utf8String &&
               !bytesOf(name).empty();
    }

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
        if (isName(name)) {
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
        known_.clear();
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
    std::map<xcb_window_t, KnownWindow> known;
    std::vector<Questions> questions;
    questions.reserve(windows.size());
    for (const xcb_window_t number : windows) {
        KnownWindow& window = known[number];
        if (const auto before = known_.find(number); before != known_.end()) {
            window = std::move(before->second);
        }
        if (window.readingsLeft == 0) {
            // Not all in the same reading.
            window.readingsLeft = identityReadings + number % identityReadings;
            window.isThere = false;
        }
        --window.readingsLeft;
        questions.push_back(askAbout(*server, number, window.hasName, window.isThere));
    }

    std::map<std::uint32_t, std::int32_t> certainPids;
    if (processes) {
        certainPids = processesIn(
            server->reply<xcb_res_query_client_ids_reply_t>(processes->sequence, deadline));
    }
    Answers answers{*server, deadline, processes_};
    std::vector<WindowRecord> records;
    for (const Questions& each : questions) {
        const auto client = certainPids.find(server->clientOf(each.window));
        const auto certainPid =
            client == certainPids.end() ? std::nullopt : std::optional{client->second};
        KnownWindow& window = known[each.window];
        if (!each.identity && window.claims.certainPid != certainPid) {
            // Another program's window under the number of one that is gone: known next time.
            window = {};
            static_cast<void>(answers.record(each, certainPid, window));
            continue;
        }
        if (auto record = answers.record(each, certainPid, window)) {
            records.push_back(*std::move(record));
        }
    }
    if (!server->isAlive() || server->isBehind()) {
        known_.clear();
        return std::nullopt;
    }
    known_ = std::move(known);
    return records;
}

} // namespace brindle
