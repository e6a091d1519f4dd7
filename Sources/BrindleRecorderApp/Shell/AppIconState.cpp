#include "BrindleRecorderApp/Shell/AppIconState.hpp"

#include "BrindleRecorderApp/AppModel.hpp"

namespace brindle {

MenuBarIconState menuBarIconState(const AppModel& model, const PermissionsModel& permissions) {
    return MenuBarIconStateMapper::state(
        model.sessionState.get().isRecording(), model.lastRecordingError.get(),
        permissions.hasProblem());
}

} // namespace brindle
