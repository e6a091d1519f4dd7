// Times across the border between C++ and Core Media.
#pragma once

#include "BrindleRecorderCore/Base/Date.hpp"

#import <CoreMedia/CoreMedia.h>

#include <optional>

namespace brindle {

/// Exact where the time is a whole number of seconds, or a whole number of times goes into one
/// second, as the times from frame to frame do: a device refuses what is only nearly right.
CMTime mediaTime(Seconds time);

/// Nothing for a time that is none, or has no end.
std::optional<Seconds> secondsOf(CMTime time);

} // namespace brindle
