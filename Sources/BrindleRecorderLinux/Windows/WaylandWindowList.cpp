#include "BrindleRecorderLinux/Windows/WaylandWindowList.hpp"

#include "BrindleRecorderLinux/Windows/ToplevelConnection.hpp"
#include "BrindleRecorderLinux/Windows/WindowOwner.hpp"

#include <utility>

namespace brindle {

using wayland::ToplevelConnection;

namespace {

constexpr std::chrono::milliseconds patience{500};

} // namespace

WaylandWindowList::WaylandWindowList(EventLoop& loop, std::optional<std::string> display)
    : loop_{loop}, display_{std::move(display)}, connection_{ToplevelConnection::open(
                                                     loop_, display_, mostWindows)} {
    if (connection_ != nullptr) {
        connection_->settle(patience);
    }
}

WaylandWindowList::~WaylandWindowList() = default;

bool WaylandWindowList::titlesPermitted() const {
    if (connection_ == nullptr || connection_->state() == ToplevelConnection::State::lost) {
        connection_.reset();
        connection_ = ToplevelConnection::open(loop_, display_, mostWindows);
    }
    return connection_ != nullptr && connection_->state() == ToplevelConnection::State::telling;
}

std::optional<std::vector<WindowRecord>> WaylandWindowList::windows() const {
    if (!titlesPermitted()) {
        return std::nullopt;
    }
    std::vector<WindowRecord> records;
    for (auto& toplevel : connection_->toplevels()) {
        records.push_back(
            {.ownerPid = std::nullopt,
             .ownerBundleID = applicationOfWindowName(toplevel.applicationID),
             .name =
                 toplevel.title.empty() ? std::nullopt : std::optional{std::move(toplevel.title)}});
    }
    return records;
}

} // namespace brindle
