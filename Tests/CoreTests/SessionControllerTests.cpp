#include "BrindleRecorderCore/Calls/SessionController.hpp"

#include "Support/FakeDateProvider.hpp"
#include "Support/SessionScene.hpp"

#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace brindle {
namespace {

using test::FakeDateProvider;
using test::inWords;
using test::SessionScene;
using Log = std::vector<std::string>;

const DetectorState inCallA = DetectorState::inCall("A");
const DetectorState inCallB = DetectorState::inCall("B");
const DetectorState lobbyA = DetectorState::lobby("A");
const DetectorState lobbyB = DetectorState::lobby("B");
const DetectorState absent = DetectorState::noRoomTab();

// Values

TEST(SessionState, KnowsItsRoomAndWhetherItRecords) {
    EXPECT_EQ(SessionState::armed("A").roomCode(), "A");
    EXPECT_EQ(SessionState::recording("A").roomCode(), "A");
    EXPECT_EQ(SessionState::idle().roomCode(), std::nullopt);
    EXPECT_TRUE(SessionState::recording("A").isRecording());
    EXPECT_FALSE(SessionState::armed("A").isRecording());
    EXPECT_FALSE(SessionState::idle().isRecording());
    EXPECT_TRUE(SessionState::armed("A").isArmed());
    EXPECT_TRUE(SessionState::idle().isIdle());
}

TEST(SessionState, ComparesCaseAndRoom) {
    EXPECT_EQ(SessionState{}, SessionState::idle());
    EXPECT_EQ(SessionState::armed("A"), SessionState::armed("A"));
    EXPECT_NE(SessionState::armed("A"), SessionState::armed("a"));
    EXPECT_NE(SessionState::armed("A"), SessionState::recording("A"));
    EXPECT_NE(SessionState::armed(""), SessionState::idle());
}

TEST(DetectorState, ComparesCaseAndRoom) {
    EXPECT_EQ(DetectorState{}, DetectorState::noRoomTab());
    EXPECT_EQ(DetectorState::lobby("A"), DetectorState::lobby("A"));
    EXPECT_NE(DetectorState::lobby("A"), DetectorState::lobby("B"));
    EXPECT_NE(DetectorState::lobby("A"), DetectorState::inCall("A"));
    EXPECT_NE(DetectorState::inCall(""), DetectorState::noRoomTab());
}

// The controller

TEST(SessionController, BeginsIdleWithNothingToTell) {
    const SessionScene scene{1};
    EXPECT_EQ(scene.controller.state(), SessionState::idle());
    EXPECT_EQ(scene.controller.mutedRoomCode(), std::nullopt);
    EXPECT_EQ(scene.controller.recordingStartedAt(), std::nullopt);
}

TEST(SessionController, StaysIdleWithoutARoom) {
    SessionScene scene{1};
    scene.controller.handle(absent);
    scene.controller.handle(absent);
    EXPECT_EQ(scene.takeLog(), Log{});
    EXPECT_EQ(scene.controller.state(), SessionState::idle());
    EXPECT_EQ(scene.controller.mutedRoomCode(), std::nullopt);
}

TEST(SessionController, StartsARoomOnce) {
    SessionScene scene{1};
    scene.controller.handle(inCallA);
    EXPECT_EQ(scene.takeLog(), (Log{"start A", "-> recording A"}));
    scene.controller.handle(inCallA);
    EXPECT_EQ(scene.takeLog(), Log{});
}

TEST(SessionController, RemembersWhenTheRecordingBegan) {
    SessionScene scene{1};
    const Date begin = scene.clock.now();
    scene.controller.handle(inCallA);
    EXPECT_EQ(scene.controller.recordingStartedAt(), begin);
    scene.clock.advance(Seconds{60});
    scene.controller.handle(inCallA);
    EXPECT_EQ(scene.controller.recordingStartedAt(), begin);
    scene.controller.handle(absent);
    EXPECT_EQ(scene.controller.recordingStartedAt(), std::nullopt);
}

TEST(SessionController, ChangesRoomsWithOneAnnouncementAndANewStartDate) {
    SessionScene scene{1};
    scene.controller.handle(inCallA);
    scene.takeLog();
    scene.clock.advance(Seconds{60});
    scene.controller.handle(inCallB);
    EXPECT_EQ(scene.takeLog(), (Log{"stop and keep", "start B", "-> recording B"}));
    EXPECT_EQ(scene.controller.recordingStartedAt(), scene.clock.now());
}

TEST(SessionController, ComparesRoomsByteForByte) {
    SessionScene scene{1};
    scene.controller.handle(DetectorState::inCall("room"));
    scene.takeLog();
    scene.controller.handle(DetectorState::inCall("Room"));
    EXPECT_EQ(scene.takeLog(), (Log{"stop and keep", "start Room", "-> recording Room"}));
}

TEST(SessionController, AnEndedCallTakesTwoStepsToIdle) {
    SessionScene scene{1};
    scene.controller.handle(inCallA);
    scene.takeLog();
    scene.controller.handle(absent);
    EXPECT_EQ(scene.takeLog(), (Log{"stop and keep", "-> armed A"}));
    scene.controller.handle(absent);
    EXPECT_EQ(scene.takeLog(), Log{"-> idle"});
}

TEST(SessionController, ToleratesAsManyMissedPollsAsItIsTold) {
    SessionScene scene{3};
    scene.controller.handle(inCallA);
    scene.takeLog();
    scene.controller.handle(absent);
    scene.controller.handle(absent);
    EXPECT_EQ(scene.takeLog(), Log{});
    scene.controller.handle(inCallA);
    scene.controller.handle(absent);
    scene.controller.handle(absent);
    EXPECT_EQ(scene.takeLog(), Log{}) << "the poll in between began the count anew";
    scene.controller.handle(absent);
    EXPECT_EQ(scene.takeLog(), (Log{"stop and keep", "-> armed A"}));
    scene.controller.handle(absent);
    scene.controller.handle(absent);
    EXPECT_EQ(scene.takeLog(), Log{});
    scene.controller.handle(absent);
    EXPECT_EQ(scene.takeLog(), Log{"-> idle"});
}

TEST(SessionController, APresentRoomResetsTheCountOfAnArmedSession) {
    SessionScene scene{2};
    scene.controller.handle(lobbyA);
    scene.controller.handle(absent);
    scene.controller.handle(lobbyA);
    scene.takeLog();
    scene.controller.handle(absent);
    EXPECT_EQ(scene.takeLog(), Log{});
    scene.controller.handle(absent);
    EXPECT_EQ(scene.takeLog(), Log{"-> idle"});
}

TEST(SessionController, AThresholdBelowOneIsReachedAtOnce) {
    for (const int threshold : {0, -1, std::numeric_limits<int>::min()}) {
        SessionScene scene{threshold};
        scene.controller.handle(inCallA);
        scene.takeLog();
        scene.controller.handle(absent);
        EXPECT_EQ(scene.takeLog(), (Log{"stop and keep", "-> armed A"}));
        scene.controller.handle(absent);
        EXPECT_EQ(scene.takeLog(), Log{"-> idle"});
    }
}

TEST(SessionController, ADiscardedRoomIsNotRecordedAgain) {
    SessionScene scene{1};
    scene.controller.handle(inCallA);
    scene.takeLog();
    scene.controller.stopAndDiscard();
    EXPECT_EQ(scene.takeLog(), (Log{"stop and discard", "-> armed A"}));
    EXPECT_EQ(scene.controller.mutedRoomCode(), "A");
    EXPECT_EQ(scene.controller.recordingStartedAt(), std::nullopt);
    scene.controller.handle(inCallA);
    scene.controller.handle(inCallA);
    EXPECT_EQ(scene.takeLog(), Log{});
    EXPECT_EQ(scene.controller.state(), SessionState::armed("A"));
    scene.controller.handle(inCallB);
    EXPECT_EQ(scene.takeLog(), (Log{"start B", "-> recording B"}));
    EXPECT_EQ(scene.controller.mutedRoomCode(), "A");
}

TEST(SessionController, AKeptRoomIsNotRecordedAgainEither) {
    SessionScene scene{1};
    scene.controller.handle(inCallA);
    scene.takeLog();
    scene.controller.stopAndKeep();
    EXPECT_EQ(scene.takeLog(), (Log{"stop and keep", "-> armed A"}));
    EXPECT_EQ(scene.controller.mutedRoomCode(), "A");
    scene.controller.handle(inCallA);
    EXPECT_EQ(scene.takeLog(), Log{});
}

TEST(SessionController, TheMuteEndsWithTheCall) {
    SessionScene scene{1};
    scene.controller.handle(inCallA);
    scene.controller.stopAndKeep();
    scene.takeLog();
    scene.controller.handle(absent);
    EXPECT_EQ(scene.takeLog(), Log{"-> idle"});
    EXPECT_EQ(scene.controller.mutedRoomCode(), std::nullopt);
    scene.controller.handle(inCallA);
    EXPECT_EQ(scene.takeLog(), (Log{"start A", "-> recording A"}));
}

TEST(SessionController, TheMuteOutlivesTheEndOfAnotherRoomsRecording) {
    SessionScene scene{1};
    scene.controller.handle(inCallA);
    scene.controller.stopAndKeep();
    scene.controller.handle(inCallB);
    scene.controller.handle(absent);
    EXPECT_EQ(scene.controller.state(), SessionState::armed("B"));
    EXPECT_EQ(scene.controller.mutedRoomCode(), "A");
    scene.controller.handle(inCallA);
    EXPECT_EQ(scene.controller.state(), SessionState::armed("A"));
}

TEST(SessionController, AMutedRoomEndsTheRecordingOfAnotherLikeALobby) {
    SessionScene scene{2};
    scene.controller.handle(inCallA);
    scene.controller.stopAndKeep();
    scene.controller.handle(inCallB);
    scene.takeLog();
    scene.controller.handle(inCallA);
    EXPECT_EQ(scene.takeLog(), Log{});
    scene.controller.handle(inCallA);
    EXPECT_EQ(scene.takeLog(), (Log{"stop and keep", "-> armed A"}));
}

TEST(SessionController, AFailureWithRetryRecordsTheRoomAgainAtTheNextPoll) {
    SessionScene scene{1};
    scene.controller.handle(inCallA);
    scene.takeLog();
    scene.controller.recordingDidFail(true);
    EXPECT_EQ(scene.takeLog(), Log{"-> armed A"});
    EXPECT_EQ(scene.controller.recordingStartedAt(), std::nullopt);
    EXPECT_EQ(scene.controller.mutedRoomCode(), std::nullopt);
    scene.clock.advance(Seconds{2});
    scene.controller.handle(inCallA);
    EXPECT_EQ(scene.takeLog(), (Log{"start A", "-> recording A"}));
    EXPECT_EQ(scene.controller.recordingStartedAt(), scene.clock.now());
}

TEST(SessionController, AFailureWithoutRetryMutesTheRoom) {
    SessionScene scene{1};
    scene.controller.handle(inCallA);
    scene.takeLog();
    scene.controller.recordingDidFail(false);
    EXPECT_EQ(scene.takeLog(), Log{"-> armed A"});
    EXPECT_EQ(scene.controller.mutedRoomCode(), "A");
    scene.controller.handle(inCallA);
    EXPECT_EQ(scene.takeLog(), Log{});
}

TEST(SessionController, AFailureWithRetryLeavesAnotherRoomsMuteAlone) {
    SessionScene scene{1};
    scene.controller.handle(inCallA);
    scene.controller.stopAndKeep();
    scene.controller.handle(inCallB);
    scene.controller.recordingDidFail(true);
    EXPECT_EQ(scene.controller.mutedRoomCode(), "A");
}

TEST(SessionController, StopsAndFailuresBeginTheCountAnew) {
    const std::function<void(SessionController&)> ends[] = {
        [](SessionController& controller) { controller.stopAndKeep(); },
        [](SessionController& controller) { controller.stopAndDiscard(); },
        [](SessionController& controller) { controller.recordingDidFail(true); },
        [](SessionController& controller) { controller.recordingDidFail(false); },
    };
    for (const auto& end : ends) {
        SessionScene scene{2};
        scene.controller.handle(inCallA);
        scene.controller.handle(absent);
        end(scene.controller);
        scene.controller.handle(absent);
        EXPECT_EQ(scene.controller.state(), SessionState::armed("A"));
        scene.controller.handle(absent);
        EXPECT_EQ(scene.controller.state(), SessionState::idle());
    }
}

TEST(SessionController, ALobbyDuringARecordingIsAMissedPollOfWhateverRoom) {
    SessionScene scene{2};
    scene.controller.handle(inCallA);
    scene.takeLog();
    scene.controller.handle(lobbyA);
    EXPECT_EQ(scene.takeLog(), Log{});
    scene.controller.handle(lobbyB);
    EXPECT_EQ(scene.takeLog(), (Log{"stop and keep", "-> armed B"}));
    EXPECT_EQ(scene.controller.recordingStartedAt(), std::nullopt);
}

TEST(SessionController, LobbiesAndAbsentPollsAreCountedTogether) {
    SessionScene scene{3};
    scene.controller.handle(inCallA);
    scene.takeLog();
    scene.controller.handle(lobbyA);
    scene.controller.handle(absent);
    scene.controller.handle(lobbyA);
    EXPECT_EQ(scene.takeLog(), (Log{"stop and keep", "-> armed A"}));
}

TEST(SessionController, AnnouncesNothingWhenARoomIsArmedAgain) {
    SessionScene scene{1};
    scene.controller.handle(lobbyA);
    EXPECT_EQ(scene.takeLog(), Log{"-> armed A"});
    scene.controller.handle(lobbyA);
    EXPECT_EQ(scene.takeLog(), Log{});
    scene.controller.handle(lobbyB);
    EXPECT_EQ(scene.takeLog(), Log{"-> armed B"});
}

TEST(SessionController, TellsTheDelegateBeforeItAnnouncesAndChanges) {
    SessionScene scene{1};
    Log seen;
    scene.onDelegateCall = [&] {
        seen.push_back(inWords(scene.controller.state()));
    };
    scene.controller.onStateChange = [&](const SessionState& state) {
        EXPECT_EQ(state, scene.controller.state()) << "announced after it was stored";
        EXPECT_EQ(state.isRecording(), scene.controller.recordingStartedAt().has_value());
        seen.push_back("announced " + inWords(state));
    };
    scene.controller.handle(inCallA);
    scene.controller.handle(inCallB);
    scene.controller.stopAndDiscard();
    EXPECT_EQ(
        seen, (
                  Log{"idle", "announced recording A",       // start A
                      "recording A", "recording A",          // stop A, start B
                      "announced recording B",               //
                      "recording B", "announced armed B"})); // discard B
}

TEST(SessionController, AnnouncesTheMuteWithTheState) {
    SessionScene scene{1};
    scene.controller.handle(inCallA);
    std::optional<std::string> muted;
    scene.controller.onStateChange = [&](const SessionState&) {
        muted = scene.controller.mutedRoomCode();
    };
    scene.controller.stopAndKeep();
    EXPECT_EQ(muted, "A");
    scene.controller.handle(absent);
    EXPECT_EQ(muted, std::nullopt) << "forgotten before idle is announced";
}

TEST(SessionController, GoesOnWithoutDelegateAndCallback) {
    const FakeDateProvider clock;
    SessionController controller{clock, 1};
    controller.handle(inCallA);
    EXPECT_EQ(controller.state(), SessionState::recording("A"));
    EXPECT_EQ(controller.recordingStartedAt(), clock.now());
    controller.handle(inCallB);
    EXPECT_EQ(controller.state(), SessionState::recording("B"));
    controller.stopAndDiscard();
    EXPECT_EQ(controller.state(), SessionState::armed("B"));
    controller.handle(absent);
    EXPECT_EQ(controller.state(), SessionState::idle());
}

TEST(SessionController, DoesNotKeepItsDelegateAlive) {
    SessionScene scene{1};
    scene.controller.handle(inCallA);
    scene.takeLog();
    scene.dropDelegate();
    EXPECT_TRUE(scene.controller.delegate.expired());
    scene.controller.handle(absent);
    EXPECT_EQ(scene.takeLog(), Log{"-> armed A"});
}

TEST(SessionController, TheCallbackMayReplaceItself) {
    SessionScene scene{1};
    Log heard;
    scene.controller.onStateChange = [&](const SessionState& state) {
        heard.push_back("first " + inWords(state));
        scene.controller.onStateChange = [&heard](const SessionState& next) {
            heard.push_back("second " + inWords(next));
        };
        heard.push_back("still first " + inWords(state));
    };
    scene.controller.handle(inCallA);
    scene.controller.handle(absent);
    EXPECT_EQ(heard, (Log{"first recording A", "still first recording A", "second armed A"}));
}

// Every transition, and every combination that is none

struct Input {
    const char* name;
    std::function<void(SessionController&)> give;
};

std::function<void(SessionController&)> poll(DetectorState state) {
    return [state = std::move(state)](SessionController& controller) {
        controller.handle(state);
    };
}

const Input inputs[] = {
    {"in call A", poll(inCallA)},
    {"in call B", poll(inCallB)},
    {"lobby A", poll(lobbyA)},
    {"lobby B", poll(lobbyB)},
    {"absent", poll(absent)},
    {"stop and keep",
     [](SessionController& controller) {
         controller.stopAndKeep();
     }},
    {"stop and discard",
     [](SessionController& controller) {
         controller.stopAndDiscard();
     }},
    {"failure",
     [](SessionController& controller) {
         controller.recordingDidFail(false);
     }},
    {"failure, retry",
     [](SessionController& controller) {
         controller.recordingDidFail(true);
     }},
};

/// How every reachable kind of state comes about, with one missed poll where that can be.
struct Situation {
    const char* name;
    const char* state;
    const char* muted;
    int missedPolls;
    std::function<void(SessionController&)> reach;
};

const Situation situations[] = {
    {"idle", "idle", "", 0,
     [](SessionController&) {
     }},
    {"armed A", "armed A", "", 0, poll(lobbyA)},
    {"armed A, one missed", "armed A", "", 1,
     [](SessionController& controller) {
         controller.handle(lobbyA);
         controller.handle(absent);
     }},
    {"armed A, A muted", "armed A", "A", 0,
     [](SessionController& controller) {
         controller.handle(inCallA);
         controller.stopAndKeep();
     }},
    {"armed A, A muted, one missed", "armed A", "A", 1,
     [](SessionController& controller) {
         controller.handle(inCallA);
         controller.stopAndKeep();
         controller.handle(absent);
     }},
    {"armed A, B muted", "armed A", "B", 0,
     [](SessionController& controller) {
         controller.handle(inCallB);
         controller.stopAndKeep();
         controller.handle(lobbyA);
     }},
    {"recording A", "recording A", "", 0, poll(inCallA)},
    {"recording A, one missed", "recording A", "", 1,
     [](SessionController& controller) {
         controller.handle(inCallA);
         controller.handle(absent);
     }},
    {"recording A, B muted", "recording A", "B", 0,
     [](SessionController& controller) {
         controller.handle(inCallB);
         controller.stopAndKeep();
         controller.handle(inCallA);
     }},
    {"recording A, B muted, one missed", "recording A", "B", 1,
     [](SessionController& controller) {
         controller.handle(inCallB);
         controller.stopAndKeep();
         controller.handle(inCallA);
         controller.handle(absent);
     }},
};

/// What an input leads to when the threshold is 2. A situation without a row for an input is not
/// changed by it.
struct Transition {
    const char* situation;
    const char* input;
    const char* state;
    const char* muted;
    int missedPolls;
    Log calls;
};

const Log none;
const Log keep{"stop and keep"};

const Transition transitions[] = {
    {"idle", "in call A", "recording A", "", 0, {"start A"}},
    {"idle", "in call B", "recording B", "", 0, {"start B"}},
    {"idle", "lobby A", "armed A", "", 0, none},
    {"idle", "lobby B", "armed B", "", 0, none},

    {"armed A", "in call A", "recording A", "", 0, {"start A"}},
    {"armed A", "in call B", "recording B", "", 0, {"start B"}},
    {"armed A", "lobby B", "armed B", "", 0, none},
    {"armed A", "absent", "armed A", "", 1, none},

    {"armed A, one missed", "in call A", "recording A", "", 0, {"start A"}},
    {"armed A, one missed", "in call B", "recording B", "", 0, {"start B"}},
    {"armed A, one missed", "lobby A", "armed A", "", 0, none},
    {"armed A, one missed", "lobby B", "armed B", "", 0, none},
    {"armed A, one missed", "absent", "idle", "", 0, none},

    {"armed A, A muted", "in call B", "recording B", "A", 0, {"start B"}},
    {"armed A, A muted", "lobby B", "armed B", "A", 0, none},
    {"armed A, A muted", "absent", "armed A", "A", 1, none},

    {"armed A, A muted, one missed", "in call A", "armed A", "A", 0, none},
    {"armed A, A muted, one missed", "in call B", "recording B", "A", 0, {"start B"}},
    {"armed A, A muted, one missed", "lobby A", "armed A", "A", 0, none},
    {"armed A, A muted, one missed", "lobby B", "armed B", "A", 0, none},
    {"armed A, A muted, one missed", "absent", "idle", "", 0, none},

    {"armed A, B muted", "in call A", "recording A", "B", 0, {"start A"}},
    {"armed A, B muted", "in call B", "armed B", "B", 0, none},
    {"armed A, B muted", "lobby B", "armed B", "B", 0, none},
    {"armed A, B muted", "absent", "armed A", "B", 1, none},

    {"recording A", "in call B", "recording B", "", 0, {"stop and keep", "start B"}},
    {"recording A", "lobby A", "recording A", "", 1, none},
    {"recording A", "lobby B", "recording A", "", 1, none},
    {"recording A", "absent", "recording A", "", 1, none},
    {"recording A", "stop and keep", "armed A", "A", 0, keep},
    {"recording A", "stop and discard", "armed A", "A", 0, {"stop and discard"}},
    {"recording A", "failure", "armed A", "A", 0, none},
    {"recording A", "failure, retry", "armed A", "", 0, none},

    {"recording A, one missed", "in call A", "recording A", "", 0, none},
    {"recording A, one missed", "in call B", "recording B", "", 0, {"stop and keep", "start B"}},
    {"recording A, one missed", "lobby A", "armed A", "", 0, keep},
    {"recording A, one missed", "lobby B", "armed B", "", 0, keep},
    {"recording A, one missed", "absent", "armed A", "", 0, keep},
    {"recording A, one missed", "stop and keep", "armed A", "A", 0, keep},
    {"recording A, one missed", "stop and discard", "armed A", "A", 0, {"stop and discard"}},
    {"recording A, one missed", "failure", "armed A", "A", 0, none},
    {"recording A, one missed", "failure, retry", "armed A", "", 0, none},

    {"recording A, B muted", "in call B", "recording A", "B", 1, none},
    {"recording A, B muted", "lobby A", "recording A", "B", 1, none},
    {"recording A, B muted", "lobby B", "recording A", "B", 1, none},
    {"recording A, B muted", "absent", "recording A", "B", 1, none},
    {"recording A, B muted", "stop and keep", "armed A", "A", 0, keep},
    {"recording A, B muted", "stop and discard", "armed A", "A", 0, {"stop and discard"}},
    {"recording A, B muted", "failure", "armed A", "A", 0, none},
    {"recording A, B muted", "failure, retry", "armed A", "B", 0, none},

    {"recording A, B muted, one missed", "in call A", "recording A", "B", 0, none},
    {"recording A, B muted, one missed", "in call B", "armed B", "B", 0, keep},
    {"recording A, B muted, one missed", "lobby A", "armed A", "B", 0, keep},
    {"recording A, B muted, one missed", "lobby B", "armed B", "B", 0, keep},
    {"recording A, B muted, one missed", "absent", "armed A", "B", 0, keep},
    {"recording A, B muted, one missed", "stop and keep", "armed A", "A", 0, keep},
    {"recording A, B muted, one missed",
     "stop and discard",
     "armed A",
     "A",
     0,
     {"stop and discard"}},
    {"recording A, B muted, one missed", "failure", "armed A", "A", 0, none},
    {"recording A, B muted, one missed", "failure, retry", "armed A", "B", 0, none},
};

/// The count cannot be read, but how many absent polls the state still bears tells it.
int missedPollsShownBy(SessionController& controller) {
    const SessionState before = controller.state();
    if (before.isIdle()) {
        return 0;
    }
    controller.handle(absent);
    return controller.state() == before ? 0 : 1;
}

TEST(SessionControllerTransitions, EveryStateWithEveryInput) {
    std::set<const Transition*> walked;
    for (const Situation& situation : situations) {
        for (const Input& input : inputs) {
            SCOPED_TRACE(std::string{situation.name} + " / " + input.name);
            SessionScene scene{2};
            situation.reach(scene.controller);
            ASSERT_EQ(inWords(scene.controller.state()), situation.state);
            ASSERT_EQ(scene.controller.mutedRoomCode().value_or(""), situation.muted);
            const auto startedBefore = scene.controller.recordingStartedAt();
            scene.takeLog();
            scene.clock.advance(Seconds{1});

            input.give(scene.controller);

            Transition expected{situation.name,        input.name, situation.state, situation.muted,
                                situation.missedPolls, none};
            for (const Transition& transition : transitions) {
                if (std::string_view{transition.situation} == situation.name &&
                    std::string_view{transition.input} == input.name) {
                    expected = transition;
                    walked.insert(&transition);
                }
            }
            Log expectedLog = expected.calls;
            if (std::string_view{expected.state} != situation.state) {
                expectedLog.push_back("-> " + std::string{expected.state});
            }
            EXPECT_EQ(scene.takeLog(), expectedLog);
            EXPECT_EQ(inWords(scene.controller.state()), expected.state);
            EXPECT_EQ(scene.controller.mutedRoomCode().value_or(""), expected.muted);
            const bool hasStarted =
                !expected.calls.empty() && expected.calls.back().starts_with("start");
            const auto expectedStart = !scene.controller.state().isRecording() ? std::nullopt
                                       : hasStarted ? std::optional{scene.clock.now()}
                                                    : startedBefore;
            EXPECT_EQ(scene.controller.recordingStartedAt(), expectedStart);
            EXPECT_EQ(missedPollsShownBy(scene.controller), expected.missedPolls);
        }
    }
    EXPECT_EQ(walked.size(), std::size(transitions)) << "a row names an unknown situation or input";
}

TEST(SessionControllerTransitions, WithAThresholdOfOneTheFirstMissedPollDecides) {
    const std::pair<DetectorState, Log> endings[] = {
        {absent, {"stop and keep", "-> armed A"}},
        {lobbyA, {"stop and keep", "-> armed A"}},
        {lobbyB, {"stop and keep", "-> armed B"}},
    };
    for (const auto& [state, log] : endings) {
        SessionScene scene{1};
        scene.controller.handle(inCallA);
        scene.takeLog();
        scene.controller.handle(state);
        EXPECT_EQ(scene.takeLog(), log);
    }
}

} // namespace
} // namespace brindle
