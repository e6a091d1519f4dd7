// The session controller against a second formulation of its rules. The controller keeps a state, a
// mute and a count; the model keeps every input and finds mute, count and start date by looking
// back, and tells what the delegate must hear from the states before and after alone.

#include "BrindleRecorderCore/Calls/SessionController.hpp"
#include "Support/RandomSource.hpp"
#include "Support/SessionScene.hpp"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace brindle {
namespace {

using test::inWords;
using test::RandomSource;
using test::SessionScene;
using Log = std::vector<std::string>;

struct Input {
    std::string verb; ///< "in call", "lobby", "absent", "keep", "discard", "fail" or "retry"
    std::string room; ///< of the first two
    Date time;

    [[nodiscard]] bool isPoll() const {
        return verb == "in call" || verb == "lobby" || verb == "absent";
    }
};

/// The rules, over the whole of what happened.
class HistoryModel {
  public:
    explicit HistoryModel(int threshold) : threshold_{threshold} {}

    /// Adds an input and tells what delegate and callback must hear.
    Log give(const Input& input) {
        const SessionState before = state();
        const SessionState after = next(input);
        steps_.push_back({input, before, after, isMissed(input), isHeeded(input)});
        return heard(input, before, after);
    }

    [[nodiscard]] SessionState state() const {
        return steps_.empty() ? SessionState::idle() : steps_.back().after;
    }

    /// The room of the last heeded silencing command, unless a poll found no call since then that
    /// left the session idle.
    [[nodiscard]] std::optional<std::string> muted() const {
        for (auto step = steps_.rbegin(); step != steps_.rend(); ++step) {
            if (step->input.verb == "absent" && step->after.isIdle()) {
                return std::nullopt;
            }
            if (step->isHeeded && !step->input.isPoll() && step->input.verb != "retry") {
                return step->before.roomCode();
            }
        }
        return std::nullopt;
    }

    /// When the room that is recorded now began to be.
    [[nodiscard]] std::optional<Date> startedAt() const {
        std::optional<Date> found;
        if (state().isRecording()) {
            for (auto step = steps_.rbegin(); step != steps_.rend(); ++step) {
                if (step->after != state()) {
                    break;
                }
                found = step->input.time;
            }
        }
        return found;
    }

  private:
    struct Step {
        Input input;
        SessionState before;
        SessionState after;
        bool isMissed; ///< a poll that spoke against the state
        bool isHeeded; ///< not a command without a recording
    };

    [[nodiscard]] bool isHeeded(const Input& input) const {
        return input.isPoll() || state().isRecording();
    }

    [[nodiscard]] bool wantsToRecord(const Input& input) const {
        return input.verb == "in call" && muted() != input.room;
    }

    [[nodiscard]] bool isMissed(const Input& input) const {
        return input.isPoll() && !wantsToRecord(input) &&
               (state().isRecording() || (state().isArmed() && input.verb == "absent"));
    }

    /// The length of the row of missed polls, all in the same state, that ends here.
    [[nodiscard]] int missedUpToNow() const {
        int count = 0;
        for (auto step = steps_.rbegin(); step != steps_.rend(); ++step) {
            if (!step->isHeeded) {
                continue;
            }
            if (!step->isMissed || step->before != step->after) {
                break;
            }
            ++count;
        }
        return count;
    }

    [[nodiscard]] SessionState next(const Input& input) const {
        if (!isHeeded(input)) {
            return state();
        }
        if (!input.isPoll()) {
            return SessionState::armed(*state().roomCode());
        }
        if (wantsToRecord(input)) {
            return SessionState::recording(input.room);
        }
        if (isMissed(input) && missedUpToNow() + 1 < threshold_) {
            return state();
        }
        if (input.verb != "absent") {
            return SessionState::armed(input.room);
        }
        return state().isRecording() ? SessionState::armed(*state().roomCode())
                                     : SessionState::idle();
    }

    static Log heard(const Input& input, const SessionState& before, const SessionState& after) {
        if (before == after) {
            return {};
        }
        Log log;
        const bool recorderKnows = input.verb == "fail" || input.verb == "retry";
        if (before.isRecording() && !recorderKnows) {
            log.emplace_back(input.verb == "discard" ? "stop and discard" : "stop and keep");
        }
        if (after.isRecording()) {
            log.push_back("start " + *after.roomCode());
        }
        log.push_back("-> " + inWords(after));
        return log;
    }

    int threshold_;
    std::vector<Step> steps_;
};

/// What holds for any stream of delegate calls and announcements.
class Listener {
  public:
    void hear(const std::string& line) {
        if (line.starts_with("start ")) {
            EXPECT_EQ(recorded_, "") << "started without stopping first";
            recorded_ = line.substr(6);
        } else if (line.starts_with("stop ")) {
            EXPECT_NE(recorded_, "") << "stopped what was not started";
            recorded_.clear();
        } else {
            EXPECT_NE(line, announced_) << "announced twice";
            announced_ = line;
        }
    }

    /// The recorder gave up by itself.
    void recordingFailed() { recorded_.clear(); }

    [[nodiscard]] const std::string& recorded() const { return recorded_; }

  private:
    std::string recorded_;
    std::string announced_ = "-> idle";
};

using Tally = std::map<std::string, int>;

class RandomWalk {
  public:
    RandomWalk(std::uint64_t seed, Tally& tally) : RandomWalk{RandomSource{seed}, tally} {}

