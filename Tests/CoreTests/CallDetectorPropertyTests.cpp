// The call detector against a second formulation of its rules. The detector keeps a few facts up to
// date; the model keeps everything that ever happened and works each fact out from that.

#include "BrindleRecorderCore/Calls/CallDetector.hpp"
#include "Support/CallWords.hpp"
#include "Support/RandomSource.hpp"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace brindle {
namespace {

using test::inWords;
using test::RandomSource;
using Kind = CallSource::Kind;
using Titles = std::vector<std::string>;

/// A user of the microphone and what is known about it beforehand.
struct Actor {
    MicUser user;
    std::string familyID; ///< that disables it; empty for one that is never a call
    CallDetector::Candidate candidate;
};

Actor neverACall(const std::string& bundleID) {
    return {{bundleID, 1, Titles{"Google Meet"}}, "", {}};
}

Actor program(
    const std::string& bundleID, const std::string& familyID, const std::string& familyName) {
    return {
        {bundleID, 2},
        familyID,
        {familyID, {familyName, bundleID, Kind::app, std::nullopt, familyID}, true, 0}};
}

Actor meeting(
    const std::string& bundleID, const std::string& familyID, const std::string& familyName,
    const std::string& title, const std::string& site) {
    return {
        {bundleID, 3, Titles{"Inbox", title}},
        familyID,
        {familyID, {familyName, bundleID, Kind::browser, site, familyID}, true, 1}};
}

Actor browser(
    const std::string& bundleID, const std::string& familyID, const std::string& familyName,
    std::optional<Titles> titles) {
    return {
        {bundleID, 3, std::move(titles)},
        familyID,
        {familyID, {familyName, bundleID, Kind::browser, std::nullopt, familyID}, false, 2}};
}

Actor unknown(const std::string& bundleID, std::int32_t pid, const std::string& name) {
    return {
        {bundleID, pid},
        "other",
        {"other:" + name, {name, bundleID, Kind::other, std::nullopt, "other"}, false, 3}};
}

const std::vector<Actor> actors{
    program("us.zoom.xos", "zoom", "zoom.us"),
    program("us.zoom.CptHost", "zoom", "zoom.us"),
    program("com.microsoft.teams2", "teams", "Microsoft Teams"),
    program("com.apple.FaceTime", "facetime", "FaceTime / Phone"),
    meeting(
        "com.google.Chrome", "chrome", "Google Chrome", "Sync - GOOGLE MEET", "meet.google.com"),
    meeting("com.google.Chrome.helper", "chrome", "Google Chrome", "Jitsi Meet", "meet.jit.si"),
    browser("com.google.Chrome", "chrome", "Google Chrome", std::nullopt),
    browser("com.google.Chrome", "chrome", "Google Chrome", Titles{"Inbox"}),
    meeting("com.apple.WebKit.GPU", "safari", "Safari", "Whereby", "whereby.com"),
    browser("com.apple.Safari", "safari", "Safari", Titles{}),
    unknown("com.example.tool", 7, "com.example.tool"),
    unknown("", 812, "pid 812"),
    unknown("", -1, "pid -1"),
    neverACall("com.apple.Siri"),
    neverACall("com.apple.unheardof"),
};

using Cast = std::vector<const Actor*>;

std::vector<MicUser> snapshotOf(const Cast& cast) {
    std::vector<MicUser> snapshot;
    for (const Actor* actor : cast) {
        snapshot.push_back(actor->user);
    }
    return snapshot;
}

/// The rules, over the whole of what happened.
class HistoryModel {
  public:
    CallDetectorConfig config;

    std::vector<CallDetectorEvent> evaluate(Date now) {
        moments_.push_back({now, candidatesNow(), false});
        return finish(afterEvaluation());
    }

    std::vector<CallDetectorEvent> evaluate(const Cast& cast, Date now) {
        cast_ = cast;
        return evaluate(now);
    }

