#include "BrindleRecorderApp/Calls/WhoReport.hpp"

#include "BrindleRecorderCore/Calls/CallCatalog.hpp"
#include "BrindleRecorderCore/Calls/CallDetector.hpp"

#include <fmt/format.h>
#include <optional>
#include <string_view>

namespace brindle {

namespace {

/// What is known of the user, whether it counts or not.
std::string description(const MicUser& user, const CallAppFamily* family) {
    std::string text = user.bundleID.empty() ? std::string{"no identifier"} : user.bundleID;
    text += user.pid > 0 ? fmt::format(", pid {}", user.pid) : ", process unknown";
    if (family != nullptr) {
        text += ", " + family->name;
        const CallSite* site = family->isBrowser && user.windowTitles
                                   ? CallCatalog::site(*user.windowTitles)
                                   : nullptr;
        if (site != nullptr) {
            text += ", " + site->host;
        }
    }
    return text;
}

/// Why the detector makes no candidate of the user. Asked only when it makes none.
std::string whyNot(const MicUser& user, const CallAppFamily* family) {
    if (CallCatalog::isIgnored(user.bundleID)) {
        return "it is known to use the microphone without being in a call";
    }
    if (family != nullptr) {
        return fmt::format("{} is switched off in the settings", family->name);
    }
    if (user.bundleID.starts_with("com.apple.")) {
        return "it is a part of the system";
    }
    return "it is not a known call program, and other programs are switched off in the settings";
}

std::string_view doubtAbout(const MicUser& user, const CallAppFamily* family) {
    if (family == nullptr) {
        return "it is not a known call program";
    }
    return user.windowTitles ? "no meeting is recognised in its window titles"
                             : "its window titles cannot be read";
}

} // namespace

std::string WhoReport::line(const MicUser& user, const CallDetectorConfig& config) {
    const CallAppFamily* const family = CallCatalog::family(user.bundleID);
    const std::string who = description(user, family);
    const auto candidate = CallDetector{config}.classify(user);
    if (!candidate) {
        return fmt::format("{}: not a call, because {}", who, whyNot(user, family));
    }
    if (candidate->confirmed) {
        return fmt::format("{}: a call after {:g} s", who, config.startAfter.count());
    }
    return fmt::format(
        "{}: a call after {:g} s, because {}", who, config.unconfirmedStartAfter.count(),
        doubtAbout(user, family));
}

std::vector<std::string>
WhoReport::lines(const std::vector<MicUser>& users, const CallDetectorConfig& config) {
    if (users.empty()) {
        return {"Nobody uses the microphone."};
    }
    std::vector<std::string> lines;
    lines.reserve(users.size());
    for (const MicUser& user : users) {
        lines.push_back(line(user, config));
    }
    return lines;
}

} // namespace brindle
