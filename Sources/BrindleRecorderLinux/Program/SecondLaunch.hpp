// What a second launch asks of the copy that runs already.
#pragma once

#include "BrindleRecorderLinux/Bus/Bus.hpp"

namespace brindle {

struct SecondLaunch {
    /// Has the copy that owns the program's name on that bus show its menu. Waits for no answer,
    /// because whoever calls leaves in any case; a copy that has none to show does nothing.
    static void askForTheMenu(Bus& bus);
};

} // namespace brindle
