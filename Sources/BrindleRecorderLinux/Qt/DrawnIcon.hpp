// The program's icon for Qt to show, drawn anew for whatever size it is shown in.
#pragma once

#include "BrindleRecorderApp/Platform/IconImage.hpp"

#include <QIcon>
#include <QImage>

namespace brindle {

/// Main thread only.
struct DrawnIcon {
    static QIcon of(const IconImage& image);
    /// One picture of it, in `pixels` by `pixels`.
    static QImage picture(const IconImage& image, int pixels);
};

} // namespace brindle