    std::vector<CallDetectorEvent> manualStart() {
        if (stay_.name == "recording") {
            return {};
        }
        const auto candidates = candidatesNow();
        enter("recording", bestOf(candidates).value_or(manualCandidate()).source, "manual");
        stay_.isManual = true;
        return finish({CallDetectorEvent::start(stay_.source, stay_.label)});
    }

    std::vector<CallDetectorEvent> manualStop(Date now) {
        if (stay_.name != "recording") {
            return {};
        }
        const auto stop = CallDetectorEvent::stop(stay_.label);
        const bool callGoesOn = !candidatesNow().empty();
        if (callGoesOn) {
            moments_.push_back({now, {}, true});
        }
        leaveFor(callGoesOn ? "suppressed" : "idle");
        return finish({stop});
    }

    std::vector<CallDetectorEvent> answer(const std::string& label, bool record) {
        if (stay_.name != "asking" || stay_.label != label) {
            return {};
        }
        if (!record) {
            leaveFor("suppressed");
            return {};
        }
        stay_.name = "recording";
        stay_.beganAt = moments_.size();
        return finish({CallDetectorEvent::start(stay_.source, label)});
    }

    [[nodiscard]] CallDetector::Phase phase() const {
        if (stay_.name == "asking") {
            return CallDetector::Phase::asking(stay_.source, stay_.label);
        }
        if (stay_.name == "recording") {
            return CallDetector::Phase::recording(sourceByNow(), stay_.label, stay_.isManual);
        }
        return stay_.name == "idle" ? CallDetector::Phase::idle()
                                    : CallDetector::Phase::suppressed();
    }

    [[nodiscard]] const std::vector<CallDetectorEvent>& events() const { return events_; }

  private:
    using Candidates = std::vector<CallDetector::Candidate>;

    /// An evaluation, or a manual stop that found the call still there.
    struct Moment {
        Date time;
        Candidates candidates;
        bool isManualStop;
    };

    /// The phase, and since when.
    struct Stay {
        std::string name = "idle";
        CallSource source;
        std::string label;
        bool isManual = false;
        std::size_t beganAt = 0;
    };

    static long double nanosecondsSince(Date earlier, Date later) {
        return static_cast<long double>(later.time_since_epoch().count()) -
               static_cast<long double>(earlier.time_since_epoch().count());
    }

    static bool hasLasted(Date since, Date now, Seconds threshold) {
        return nanosecondsSince(since, now) >= static_cast<long double>(threshold.count()) * 1e9L;
    }

    static bool contains(const Candidates& candidates, const std::string& key) {
        return std::any_of(candidates.begin(), candidates.end(), [&](const auto& candidate) {
            return candidate.key == key;
        });
    }

    static std::optional<CallDetector::Candidate> bestOf(const Candidates& candidates) {
        for (const int rank : {0, 1, 2, 3}) {
            for (const auto& candidate : candidates) {
                if (candidate.rank == rank) {
                    return candidate;
                }
            }
        }
        return std::nullopt;
    }

    static CallDetector::Candidate manualCandidate() {
        return {"", {"Manual", "", Kind::manual, std::nullopt, "manual"}, false, 0};
    }

    [[nodiscard]] Candidates candidatesNow() const {
        Candidates candidates;
        for (const Actor* actor : cast_) {
            if (!actor->familyID.empty() && config.disabledFamilies.count(actor->familyID) == 0) {
                candidates.push_back(actor->candidate);
            }
        }
        return candidates;
    }

    [[nodiscard]] std::vector<Moment> evaluations() const {
        std::vector<Moment> found;
        std::copy_if(
            moments_.begin(), moments_.end(), std::back_inserter(found),
            [](const Moment& moment) { return !moment.isManualStop; });
        return found;
    }

    /// The time of the first of the evaluations in an unbroken row, up to the last one, that all
    /// had the key.
    [[nodiscard]] Date presentSince(const std::string& key) const {
        const std::vector<Moment> all = evaluations();
        const auto lastWithout = std::find_if(all.rbegin(), all.rend(), [&](const Moment& moment) {
            return !contains(moment.candidates, key);
        });
        return lastWithout.base()->time;
    }

