#include "BrindleRecorderApp/Shell/MissingTrayNotice.hpp"

#include "BrindleRecorderApp/AppModel.hpp"
#include "BrindleRecorderApp/Platform/DefaultsStore.hpp"
#include "BrindleRecorderApp/Platform/StatusItem.hpp"
#include "BrindleRecorderApp/Words/NoticeTexts.hpp"

#include <chrono>

namespace brindle {

namespace {

constexpr std::chrono::seconds timeForThePanel{30};
constexpr const char* hasBeenTold = "hasToldOfMissingTray";

} // namespace

MissingTrayNotice::MissingTrayNotice(
    AppModel& model, const AppEnvironment& environment, const StatusItem& statusItem)
    : model_{model}, environment_{environment}, statusItem_{statusItem} {}

void MissingTrayNotice::launch() {
    timer_ = environment_.mainLoop.after(timeForThePanel, [this] { look(); });
}

void MissingTrayNotice::look() {
    if (statusItem_.isShown() || environment_.state.boolean(hasBeenTold).value_or(false)) {
        return;
    }
    model_.notifier.post(
        NoticeTexts::missingTrayTitle(), NoticeTexts::missingTrayBody(),
        [&state = environment_.state] { state.setBoolean(hasBeenTold, true); });
}

} // namespace brindle
