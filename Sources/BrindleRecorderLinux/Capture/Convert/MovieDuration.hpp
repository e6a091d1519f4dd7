// How long the readable part of a movie plays.
#pragma once

#include "BrindleRecorderCore/Base/Date.hpp"
#include "BrindleRecorderLinux/Capture/Boxes/ByteSource.hpp"

#include <optional>

namespace brindle::media {

/// From the first to the end of the last readable sample of any track, as a player shows it: what
/// an edit list cuts off in front does not count. Found by reading the samples at both ends of the
/// file, not by trusting what its header claims; nothing when no sample can be read.
std::optional<Seconds> readableDuration(ByteSource& source);

} // namespace brindle::media
