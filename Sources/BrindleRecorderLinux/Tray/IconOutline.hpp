// A thin outline in the contrasting colour around the glyph of the program's icon.
#pragma once

#include "BrindleRecorderApp/Platform/IconImage.hpp"

namespace brindle {

/// Pure functions; any thread.
struct IconOutline {
    /// In points: thin beside the glyph's own lines, and still to be seen on the smallest panels.
    static constexpr double width = 0.8;

    /// The same image with an outline below everything that is drawn in a layer. No desktop tells
    /// the colour of its panel, which need not follow the colour scheme: on a panel of its own
    /// colour the glyph is read by its outline, on any other the outline is hardly seen.
    static IconImage around(const IconImage& image);
};

} // namespace brindle
