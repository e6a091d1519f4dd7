// What the icon says about the application as it is now.
#pragma once

#include "BrindleRecorderCore/Recordings/MenuBarIconState.hpp"

namespace brindle {

class AppModel;
class PermissionsModel;

/// The rules of `MenuBarIconStateMapper` for the running application. Main thread only.
MenuBarIconState menuBarIconState(const AppModel& model, const PermissionsModel& permissions);

} // namespace brindle
