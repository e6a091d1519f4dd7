#include "BrindleRecorderApp/Calls/WhoReport.hpp"

#include "BrindleRecorderCore/Calls/CallCatalog.hpp"
#include "BrindleRecorderCore/Calls/CallDetector.hpp"

#include <fmt/format.h>
#include <string_view>
#include <variant>

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

std::string inWords(CallDetector::NoCall reason, const CallAppFamily* family) {
    switch (reason) {
    case CallDetector::NoCall::ignored:
        return "it is known to use the microphone without being in a call";
    case CallDetector::NoCall::partOfTheSystem:
        return "it is a part of the system";
    case CallDetector::NoCall::familySwitchedOff:
        return fmt::format(
            "{} is switched off in the settings", family == nullptr ? "it" : family->name);
    case CallDetector::NoCall::othersSwitchedOff:
        break;
    }
    return "it is not a known call program, and other programs are switched off in the settings";
}

std::string_view doubtAbout(const MicUser& user, const CallDetector::Candidate& candidate) {
    if (candidate.source.kind == CallSource::Kind::other) {
        return "it is not a known call program";
    }
    return user.windowTitles ? "no meeting is recognised in its window titles"
                             : "its window titles cannot be read";
}

} // namespace

std::string WhoReport::line(const MicUser& user, const CallDetectorConfig& config) {
    const CallAppFamily* const family = CallCatalog::family(user.bundleID);
    const std::string who = description(user, family);
    const auto judgement = CallDetector{config}.judge(user);
    if (const auto* reason = std::get_if<CallDetector::NoCall>(&judgement)) {
        return fmt::format("{}: not a call, because {}", who, inWords(*reason, family));
    }
    const auto& candidate = std::get<CallDetector::Candidate>(judgement);
    if (candidate.confirmed) {
        return fmt::format("{}: a call after {:g} s", who, config.startAfter.count());
    }
    return fmt::format(
        "{}: a call after {:g} s, because {}", who, config.unconfirmedStartAfter.count(),
        doubtAbout(user, candidate));
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