    /// The call is gone when the last evaluation is empty and the latest sign of life, which is an
    /// evaluation with candidates, the one right after it, or a manual stop, is long enough ago.
    [[nodiscard]] bool isGone() const {
        const Moment& last = moments_.back();
        if (!last.candidates.empty()) {
            return false;
        }
        bool hadCandidates = false;
        std::optional<Date> signOfLife;
        for (const Moment& moment : moments_) {
            if (moment.isManualStop || hadCandidates || !moment.candidates.empty()) {
                signOfLife = moment.time;
            }
            if (!moment.isManualStop) {
                hadCandidates = !moment.candidates.empty();
            }
        }
        return !signOfLife || hasLasted(*signOfLife, last.time, config.stopAfter);
    }

    std::vector<CallDetectorEvent> afterEvaluation() {
        if (stay_.name == "idle") {
            Candidates eligible;
            for (const auto& candidate : moments_.back().candidates) {
                if (hasLasted(
                        presentSince(candidate.key), moments_.back().time,
                        candidate.confirmed ? config.startAfter : config.unconfirmedStartAfter)) {
                    eligible.push_back(candidate);
                }
            }
            const auto winner = bestOf(eligible);
            if (!winner) {
                return {};
            }
            enter(config.askBeforeRecording ? "asking" : "recording", winner->source, winner->key);
            return {
                config.askBeforeRecording ? CallDetectorEvent::ask(stay_.source, stay_.label)
                                          : CallDetectorEvent::start(stay_.source, stay_.label)};
        }
        if (stay_.isManual || !isGone()) {
            return {};
        }
        const Stay ended = stay_;
        leaveFor("idle");
        if (ended.name == "recording") {
            return {CallDetectorEvent::stop(ended.label)};
        }
        return {};
    }

    /// The source, with the first site that its family showed since the recording began.
    [[nodiscard]] CallSource sourceByNow() const {
        CallSource source = stay_.source;
        if (source.site || stay_.isManual) {
            return source;
        }
        for (std::size_t index = stay_.beganAt; index < moments_.size(); ++index) {
            for (const auto& candidate : moments_[index].candidates) {
                if (!source.site && candidate.key == source.familyID) {
                    source.site = candidate.source.site;
                }
            }
        }
        return source;
    }

    void enter(const std::string& name, const CallSource& source, const std::string& key) {
        ++calls_;
        stay_ = Stay{name, source, key + "#" + std::to_string(calls_), false, moments_.size()};
    }

    void leaveFor(const std::string& name) {
        stay_ = Stay{};
        stay_.name = name;
    }

    std::vector<CallDetectorEvent> finish(std::vector<CallDetectorEvent> events) {
        events_.insert(events_.end(), events.begin(), events.end());
        return events;
    }

    Cast cast_;
    std::vector<Moment> moments_;
    Stay stay_;
    int calls_ = 0;
    std::vector<CallDetectorEvent> events_;
};

/// What holds for any stream of events, whatever the rules say in detail.
class EventStream {
  public:
    void add(const CallDetectorEvent& event, bool fromEvaluation) {
        if (const auto* start = std::get_if<CallDetectorEvent::Start>(&event.value)) {
            EXPECT_EQ(recording_, "") << "a recording began during another";
            if (start->label != asked_) {
                expectNewNumber(start->label);
            }
            recording_ = start->label;
            asked_.clear();
        } else if (const auto* ask = std::get_if<CallDetectorEvent::Ask>(&event.value)) {
            EXPECT_EQ(recording_, "") << "a question came during a recording";
            expectNewNumber(ask->label);
            asked_ = ask->label;
        } else {
            const auto& stop = std::get<CallDetectorEvent::Stop>(event.value);
            EXPECT_NE(recording_, "");
            EXPECT_EQ(stop.label, recording_);
            EXPECT_FALSE(fromEvaluation && stop.label.starts_with("manual#"));
            recording_.clear();
        }
    }

    [[nodiscard]] const std::string& recording() const { return recording_; }

