// When a call must be recorded, told from the world itself: who held the microphone, since when,
// and what the user said. It knows spans of time and nothing of the detector's phases.
#pragma once

#include "BrindleRecorderCore/Base/Date.hpp"
#include "BrindleRecorderCore/Calls/SessionState.hpp"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace brindle::simulation {

/// What the world looks like after a step.
struct Moment {
    /// A program that may be in a call, by the name that all its processes share.
    struct Holder {
        std::string name;
        bool surelyInCall = false; ///< a call program, or a browser that shows a meeting
    };

    Date now{};
    std::vector<Holder> holders = {};
    bool asksFirst = false; ///< the setting
    SessionState session = {};
    bool userStarted = false;  ///< "Record now", in this step
    bool userStopped = false;  ///< stop or discard, in this step
    bool userAccepted = false; ///< the prompt, in this step
    bool userDeclined = false;
    bool asleep = false; ///< the machine, or about to be; the program does not look
    bool woke = false;   ///< the machine, in this step
    bool asked = false;  ///< a prompt appeared in this step
    std::optional<Date> lastTrouble =
        {}; ///< when the program last had a reason to give a recording up
    std::optional<Date> lastSlow = {}; ///< when the disk last kept it waiting
};

class DetectionOracle {
  public:
    /// The program begins to watch.
    void beginWatching(Date now) { watchingSince_ = now; }
    /// It is on the way to its end.
    void stopWatching() { watchingSince_.reset(); }
    [[nodiscard]] const std::optional<Date>& watchingSince() const { return watchingSince_; }
    /// What the moment shows to be wrong; nothing when all is well.
    std::optional<std::string> judge(const Moment& moment);

  private:
    struct Presence {
        Date since{};     ///< short gaps, which the program may have missed, left out
        Date firmSince{}; ///< without any gap
        Date lastSeen{};
        std::optional<Date> surelySince;
    };

    void follow(const Moment& moment);
    [[nodiscard]] Seconds seenQuietFor(const Moment& moment) const;
    /// Whether somebody has held the microphone for longer than that.
    [[nodiscard]] bool wasHeldFor(Seconds time, const Moment& moment) const;
    [[nodiscard]] Seconds slack(const Moment& moment) const;
    [[nodiscard]] bool mayBegin(const Moment& moment) const;
    [[nodiscard]] std::optional<std::string> judgeClicks(const Moment& moment) const;
    std::optional<std::string> judgeBeginning(const Moment& moment);
    std::optional<std::string> judgeEnd(const Moment& moment);
    [[nodiscard]] std::optional<std::string> judgeStanding(const Moment& moment) const;
    void block(const Moment& moment);

    std::optional<Date> watchingSince_;
    std::map<std::string, Presence> present_;
    std::optional<Date> perhapsQuietSince_;
    std::optional<Date> quietSince_; ///< nobody holds the microphone
    /// Likewise, for all that the program can tell: it misses who comes and goes while it sleeps.
    std::optional<Date> looksQuietSince_;
    std::optional<Date> lastHeld_;
    // The call that goes on was refused: surely, or perhaps (the program may not have seen it).
    bool surelyBlocked_ = false;
    bool perhapsBlocked_ = false;
    bool questionStands_ = false; ///< the prompt that appeared last can still be declined
    Date before_{};               ///< the moment before
    bool asksFirst_ = false;
    Date asksSince_{};
    SessionState session_;
    Date recordingSince_{};
    std::set<std::string> leftRooms_;
};

} // namespace brindle::simulation
