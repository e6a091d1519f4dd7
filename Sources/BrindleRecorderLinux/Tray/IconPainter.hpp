// Carries out the drawing steps of the program's icon, on the outline that makes the icon readable
// on any panel.
#pragma once

#include "BrindleRecorderApp/Platform/IconImage.hpp"

#include <cstdint>
#include <vector>

namespace brindle {

/// A square picture as panels take it: its rows from above, each pixel as the four bytes alpha,
/// red, green, blue, not premultiplied.
struct IconPicture {
    int side = 0; ///< in pixels; 0 for no picture
    std::vector<std::uint8_t> bytes;

    friend bool operator==(const IconPicture&, const IconPicture&) = default;
};

/// Pure functions; any thread.
struct IconPainter {
    /// The picture in `pixels` by `pixels`, which may be any number of times its size in points:
    /// it is drawn for the pixels that it gets, never scaled.
    static IconPicture paint(const IconImage& image, int pixels);
};

} // namespace brindle
