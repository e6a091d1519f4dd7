// Decides when a call begins and when it ends, from successive snapshots of the processes that use
// the microphone.
#pragma once

#include "BrindleRecorderCore/Base/Date.hpp"
#include "BrindleRecorderCore/Calls/CallDetectorConfig.hpp"
#include "BrindleRecorderCore/Calls/CallDetectorEvent.hpp"
#include "BrindleRecorderCore/Calls/CallSource.hpp"
#include "BrindleRecorderCore/Calls/MicUser.hpp"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace brindle {

/// A call begins only once the microphone has been in use long enough and ends only once it has
/// been free long enough, so that a burst of dictation is no call and a drop-out does not split
/// one. Reads no clock: every operation that needs the time is given it. A time earlier than one
/// before is no error; nothing counts as having lasted. Main thread only. Nothing here fails.
///
/// A call's label is its candidate's key, or "manual", with "#" and the number of the call:
/// "zoom#3".
class CallDetector {
  public:
    /// What one user of the microphone means.
    struct Candidate {
        std::string key; ///< processes with the same key are one call
        CallSource source;
        bool confirmed = false; ///< certainly a call
        int rank = 0;           ///< lower is better: 0 call program, 1 browser in a meeting,
                                ///< 2 other browser, 3 unknown program
        friend bool operator==(const Candidate&, const Candidate&) = default;
    };

    /// Why a user of the microphone is never a call.
    enum class NoCall {
        ignored,           ///< known to hold the microphone without being in a call
        partOfTheSystem,   ///< whatever the system itself uses the microphone for
        familySwitchedOff, ///< a call program or browser that the user switched off
        othersSwitchedOff, ///< an unknown program, and the user switched those off
    };

    struct Phase {
        /// A call was detected; the user is being asked.
        struct Asking {
            CallSource source;
            std::string label;
            friend bool operator==(const Asking&, const Asking&) = default;
        };
        /// A recording runs, or is about to.
        struct Recording {
            CallSource source;
            std::string label;
            bool isManual = false; ///< started by the user; only the user ends it
            friend bool operator==(const Recording&, const Recording&) = default;
        };
        /// There is no call.
        struct Idle {
            friend bool operator==(const Idle&, const Idle&) = default;
        };
        /// A call that must not be recorded goes on; over when the call is.
        struct Suppressed {
            friend bool operator==(const Suppressed&, const Suppressed&) = default;
        };

        std::variant<Asking, Recording, Idle, Suppressed> value = Idle{};

        static Phase asking(CallSource source, std::string label) {
            return {Asking{std::move(source), std::move(label)}};
        }
        static Phase recording(CallSource source, std::string label, bool isManual) {
            return {Recording{std::move(source), std::move(label), isManual}};
        }
        static Phase idle() { return {Idle{}}; }
        static Phase suppressed() { return {Suppressed{}}; }

        /// The payload of that case; null in every other case.
        [[nodiscard]] const Asking* asAsking() const { return std::get_if<Asking>(&value); }
        [[nodiscard]] const Recording* asRecording() const {
            return std::get_if<Recording>(&value);
        }
        [[nodiscard]] bool isIdle() const { return std::holds_alternative<Idle>(value); }

        friend bool operator==(const Phase&, const Phase&) = default;
    };

    explicit CallDetector(CallDetectorConfig configuration);

    /// May be replaced at any time; the next operation goes by it.
    CallDetectorConfig config;

    /// Evaluates a new snapshot, which is in the monitor's order. At most one event.
    std::vector<CallDetectorEvent> update(std::vector<MicUser> snapshot, Date now);
    /// Evaluates the latest snapshot again, at a later time.
    std::vector<CallDetectorEvent> tick(Date now);

    /// The user wants to record now. Nothing while a recording runs.
    std::optional<CallDetectorEvent> manualStart(Date now);
    /// The user wants no recording any more. A call that still goes on is not picked up again.
    /// Nothing unless a recording runs.
    std::optional<CallDetectorEvent> manualStop(Date now);
    /// The user answers the question about the call of that label. Nothing, and no effect, unless
    /// that is the question being asked.
    std::optional<CallDetectorEvent> answer(std::string_view label, bool record);

    /// What a user of the microphone means under the current configuration, or why it means
    /// nothing.
    [[nodiscard]] std::variant<Candidate, NoCall> judge(const MicUser& user) const;
    /// The same without the reason: nothing when it is never a call.
    [[nodiscard]] std::optional<Candidate> classify(const MicUser& user) const;

    [[nodiscard]] const Phase& phase() const { return phase_; }
    /// The label of the call being recorded; absent while nothing is.
    [[nodiscard]] std::optional<std::string> activeLabel() const;
    /// The source of the call being recorded; absent while nothing is.
    [[nodiscard]] std::optional<CallSource> activeSource() const;

  private:
    [[nodiscard]] std::vector<Candidate> classifyLastSnapshot() const;
    void rememberPresence(const std::vector<Candidate>& candidates, Date now);
    [[nodiscard]] std::vector<Candidate>
    eligibleAmong(const std::vector<Candidate>& candidates, Date now) const;
    [[nodiscard]] bool callIsGone(const std::vector<Candidate>& candidates, Date now) const;
    std::vector<CallDetectorEvent> beginCall(const Candidate& winner);
    void learnSite(const std::vector<Candidate>& candidates);
    std::string nextLabel(std::string_view key);

    Phase phase_;
    std::map<std::string, Date> firstSeen_; ///< by key, of the candidates that are there now
    std::optional<Date> lastCallSeen_;      ///< candidates were there, or were first found gone
    std::vector<MicUser> lastSnapshot_;
    bool hadCandidates_ = false;
    std::int64_t counter_ = 0; ///< calls labelled so far
};

} // namespace brindle
