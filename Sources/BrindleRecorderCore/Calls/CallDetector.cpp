#include "BrindleRecorderCore/Calls/CallDetector.hpp"

#include "BrindleRecorderCore/Calls/CallCatalog.hpp"

#include <algorithm>
#include <fmt/format.h>
#include <iterator>

namespace brindle {

namespace {

enum Rank : int { callProgram, browserInMeeting, otherBrowser, unknownProgram };

/// The first of those with the lowest rank; null when there are none.
const CallDetector::Candidate* bestByRank(const std::vector<CallDetector::Candidate>& candidates) {
    const auto best = std::min_element(
        candidates.begin(), candidates.end(),
        [](const auto& left, const auto& right) { return left.rank < right.rank; });
    return best == candidates.end() ? nullptr : &*best;
}

} // namespace

CallDetector::CallDetector(CallDetectorConfig configuration) : config{std::move(configuration)} {}

std::vector<CallDetectorEvent> CallDetector::update(std::vector<MicUser> snapshot, Date now) {
    lastSnapshot_ = std::move(snapshot);
    return tick(now);
}

std::vector<CallDetectorEvent> CallDetector::tick(Date now) {
    const std::vector<Candidate> candidates = classifyLastSnapshot();
    rememberPresence(candidates, now);
    if (phase_.isIdle()) {
        const std::vector<Candidate> eligible = eligibleAmong(candidates, now);
        const Candidate* winner = bestByRank(eligible);
        return winner == nullptr ? std::vector<CallDetectorEvent>{} : beginCall(*winner);
    }
    const auto* recording = phase_.asRecording();
    if (recording != nullptr && recording->isManual) {
        return {};
    }
    if (!callIsGone(candidates, now)) {
        learnSite(candidates);
        return {};
    }
    std::vector<CallDetectorEvent> events;
    if (recording != nullptr) {
        events.push_back(CallDetectorEvent::stop(recording->label));
    }
    phase_ = Phase::idle();
    return events;
}

std::optional<CallDetectorEvent> CallDetector::manualStart(Date /*now*/) {
    if (phase_.asRecording() != nullptr) {
        return std::nullopt;
    }
    const std::vector<Candidate> candidates = classifyLastSnapshot();
    const Candidate* best = bestByRank(candidates);
    const CallSource source = best == nullptr ? CallSource::manual() : best->source;
    const std::string label = nextLabel("manual");
    phase_ = Phase::recording(source, label, true);
    return CallDetectorEvent::start(source, label);
}

std::optional<CallDetectorEvent> CallDetector::manualStop(Date now) {
    const auto* recording = phase_.asRecording();
    if (recording == nullptr) {
        return std::nullopt;
    }
    const CallDetectorEvent stop = CallDetectorEvent::stop(recording->label);
    if (classifyLastSnapshot().empty()) {
        phase_ = Phase::idle();
    } else {
        lastCallSeen_ = now;
        phase_ = Phase::suppressed();
    }
    return stop;
}

std::optional<CallDetectorEvent> CallDetector::answer(std::string_view label, bool record) {
    const auto* asking = phase_.asAsking();
    if (asking == nullptr || asking->label != label) {
        return std::nullopt;
    }
    if (!record) {
        phase_ = Phase::suppressed();
        return std::nullopt;
    }
    const Phase::Asking asked = *asking;
    phase_ = Phase::recording(asked.source, asked.label, false);
    return CallDetectorEvent::start(asked.source, asked.label);
}

std::optional<CallDetector::Candidate> CallDetector::classify(const MicUser& user) const {
    auto judgement = judge(user);
    auto* candidate = std::get_if<Candidate>(&judgement);
    return candidate == nullptr ? std::nullopt : std::optional{std::move(*candidate)};
}

std::variant<CallDetector::Candidate, CallDetector::NoCall>
CallDetector::judge(const MicUser& user) const {
    const auto isDisabled = [this](const std::string& familyID) {
        return config.disabledFamilies.contains(familyID);
    };
    if (CallCatalog::isIgnored(user.bundleID)) {
        return NoCall::ignored;
    }
    const CallAppFamily* family = CallCatalog::family(user.bundleID);
    if (family == nullptr) {
        const std::string& otherID = CallCatalog::otherApps().id;
        if (user.bundleID.starts_with("com.apple.")) {
            return NoCall::partOfTheSystem;
        }
        if (isDisabled(otherID)) {
            return NoCall::othersSwitchedOff;
        }
        const std::string name =
            user.bundleID.empty() ? fmt::format("pid {}", user.pid) : user.bundleID;
        return Candidate{
            .key = otherID + ":" + name,
            .source = {name, user.bundleID, CallSource::Kind::other, std::nullopt, otherID},
            .confirmed = false,
            .rank = Rank::unknownProgram,
        };
    }
    if (isDisabled(family->id)) {
        return NoCall::familySwitchedOff;
    }
    if (!family->isBrowser) {
        return Candidate{
            .key = family->id,
            .source =
                {family->name, user.bundleID, CallSource::Kind::app, std::nullopt, family->id},
            .confirmed = true,
            .rank = Rank::callProgram,
        };
    }
    const CallSite* site = user.windowTitles ? CallCatalog::site(*user.windowTitles) : nullptr;
    Candidate browser{
        .key = family->id,
        .source =
            {family->name, user.bundleID, CallSource::Kind::browser, std::nullopt, family->id},
        .confirmed = site != nullptr,
        .rank = site != nullptr ? Rank::browserInMeeting : Rank::otherBrowser,
    };
    if (site != nullptr) {
        browser.source.site = site->host;
    }
    return browser;
}

std::optional<std::string> CallDetector::activeLabel() const {
    const auto* recording = phase_.asRecording();
    return recording == nullptr ? std::nullopt : std::optional{recording->label};
}

std::optional<CallSource> CallDetector::activeSource() const {
    const auto* recording = phase_.asRecording();
    return recording == nullptr ? std::nullopt : std::optional{recording->source};
}

std::vector<CallDetector::Candidate> CallDetector::classifyLastSnapshot() const {
    std::vector<Candidate> candidates;
    for (const MicUser& user : lastSnapshot_) {
        if (auto candidate = classify(user)) {
            candidates.push_back(*std::move(candidate));
        }
    }
    return candidates;
}

void CallDetector::rememberPresence(const std::vector<Candidate>& candidates, Date now) {
    // Whoever is missing from one snapshot waits from the start again.
    std::map<std::string, Date> stillThere;
    for (const Candidate& candidate : candidates) {
        const auto known = firstSeen_.find(candidate.key);
        stillThere.try_emplace(candidate.key, known == firstSeen_.end() ? now : known->second);
    }
    firstSeen_ = std::move(stillThere);
    // The first empty snapshot counts too, so that the wait for the end begins with it and not with
    // the last full one.
    if (!candidates.empty() || hadCandidates_) {
        lastCallSeen_ = now;
    }
    hadCandidates_ = !candidates.empty();
}

std::vector<CallDetector::Candidate>
CallDetector::eligibleAmong(const std::vector<Candidate>& candidates, Date now) const {
    std::vector<Candidate> eligible;
    std::copy_if(
        candidates.begin(), candidates.end(), std::back_inserter(eligible),
        [this, now](const Candidate& candidate) {
            const Seconds needed =
                candidate.confirmed ? config.startAfter : config.unconfirmedStartAfter;
            return needed <= secondsBetween(firstSeen_.at(candidate.key), now);
        });
    return eligible;
}

bool CallDetector::callIsGone(const std::vector<Candidate>& candidates, Date now) const {
    return candidates.empty() &&
           (!lastCallSeen_ || config.stopAfter <= secondsBetween(*lastCallSeen_, now));
}

std::vector<CallDetectorEvent> CallDetector::beginCall(const Candidate& winner) {
    const std::string label = nextLabel(winner.key);
    if (config.askBeforeRecording) {
        phase_ = Phase::asking(winner.source, label);
        return {CallDetectorEvent::ask(winner.source, label)};
    }
    phase_ = Phase::recording(winner.source, label, false);
    return {CallDetectorEvent::start(winner.source, label)};
}

/// A browser call may have begun before its meeting could be told from the titles.
void CallDetector::learnSite(const std::vector<Candidate>& candidates) {
    auto* recording = std::get_if<Phase::Recording>(&phase_.value);
    if (recording == nullptr || recording->source.site) {
        return;
    }
    for (const Candidate& candidate : candidates) {
        if (candidate.key == recording->source.familyID && candidate.source.site) {
            recording->source.site = candidate.source.site;
            return;
        }
    }
}

std::string CallDetector::nextLabel(std::string_view key) {
    ++counter_;
    return fmt::format("{}#{}", key, counter_);
}

} // namespace brindle
