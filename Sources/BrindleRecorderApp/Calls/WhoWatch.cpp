#include "BrindleRecorderApp/Calls/WhoWatch.hpp"

#include "BrindleRecorderApp/Words/WhoReport.hpp"

#include <chrono>
#include <utility>

namespace brindle {

namespace {

/// Nobody tells when a window's title changes.
constexpr std::chrono::seconds lookInterval{2};

} // namespace

WhoWatch::WhoWatch(
    MainLoop& mainLoop, MicActivityMonitor& monitor, CallDetectorConfig config, Show show)
    : mainLoop_{mainLoop}, monitor_{monitor}, config_{std::move(config)}, show_{std::move(show)} {
    monitor_.onChange = [this] {
        look();
    };
    monitor_.start();
    look();
    lookAgainLater();
}

WhoWatch::~WhoWatch() {
    monitor_.stop();
    monitor_.onChange = nullptr;
}

std::vector<std::string>
WhoWatch::answer(MicActivityMonitor& monitor, const CallDetectorConfig& config) {
    std::vector<NamedMicUser> users;
    for (MicUser& user : monitor.withWindowTitles(monitor.snapshot())) {
        auto program = monitor.programName(user);
        users.push_back({.user = std::move(user), .program = std::move(program)});
    }
    return WhoReport::lines(users, config);
}

void WhoWatch::look() {
    auto lines = answer(monitor_, config_);
    if (lines != shown_) {
        shown_ = std::move(lines);
        show_(shown_);
    }
}

void WhoWatch::lookAgainLater() {
    timer_ = mainLoop_.after(lookInterval, [this] {
        look();
        lookAgainLater();
    });
}

} // namespace brindle
