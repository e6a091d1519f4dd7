#include "BrindleRecorderApp/Shell/Notifier.hpp"

#include "BrindleRecorderApp/Async/Continuation.hpp"
#include "BrindleRecorderApp/Words/MenuTexts.hpp"
#include "BrindleRecorderApp/Words/NoticeTexts.hpp"
#include "BrindleRecorderApp/Words/RecordingTexts.hpp"

#include <utility>

namespace brindle {

namespace {

std::string askIdentifier(const std::string& label) {
    return "ask-" + label;
}

} // namespace

Notifier::Notifier(UserNotifications& notifications, std::function<std::string()> makeIdentifier)
    : notifications_{notifications}, makeIdentifier_{std::move(makeIdentifier)} {}

Task<void> Notifier::requestAuthorization() {
    if (!notifications_.isAvailable()) {
        co_return;
    }
    notifications_.setResponseHandler(
        [weakSelf = std::weak_ptr{self_}](const NotificationResponse& response) {
            if (const auto self = weakSelf.lock()) {
                (*self)->handleResponse(response);
            }
        });
    notifications_.setCategories(categories(/*withRecording=*/false));

    // The notifier may be gone when the answer comes: nothing of it is used after this.
    const Continuation<bool> decision;
    notifications_.requestAuthorization([decision](bool granted) { decision.resume(granted); });
    co_await decision;
}

std::vector<NotificationCategory> Notifier::categories(bool withRecording) {
    std::vector<NotificationCategory> all;
    all.push_back(
        {.identifier = askCategory,
         .actions = {
             {.identifier = recordAction, .title = NoticeTexts::record()},
             {.identifier = skipAction, .title = NoticeTexts::skip()}}});
    if (withRecording) {
        all.push_back(
            {.identifier = recordingCategory,
             .actions = {
                 {.identifier = stopAction, .title = MenuTexts::stopRecording()},
                 {.identifier = discardAction, .title = MenuTexts::stopAndDiscard()}}});
    }
    return all;
}

void Notifier::postAsk(const std::string& label, const std::string& body) {
    if (!notifications_.isAvailable()) {
        return;
    }
    notifications_.post(
        {.identifier = askIdentifier(label),
         .title = NoticeTexts::askTitle(),
         .body = body,
         .categoryIdentifier = askCategory,
         .label = label});
}

void Notifier::withdrawAsk(const std::string& label) {
    if (notifications_.isAvailable()) {
        notifications_.removeDelivered(askIdentifier(label));
    }
}

void Notifier::postRecording(const std::string& body) {
    if (!notifications_.isAvailable()) {
        return;
    }
    withdrawRecording();
    // Where the icon says the same, nobody ever needs these buttons.
    notifications_.setCategories(categories(/*withRecording=*/true));
    recording_ = makeIdentifier_();
    notifications_.post(
        {.identifier = *recording_,
         .title = NoticeTexts::recordingTitle(),
         .body = body,
         .categoryIdentifier = recordingCategory,
         .label = {},
         .isResident = true});
}

void Notifier::withdrawRecording() {
    if (const auto identifier = std::exchange(recording_, std::nullopt)) {
        notifications_.removeDelivered(*identifier);
    }
}

void Notifier::post(
    const std::string& title, const std::string& body, std::function<void()> whenShown) {
    if (!notifications_.isAvailable()) {
        return;
    }
    notifications_.post(
        {.identifier = makeIdentifier_(),
         .title = title,
         .body = body,
         .categoryIdentifier = {},
         .label = {}},
        std::move(whenShown));
}

void Notifier::tell(const std::string& body) {
    post(RecordingMessages::title, body);
}

void Notifier::handleResponse(const NotificationResponse& response) const {
    if (recording_ && response.identifier == *recording_) {
        handleRecordingResponse(response.actionIdentifier);
        return;
    }
    if (!response.label || response.actionIdentifier == NotificationResponse::dismissAction) {
        return;
    }
    // A copy, because the owner may replace the callback while it runs.
    if (const auto answer = onAskAnswer) {
        answer(*response.label, response.actionIdentifier != skipAction);
    }
}

void Notifier::handleRecordingResponse(const std::string& action) const {
    const auto answer = onRecordingAnswer; // a copy, likewise
    if (!answer) {
        return;
    }
    if (action == stopAction) {
        answer(RecordingAnswer::stop);
    } else if (action == discardAction) {
        answer(RecordingAnswer::discard);
    } else if (action == NotificationResponse::defaultAction) {
        answer(RecordingAnswer::open);
    } else if (action == NotificationResponse::dismissAction) {
        answer(RecordingAnswer::close);
    }
}

} // namespace brindle
