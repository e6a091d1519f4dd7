#include "BrindleRecorderApp/Words/WhoReport.hpp"

#include "BrindleRecorderCore/Calls/CallCatalog.hpp"
#include "BrindleRecorderCore/Calls/CallDetector.hpp"

#include <fmt/format.h>
#include <optional>
#include <string_view>
#include <variant>

namespace brindle {

namespace {

/// The program as its user knows it, and what it is known by here.
std::string nameOf(const NamedMicUser& who, const CallAppFamily* family) {
    const std::string& identifier = who.user.bundleID;
    if (identifier.empty()) {
        return "no identifier";
    }
    const auto name = family != nullptr ? std::optional{family->name} : who.program;
    return name && *name != identifier ? fmt::format("{} ({})", *name, identifier) : identifier;
}

/// What is known of the user, whether it counts or not.
std::string description(const NamedMicUser& who, const CallAppFamily* family) {
    const MicUser& user = who.user;
    std::string text = nameOf(who, family);
    text += user.pid > 0 ? fmt::format(", pid {}", user.pid) : ", process unknown";
    if (family != nullptr && family->isBrowser && user.windowTitles) {
        if (const CallSite* site = CallCatalog::site(*user.windowTitles)) {
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

std::string WhoReport::line(const NamedMicUser& named, const CallDetectorConfig& config) {
    const MicUser& user = named.user;
    const CallAppFamily* const family = CallCatalog::family(user.bundleID);
    const std::string who = description(named, family);
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
WhoReport::lines(const std::vector<NamedMicUser>& users, const CallDetectorConfig& config) {
    if (users.empty()) {
        return {"Nobody uses the microphone."};
    }
    std::vector<std::string> lines;
    lines.reserve(users.size());
    for (const NamedMicUser& who : users) {
        lines.push_back(line(who, config));
    }
    return lines;
}

} // namespace brindle
