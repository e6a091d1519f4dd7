#include "Simulation/DetectionOracle.hpp"

#include <fmt/format.h>

#include <algorithm>

namespace brindle::simulation {

namespace {

constexpr Seconds sureAfter{5};
constexpr Seconds unsureAfter{20};
constexpr Seconds goneAfter{20};
/// The program looks at least this often, and notices what no event tells.
constexpr Seconds looksEvery{1.1};
constexpr Seconds usualSlack{2.5};
constexpr Seconds slowSlack{8};
constexpr Seconds rounding{1e-6};

bool isManual(const SessionState& session) {
    return session.roomCode().value_or("").starts_with("manual#");
}

} // namespace

std::optional<std::string> DetectionOracle::judge(const Moment& moment) {
    if (moment.woke && watchingSince_) {
        watchingSince_ = moment.now; // before the sleep it did not look any more
    }
    follow(moment);
    std::optional<std::string> wrong = judgeClicks(moment);
    if (!wrong && moment.session != session_) {
        const bool ends =
            session_.isRecording() &&
            (!moment.session.isRecording() || moment.session.roomCode() != session_.roomCode());
        if (ends) {
            wrong = judgeEnd(moment);
        }
        if (!wrong && moment.session.isRecording()) {
            wrong = judgeBeginning(moment);
        }
        session_ = moment.session;
    }
    if (moment.userStarted) {
        questionStands_ = false; // the recording by hand has taken its place
    } else if (moment.asked) {
        questionStands_ = true;
    }
    if ((moment.userDeclined && questionStands_) || moment.asked) {
        // Until the microphone has been free for long, even when nobody holds it just now.
        surelyBlocked_ = perhapsBlocked_ = true;
    }
    return wrong ? wrong : judgeStanding(moment);
}

void DetectionOracle::follow(const Moment& moment) {
    for (const Moment::Holder& holder : moment.holders) {
        const auto found =
            present_.try_emplace(holder.name, Presence{moment.now, moment.now, moment.now, {}})
                .first;
        Presence& presence = found->second;
        if (presence.lastSeen < before_) {
            presence.firmSince = moment.now;
            presence.surelySince.reset();
        }
        presence.lastSeen = moment.now;
        if (!holder.surelyInCall) {
            presence.surelySince.reset();
        } else if (!presence.surelySince) {
            presence.surelySince = moment.now;
        }
    }
    // Somebody who is back before the program looked has never been away for it.
    std::erase_if(present_, [&](const auto& entry) {
        return secondsBetween(entry.second.lastSeen, moment.now) > looksEvery;
    });
    if (moment.holders.empty()) {
        looksQuietSince_ = looksQuietSince_.value_or(moment.now);
    } else if (!moment.asleep && wasHeldFor(looksEvery, moment)) {
        // Not before: whom a setting made a user of the microphone is seen at the next look.
        looksQuietSince_.reset();
    }
    if (moment.holders.empty()) {
        if (!quietSince_) {
            quietSince_ = moment.now;
        }
        if (seenQuietFor(moment) >= goneAfter + slack(moment)) {
            perhapsBlocked_ = false;
        }
    } else {
        quietSince_.reset();
        lastHeld_ = moment.now;
    }
    // Who came and went between two looks may not have been seen.
    if (!moment.holders.empty() && wasHeldFor(slack(moment), moment)) {
        perhapsQuietSince_.reset();
    } else if (!perhapsQuietSince_) {
        perhapsQuietSince_ = moment.now;
    }
    if (perhapsQuietSince_ &&
        secondsBetween(*perhapsQuietSince_, moment.now) >= goneAfter - rounding) {
        surelyBlocked_ = false;
    }
    if (moment.asksFirst != asksFirst_) {
        asksFirst_ = moment.asksFirst;
        asksSince_ = moment.now;
    }
    before_ = moment.now;
}

/// For how long the program has been able to see that nobody holds the microphone.
Seconds DetectionOracle::seenQuietFor(const Moment& moment) const {
    return secondsBetween(std::max(*quietSince_, watchingSince_.value_or(Date{})), moment.now);
}

Seconds DetectionOracle::slack(const Moment& moment) const {
    const bool slow =
        moment.lastSlow && secondsBetween(*moment.lastSlow, moment.now) < goneAfter * 2;
    return slow ? slowSlack : usualSlack;
}

bool DetectionOracle::wasHeldFor(Seconds time, const Moment& moment) const {
    return std::ranges::any_of(present_, [&](const auto& entry) {
        return secondsBetween(entry.second.since, moment.now) > time;
    });
}

void DetectionOracle::block(const Moment& moment) {
    // The program knows which call it is that the user refuses only when it has looked since the
    // call began, or since the user has made a call of it by a setting.
    surelyBlocked_ = !moment.asleep && watchingSince_ && *watchingSince_ < moment.now &&
                     !moment.holders.empty() && wasHeldFor(slack(moment), moment);
    perhapsBlocked_ = lastHeld_ && secondsBetween(*lastHeld_, moment.now) < slack(moment);
}

std::optional<std::string> DetectionOracle::judgeClicks(const Moment& moment) const {
    if (moment.userStarted && !moment.session.isRecording()) {
        return "the user asked for a recording and there is none";
    }
    if (moment.userStopped && moment.session.isRecording()) {
        return "the user stopped and the session goes on recording";
    }
    return std::nullopt;
}

bool DetectionOracle::mayBegin(const Moment& moment) const {
    return std::ranges::any_of(present_, [&](const auto& entry) {
        const Presence& presence = entry.second;
        const Seconds held = secondsBetween(presence.since, moment.now) + rounding;
        return held >= unsureAfter || (presence.surelySince && held >= sureAfter);
    });
}

std::optional<std::string> DetectionOracle::judgeBeginning(const Moment& moment) {
    recordingSince_ = moment.now;
    const std::string room = *moment.session.roomCode();
    if (leftRooms_.contains(room)) {
        return fmt::format("room {} is recorded again after it was left", room);
    }
    if (moment.userStarted || moment.userAccepted) {
        surelyBlocked_ = perhapsBlocked_ = false;
        return std::nullopt;
    }
    if (isManual(moment.session)) {
        return "a manual recording began that nobody asked for";
    }
    if (surelyBlocked_) {
        return fmt::format("room {} is recorded in a call that the user refused or ended", room);
    }
    if (asksFirst_ && secondsBetween(asksSince_, moment.now) > slack(moment)) {
        return fmt::format("room {} is recorded without asking", room);
    }
    if (!mayBegin(moment)) {
        return fmt::format("room {} is recorded too early", room);
    }
    return std::nullopt;
}

std::optional<std::string> DetectionOracle::judgeEnd(const Moment& moment) {
    leftRooms_.insert(*session_.roomCode());
    const bool byTrouble = moment.lastTrouble && *moment.lastTrouble >= recordingSince_;
    if (moment.userStopped) {
        block(moment);
        return std::nullopt;
    }
    const bool byQuiet = !isManual(session_) && looksQuietSince_ &&
                         secondsBetween(*looksQuietSince_, moment.now) >= goneAfter - rounding;
    if (byQuiet && !byTrouble) {
        return std::nullopt;
    }
    // Nobody can tell whether a recording by hand was meant to go on after a sleep.
    const bool bySleep = moment.woke && isManual(session_);
    if (bySleep && moment.holders.empty()) {
        return std::nullopt;
    }
    block(moment);
    if (byQuiet) {
        surelyBlocked_ = false;
    } else if (!byTrouble) {
        return fmt::format("room {} ends too early", *session_.roomCode());
    }
    return std::nullopt;
}

std::optional<std::string> DetectionOracle::judgeStanding(const Moment& moment) const {
    if (session_.isRecording()) {
        if (!isManual(session_) && quietSince_ &&
            seenQuietFor(moment) > goneAfter + slack(moment)) {
            return fmt::format("room {} is recorded long after its end", *session_.roomCode());
        }
        return std::nullopt;
    }
    if (perhapsBlocked_ || !watchingSince_) {
        return std::nullopt;
    }
    for (const auto& [name, presence] : present_) {
        const auto noticed = std::max(presence.firmSince, *watchingSince_);
        const Seconds held = secondsBetween(noticed, moment.now) - slack(moment);
        const bool sure = presence.surelySince &&
                          secondsBetween(*presence.surelySince, moment.now) > slack(moment);
        if (presence.lastSeen == moment.now && (held > unsureAfter || (sure && held > sureAfter))) {
            return fmt::format("the call of {} is neither recorded nor asked about", name);
        }
    }
    return std::nullopt;
}

} // namespace brindle::simulation