    void run(int steps) {
        for (int index = 0; index < steps && !testing::Test::HasFailure(); ++index) {
            step();
        }
        if (testing::Test::HasFailure()) {
            ADD_FAILURE() << "threshold " << threshold_ << ", steps that led here:\n"
                          << story_.str();
        }
    }

  private:
    RandomWalk(RandomSource random, Tally& tally)
        : random_{random}, tally_{tally}, threshold_{static_cast<int>(random_.below(6)) - 1},
          scene_{threshold_}, model_{threshold_} {}

    void step() {
        const std::vector<int> seconds{0, 1, 2, 60, -30};
        scene_.clock.advance(Seconds{static_cast<double>(random_.oneOf(seconds))});
        const Input input = someInput();
        SessionController& controller = scene_.controller;
        const SessionState before = controller.state();

        give(input);

        const Log log = scene_.takeLog();
        story_ << input.verb << " " << input.room << ": " << inWords(controller.state()) << "\n";
        EXPECT_EQ(log, model_.give(input));
        EXPECT_EQ(inWords(controller.state()), inWords(model_.state()));
        EXPECT_EQ(controller.mutedRoomCode(), model_.muted());
        EXPECT_EQ(controller.recordingStartedAt(), model_.startedAt());

        if (before.isRecording() && (input.verb == "fail" || input.verb == "retry")) {
            listener_.recordingFailed();
        }
        for (const std::string& line : log) {
            listener_.hear(line);
        }
        EXPECT_EQ(
            listener_.recorded(),
            controller.state().isRecording() ? *controller.state().roomCode() : "");
        EXPECT_FALSE(controller.state().isIdle() && controller.mutedRoomCode())
            << "a mute never outlives its call";
        EXPECT_FALSE(
            controller.state().isRecording() &&
            controller.mutedRoomCode() == controller.state().roomCode())
            << "a muted room is never recorded";
        if (before != controller.state()) {
            ++tally_[kind(before) + " -> " + kind(controller.state()) + " by " + input.verb];
        }
    }

    Input someInput() {
        const std::vector<std::string> verbs{"in call", "in call", "in call", "in call", "lobby",
                                             "absent",  "absent",  "absent",  "absent",  "keep",
                                             "discard", "fail",    "retry"};
        // Rows of the same input are frequent in life, and needed to reach the threshold.
        const std::string verb = random_.chance(35) ? lastVerb_ : random_.oneOf(verbs);
        lastVerb_ = verb;
        const bool hasRoom = verb == "in call" || verb == "lobby";
        const std::vector<std::string> rooms{"A", "A", "A", "B", "C"};
        return {verb, hasRoom ? random_.oneOf(rooms) : "", scene_.clock.now()};
    }

    void give(const Input& input) {
        SessionController& controller = scene_.controller;
        if (input.verb == "in call") {
            controller.handle(DetectorState::inCall(input.room));
        } else if (input.verb == "lobby") {
            controller.handle(DetectorState::lobby(input.room));
        } else if (input.verb == "absent") {
            controller.handle(DetectorState::noRoomTab());
        } else if (input.verb == "keep") {
            controller.stopAndKeep();
        } else if (input.verb == "discard") {
            controller.stopAndDiscard();
        } else {
            controller.recordingDidFail(input.verb == "retry");
        }
    }

    static std::string kind(const SessionState& state) {
        return state.isIdle() ? "idle" : state.isArmed() ? "armed" : "recording";
    }

    RandomSource random_;
    Tally& tally_;
    int threshold_;
    SessionScene scene_;
    HistoryModel model_;
    Listener listener_;
    std::string lastVerb_ = "absent";
    std::ostringstream story_;
};

Tally walk(std::uint64_t seed) {
    constexpr int runs = 5000;
    constexpr int stepsPerRun = 60;
    Tally tally;
    RandomSource seeds{seed};
    for (int run = 0; run < runs && !testing::Test::HasFailure(); ++run) {
        SCOPED_TRACE("seed " + std::to_string(seed) + ", run " + std::to_string(run));
        RandomWalk{seeds.below(SIZE_MAX), tally}.run(stepsPerRun);
    }
    return tally;
}

TEST(SessionControllerProperties, AgreesWithTheHistoryAndTakesEveryTransition) {
    const Tally tally = walk(20'260'314);
    const std::vector<std::string> transitions{
        "idle -> recording by in call",      "idle -> armed by lobby",
        "armed -> armed by in call",         "armed -> armed by lobby",
        "armed -> recording by in call",     "armed -> idle by absent",
        "recording -> recording by in call", "recording -> armed by in call",
        "recording -> armed by lobby",       "recording -> armed by absent",
        "recording -> armed by keep",        "recording -> armed by discard",
        "recording -> armed by fail",        "recording -> armed by retry",
    };
    for (const std::string& transition : transitions) {
        const auto found = tally.find(transition);
        EXPECT_GT(found == tally.end() ? 0 : found->second, 100) << transition;
    }
    for (const auto& [transition, times] : tally) {
        EXPECT_NE(std::find(transitions.begin(), transitions.end(), transition), transitions.end())
            << transition << " is no transition";
    }
}

TEST(SessionControllerProperties, AgreesWithTheHistoryOnAFreshSeed) {
    const Tally tally = walk(test::freshSeed());
    EXPECT_FALSE(tally.empty());
}

} // namespace
} // namespace brindle
