#include "BrindleRecorderApp/Shell/RecordingNotice.hpp"

#include "BrindleRecorderApp/AppModel.hpp"
#include "BrindleRecorderApp/Platform/MenuWindow.hpp"
#include "BrindleRecorderApp/Platform/StatusItem.hpp"
#include "BrindleRecorderApp/Words/NoticeTexts.hpp"

#include <chrono>
#include <utility>

namespace brindle {

namespace {

/// How long a panel may be away, because it is being started (again), before it counts as none.
constexpr std::chrono::seconds patienceWithThePanel{5};

std::optional<std::string> recordedRoom(const SessionState& session) {
    return session.isRecording() ? session.roomCode() : std::nullopt;
}

} // namespace

RecordingNotice::RecordingNotice(
    AppModel& model, const StatusItem& statusItem, MenuWindow& window, MainLoop& mainLoop,
    std::function<void()> openMenu)
    : model_{model}, statusItem_{statusItem}, mainLoop_{mainLoop}, openMenu_{std::move(openMenu)},
      session_{model.sessionState.observe([this](const auto&) { look(); })},
      panel_{window.observeIcon([this] { panelHasChanged(); })} {
    model.notifier.onRecordingAnswer = [this](Notifier::RecordingAnswer answer) {
        handle(answer);
    };
    panelHasChanged();
}

RecordingNotice::~RecordingNotice() {
    model_.notifier.onRecordingAnswer = nullptr;
    takeBack();
}

void RecordingNotice::panelHasChanged() {
    if (statusItem_.isShown()) {
        timeForThePanel_.reset();
    } else {
        timeForThePanel_ = mainLoop_.after(patienceWithThePanel, [this] {
            timeForThePanel_.reset();
            look();
        });
    }
    look();
}

void RecordingNotice::look() {
    if (const auto room = recordedRoom(model_.sessionState.get()); room != recorded_) {
        takeBack();
        recorded_ = room;
        isClosed_ = false;
    }
    if (!recorded_ || statusItem_.isShown()) {
        takeBack();
    } else if (!isPosted_ && !isClosed_ && !timeForThePanel_) {
        isPosted_ = true;
        model_.notifier.postRecording(
            NoticeTexts::recordingBody(model_.currentCallName().value_or("")));
    }
}

void RecordingNotice::takeBack() {
    if (std::exchange(isPosted_, false)) {
        model_.notifier.withdrawRecording();
    }
}

void RecordingNotice::handle(Notifier::RecordingAnswer answer) {
    using Answer = Notifier::RecordingAnswer;
    switch (answer) {
    case Answer::stop:
        model_.stopRecordingFromMenu();
        break;
    case Answer::discard:
        model_.stopAndDiscard();
        break;
    case Answer::open:
        openMenu_();
        break;
    case Answer::close:
        isClosed_ = true;
        takeBack();
        break;
    }
}

} // namespace brindle
