#include "BrindleRecorderLinux/Program/QuitRequests.hpp"

#include "BrindleRecorderApp/AppModel.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"

#include <csignal>
#include <utility>

namespace brindle {

QuitRequests::QuitRequests(EventLoop& mainLoop, std::function<void()> leave)
    : mainLoop_{mainLoop}, leave_{std::move(leave)} {}

bool QuitRequests::followSignals() {
    for (const int signalNumber : {SIGINT, SIGTERM, SIGHUP}) {
        if (!mainLoop_.onSignal(signalNumber, [this] { request(); })) {
            return false;
        }
    }
    return true;
}

void QuitRequests::prepareWith(AppModel& model) {
    model_ = &model;
    model.onQuitRequest = [this] {
        request();
    };
}

void QuitRequests::request() {
    // The second request does not wait for the recording's conversion.
    if (model_ == nullptr || std::exchange(isQuitting_, true)) {
        leave_();
    } else {
        model_->prepareToQuit(leave_);
    }
}

} // namespace brindle