  private:
    void expectNewNumber(const std::string& label) {
        ++calls_;
        EXPECT_TRUE(label.ends_with("#" + std::to_string(calls_))) << label;
    }

    int calls_ = 0;
    std::string recording_;
    std::string asked_;
};

/// How often something happened over all runs: a walk that never gets anywhere proves nothing.
using Tally = std::map<std::string, int>;

class RandomWalk {
  public:
    RandomWalk(std::uint64_t seed, Tally& tally) : random_{seed}, tally_{tally} { changeConfig(); }

    void run(int steps) {
        for (int index = 0; index < steps && !testing::Test::HasFailure(); ++index) {
            step();
        }
        if (testing::Test::HasFailure()) {
            ADD_FAILURE() << "steps that led here:\n" << story_.str();
        }
    }

  private:
    void step() {
        passTime();
        const CallDetector::Phase before = detector_.phase();
        std::vector<CallDetectorEvent> actual;
        std::vector<CallDetectorEvent> expected;
        const std::size_t choice = random_.below(100);
        const bool isEvaluation = choice < 72;
        if (choice < 45) {
            changeCast();
            story_ << "update" << castInWords();
            actual = detector_.update(snapshotOf(cast_), now_);
            expected = model_.evaluate(cast_, now_);
        } else if (choice < 72) {
            story_ << "tick";
            actual = detector_.tick(now_);
            expected = model_.evaluate(now_);
        } else if (choice < 77) {
            story_ << "manual start";
            actual = listOf(detector_.manualStart(now_));
            expected = model_.manualStart();
        } else if (choice < 83) {
            story_ << "manual stop";
            actual = listOf(detector_.manualStop(now_));
            expected = model_.manualStop(now_);
        } else if (choice < 93) {
            const std::string label = someLabel();
            const bool record = random_.chance(50);
            story_ << "answer " << label << (record ? " yes" : " no");
            actual = listOf(detector_.answer(label, record));
            expected = model_.answer(label, record);
        } else {
            story_ << "new configuration";
            changeConfig();
        }
        const std::string words = inWords(actual);
        story_ << " at " << now_.time_since_epoch().count() << " ns: " << words << ", then "
               << inWords(detector_.phase()) << "\n";

        EXPECT_EQ(words, inWords(expected));
        EXPECT_EQ(actual, expected);
        EXPECT_EQ(inWords(detector_.phase()), inWords(model_.phase()));
        EXPECT_EQ(detector_.phase(), model_.phase());
        EXPECT_LE(actual.size(), 1U);
        for (const CallDetectorEvent& event : actual) {
            stream_.add(event, isEvaluation);
        }
        EXPECT_EQ(detector_.activeLabel().value_or(""), stream_.recording());
        EXPECT_EQ(detector_.activeLabel().has_value(), detector_.activeSource().has_value());
        count(before, words);
    }

    void passTime() {
        if (random_.chance(2)) {
            now_ = random_.oneOf(std::vector{Date::min(), Date::max(), Date{}});
        } else if (now_ == Date::min() || now_ == Date::max()) {
            now_ = Date{};
        } else if (random_.chance(4)) {
            now_ -= std::chrono::seconds{random_.below(60)};
        } else {
            // Quarters of a second, so that thresholds are often met exactly, or just not.
            const std::vector<int> quarters{0, 1, 2, 4, 8, 10, 16, 20, 40, 76, 80, 84};
            now_ += std::chrono::milliseconds{250 * random_.oneOf(quarters)};
            if (random_.chance(10)) {
                now_ += std::chrono::nanoseconds{random_.chance(50) ? 1 : -1};
            }
        }
    }

    void changeCast() {
        if (random_.chance(20)) {
            cast_.clear();
        } else if (random_.chance(40) && !cast_.empty()) {
            cast_.erase(cast_.begin() + static_cast<std::ptrdiff_t>(random_.below(cast_.size())));
        } else if (random_.chance(60) && cast_.size() < 5) {
            const auto place = static_cast<std::ptrdiff_t>(random_.below(cast_.size() + 1));
            cast_.insert(cast_.begin() + place, &random_.oneOf(actors));
        } else if (!cast_.empty()) {
            // The windows of a browser change, or another process of a family takes over.
            const Actor*& actor = cast_[random_.below(cast_.size())];
            const Actor& other = random_.oneOf(actors);
            if (other.familyID == actor->familyID) {
                actor = &other;
            }
        }
    }

