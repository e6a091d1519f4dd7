// Draws the program's icon: a stopwatch with a dot that tells the state.
#pragma once

#include "BrindleRecorderApp/Platform/IconImage.hpp"
#include "BrindleRecorderApp/Platform/Workspace.hpp"
#include "BrindleRecorderCore/Recordings/MenuBarIconState.hpp"

#include <string>

namespace brindle {

/// Pure functions; any thread.
struct MenuBarIconRenderer {
    /// `time`, in seconds, moves the pulse of the recording's dot, which takes one second; with
    /// `reduceMotion` the dot is steady. The picture has 18 by 18 points and its own colours.
    static IconImage
    image(const MenuBarIconState& state, double time, bool reduceMotion, Appearance appearance);

    static std::string accessibilityDescription(const MenuBarIconState& state);
};

} // namespace brindle
