// The icon's drawing steps, carried out by AppKit.
#pragma once

#include "BrindleRecorderApp/Platform/IconImage.hpp"
#include "BrindleRecorderMac/Foundation/Retained.hpp"

#import <AppKit/AppKit.h>

namespace brindle {

/// With its own colours, whatever the menu bar looks like, and its description. Drawn at that many
/// pixels to the point.
Retained<NSImage> drawnIcon(const IconImage& image, double pixelsPerPoint);

} // namespace brindle