    void changeConfig() {
        const std::vector<double> thresholds{0, 0.25, 2.5, 5, 5, 5, 20, 20};
        CallDetectorConfig config;
        config.startAfter = Seconds{random_.oneOf(thresholds)};
        config.stopAfter = Seconds{random_.oneOf(thresholds)};
        config.unconfirmedStartAfter = Seconds{random_.oneOf(thresholds)};
        config.askBeforeRecording = random_.chance(50);
        if (random_.chance(60)) {
            config.disabledFamilies.clear();
        }
        if (random_.chance(30)) {
            config.disabledFamilies.insert(random_.oneOf(actors).familyID);
        }
        detector_.config = config;
        model_.config = config;
    }

    /// Mostly the label of the latest question, sometimes an old or a wrong one.
    std::string someLabel() {
        if (const auto* asking = detector_.phase().asAsking();
            asking != nullptr && random_.chance(70)) {
            return asking->label;
        }
        return "zoom#" + std::to_string(random_.below(4));
    }

    static std::vector<CallDetectorEvent> listOf(const std::optional<CallDetectorEvent>& event) {
        return event ? std::vector{*event} : std::vector<CallDetectorEvent>{};
    }

    [[nodiscard]] std::string castInWords() const {
        std::string words;
        for (const Actor* actor : cast_) {
            words += " " + actor->user.bundleID + "/" + actor->candidate.source.site.value_or("-");
        }
        return words;
    }

    void count(const CallDetector::Phase& before, const std::string& event) {
        const auto firstWord = [](const std::string& words) {
            return words.substr(0, words.find(' '));
        };
        const auto kind = [&](const CallDetector::Phase& phase) {
            const auto* recording = phase.asRecording();
            const auto* asking = phase.asAsking();
            return recording != nullptr ? (recording->isManual ? "manual" : "automatic")
                   : asking != nullptr  ? "asking"
                   : phase.isIdle()     ? "idle"
                                        : "suppressed";
        };
        if (before != detector_.phase()) {
            ++tally_
                [std::string{kind(before)} + " -> " + kind(detector_.phase()) + ": " +
                 firstWord(event)];
        }
    }

    RandomSource random_;
    Tally& tally_;
    CallDetector detector_{CallDetectorConfig{}};
    HistoryModel model_;
    EventStream stream_;
    Cast cast_;
    Date now_{};
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

TEST(CallDetectorProperties, AgreesWithTheHistoryAndTakesEveryTransition) {
    const Tally tally = walk(20'260'314);
    const Tally transitions{
        {"idle -> automatic: start", 0},        {"idle -> asking: ask", 0},
        {"idle -> manual: start", 0},           {"asking -> automatic: start", 0},
        {"asking -> suppressed: nothing", 0},   {"asking -> idle: nothing", 0},
        {"asking -> manual: start", 0},         {"automatic -> idle: stop", 0},
        {"automatic -> automatic: nothing", 0}, {"automatic -> suppressed: stop", 0},
        {"manual -> suppressed: stop", 0},      {"manual -> idle: stop", 0},
        {"suppressed -> idle: nothing", 0},     {"suppressed -> manual: start", 0},
    };
    for (const auto& [transition, times] : tally) {
        EXPECT_TRUE(transitions.contains(transition)) << transition << " is no transition";
    }
    for (const auto& [transition, unused] : transitions) {
        const auto found = tally.find(transition);
        EXPECT_GT(found == tally.end() ? 0 : found->second, 20) << transition;
    }
}

TEST(CallDetectorProperties, AgreesWithTheHistoryOnAFreshSeed) {
    const Tally tally = walk(test::freshSeed());
    EXPECT_FALSE(tally.empty());
}

} // namespace
} // namespace brindle
