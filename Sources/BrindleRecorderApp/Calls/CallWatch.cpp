#include "BrindleRecorderApp/Calls/CallWatch.hpp"

#include "BrindleRecorderApp/Settings.hpp"
#include "BrindleRecorderApp/Shell/Notifier.hpp"
#include "BrindleRecorderApp/Words/NoticeTexts.hpp"
#include "BrindleRecorderApp/Words/StatusText.hpp"

#include <algorithm>
#include <fmt/format.h>
#include <utility>
#include <variant>

namespace brindle {

namespace {

constexpr std::chrono::seconds pollInterval{2};
constexpr std::chrono::seconds tickInterval{1};

} // namespace

CallWatch::CallWatch(
    MainLoop& mainLoop, const DateProvider& dateProvider, AudioObjects& audioObjects,
    const ProcessRegistry& processRegistry, const WindowList& windowList, const Settings& settings,
    Notifier& notifier, EventLog log)
    : mainLoop_{mainLoop}, dateProvider_{dateProvider}, settings_{settings}, notifier_{notifier},
      log_{log}, mic_{audioObjects, processRegistry, windowList}, detector_{
                                                                      settings.callDetection()} {
    notifier_.onAskAnswer = [this](const std::string& label, bool record) {
        takeAnswer(label, record);
    };
    mic_.onChange = [this] {
        evaluate(true);
    };
    mic_.isOwnCaptureRunning = [this] {
        return isOwnCaptureRunning();
    };
}

CallWatch::~CallWatch() {
    stop();
    notifier_.onAskAnswer = nullptr;
}

void CallWatch::start() {
    if (pollTimer_) {
        return;
    }
    pollTimer_ = mainLoop_.after(std::chrono::seconds{0}, [this] { poll(); });
    tickTimer_ = mainLoop_.after(tickInterval, [this] { tick(); });
    mic_.start();
}

void CallWatch::stop() {
    mic_.stop();
    pollTimer_.reset();
    tickTimer_.reset();
}

// The next turn is set first, so that whoever ends the watching within this one ends it.

void CallWatch::poll() {
    pollTimer_ = mainLoop_.after(pollInterval, [this] { poll(); });
    readMicrophone();
    if (onPoll) {
        onPoll();
    }
    evaluate(false);
}

void CallWatch::tick() {
    tickTimer_ = mainLoop_.after(tickInterval, [this] { tick(); });
    evaluate(false);
}

void CallWatch::readMicrophone() {
    lastSnapshot_ = mic_.snapshot();
}

void CallWatch::evaluate(bool readMic) {
    if (readMic) {
        readMicrophone();
    }
    // The settings may have changed since the last pass.
    detector_.config = settings_.callDetection();
    handle(detector_.update(mic_.withWindowTitles(lastSnapshot_), dateProvider_.now()));
    withdrawStaleAsk();
    changed();
}

void CallWatch::recordNow() {
    readMicrophone();
    if (const auto event = detector_.manualStart(dateProvider_.now())) {
        handle(*event);
    }
    changed();
}

void CallWatch::stopRecording() {
    if (const auto event = detector_.manualStop(dateProvider_.now())) {
        handle(*event);
    }
    changed();
}

void CallWatch::letGo() {
    static_cast<void>(detector_.manualStop(dateProvider_.now()));
}

bool CallWatch::isByHand() const {
    const auto* recording = detector_.phase().asRecording();
    return recording != nullptr && recording->isManual;
}

bool CallWatch::isQuiet() const {
    return detector_.phase().isIdle() && !somebodyMayBeInACall();
}

bool CallWatch::mayBegin() const {
    const auto& phase = detector_.phase();
    return phase.asAsking() != nullptr || (phase.isIdle() && somebodyMayBeInACall());
}

bool CallWatch::somebodyMayBeInACall() const {
    return std::ranges::any_of(lastSnapshot_, [this](const MicUser& user) {
        return detector_.classify(user).has_value();
    });
}

std::optional<CallSource> CallWatch::sourceOf(const std::string& label) const {
    const auto source = sources_.find(label);
    return source == sources_.end() ? std::nullopt : std::optional{source->second};
}

void CallWatch::handle(const std::vector<CallDetectorEvent>& events) {
    for (const CallDetectorEvent& event : events) {
        handle(event);
    }
}

void CallWatch::handle(const CallDetectorEvent& event) {
    if (const auto* start = std::get_if<CallDetectorEvent::Start>(&event.value)) {
        sources_[start->label] = start->source;
        log_.diagnostic(fmt::format(
            "call detected: {} [{}] site={} → {}", start->source.app, start->source.bundleID,
            start->source.site.value_or("-"), start->label));
    } else if (const auto* ask = std::get_if<CallDetectorEvent::Ask>(&event.value)) {
        sources_[ask->label] = ask->source;
        pendingAskLabel_.set(ask->label);
        notifier_.postAsk(ask->label, NoticeTexts::askBody(StatusText::displayName(ask->source)));
    } else if (const auto* stop = std::get_if<CallDetectorEvent::Stop>(&event.value)) {
        log_.diagnostic("call ended: " + stop->label);
    }
}

void CallWatch::takeAnswer(const std::string& label, bool record) {
    if (pendingAskLabel_.get() == label) {
        pendingAskLabel_.set(std::nullopt);
    }
    if (const auto event = detector_.answer(label, record)) {
        handle(*event);
    }
    changed();
}

void CallWatch::answerPendingAsk(bool record) {
    const auto label = pendingAskLabel_.get();
    if (!label) {
        return;
    }
    notifier_.withdrawAsk(*label);
    takeAnswer(*label, record);
}

void CallWatch::withdrawPendingAsk() {
    if (const auto label = pendingAskLabel_.get()) {
        notifier_.withdrawAsk(*label);
        pendingAskLabel_.set(std::nullopt);
    }
}

void CallWatch::withdrawStaleAsk() {
    const auto& label = pendingAskLabel_.get();
    const auto* asking = detector_.phase().asAsking();
    if (label && (asking == nullptr || asking->label != *label)) {
        withdrawPendingAsk();
    }
}

void CallWatch::changed() const {
    if (onChange) {
        onChange();
    }
}

} // namespace brindle
