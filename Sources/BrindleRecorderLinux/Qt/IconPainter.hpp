// Carries out the drawing steps of the program's icon with Qt's painter, on the outline that makes
// the icon readable on any panel.
#pragma once

#include "BrindleRecorderApp/Platform/IconImage.hpp"

#include <QImage>

namespace brindle {

/// Pure functions; any thread.
struct IconPainter {
    /// The picture in `pixels` by `pixels`, which may be any number of times its size in points:
    /// it is drawn for the pixels that it gets, never scaled. Premultiplied, on nothing.
    static QImage paint(const IconImage& image, int pixels);
};

} // namespace brindle
